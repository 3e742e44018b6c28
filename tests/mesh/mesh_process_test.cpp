// The import with its real messages and its real end of the process.
#include <gtest/gtest.h>
#include <string>

#include "exports/QV_3D.h"
#include "tests/support/ply_files.h"
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

unsigned ParsePly(const char* name) {
  float b[6];
  int vertices = 0, faces = 0;
  return ParsePLYFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &vertices, &faces);
}

/// A square of `faces` triangles one upon the other.
std::string PlySquare(std::size_t faces) {
  return qv::test::PlyMesh(qv::ply::FileKind::kAscii, {{0, 0, 0}, {0, 1, 0}, {0, 1, 1}},
                           qv::test::PlyFaces(faces, {0, 1, 2}));
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

TEST_F(Import_EndOfProcess, PlyWithoutItsLastLine_MessageAndStatus) {
  const std::string bytes = PlySquare(3);
  const TemporaryFile file(bytes.substr(0, bytes.size() - 8));
  EXPECT_EXIT(ParsePly(file.name()), ::testing::ExitedWithCode(kEndStatus),
              Exactly("ply_get_element: unexpected end of file\n"));
}

TEST_F(Import_EndOfProcess, PlyOfUnknownType_WarningsMessageAndStatus) {
  const TemporaryFile file(
      "ply\nformat binary_big_endian 1.0\nelement vertex 1\nproperty int64 x\nend_header\n");
  EXPECT_EXIT(ParsePly(file.name()), ::testing::ExitedWithCode(kEndStatus),
              Exactly("Warning:  Can't find property 'y' in element 'vertex'\n"
                      "Warning:  Can't find property 'z' in element 'vertex'\n"
                      "get_binary_item: bad type = 0\n"));
}

TEST_F(Import_EndOfProcess, PlyOfFewFacesConverted_MessageAndStatus) {
  const TemporaryFile file(PlySquare(199));
  EXPECT_EXIT(
      {
        ParsePly(file.name());
        float heights[4];
        ConvertPLYFile(1, 1, 0, 0, 1, 1, heights);
      },
      ::testing::ExitedWithCode(kEndStatus), Exactly("Bad cell index - shouldn't happen\n"));
}

TEST_F(Import_EndOfProcess, PlyThatIsNone_ReturnsSilently) {
  const TemporaryFile file("plywood");
  EXPECT_EXIT(std::exit(static_cast<int>(ParsePly(file.name())) + 7), ::testing::ExitedWithCode(8), "^$");
}

TEST_F(Import_EndOfProcess, PlyBeyondMemory_MessageAndOne) {
  const TemporaryFile file("ply\nformat ascii 1.0\nelement other 2000000000\nend_header\n");
  EXPECT_EXIT(std::exit(static_cast<int>(ParsePly(file.name())) + 7), ::testing::ExitedWithCode(8),
              Exactly("Memory allocation bombed on line .+ in ply\n"));
}
