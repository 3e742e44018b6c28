#include "mesh/stl_reader.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/stl_reference.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/stl_files.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::stl;
using qv::mesh::Triangle;
using qv::mesh::Vertex;
using qv::test::AsciiStl;
using qv::test::BinaryStl;
using qv::test::Random;
using qv::test::TakeMessages;
using qv::test::TemporaryFile;
using qv::test::Triangles;

constexpr const char* kNormalMessage = "ReadSTL - Error reading triangle normal\n";
constexpr const char* kVerticesMessage = "ReadSTL - Error reading triangle vertices\n";
constexpr const char* kVertexMessage = "ReadSTL - Error occured reading a vertex\n";
constexpr const char* kTooManyMessage = "ReadSTL - More than 3 vertices, shouldn't happen\n";
constexpr const char* kHeaderMessage = "ReadSTL - Error reading binary file header\n";
constexpr const char* kFailedMessage = "Failed to open or recognise the STL file\n";
constexpr const char* kEmptyMessage = "Failed to read any triangles\n";

const Triangle kFirst = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
const Triangle kSecond = {{-1.5F, 0.25F, 1e-3F}, {10, -20, 30}, {0, 1, 2}};

struct Parsed {
  bool ended = false;
  float bounds[6] = {};  ///< in the order of the arguments
  int count = 0;
  Triangles triangles;
  std::string messages;
};

Triangles Loaded() {
  if (stl.StlTriangles.empty()) return {};
  return Triangles(stl.StlTriangles.begin(), stl.StlTriangles.end());
}

Parsed ParseNamed(const char* name) {
  TakeMessages();
  Parsed parsed;
  qv::test::Guarded<float> bounds(6, 77.0F);
  qv::test::Guarded<int> count(1, 77);
  parsed.ended = qv::test::EndsProcess([&] {
    EXPECT_EQ(
        ParseSTLFile(name, &bounds[0], &bounds[1], &bounds[2], &bounds[3], &bounds[4], &bounds[5], &count[0]),
        0U);
  });
  for (std::size_t i = 0; i < 6; ++i) parsed.bounds[i] = bounds[i];
  parsed.count = count[0];
  parsed.messages = TakeMessages();
  parsed.triangles = Loaded();
  CleanUpSTL();
  return parsed;
}

Parsed Parse(const std::string& bytes) {
  return ParseNamed(TemporaryFile(bytes).name());
}

/// The file ends the process with these messages, and nothing was written.
void ExpectEnd(const std::string& bytes, const std::string& messages) {
  const Parsed parsed = Parse(bytes);
  EXPECT_TRUE(parsed.ended);
  EXPECT_EQ(parsed.messages, messages);
  EXPECT_EQ(parsed.count, 77);
  for (const float bound : parsed.bounds) EXPECT_EQ(bound, 77.0F);
  EXPECT_TRUE(parsed.triangles.empty());
}

/// The same bits, but a NaN is a NaN.
bool SameCoordinate(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}
::testing::AssertionResult SameTriangles(const Triangles& actual, const Triangles& expected) {
  if (actual.size() != expected.size()) {
    return ::testing::AssertionFailure() << actual.size() << " triangles, expected " << expected.size();
  }
  for (std::size_t i = 0; i < actual.size(); ++i) {
    float a[9], b[9];
    std::memcpy(a, &actual[i], sizeof a);
    std::memcpy(b, &expected[i], sizeof b);
    for (int k = 0; k < 9; ++k) {
      if (!SameCoordinate(a[k], b[k])) {
        return ::testing::AssertionFailure()
               << "coordinate " << k << " of triangle " << i << " is " << a[k] << ", expected " << b[k];
      }
    }
  }
  return ::testing::AssertionSuccess();
}

void ExpectTriangles(const std::string& bytes, const Triangles& triangles, const std::string& messages = "") {
  const Parsed parsed = Parse(bytes);
  EXPECT_FALSE(parsed.ended);
  EXPECT_EQ(parsed.messages, messages);
  EXPECT_EQ(parsed.count, static_cast<int>(triangles.size()));
  EXPECT_TRUE(SameTriangles(parsed.triangles, triangles));
}

