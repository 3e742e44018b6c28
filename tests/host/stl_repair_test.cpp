#include "files/stl_repair.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>

#include "files/whole_file.h"
#include "plots/image.h"
#include "stl_samples.h"

namespace qv3d {
namespace {

double Area(const std::vector<Triangle>& mesh) {
  double sum = 0;
  for (const Triangle& t : mesh) sum += DoubledArea(t) / 2;
  return sum;
}

RepairedMesh Repair(const std::string& bytes) {
  return RepairStl(bytes, CheckStl(bytes));
}

/// A file with the given bytes, as long as the test runs.
class GivenFile {
 public:
  explicit GivenFile(const std::string& bytes)
      : file_(TemporaryFile::Create()), path_(file_.path().string() + ".stl") {
    WriteWholeFile(path_, bytes);
  }
  ~GivenFile() { std::filesystem::remove(path_); }
  const std::filesystem::path& path() const { return path_; }

 private:
  TemporaryFile file_;
  std::filesystem::path path_;
};

TEST(DivideInFour, ATriangle_KeepsPlaneAreaAndWinding) {
  const Triangle t{0, 0, 0, 4, 0, 8, 0, 4, -4};
  const std::vector<Triangle> parts = DivideInFour({t});
  ASSERT_EQ(parts.size(), 4u);
  for (const Triangle& part : parts) {
    EXPECT_DOUBLE_EQ(DoubledArea(part), DoubledArea(t) / 4);
    for (std::size_t v = 0; v < 3; ++v) EXPECT_FLOAT_EQ(part[3 * v + 2], 2 * part[3 * v] - part[3 * v + 1]);
  }
}

TEST(RepairStl, FileInOrder_IsLeftAlone) {
  EXPECT_TRUE(Repair(BinaryStl(Sheet(10))).actions.empty());
}

TEST(RepairStl, FewTriangles_BecomeAtLeastTwoHundred) {
  for (int cells : {1, 2, 5, 9}) {
    const RepairedMesh mesh = Repair(BinaryStl(Sheet(cells)));
    EXPECT_GE(mesh.triangles.size(), 200u) << cells;
    EXPECT_NEAR(Area(mesh.triangles), 1, 1e-5);
    EXPECT_EQ(mesh.actions.size(), 1u);
  }
}

TEST(RepairStl, CountOfZero_TakesAllRecords) {
  EXPECT_EQ(Repair(BinaryStl(Sheet(10), "test", 0)).triangles, Sheet(10));
}

TEST(RepairStl, TooShort_KeepsWholeRecords) {
  std::string bytes = BinaryStl(Sheet(11));
  bytes.resize(bytes.size() - 60);
  EXPECT_EQ(Repair(bytes).triangles.size(), 240u);
}

TEST(RepairStl, NotFinite_IsDroppedAndOrderKept) {
  std::vector<Triangle> mesh = Sheet(11);
  std::vector<Triangle> wanted = mesh;
  wanted.erase(wanted.begin() + 3);
  mesh[3][4] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(Repair(BinaryStl(mesh)).triangles, wanted);
}

TEST(RepairStl, TinyTriangles_AreScaledByAPowerOfTwo) {
  const std::vector<Triangle> mesh = Sheet(10, 0.0005f);
  const RepairedMesh mended = Repair(BinaryStl(mesh));
  EXPECT_GT(mended.scale, 1);
  EXPECT_EQ(std::exp2(std::round(std::log2(mended.scale))), mended.scale);
  for (std::size_t i = 0; i < mesh.size(); ++i) {
    EXPECT_GT(DoubledArea(mended.triangles[i]), kSmallestDoubledArea);
    for (std::size_t k = 0; k < 9; ++k) EXPECT_EQ(mended.triangles[i][k] / mended.scale, mesh[i][k]);
  }
}

TEST(PrepareMesh, ErrorWithoutRepair_IsThrownWithAdvice) {
  const GivenFile file(BinaryStl(Sheet(10), "solid"));
  try {
    PrepareMesh(file.path(), {});
    FAIL() << "accepted";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), ExitCode::kCorrupt);
    EXPECT_NE(failure.advice().find("--repair"), std::string::npos);
  }
}

TEST(PrepareMesh, WithRepair_LeavesTheFileAndRemovesTheCopy) {
  const std::string bytes = BinaryStl(Sheet(10), "solid");
  const GivenFile file(bytes);
  std::filesystem::path copy;
  {
    PrepareOptions options;
    options.repair = true;
    const PreparedMesh prepared = PrepareMesh(file.path(), options);
    copy = prepared.path;
    EXPECT_NE(copy, file.path());
    EXPECT_TRUE(CheckStl(ReadWholeFile(copy)).findings.empty());
    EXPECT_EQ(prepared.triangles, 200u);
  }
  EXPECT_FALSE(std::filesystem::exists(copy));
  EXPECT_EQ(ReadWholeFile(file.path()), bytes);
}

TEST(PrepareMesh, WhatCannotBeMended_IsThrownInSpiteOfRepair) {
  const GivenFile file("garbage");
  PrepareOptions options;
  options.repair = true;
  EXPECT_THROW(PrepareMesh(file.path(), options), Failure);
}

TEST(WriteBinaryStl, WhatIsWritten_IsReadBack) {
  const GivenFile file("");
  WriteBinaryStl(file.path(), Sheet(4), "header");
  std::vector<Triangle> back;
  const StlScan scan = ScanStl(ReadWholeFile(file.path()), [&back](const Triangle& t) { back.push_back(t); });
  EXPECT_EQ(back, Sheet(4));
  EXPECT_EQ(scan.announced, 32u);
}

}  // namespace
}  // namespace qv3d
