#include "files/ply_check.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "files/ply_repair.h"
#include "files/whole_file.h"
#include "ply_samples.h"

namespace qv3d {
namespace {

using Names = std::vector<std::string>;

PlyCheck Check(const std::string& bytes) {
  return CheckPly(ReadPly(bytes));
}

Names Ids(const std::string& bytes) {
  Names ids;
  for (const Finding& finding : Check(bytes).findings) ids.push_back(finding.id);
  return ids;
}

std::vector<Triangle> TrianglesOf(const std::string& bytes) {
  std::vector<Triangle> triangles;
  ForEachTriangle(ReadPly(bytes), [&triangles](const Triangle& t) { triangles.push_back(t); });
  return triangles;
}

RepairedMesh Repair(const std::string& bytes) {
  const PlyFile file = ReadPly(bytes);
  return RepairPly(file, CheckPly(file));
}

/// The one finding is an error that --repair mends, and what is mended has as many triangles as `left`.
void ExpectMendable(const std::string& bytes, const std::string& id, ExitCode code, std::size_t left) {
  const PlyCheck check = Check(bytes);
  EXPECT_EQ(Ids(bytes), Names{id});
  ASSERT_NE(check.FirstError(), nullptr);
  EXPECT_EQ(check.FirstError()->code, code);
  EXPECT_TRUE(check.FirstError()->repairable);
  const RepairedMesh mended = Repair(bytes);
  EXPECT_EQ(mended.triangles.size(), left);
  EXPECT_EQ(mended.actions.size(), 1u);
}

void ExpectHopeless(const std::string& bytes, const std::string& id, ExitCode code) {
  const PlyCheck check = Check(bytes);
  EXPECT_EQ(Ids(bytes), Names{id});
  ASSERT_NE(check.FirstError(), nullptr);
  EXPECT_EQ(check.FirstError()->code, code);
  EXPECT_FALSE(check.FirstError()->repairable);
  EXPECT_FALSE(check.FirstError()->advice.empty());
}

TEST(CheckPly, FilesInOrder_FindNothingAndReadAlike) {
  const PlySample sheet = PlySheet(10);
  const std::vector<Triangle> wanted = TrianglesOf(BinaryPly(sheet));
  for (const std::string& bytes : {TextPly(sheet), BinaryPly(sheet), BinaryPly(sheet, true)}) {
    EXPECT_EQ(Ids(bytes), Names{});
    EXPECT_TRUE(Repair(bytes).actions.empty());
    const std::vector<Triangle> found = TrianglesOf(bytes);
    ASSERT_EQ(found.size(), 200u);
    for (std::size_t i = 0; i < found.size(); ++i) {
      for (std::size_t k = 0; k < 9; ++k) EXPECT_NEAR(found[i][k], wanted[i][k], 1e-6);
    }
  }
}

TEST(CheckPly, Axes_AreThoseOfHeightMaps) {
  PlySample one;
  one.vertices = {{1, 2, 3}, {4, 5, 6}, {7, 8, 10}};
  one.faces = {{0, 1, 2}};
  EXPECT_EQ(TrianglesOf(BinaryPly(one)), (std::vector<Triangle>{{2, -3, 1, 8, -10, 7, 5, -6, 4}}));
  const PlyCheck check = Check(BinaryPly(PlySheet(10, 2)));
  EXPECT_EQ(check.bounds.min[1], -2);
  EXPECT_EQ(check.bounds.max[0], 2);
  EXPECT_NEAR(check.bounds.max[2], 0.2, 1e-6);
}

TEST(CheckPly, OtherCornerList_IsMended) {
  PlySample sheet = PlySheet(10);
  sheet.corners = "vertex_index";
  ExpectMendable(TextPly(sheet), "corner-list-name", ExitCode::kNotComputable, 200);
  ExpectMendable(BinaryPly(sheet), "corner-list-name", ExitCode::kNotComputable, 200);
  sheet.corners = "vertices";
  ExpectHopeless(TextPly(sheet), "no-corner-list", ExitCode::kNotComputable);
}

TEST(CheckPly, CarriageReturnsInTheHeader_AreMended) {
  const std::string text = TextPly(PlySheet(10));
  ExpectMendable(Replaced(text, "\n", "\r\n"), "carriage-returns", ExitCode::kCorrupt, 200);
  ExpectMendable(Replaced(text, "\n", "\r"), "carriage-returns", ExitCode::kCorrupt, 200);
  const PlySample sheet = PlySheet(10);
  const std::string binary = BinaryPly(sheet);
  const std::size_t header = binary.find("end_header\n") + 11;
  const std::string crlf = Replaced(binary.substr(0, header), "\n", "\r\n") + binary.substr(header);
  ExpectMendable(crlf, "carriage-returns", ExitCode::kCorrupt, 200);
  EXPECT_EQ(TrianglesOf(crlf), TrianglesOf(binary));
  // In the body, and in comments, they do no harm.
  EXPECT_EQ(Ids(text.substr(0, text.find("end_header")) +
                Replaced(text.substr(text.find("end_header")), "\n", "\r\n")),
            Names{"carriage-returns"});
  EXPECT_EQ(Ids(Replaced(text, "a test", "a test\r")), Names{});
}

TEST(CheckPly, Polygons_BecomeFans) {
  const std::string quads = BinaryPly(PlySheet(15, 1, true));
  ExpectMendable(quads, "polygons", ExitCode::kNotComputable, 450);
  EXPECT_EQ(Check(quads).faces, 225u);
  EXPECT_NEAR(Check(quads).projectedArea, 1, 1e-5);
  PlySample one;
  one.vertices = {{0, 0, 0}, {0, 2, 0}, {0, 3, 1}, {0, 2, 2}, {0, 0, 2}};
  one.faces = {{0, 1, 2, 3, 4}};
  EXPECT_EQ(TrianglesOf(BinaryPly(one)).size(), 3u);
  EXPECT_NEAR(Check(BinaryPly(one)).projectedArea, 5, 1e-12);
}

TEST(CheckPly, FewerFacesThanTwoHundred_AreDivided) {
  for (const bool quads : {false, true}) {
    const std::string bytes = TextPly(PlySheet(9, 1, quads));
    EXPECT_EQ(Ids(bytes).back(), "few-triangles");
    EXPECT_GE(Repair(bytes).triangles.size(), 200u);
  }
  // As triangles there are enough, so nothing is divided.
  EXPECT_EQ(Repair(TextPly(PlySheet(12, 1, true))).triangles.size(), 288u);
}

TEST(CheckPly, IndexThatNoVertexHas_IsCounted) {
  for (const int bad : {-1, 144, 1000000, std::numeric_limits<std::int32_t>::min()}) {
    PlySample sheet = PlySheet(11);
    sheet.faces[7][2] = bad;
    ExpectMendable(BinaryPly(sheet), "bad-index", ExitCode::kCorrupt, 241);
    ExpectMendable(TextPly(sheet), "bad-index", ExitCode::kCorrupt, 241);
  }
}

TEST(CheckPly, FacesOfTwoCorners_AreWarnedOf) {
  PlySample sheet = PlySheet(11);
  sheet.faces[3].pop_back();
  EXPECT_EQ(Ids(BinaryPly(sheet)), Names{"odd-faces"});
  EXPECT_EQ(Check(BinaryPly(sheet)).FirstError(), nullptr);
}

TEST(CheckPly, CoordinatesNotFinite_AreLeftOut) {
  PlySample sheet = PlySheet(12);
  sheet.vertices[0][1] = std::numeric_limits<float>::quiet_NaN();
  ExpectMendable(BinaryPly(sheet), "non-finite", ExitCode::kCorrupt, 286);
  ExpectMendable(TextPly(sheet), "non-finite", ExitCode::kCorrupt, 286);
  sheet = PlySheet(12);
  sheet.vertices.push_back({0, std::numeric_limits<float>::infinity(), 0});
  ExpectMendable(BinaryPly(sheet), "non-finite-vertices", ExitCode::kCorrupt, 288);
}

TEST(CheckPly, PointCloud_IsSentToPoints2Grid) {
  PlySample sheet = PlySheet(12);
  sheet.faces.clear();
  ExpectHopeless(TextPly(sheet), "no-faces", ExitCode::kNotComputable);
  EXPECT_NE(Check(TextPly(sheet)).FirstError()->advice.find("points2grid"), std::string::npos);
}

TEST(CheckPly, HeaderWithoutWhatIsNeeded_IsHopeless) {
  const std::string text = TextPly(PlySheet(10));
  ExpectHopeless("ply\n", "truncated-header", ExitCode::kCorrupt);
  ExpectHopeless(Replaced(text, "format ascii 1.0\n", ""), "unknown-format", ExitCode::kCorrupt);
  ExpectHopeless(Replaced(text, "ascii", "binary_middle_endian"), "unknown-format", ExitCode::kCorrupt);
  ExpectHopeless(Replaced(text, "element vertex 121", "element vertex 0"), "no-vertices", ExitCode::kCorrupt);
  ExpectHopeless(Replaced(text, "float y", "float why"), "missing-coordinate", ExitCode::kCorrupt);
  ExpectMendable(Replaced(text, "ascii 1.0", "ascii"), "odd-format", ExitCode::kCorrupt, 200);
}

TEST(CheckPly, UnknownType_IsReadInTextsOnly) {
  ExpectMendable(Replaced(TextPly(PlySheet(10)), "float y", "real y"), "unknown-type", ExitCode::kCorrupt,
                 200);
  ExpectHopeless(Replaced(BinaryPly(PlySheet(10)), "float y", "real y"), "unknown-type", ExitCode::kCorrupt);
}

TEST(CheckPly, DecimalsOfAWholeType_AreReadAsWritten) {
  PlySample sheet = PlySheet(10);
  sheet.coordinate = "int";
  ExpectMendable(TextPly(sheet), "not-whole", ExitCode::kCorrupt, 200);
  // "2.0" is cut to what it means.
  EXPECT_EQ(Ids(Replaced(Replaced(TextPly(sheet), "int x", "float x"), "int y", "float y")).size(), 1u);
  for (auto& v : sheet.vertices) v = {std::round(v[0]), std::round(10 * v[1]), std::round(10 * v[2])};
  EXPECT_EQ(Ids(TextPly(sheet)), Names{});
}

TEST(CheckPly, Words_AreJudged) {
  const std::string text = TextPly(PlySheet(12));
  const std::size_t body = text.find("end_header\n") + 11;
  ExpectMendable(text.substr(0, body) + Replaced(text.substr(body), ".", ","), "decimal-comma",
                 ExitCode::kCorrupt, 288);
  ExpectMendable(text.substr(0, body) + "\n" + text.substr(body), "blank-lines", ExitCode::kCorrupt, 288);
  EXPECT_EQ(Ids(text + "\n\n"), Names{});
  const std::string bad = text.substr(0, body) + "oops " + text.substr(body);
  EXPECT_EQ(Ids(bad), (Names{"bad-number", "non-finite"}));
  EXPECT_NE(Check(bad).findings[0].what.find("line 11"), std::string::npos);
  EXPECT_EQ(Repair(bad).triangles.size(), 286u);
}

TEST(CheckPly, OtherElementsAndProperties_ArePassedOver) {
  const std::string text = TextPly(PlySheet(10));
  std::string rich = Replaced(text, "element vertex",
                              "element camera 2\nproperty string name\nproperty list uchar double d\n"
                              "element empty 1\nelement vertex");
  rich = Replaced(rich, "end_header\n", "end_header\n\"two words\" 2 1 2\none 0\n\n");
  EXPECT_EQ(Ids(rich), Names{});
  EXPECT_EQ(TrianglesOf(rich), TrianglesOf(text));
  const std::string binary = BinaryPly(PlySheet(10));
  std::string rare = Replaced(binary, "element vertex",
                              "element camera 1\nproperty string name\nproperty list ushort double d\n"
                              "element empty 7\nelement vertex");
  rare.insert(rare.find("end_header\n") + 11, std::string("\x03"
                                                          "abc\x01\x00"
                                                          "12345678",
                                                          14));
  EXPECT_EQ(Ids(rare), Names{});
  EXPECT_EQ(TrianglesOf(rare), TrianglesOf(binary));
}

TEST(CheckPly, TooShort_KeepsTheFacesThatAreThere) {
  const std::string binary = BinaryPly(PlySheet(12));
  ExpectMendable(binary.substr(0, binary.size() - 14), "too-short", ExitCode::kCorrupt, 286);
  const std::string text = TextPly(PlySheet(12));
  const std::size_t last = text.rfind('\n', text.size() - 2) + 1;
  ExpectMendable(text.substr(0, last), "too-short", ExitCode::kCorrupt, 287);
  ExpectHopeless(binary.substr(0, 500), "too-short", ExitCode::kCorrupt);
  // Announced numbers are never believed.
  EXPECT_EQ(Ids(Replaced(binary, "face 288", "face 99999999999999999999")), Names{"too-short"});
  EXPECT_EQ(Ids(Replaced(text, "vertex 169", "vertex 1e300")).front(), "too-short");
}

TEST(CheckPly, EveryPrefix_IsReadWithoutHarm) {
  const PlySample sheet = PlySheet(3);
  for (const std::string& bytes : {TextPly(sheet), BinaryPly(sheet), BinaryPly(sheet, true)}) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      const PlyCheck check = Check(bytes.substr(0, size));
      EXPECT_NE(check.FirstError(), nullptr) << size;
      EXPECT_LE(check.triangles, 18u);
    }
  }
}