void ExpectLikeReference(const std::string& bytes) {
  const qv::test::StlReference expected = qv::test::ReadStlReference(bytes);
  std::string messages = expected.messages;
  if (expected.result < 0) messages += kFailedMessage;
  if (expected.result == 0) messages += kEmptyMessage;
  const Parsed parsed = Parse(bytes);
  ASSERT_EQ(parsed.ended, expected.result < 1);
  ASSERT_EQ(parsed.messages, messages);
  ASSERT_TRUE(SameTriangles(parsed.triangles, expected.result < 1 ? Triangles{} : expected.triangles));
}

Triangles RandomTriangles(Random& random, int count) {
  Triangles triangles(static_cast<std::size_t>(count));
  const auto vertex = [&] {
    return Vertex{static_cast<float>(random.Between(-5.0, 5.0)),
                  static_cast<float>(random.Between(-5.0, 5.0)),
                  static_cast<float>(random.Between(-5.0, 5.0))};
  };
  for (Triangle& t : triangles) t = {vertex(), vertex(), vertex()};
  return triangles;
}

struct VerboseScope {
  VerboseScope() { stl.Verbose = 1; }
  ~VerboseScope() { stl.Verbose = 0; }
};

}  // namespace

TEST(ParseSTLFile_Binary, TwoTriangles_StoredInOrder) {
  ExpectTriangles(BinaryStl({kFirst, kSecond}), {kFirst, kSecond});
}

TEST(ParseSTLFile_Binary, Bounds_InOrderOfArguments) {
  const Parsed parsed = Parse(BinaryStl({kSecond}));
  const float expected[6] = {-1.5F, 10, -20, 1, 1e-3F, 30};
  EXPECT_TRUE(qv::test::SameBits(parsed.bounds, expected, 6));
  EXPECT_EQ(parsed.count, 1);
}

TEST(ParseSTLFile_Binary, HeaderBeginningWithSolid_ReadAsText) {
  for (const char* header : {"solid binary", "SOLID", "sOlId x"}) {
    ExpectEnd(BinaryStl({kFirst}, 1, header), kEmptyMessage);
  }
  ExpectTriangles(BinaryStl({kFirst}, 1, "soli d"), {kFirst});
  ExpectTriangles(BinaryStl({kFirst}, 1, " solid"), {kFirst});
  ExpectTriangles(BinaryStl({kFirst}, 1, std::string("sol\0id", 6)), {kFirst});
  ExpectTriangles(BinaryStl({kFirst}, 1, "soli\n"), {kFirst});
}

TEST(ParseSTLFile_Binary, FewerThanAnnounced_KeepsWhatIsThere) {
  ExpectTriangles(BinaryStl({kFirst, kSecond}, 3), {kFirst, kSecond}, kNormalMessage);
  ExpectTriangles(BinaryStl({kFirst}, 0x7FFFFFFF), {kFirst}, kNormalMessage);
}

TEST(ParseSTLFile_Binary, MoreThanAnnounced_IgnoresTheRest) {
  ExpectTriangles(BinaryStl({kFirst, kSecond}, 1), {kFirst});
}

TEST(ParseSTLFile_Binary, NoneAnnounced_EndsProcess) {
  ExpectEnd(BinaryStl({kFirst}, 0), kEmptyMessage);
  ExpectEnd(BinaryStl({kFirst}, -1), kEmptyMessage);
  ExpectEnd(BinaryStl({kFirst}, INT32_MIN), kEmptyMessage);
}

TEST(ParseSTLFile_Binary, CountCutOff_CountsAsNone) {
  for (std::size_t size = 80; size < 84; ++size)
    ExpectEnd(BinaryStl({kFirst}).substr(0, size), kEmptyMessage);
}

TEST(ParseSTLFile_Binary, ShortHeader_EndsProcess) {
  ExpectEnd(std::string(79, 'x'), std::string(kHeaderMessage) + kFailedMessage);
  ExpectEnd("x", std::string(kHeaderMessage) + kFailedMessage);
}

