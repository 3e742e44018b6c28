#include "files/stl_check.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "stl_samples.h"

namespace qv3d {
namespace {

std::vector<std::string> Ids(const StlCheck& check) {
  std::vector<std::string> ids;
  for (const Finding& finding : check.findings) ids.push_back(finding.id);
  return ids;
}

using Names = std::vector<std::string>;

TEST(CheckStl, BinaryInOrder_FindsNothing) {
  const StlCheck check = CheckStl(BinaryStl(Sheet(10)));
  EXPECT_EQ(Ids(check), Names{});
  EXPECT_EQ(check.scan.format, StlFormat::kBinary);
  EXPECT_EQ(check.scan.triangles, 200u);
  EXPECT_EQ(check.bounds.min[0], 0);
  EXPECT_NEAR(check.bounds.max[0], 1, 1e-6);
  EXPECT_NEAR(check.projectedArea, 1, 1e-5);
}

TEST(CheckStl, AsciiInOrder_FindsNothing) {
  const StlCheck check = CheckStl(AsciiStl(Sheet(10)));
  EXPECT_EQ(Ids(check), Names{});
  EXPECT_EQ(check.scan.format, StlFormat::kAscii);
  EXPECT_EQ(check.scan.triangles, 200u);
}

TEST(CheckStl, AsciiInCapitals_IsRead) {
  std::string text = AsciiStl(Sheet(10));
  for (char& c : text) c = static_cast<char>(std::toupper(c));
  EXPECT_EQ(Ids(CheckStl(text)), Names{});
}

TEST(CheckStl, Empty_IsCorrupt) {
  const StlCheck check = CheckStl("");
  EXPECT_EQ(Ids(check), Names{"empty"});
  EXPECT_EQ(check.FirstError()->code, ExitCode::kCorrupt);
}

TEST(CheckStl, HeaderCutShort_IsCorrupt) {
  for (std::size_t size : {1u, 79u, 80u, 83u}) {
    EXPECT_EQ(Ids(CheckStl(BinaryStl(Sheet(10)).substr(0, size))), Names{"truncated-header"}) << size;
  }
}

TEST(CheckStl, BinaryThatSaysSolid_IsTakenForBinary) {
  for (const char* header : {"solid part", "SOLID", "Solid"}) {
    const StlCheck check = CheckStl(BinaryStl(Sheet(10), header));
    EXPECT_EQ(Ids(check), Names{"misleading-header"});
    EXPECT_EQ(check.scan.triangles, 200u);
    EXPECT_TRUE(check.FirstError()->repairable);
  }
}

TEST(CheckStl, BinaryThatSaysSolidAndIsTooShort_TellsBoth) {
  EXPECT_EQ(Ids(CheckStl(BinaryStl(Sheet(11), "solid", 300))), (Names{"misleading-header", "too-short"}));
}

TEST(CheckStl, FewerRecordsThanAnnounced_IsCorruptButRepairable) {
  const StlCheck check = CheckStl(BinaryStl(Sheet(10), "test", 201));
  EXPECT_EQ(Ids(check), Names{"too-short"});
  EXPECT_TRUE(check.FirstError()->repairable);
  EXPECT_EQ(check.scan.recordsPresent, 200u);
}

TEST(CheckStl, RecordCutShort_CountsWholeOnes) {
  std::string bytes = BinaryStl(Sheet(10));
  bytes.pop_back();
  const StlCheck check = CheckStl(bytes);
  EXPECT_EQ(check.scan.triangles, 199u);
  EXPECT_EQ(check.findings.at(0).id, "too-short");
}

TEST(CheckStl, BytesAfterTheLastRecord_AreWarnedOf) {
  const StlCheck check = CheckStl(BinaryStl(Sheet(10)) + "trailer");
  EXPECT_EQ(Ids(check), Names{"trailing-bytes"});
  EXPECT_EQ(check.FirstError(), nullptr);
  EXPECT_NE(check.findings[0].what.find("7 bytes"), std::string::npos);
}

TEST(CheckStl, CountOfZeroWithRecords_IsRepairable) {
  const StlCheck check = CheckStl(BinaryStl(Sheet(10), "test", 0));
  EXPECT_EQ(Ids(check), Names{"zero-count"});
  EXPECT_TRUE(check.FirstError()->repairable);
}

TEST(CheckStl, CountOfZeroWithoutRecords_HasNoTriangles) {
  const StlCheck check = CheckStl(BinaryStl({}));
  EXPECT_EQ(Ids(check), Names{"no-triangles"});
  EXPECT_FALSE(check.FirstError()->repairable);
}

TEST(CheckStl, AsciiWithoutFacets_HasNoTriangles) {
  EXPECT_EQ(Ids(CheckStl("solid nothing\nendsolid nothing\n")), Names{"no-triangles"});
}

TEST(CheckStl, FewerThanTwoHundred_CannotBeConverted) {
  std::vector<Triangle> mesh = Sheet(10);
  mesh.pop_back();
  const StlCheck check = CheckStl(BinaryStl(mesh));
  EXPECT_EQ(Ids(check), Names{"few-triangles"});
  EXPECT_EQ(check.FirstError()->code, ExitCode::kNotComputable);
}

TEST(CheckStl, NoExtentInXOrY_CannotBeConverted) {
  for (std::size_t axis : {0u, 1u}) {
    std::vector<Triangle> mesh = Sheet(10);
    for (Triangle& t : mesh) t[axis] = t[axis + 3] = t[axis + 6] = 5;
    const StlCheck check = CheckStl(BinaryStl(mesh));
    EXPECT_EQ(Ids(check), Names{"no-extent"}) << axis;
    EXPECT_EQ(check.FirstError()->code, ExitCode::kNotComputable);
    EXPECT_FALSE(check.FirstError()->repairable);
  }
}

TEST(CheckStl, NoExtentInZ_IsInOrder) {
  std::vector<Triangle> mesh = Sheet(10);
  for (Triangle& t : mesh) t[2] = t[5] = t[8] = 5;
  EXPECT_EQ(Ids(CheckStl(BinaryStl(mesh))), Names{});
}

TEST(CheckStl, CoordinateNotFinite_IsCounted) {
  for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                    -std::numeric_limits<float>::infinity()}) {
    for (std::size_t slot = 0; slot < 9; ++slot) {
      std::vector<Triangle> mesh = Sheet(11);
      mesh[7][slot] = bad;
      const StlCheck check = CheckStl(BinaryStl(mesh));
      EXPECT_EQ(Ids(check), Names{"non-finite"});
      EXPECT_EQ(check.nonFinite, 1u);
      EXPECT_TRUE(std::isfinite(check.bounds.max[slot % 3]));
    }
  }
}