TEST(CheckPly, FlippedBytes_AreReadWithoutHarm) {
  const PlySample sheet = PlySheet(3);
  std::mt19937 random(5);
  for (const std::string& bytes : {TextPly(sheet), BinaryPly(sheet), BinaryPly(sheet, true)}) {
    for (int round = 0; round < 3000; ++round) {
      std::string changed = bytes;
      for (int k = 0; k < 1 + round % 4; ++k) {
        changed[random() % changed.size()] = static_cast<char>(random());
      }
      const RepairedMesh mended = Repair(changed);
      for (const Triangle& t : mended.triangles) {
        EXPECT_TRUE(std::all_of(t.begin(), t.end(), [](float v) { return std::isfinite(v); }));
      }
    }
  }
}

TEST(CheckPly, TinyTriangles_AreScaled) {
  const std::string tiny = BinaryPly(PlySheet(10, 1e-4f));
  EXPECT_EQ(Ids(tiny), Names{"tiny-triangles"});
  EXPECT_GT(Repair(tiny).scale, 1);
  // What an STL file would be too small for.
  EXPECT_EQ(Ids(BinaryPly(PlySheet(10, 0.005f))), Names{});
}

TEST(WriteBinaryPly, WhatIsWritten_IsReadBack) {
  const std::vector<Triangle> triangles = TrianglesOf(BinaryPly(PlySheet(10)));
  const TemporaryFile file = TemporaryFile::Create();
  WriteBinaryPly(file.path(), triangles);
  const std::string bytes = ReadWholeFile(file.path());
  EXPECT_EQ(TrianglesOf(bytes), triangles);
  EXPECT_EQ(Ids(bytes), Names{});
}

}  // namespace
}  // namespace qv3d