TEST(ParseSTLFile_Binary, CutInsideVertices_KeepsCoordinatesOfRecordBefore) {
  const std::string bytes = BinaryStl({kFirst, kSecond});
  const std::size_t second = 84 + 50 + 12;
  for (std::size_t cut = 0; cut < 36; ++cut) {
    SCOPED_TRACE(cut);
    Triangle expected = kFirst;
    std::memcpy(&expected, &kSecond, cut / 4 * 4);  // a coordinate that is cut through is not read
    ExpectTriangles(bytes.substr(0, second + cut), {kFirst, expected}, kVerticesMessage);
  }
  ExpectTriangles(bytes.substr(0, second + 36), {kFirst, kSecond});
  ExpectTriangles(bytes.substr(0, second + 37), {kFirst, kSecond});
}

TEST(ParseSTLFile_Binary, CutInsideVerticesOfMany_TwoMessages) {
  const std::string bytes = BinaryStl({kFirst}, 2);
  ExpectTriangles(bytes.substr(0, bytes.size() - 8), {{kFirst.a, kFirst.b, {7, 0, 0}}},
                  std::string(kVerticesMessage) + kNormalMessage);
}

TEST(ParseSTLFile_Binary, CutInsideVerticesOfFirst_RestIsZero) {
  ExpectTriangles(BinaryStl({kFirst}).substr(0, 84 + 12), {Triangle{}}, kVerticesMessage);
  ExpectTriangles(BinaryStl({kFirst}).substr(0, 84 + 12 + 8), {{{1, 2, 0}, {}, {}}}, kVerticesMessage);
}

TEST(ParseSTLFile_Binary, CutInsideFirstNormal_EndsProcess) {
  for (std::size_t cut = 0; cut < 12; ++cut) {
    ExpectEnd(BinaryStl({kFirst}).substr(0, 84 + cut), std::string(kNormalMessage) + kEmptyMessage);
  }
}

TEST(ParseSTLFile_Binary, ManyBlocks_AllRead) {
  Random random(21);
  // Past the first reservation and over many blocks, which end inside records.
  const Triangles triangles = RandomTriangles(random, 100003);
  ExpectTriangles(BinaryStl(triangles), triangles);
  const std::string bytes = BinaryStl(triangles);
  for (std::size_t cut = 1; cut < 60; cut += 7) ExpectLikeReference(bytes.substr(0, bytes.size() - cut));
}

TEST(ParseSTLFile_Text, TwoTriangles_StoredInOrder) {
  ExpectTriangles(AsciiStl({kFirst, kSecond}), {kFirst, kSecond});
}

TEST(ParseSTLFile_Text, KeywordsInAnyCase_Recognised) {
  ExpectTriangles(
      "SoLiD\nFACET NORMAL 0 0 1 OUTER LOOP VERTEX 1 2 3 vErTeX 4 5 6 Vertex 7 8 9 ENDLOOP ENDFACET",
      {kFirst});
}

TEST(ParseSTLFile_Text, WithoutWhiteSpaceAtEnd_StillCommitted) {
  ExpectTriangles("solid facet vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 endfacet", {kFirst});
  ExpectTriangles("solidvertex facet vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 endfacet endsolid", {kFirst});
}

TEST(ParseSTLFile_Text, FacetCommitsToo) {
  ExpectTriangles("solid vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 facet", {kFirst});
}

TEST(ParseSTLFile_Text, NeverClosed_NotStored) {
  ExpectEnd("solid facet vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 endloop endsolid", kEmptyMessage);
}

TEST(ParseSTLFile_Text, TwoVertices_NoTriangleNoMessage) {
  ExpectTriangles("solid facet vertex 1 2 3 vertex 4 5 6 endfacet " + qv::test::FacetText(kSecond),
                  {kSecond});
}