TEST(CheckStl, TrianglesTooSmallForAHeight_AreWarnedOf) {
  // Cells of 0.001: doubled areas of 1e-6 and, by rounding, just about it; of 0.0009: below.
  const StlCheck small = CheckStl(BinaryStl(Sheet(10, 0.009f)));
  EXPECT_EQ(Ids(small), Names{"tiny-triangles"});
  EXPECT_EQ(small.tiny, 200u);
  EXPECT_EQ(small.FirstError(), nullptr);
  EXPECT_EQ(CheckStl(BinaryStl(Sheet(10, 0.011f))).tiny, 0u);
}

TEST(CheckStl, UprightTriangles_AreNotCalledTiny) {
  std::vector<Triangle> mesh = Sheet(10);
  for (int i = 0; i < 50; ++i) mesh.push_back({0, 0, 0, 1, 0, 0, 0.5f, 0, 1});
  const StlCheck check = CheckStl(BinaryStl(mesh));
  EXPECT_EQ(check.upright, 50u);
  EXPECT_EQ(check.tiny, 0u);
  EXPECT_EQ(Ids(check), Names{});
}

TEST(CheckStl, SheetTwice_OverlapIsNoted) {
  std::vector<Triangle> mesh = Sheet(10);
  const std::vector<Triangle> again = mesh;
  mesh.insert(mesh.end(), again.begin(), again.end());
  const StlCheck check = CheckStl(BinaryStl(mesh));
  EXPECT_EQ(Ids(check), Names{"overlap"});
  EXPECT_EQ(check.findings[0].severity, Severity::kNote);
}

