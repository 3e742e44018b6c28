// The import with its real messages and its real end of the process.
#include <gtest/gtest.h>
#include <string>

#include "exports/QV_3D.h"
#include "tests/support/stl_files.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::test::TemporaryFile;

#ifdef _WIN32
constexpr int kEndStatus = -1;
#else
constexpr int kEndStatus = 255;
#endif

/// The whole of standard error, which gtest matches as a regular expression.
std::string Exactly(const std::string& messages) {
  return "^" + messages + "$";
}

void Parse(const char* name) {
  float b[6];
  int count = 0;
  ParseSTLFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &count);
}

class Import_EndOfProcess : public ::testing::Test {
 protected:
  Import_EndOfProcess() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

const qv::mesh::Triangle kTriangle = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};

}  // namespace

TEST_F(Import_EndOfProcess, MissingFile_MessageAndStatus) {
  EXPECT_EXIT(Parse("/nonexistent/qv3d.stl"), ::testing::ExitedWithCode(kEndStatus),
              Exactly("Failed to open or recognise the STL file\n"));
}

TEST_F(Import_EndOfProcess, ShortHeader_TwoMessages) {
  const TemporaryFile file("short");
  EXPECT_EXIT(
      Parse(file.name()), ::testing::ExitedWithCode(kEndStatus),
      Exactly("ReadSTL - Error reading binary file header\nFailed to open or recognise the STL file\n"));
}

TEST_F(Import_EndOfProcess, NoTriangle_MessageAndStatus) {
  const TemporaryFile file("solid nothing");
  EXPECT_EXIT(Parse(file.name()), ::testing::ExitedWithCode(kEndStatus),
              Exactly("Failed to read any triangles\n"));
}

TEST_F(Import_EndOfProcess, FewTrianglesConverted_MessageAndStatus) {
  const TemporaryFile file(qv::test::BinaryStl(qv::test::Triangles(199, kTriangle)));
  EXPECT_EXIT(
      {
        Parse(file.name());
        float heights[4];
        ConvertSTLFile(1, 1, 0, 0, 1, 1, heights);
      },
      ::testing::ExitedWithCode(kEndStatus), Exactly("Bad cell index - shouldn't happen\n"));
}

TEST_F(Import_EndOfProcess, EnoughTrianglesConverted_ReturnsSilently) {
  const TemporaryFile file(qv::test::BinaryStl(qv::test::Triangles(200, kTriangle)));
  EXPECT_EXIT(
      {
        Parse(file.name());
        float heights[4];
        std::exit(static_cast<int>(ConvertSTLFile(1, 1, 0, 0, 1, 1, heights)) + 7);
      },
      ::testing::ExitedWithCode(7), "^$");
}