TEST(ParseSTLFile_Text, FourVertices_FacetLost) {
  ExpectTriangles("solid facet vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 vertex 1 1 1 endfacet " +
                      qv::test::FacetText(kSecond),
                  {kSecond}, kTooManyMessage);
  // The count starts again: three more make a triangle after all.
  ExpectTriangles(
      "solid facet vertex 0 0 0 vertex 0 0 0 vertex 0 0 0 vertex 0 0 0 vertex 1 2 3 vertex 4 5 6 vertex 7 8 "
      "9 endfacet",
      {kFirst}, kTooManyMessage);
}

TEST(ParseSTLFile_Text, BadVertex_StopsWithTrianglesSoFar) {
  const std::string good = "solid " + qv::test::FacetText(kFirst);
  for (const char* bad :
       {"vertex 1 2 x", "vertex 1 2", "vertex", "vertex 1,5 2 3", "vertex 1e 2 3", "vertex 1 2 3e+",
        "vertex vertex 1 2 3", "vertex 0x 1 2", "vertex nan( 1 2", "vertex 1 2 3endfacet"}) {
    ExpectTriangles(good + bad + " " + qv::test::FacetText(kSecond), {kFirst}, kVertexMessage);
  }
  ExpectEnd("solid facet vertex 1 2 x", std::string(kVertexMessage) + kEmptyMessage);
}

TEST(ParseSTLFile_Text, NumbersWithoutSpace_AreSeparate) {
  ExpectTriangles("solid vertex 1.0+2.0+3 vertex +4 5 6 vertex 7 8 9facet", {kFirst});
  ExpectTriangles("solid vertex 1-2.5.5 vertex 0x10 infnan vertex 7 8 9facet",
                  {{{1, -2.5F, 0.5F}, {16, INFINITY, NAN}, {7, 8, 9}}});
}

TEST(ParseSTLFile_Text, ControlCharacters_SeparateOnlyWhereTheyAreWhiteSpace) {
  ExpectTriangles("solid\vvertex\f1\r2\t3\nvertex 4 5 6 vertex 7 8 9\vendfacet\f", {kFirst});
  ExpectEnd(
      "solid vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 \x01"
      "endfacet",
      kEmptyMessage);
  ExpectEnd("solid vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 endfacet\x85", kEmptyMessage);
}

TEST(ParseSTLFile_Text, EmbeddedNul_EndsKeywordButNotWord) {
  using namespace std::string_literals;
  ExpectTriangles("solid vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 endfacet\0xyz endsolid"s, {kFirst});
  ExpectEnd("solid vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 \0endfacet"s, kEmptyMessage);
  ExpectTriangles("solid vertex 1 2 3 vertex 4 5 6 vertex 7 8 9 end\0facet facet\0facet"s, {kFirst});
}

TEST(ParseSTLFile_Text, LongWordsAndNumbers_AnyLength) {
  for (const std::size_t length : {99U, 100U, 101U, 300000U, 1000000U}) {
    SCOPED_TRACE(length);
    const std::string word(length, 'v'), zeros(length, '0');
    ExpectTriangles("solid " + word + " vertex " + zeros + "1 2." + zeros +
                        " 3 vertex 4 5 6 vertex 7 8 9 endfacet" + " vertex" + word + " " + word,
                    {kFirst});
  }
}

TEST(ParseSTLFile_Text, BlockBoundaries_AnywhereInTokens) {
  // The text slides over the end of the first block byte by byte.
  const std::string facets = qv::test::FacetText(kFirst) + qv::test::FacetText(kSecond);
  for (std::size_t slide = 0; slide < facets.size() + 8; ++slide) {
    std::string text = "solid ";
    text.resize(262144 + 4 - slide, slide % 3 == 0 ? '\n' : 'x');
    text += "\n" + facets;
    ExpectTriangles(text, {kFirst, kSecond});
  }
}

TEST(ParseSTLFile_Text, ManyTriangles_AllRead) {
  Random random(22);
  const Triangles triangles = RandomTriangles(random, 5000);
  ExpectTriangles(AsciiStl(triangles), triangles);
}