TEST(CheckStl, VertexWithoutThreeNumbers_NamesTheLine) {
  std::string text = AsciiStl(Sheet(11));
  text.insert(text.find("vertex") + 7, "oops ");
  const StlCheck check = CheckStl(text);
  EXPECT_EQ(Ids(check), Names{"bad-vertex"});
  EXPECT_EQ(check.scan.firstBadVertexLine, 4u);
  EXPECT_EQ(check.scan.triangles, 241u);
}

TEST(CheckStl, DecimalCommas_AreRecognised) {
  std::string text = AsciiStl(Sheet(10));
  for (char& c : text) c = c == '.' ? ',' : c;
  const StlCheck check = CheckStl(text);
  EXPECT_EQ(Ids(check), Names{"decimal-comma"});
  EXPECT_NEAR(check.bounds.max[0], 1, 1e-5);
}

TEST(CheckStl, FacetOfFourVertices_IsLeftOut) {
  std::string text = AsciiStl(Sheet(10));
  text += "facet normal 0 0 1\n vertex 0 0 0\n vertex 1 0 0\n vertex 1 1 0\n vertex 0 1 0\nendfacet\n";
  const StlCheck check = CheckStl(text);
  EXPECT_EQ(Ids(check), Names{"odd-facets"});
  EXPECT_EQ(check.scan.triangles, 200u);
}

TEST(CheckStl, EveryPrefixOfAnAsciiFile_IsReadWithoutHarm) {
  const std::string text = AsciiStl(Sheet(2));
  std::uint64_t most = 0;
  for (std::size_t size = 0; size <= text.size(); ++size) {
    const std::string prefix = text.substr(0, size);
    const StlCheck check = CheckStl(prefix);
    EXPECT_LE(check.scan.triangles, 8u);
    EXPECT_NE(check.FirstError(), nullptr) << size;
    most = std::max(most, check.scan.triangles);
  }
  EXPECT_EQ(most, 8u);
}

TEST(CheckStl, EveryPrefixOfABinaryFile_IsReadWithoutHarm) {
  const std::string bytes = BinaryStl(Sheet(2));
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    const std::string prefix = bytes.substr(0, size);
    const StlCheck check = CheckStl(prefix);
    EXPECT_EQ(check.scan.triangles, size < 84 ? 0 : (size - 84) / 50) << size;
    EXPECT_NE(check.FirstError(), nullptr) << size;
  }
}

TEST(RequireMesh, OtherFormats_AreNamed) {
  const auto message = [](const char* name, const std::string& bytes) -> std::string {
    try {
      return RequireMesh(name, bytes) == MeshFormat::kPly ? "PLY" : "STL";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::kUnreadable);
      return failure.what();
    }
  };
  EXPECT_EQ(message("a.ply", "ply\nformat ascii 1.0\n"), "PLY");
  EXPECT_EQ(message("a.stl", "ply\r\nformat ascii 1.0\r\n"), "PLY");
  EXPECT_EQ(message("a.ply", BinaryStl(Sheet(2))), "STL");
  EXPECT_NE(message("a.ply", "nothing").find("no PLY file"), std::string::npos);
  EXPECT_NE(message("a.3mf", "PK\x03\x04...").find("ZIP"), std::string::npos);
  EXPECT_NE(message("a.txt", "some text").find("not supported yet"), std::string::npos);
  EXPECT_EQ(message("a.dat", BinaryStl(Sheet(2))), "STL");
  EXPECT_EQ(message("a.stl", "garbage"), "STL");
  EXPECT_EQ(message("a.STL", ""), "STL");
}

}  // namespace
}  // namespace qv3d