TEST(ParseSTLFile_Prefixes, EveryPrefix_LikeReference) {
  const std::string binary = BinaryStl({kFirst, kSecond, kFirst});
  for (std::size_t size = 0; size <= binary.size(); ++size) ExpectLikeReference(binary.substr(0, size));
  const std::string text = AsciiStl({kFirst, kSecond});
  for (std::size_t size = 0; size <= text.size(); ++size) ExpectLikeReference(text.substr(0, size));
}

TEST(ParseSTLFile_RandomDamage, FlippedBytes_LikeReference) {
  Random random(23);
  const std::string originals[] = {BinaryStl(RandomTriangles(random, 4)),
                                   AsciiStl(RandomTriangles(random, 3))};
  const std::string likely = "vertex facetendfacet0123456789.-+eExnaif \n\t\0";
  for (int i = 0; i < 20000; ++i) {
    std::string bytes = originals[i % 2];
    for (int flips = random.Between(1, 6); flips > 0; --flips) {
      char& byte = bytes[static_cast<std::size_t>(random.Below(static_cast<int>(bytes.size())))];
      byte = random.Chance(0.5)
                 ? static_cast<char>(byte ^ (1 << random.Below(8)))
                 : likely[static_cast<std::size_t>(random.Below(static_cast<int>(likely.size())))];
    }
    ExpectLikeReference(bytes);
    if (HasFatalFailure()) FAIL() << "round " << i;
  }
}

TEST(ParseSTLFile_Files, MissingEmptyOrDirectory_EndsProcess) {
  ExpectEnd("", kFailedMessage);
  for (const std::string& name :
       {std::string("/nonexistent/qv3d.stl"), std::filesystem::temp_directory_path().string()}) {
    const Parsed parsed = ParseNamed(name.c_str());
    EXPECT_TRUE(parsed.ended);
    EXPECT_EQ(parsed.messages, kFailedMessage);
  }
}

TEST(ParseSTLFile_Bounds, EqualExtremes_FirstStays) {
  const Triangles triangles(7, Triangle{{0, 1, -0.0F}, {-0.0F, 1, 0}, {0, 1, -0.0F}});
  for (std::size_t count = 1; count <= triangles.size(); ++count) {
    const Parsed parsed =
        Parse(BinaryStl(Triangles(triangles.begin(), triangles.begin() + static_cast<long>(count))));
    const float expected[6] = {0, 0, 1, 1, -0.0F, -0.0F};
    EXPECT_TRUE(qv::test::SameBits(parsed.bounds, expected, 6)) << count;
  }
}

TEST(ParseSTLFile_Bounds, BeyondStartValuesOrNan_StartValuesStay) {
  const Parsed beyond =
      Parse(BinaryStl({{{2e10F, -3e10F, NAN}, {4e10F, -2e10F, NAN}, {3e10F, -5e10F, NAN}}}));
  const float expected[6] = {1e10F, 4e10F, -5e10F, -1e10F, 1e10F, -1e10F};
  EXPECT_TRUE(qv::test::SameBits(beyond.bounds, expected, 6));
}

TEST(ParseSTLFile_Bounds, RandomMeshes_SequentialSearch) {
  Random random(24);
  for (int round = 0; round < 300; ++round) {
    Triangles triangles(static_cast<std::size_t>(random.Between(1, 40)));
    for (Triangle& t : triangles) {
      const std::vector<float> nine = qv::test::RandomSamples(
          random, 9, {.missing = 0.02, .nan = 0.05, .infinite = 0.03, .repeated = 0.6, .magnitude = 3});
      std::memcpy(&t, nine.data(), sizeof t);
    }
    float expected[6] = {1e10F, -1e10F, 1e10F, -1e10F, 1e10F, -1e10F};
    for (const Triangle& t : triangles) {
      for (const Vertex& v : {t.a, t.b, t.c}) {
        const float coordinates[3] = {v.x, v.y, v.z};
        for (int k = 0; k < 3; ++k) {
          if (coordinates[k] < expected[2 * k]) expected[2 * k] = coordinates[k];
          if (coordinates[k] > expected[2 * k + 1]) expected[2 * k + 1] = coordinates[k];
        }
      }
    }
    EXPECT_TRUE(qv::test::SameBits(Parse(BinaryStl(triangles)).bounds, expected, 6));
  }
}

TEST(ParseSTLFile_Verbose, Binary_AllMessages) {
  const VerboseScope verbose;
  EXPECT_EQ(Parse(BinaryStl({kFirst, kSecond}, 3)).messages,
            "Attempting to read a binary STL file\n"
            "Expecting 3 triangles\n"
            "ReadSTL - Error reading triangle normal\n"
            "Successfully read 2 triangles\n"
            "Model bounds: -1.5 <= x <= 10\n"
            "-20 <= y <= 8\n"
            "0.001 <= z <= 30\n");
  EXPECT_EQ(Parse(BinaryStl({}, -5)).messages,
            "Attempting to read a binary STL file\nExpecting -5 triangles\nFailed to read any triangles\n");
  EXPECT_EQ(Parse("short").messages,
            "Attempting to read a binary STL file\nReadSTL - Error reading binary file header\n"
            "Failed to open or recognise the STL file\n");
}

TEST(ParseSTLFile_Verbose, Text_AllMessages) {
  const VerboseScope verbose;
  EXPECT_EQ(Parse(AsciiStl({kFirst})).messages,
            "Attempting to read an ascii STL file\n"
            "Successfully read 1 triangles\n"
            "Model bounds: 1 <= x <= 7\n"
            "2 <= y <= 8\n"
            "3 <= z <= 9\n");
  EXPECT_EQ(Parse("").messages, kFailedMessage);
}

TEST(ParseSTLFile_State, SecondParse_ReplacesMesh) {
  const TemporaryFile first(BinaryStl({kFirst, kSecond})), second(AsciiStl({kSecond}));
  float b[6];
  int count = 0;
  ParseSTLFile(first.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &count);
  EXPECT_EQ(count, 2);
  ParseSTLFile(second.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &count);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(b[0], -1.5F);
  EXPECT_TRUE(SameTriangles(Loaded(), {kSecond}));
  EXPECT_EQ(CleanUpSTL(), 0U);
}

TEST(CleanUpSTL_Repeated, DoesNothing_ReturnsZero) {
  const TemporaryFile file(BinaryStl({kFirst}));
  float b[6];
  int count = 0;
  ParseSTLFile(file.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &count);
  EXPECT_EQ(CleanUpSTL(), 0U);
  EXPECT_EQ(stl.StlTriangles.data(), nullptr);
  EXPECT_EQ(CleanUpSTL(), 0U);
}

TEST(ParseSTLFile_Locale, DecimalComma_ChangesNothing) {
  const qv::test::DecimalComma locale;
  if (!locale.active()) GTEST_SKIP() << "no locale with a decimal comma here, and localedef cannot make one";
  ExpectTriangles(
      "solid vertex -1.5 0.25 1.0e-3 vertex 10 -20 30.0 vertex 0 1.000000000000000000000 2 endfacet",
      {kSecond});
  ExpectEnd("solid vertex 1,5 2 3", std::string(kVertexMessage) + kEmptyMessage);
}

#ifndef _WIN32
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

TEST(ParseSTLFile_Files, Pipe_ReadLikeFile) {
  Random random(25);
  const Triangles triangles = RandomTriangles(random, 20000);
  for (const std::string& bytes : {BinaryStl(triangles), AsciiStl(triangles)}) {
    const TemporaryFile placeholder("");
    std::remove(placeholder.name());
    ASSERT_EQ(mkfifo(placeholder.name(), 0600), 0);
    std::thread writer([&] { placeholder.Write(bytes); });
    const Parsed parsed = ParseNamed(placeholder.name());
    writer.join();
    EXPECT_FALSE(parsed.ended);
    EXPECT_TRUE(SameTriangles(parsed.triangles, triangles));
  }
}
#endif
