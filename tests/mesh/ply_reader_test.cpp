#include "mesh/ply_reader.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/ply_reference.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"
#include "tests/support/ply_files.h"
#include "tests/support/random_grid.h"
#include "tests/support/temporary_file.h"

namespace {

using namespace std::string_literals;
using qv::mesh::ply;
using qv::mesh::PlyFace;
using qv::mesh::Vertex;
using qv::ply::FileKind;
using qv::ply::Type;
using qv::test::kPlyKinds;
using qv::test::PlyMesh;
using qv::test::PlyWriter;
using qv::test::Random;
using qv::test::TakeMessages;
using qv::test::TemporaryFile;

constexpr const char* kEndMessage = "ply_get_element: unexpected end of file\n";
constexpr const char* kBombedMessage = "Memory allocation bombed on line 0 in ply\n";
constexpr const char* kNoX = "Warning:  Can't find property 'x' in element 'vertex'\n";
constexpr const char* kNoCorners = "Warning:  Can't find property 'vertex_indices' in element 'face'\n";

struct Parsed {
  bool ended = false;
  unsigned status = 77;
  float bounds[6] = {};  ///< in the order of the arguments
  int vertexCount = 0, faceCount = 0;
  std::vector<Vertex> vertices;
  std::vector<PlyFace> faces;
  std::string messages;
};

Parsed ParseNamed(const char* name) {
  TakeMessages();
  Parsed parsed;
  qv::test::Guarded<float> b(6, 77.0F);
  qv::test::Guarded<int> counts(2, 77);
  parsed.ended = qv::test::EndsProcess([&] {
    parsed.status = ParsePLYFile(name, &b[0], &b[1], &b[2], &b[3], &b[4], &b[5], &counts[0], &counts[1]);
  });
  for (std::size_t i = 0; i < 6; ++i) parsed.bounds[i] = b[i];
  parsed.vertexCount = counts[0];
  parsed.faceCount = counts[1];
  // The line of the source is not the tests' business.
  static const std::regex line("bombed on line [0-9]+ in");
  parsed.messages = std::regex_replace(TakeMessages(), line, "bombed on line 0 in");
  if (!ply.PlyVertices.empty()) parsed.vertices.assign(ply.PlyVertices.begin(), ply.PlyVertices.end());
  if (!ply.PlyFaces.empty()) parsed.faces.assign(ply.PlyFaces.begin(), ply.PlyFaces.end());
  CleanUpPLY();
  if (parsed.status != 0) {
    for (const float bound : parsed.bounds) EXPECT_EQ(bound, 77.0F);
    EXPECT_EQ(parsed.vertexCount, 77);
    EXPECT_EQ(parsed.faceCount, 77);
  }
  return parsed;
}

Parsed Parse(const std::string& bytes) {
  return ParseNamed(TemporaryFile(bytes).name());
}

void ExpectFailure(const std::string& bytes, const std::string& messages = "") {
  const Parsed parsed = Parse(bytes);
  EXPECT_FALSE(parsed.ended);
  EXPECT_EQ(parsed.status, 1U);
  EXPECT_EQ(parsed.messages, messages);
}

void ExpectEnd(const std::string& bytes, const std::string& messages) {
  const Parsed parsed = Parse(bytes);
  EXPECT_TRUE(parsed.ended);
  EXPECT_EQ(parsed.messages, messages);
}

/// A file of one vertex, of floats x, y, z, whose header begins with `head`.
std::string OneVertex(const std::string& head, const std::string& body) {
  return head + "element vertex 1\nproperty float x\nproperty float y\nproperty float z\nend_header\n" + body;
}
std::string OneVertex(const std::string& body) {
  return OneVertex("ply\nformat ascii 1.0\n", body);
}

/// The file has one vertex, and this is it, in the file's axes.
void ExpectVertex(const std::string& bytes, const Vertex& v, const std::string& messages = "") {
  const Parsed parsed = Parse(bytes);
  EXPECT_FALSE(parsed.ended);
  EXPECT_EQ(parsed.status, 0U);
  EXPECT_EQ(parsed.messages, messages);
  ASSERT_EQ(parsed.vertices.size(), 1U);
  const Vertex expected = {v.y, -v.z, v.x};
  EXPECT_TRUE(qv::test::SameBits(&parsed.vertices[0].x, &expected.x, 3));
}

/// What `word` gives in a column of a type, stored as a float.
float ReadWord(const std::string& type, const std::string& word) {
  const Parsed parsed =
      Parse("ply\nformat ascii 1.0\nelement vertex 1\nproperty " + type + " x\nend_header\n" + word + "\n");
  EXPECT_EQ(parsed.vertices.size(), 1U) << parsed.messages;
  return parsed.vertices.empty() ? 77.0F : parsed.vertices[0].z;
}

/// What `word` gives as the only item of a list of a type, stored as an int.
std::int32_t ReadItem(const std::string& type, const std::string& word) {
  const Parsed parsed = Parse(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nelement face 1\nproperty list uchar " +
      type + " vertex_indices\nend_header\n0\n1 " + word + "\n");
  EXPECT_EQ(parsed.faces.size(), 1U) << parsed.messages;
  return parsed.faces.empty() ? 77 : parsed.faces[0].vertexIndices[0];
}

const std::vector<Vertex> kVertices = {{1, 2, 3}, {-0.5F, 1e-3F, 7}, {4, 0, -0.0F}, {9, 8.25F, -6}};
const qv::test::PlyFaces kFaces = {{0, 1, 2}, {3, 2, 1, 0}, {1, 2}, {}, {2, 3, 0}};

bool SameValue(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

void ExpectSameMesh(const Parsed& actual, const qv::test::PlyReference& expected) {
  ASSERT_EQ(actual.vertices.size(), expected.vertices.size());
  for (std::size_t i = 0; i < actual.vertices.size(); ++i) {
    const Vertex& v = actual.vertices[i];
    ASSERT_TRUE(SameValue(v.z, expected.vertices[i].x)) << "x of vertex " << i << ": " << v.z;
    ASSERT_TRUE(SameValue(v.x, expected.vertices[i].y)) << "y of vertex " << i << ": " << v.x;
    ASSERT_TRUE(SameValue(-v.y, expected.vertices[i].z)) << "z of vertex " << i << ": " << -v.y;
  }
  ASSERT_EQ(actual.faces.size(), expected.faces.size());
  for (std::size_t i = 0; i < actual.faces.size(); ++i) {
    ASSERT_EQ(actual.faces[i].vertexCount, expected.faces[i].count) << "face " << i;
    for (int k = 0; k < 3; ++k)
      ASSERT_EQ(actual.faces[i].vertexIndices[k], expected.faces[i].corners[k]) << "face " << i;
  }
}

/// Beginning at the first vertex, and then only strictly smaller and larger ones.
void ExpectBounds(const Parsed& parsed) {
  const auto coordinate = [](const Vertex& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; };
  for (int axis = 0; axis < 3; ++axis) {
    float low = coordinate(parsed.vertices[0], axis), high = low;
    for (const Vertex& v : parsed.vertices) {
      if (coordinate(v, axis) < low) low = coordinate(v, axis);
      if (coordinate(v, axis) > high) high = coordinate(v, axis);
    }
    ASSERT_TRUE(SameValue(parsed.bounds[2 * axis], low));
    ASSERT_TRUE(SameValue(parsed.bounds[2 * axis + 1], high));
  }
}

/// Returns whether there was a mesh to compare.
bool ExpectLikeReference(const std::string& bytes) {
  const qv::test::PlyReference expected = qv::test::ReadPlyReference(bytes);
  const Parsed parsed = Parse(bytes);
  EXPECT_EQ(parsed.ended, expected.ended);
  EXPECT_EQ(parsed.messages, expected.messages);
  if (expected.ended) return false;
  EXPECT_EQ(parsed.status, expected.status);
  if (expected.status != 0) return false;
  EXPECT_EQ(parsed.vertexCount, expected.vertexCount);
  EXPECT_EQ(parsed.faceCount, expected.faceCount);
  ExpectSameMesh(parsed, expected);
  ExpectBounds(parsed);
  return true;
}

}  // namespace

TEST(ParsePLYFile_Mesh, EveryEncoding_SameMesh) {
  for (const FileKind kind : kPlyKinds) {
    const Parsed parsed = Parse(PlyMesh(kind, kVertices, kFaces));
    EXPECT_EQ(parsed.status, 0U);
    EXPECT_EQ(parsed.messages, "");
    EXPECT_EQ(parsed.vertexCount, 4);
    EXPECT_EQ(parsed.faceCount, 5);
    ASSERT_EQ(parsed.faces.size(), 5U);
    EXPECT_EQ(parsed.faces[1].vertexCount, 4);
    EXPECT_EQ(parsed.faces[1].vertexIndices[2], 1);
    EXPECT_EQ(parsed.faces[2].vertexCount, 2);
    EXPECT_EQ(parsed.faces[3].vertexCount, 0);
    ASSERT_EQ(parsed.vertices.size(), 4U);
    EXPECT_EQ(parsed.vertices[1].x, 1e-3F);
    EXPECT_TRUE(ExpectLikeReference(PlyMesh(kind, kVertices, kFaces)));
  }
}

TEST(ParsePLYFile_Mesh, AxesTurned) {
  const Parsed parsed = Parse(PlyMesh(FileKind::kAscii, {{1, 2, 3}}, {}));
  const float expected[6] = {2, 2, -3, -3, 1, 1};
  EXPECT_TRUE(qv::test::SameBits(parsed.bounds, expected, 6));
  EXPECT_EQ(parsed.vertexCount, 1);
  EXPECT_EQ(parsed.faceCount, 0);
}

TEST(ParsePLYFile_Mesh, Bounds_BeginAtFirstVertex) {
  // Beyond where the box of an STL mesh begins.
  const Parsed far = Parse(PlyMesh(FileKind::kAscii, {{2e10F, 3e10F, 4e10F}, {3e10F, 2e10F, 5e10F}}, {}));
  const float expected[6] = {2e10F, 3e10F, -5e10F, -4e10F, 2e10F, 3e10F};
  EXPECT_TRUE(qv::test::SameBits(far.bounds, expected, 6));
  // A NaN in front stays, later ones are passed over.
  const Parsed first = Parse(OneVertex("nan 1 2"));
  EXPECT_TRUE(std::isnan(first.bounds[4]) && std::isnan(first.bounds[5]));
  const Parsed later = Parse(PlyMesh(FileKind::kAscii, {{1, 1, 1}, {NAN, 0, 0}, {3, 0, 0}}, {}));
  EXPECT_EQ(later.bounds[4], 1.0F);
  EXPECT_EQ(later.bounds[5], 3.0F);
}

TEST(ParsePLYFile_Header, FirstWord_MustBePly) {
  ExpectVertex(OneVertex("ply\nformat ascii 1.0\n", "1 2 3\n"), {1, 2, 3});
  ExpectVertex(OneVertex("ply and more\nformat ascii 1.0\n", "1 2 3\n"), {1, 2, 3});
  ExpectVertex(OneVertex(" \tply\nformat ascii 1.0\n", "1 2 3\n"), {1, 2, 3});
  ExpectVertex(OneVertex("\"ply\"\nformat ascii 1.0\n", "1 2 3\n"), {1, 2, 3});
  for (const char* start : {"PLY\n", "plyx\n", "\nply\n", "ply\r\n", "ply\v\n", "solid\n"})
    ExpectFailure(OneVertex(std::string(start) + "format ascii 1.0\n", "1 2 3\n"));
  ExpectFailure("");
  ExpectFailure("ply");
  ExpectFailure("\n");
}

TEST(ParsePLYFile_Header, FormatLine_ExactlyThreeKnownWords) {
  ExpectVertex(OneVertex("ply\nformat ascii 7abc\n", "1 2 3\n"), {1, 2, 3});
  ExpectVertex(OneVertex("ply\n  format\t ascii  x \n", "1 2 3\n"), {1, 2, 3});
  for (const char* line :
       {"format ascii", "format ascii 1.0 x", "format", "format ASCII 1.0", "format binary 1.0",
        "format ascii\r 1.0", "formatascii 1.0", "Format ascii 1.0", ""})
    ExpectFailure(OneVertex("ply\n"s + line + "\n", "1 2 3\n"));
  // The last one counts; a bad one anywhere rejects.
  ExpectVertex(OneVertex("ply\nformat binary_big_endian 1.0\nformat ascii 1.0\n", "1 2 3\n"), {1, 2, 3});
  ExpectFailure(OneVertex("ply\nformat ascii 1.0\nformat\n", "1 2 3\n"));
  ExpectVertex("ply\nelement vertex 1\nproperty float x\nformat ascii 1.0\nend_header\n5\n", {5, 0, 0},
               "Warning:  Can't find property 'y' in element 'vertex'\n"
               "Warning:  Can't find property 'z' in element 'vertex'\n");
}

TEST(ParsePLYFile_Header, TypeNames_BothOfEach) {
  const char* names[] = {"int8",   "char",   "int16",  "short", "int32",   "int",   "uint8",   "uchar",
                         "uint16", "ushort", "uint32", "uint",  "float32", "float", "float64", "double"};
  for (const char* name : names) EXPECT_EQ(ReadWord(name, "7"), 7.0F) << name;
  for (const char* name : {"Float", "int64", "FLOAT32", "string8", "long"}) {
    ExpectEnd("ply\nformat ascii 1.0\nelement vertex 1\nproperty "s + name + " x\nend_header\n7\n",
              "Warning:  Can't find property 'y' in element 'vertex'\n"
              "Warning:  Can't find property 'z' in element 'vertex'\nget_ascii_item: bad type = 0\n");
  }
}

TEST(ParsePLYFile_Header, OtherLines_Ignored) {
  ExpectVertex(OneVertex("ply\nformat ascii 1.0\nELEMENT vertex 9\nobj_info a b\ncomment end_header\n\n   \n"
                         "what is this\nEnd_Header\nend_headers\nProperty float x\n",
                         "1 2 3\n"),
               {1, 2, 3});
}

TEST(ParsePLYFile_Header, TooFewWords_DeclareNothing) {
  ExpectVertex(
      OneVertex("ply\nformat ascii 1.0\nelement\nelement vertex\nproperty float x\nproperty\nproperty int\n"
                "property list int int\n",
                "1 2 3\n"),
      {1, 2, 3});
  // Of the last element declared.
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty list int\nproperty list int int\nproperty string\n"
      "property float x\nelement other\nproperty float y\nproperty float z\nend_header\n1 2 3\n",
      {1, 2, 3});
}

TEST(ParsePLYFile_Header, CarriageReturns_PartOfWords) {
  ExpectFailure("ply\r\nformat ascii 1.0\r\nelement vertex 1\r\nproperty float x\r\nend_header\r\n1\r\n");
  // "end_header\r" does not end the header, so the body is part of it and the file ends before any record.
  ExpectEnd(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
      "end_header\r\n1 2 3\n",
      kEndMessage);
  ExpectVertex(
      "ply\nformat ascii 1.0\r\nelement vertex 1\r\nproperty float x\r\nproperty float y\n"
      "property float z\nend_header\n1 2 3\n",
      {0, 2, 3}, kNoX);
}

TEST(ParsePLYFile_Header, EndOfFile_EndsHeader) {
  const std::string head =
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z";
  ExpectEnd(head, kEndMessage);
  ExpectEnd(head + "\n", kEndMessage);
  const std::string binary =
      "ply\nformat binary_little_endian 1.0\nelement vertex 2\nproperty float x\nproperty float y\nproperty "
      "float z";
  const Parsed parsed = Parse(binary);
  EXPECT_EQ(parsed.status, 0U);
  EXPECT_EQ(parsed.vertices.size(), 2U);
  EXPECT_EQ(parsed.vertices[1].x, 0.0F);
}

TEST(ParsePLYFile_Header, QuotedWords_AreOne) {
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement \"vertex\" \"1\"\nproperty \"float\"\"x\"\nproperty float "
      "\"y\nproperty "
      "float z \"end_header\nend_header\n1 2 3\n",
      {1, 2, 3});
}

TEST(ParsePLYFile_Header, NamesExact) {
  ExpectFailure("ply\nformat ascii 1.0\nelement Vertex 1\nproperty float x\nend_header\n1\n");
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float X\nproperty float y\nproperty float z\n"
      "end_header\n1 2 3\n",
      {0, 2, 3}, kNoX);
}

TEST(ParsePLYFile_Header, WrongKind_NotFound) {
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty list uchar float x\nproperty float y\n"
      "property float z\nproperty float x\nend_header\n1 9 2 3 4\n",
      {0, 2, 3}, kNoX);
  const Parsed parsed = Parse(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\n"
      "property float z\nelement face 1\nproperty int vertex_indices\nend_header\n1 2 3\n5\n");
  EXPECT_EQ(parsed.messages, kNoCorners);
  EXPECT_EQ(parsed.faceCount, 1);
  EXPECT_EQ(parsed.faces[0].vertexCount, 0);
}

TEST(ParsePLYFile_Header, FirstOfEqualNames_Counts) {
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float x\nproperty float y\n"
      "property float z\nend_header\n1 9 2 3\n",
      {1, 2, 3});
}

TEST(ParsePLYFile_Header, ElementTwice_LastOneStays) {
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nelement vertex 1\nproperty float x\n"
      "property float y\nproperty float z\nend_header\n7\n8\n9\n1 2 3\n",
      {1, 2, 3},
      "Warning:  Can't find property 'y' in element 'vertex'\n"
      "Warning:  Can't find property 'z' in element 'vertex'\n");
}

TEST(ParsePLYFile_Header, LinesOfAnyLength) {
  for (const std::size_t length : {4090U, 4096U, 5000U, 300000U}) {
    const std::string word(length, 'c');
    std::string body = "1";
    body.append(length, ' ').append("2 3 ").append(word).append("\n");
    std::string head = "ply\ncomment ";
    head.append(word)
        .append("\n")
        .append(word)
        .append("\nformat ascii 1.0\nobj_info ")
        .append(word)
        .append("\n");
    ExpectVertex(OneVertex(head, body), {1, 2, 3});
  }
}

TEST(ParsePLYFile_Header, CountOfRecords_IntegerPrefix) {
  ExpectVertex(
      "ply\nformat ascii 1.0\nelement vertex 1.9\nproperty float x\nproperty float y\nproperty float z\n"
      "end_header\n1 2 3\n",
      {1, 2, 3});
  for (const char* count : {"0", "-3", "many", "\"\""})
    ExpectFailure("ply\nformat ascii 1.0\nelement vertex "s + count +
                  "\nproperty float x\nproperty float y\n" + "property float z\nend_header\n1 2 3\n");
}

TEST(ParsePLYFile_Header, NoVertices_ReturnsOne) {
  ExpectFailure("ply\nformat ascii 1.0\nend_header\n");
  ExpectFailure(
      "ply\nformat ascii 1.0\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n3 0 0 0\n");
}

TEST(ParsePLYFile_Header, NoFaces_ZeroFaces) {
  const Parsed parsed = Parse(OneVertex("1 2 3\n"));
  EXPECT_EQ(parsed.status, 0U);
  EXPECT_EQ(parsed.faceCount, 0);
}

TEST(ParsePLYFile_Text, LinesAreRecords) {
  ExpectVertex(OneVertex("1 2 3"), {1, 2, 3});
  ExpectVertex(OneVertex("1\r2\t 3 \r\n"), {1, 2, 3});
  ExpectVertex(OneVertex("1\n2\n3\n"), {1, 0, 0});
  ExpectVertex(OneVertex("\n1 2 3\n"), {0, 0, 0});
  ExpectVertex(OneVertex("1 2 3 4 5\n"), {1, 2, 3});
  ExpectVertex(OneVertex("1 2\0 3\n"s), {1, 2, 0});
  ExpectVertex(OneVertex("1 2\v 3\n"), {1, 2, 3});
  ExpectVertex(OneVertex("1\v2 3\n"), {1, 3, 0});
  ExpectVertex(OneVertex("\"1\"2 \"3 4\"\n"), {1, 2, 3});
  ExpectVertex(OneVertex("\"1 2\n3\""), {1, 0, 0});
  ExpectVertex(OneVertex("\"\" \" 2\" 3\n"), {0, 2, 3});
}

TEST(ParsePLYFile_Text, RecordMissing_EndsProcess) {
  ExpectEnd(OneVertex(""), kEndMessage);
  const std::string bytes = PlyMesh(FileKind::kAscii, kVertices, kFaces);
  // The last record is a line of nothing but its count: without it the file is one line short.
  const std::size_t lastLine = bytes.rfind('\n', bytes.size() - 2) + 1;
  ExpectEnd(bytes.substr(0, lastLine), kEndMessage);
  EXPECT_EQ(Parse(bytes.substr(0, lastLine) + "\n").status, 0U);
}

TEST(ParsePLYFile_Text, WordsConvertedByTypeOfFile) {
  for (const char* type : {"char", "short", "int", "uchar", "ushort"}) {
    EXPECT_EQ(ReadWord(type, "1e2"), 1.0F);
    EXPECT_EQ(ReadWord(type, "-12.9"), -12.0F);
    EXPECT_EQ(ReadWord(type, "+7x"), 7.0F);
    EXPECT_EQ(ReadWord(type, "0x10"), 0.0F);
    EXPECT_EQ(ReadWord(type, "abc"), 0.0F);
    EXPECT_EQ(ReadWord(type, "--1"), 0.0F);
    EXPECT_EQ(ReadWord(type, "70000"), 70000.0F);  // no rounding to the file's own type
    EXPECT_EQ(ReadWord(type, "99999999999999999999"), 2147483648.0F);
    EXPECT_EQ(ReadWord(type, "-99999999999999999999"), -2147483648.0F);
    EXPECT_EQ(ReadItem(type, "99999999999999999999"), INT32_MAX);
    EXPECT_EQ(ReadItem(type, "-2147483648"), INT32_MIN);
  }
  EXPECT_EQ(ReadWord("uint", "4294967295"), 4294967296.0F);
  EXPECT_EQ(ReadWord("uint", "1e2"), 1.0F);
  EXPECT_EQ(ReadItem("uint", "4294967295"), -1);
  EXPECT_EQ(ReadItem("uint", "-1"), -1);
  EXPECT_EQ(ReadItem("uint", "-4294967295"), 1);
  EXPECT_EQ(ReadItem("uint", "99999999999"), -1);
  for (const char* type : {"float", "double"}) {
    EXPECT_EQ(ReadWord(type, "1e2"), 100.0F);
    EXPECT_EQ(ReadWord(type, "1.0-2.0"), 1.0F);
    EXPECT_EQ(ReadWord(type, "1e"), 1.0F);
    EXPECT_EQ(ReadWord(type, "1e+"), 1.0F);
    EXPECT_EQ(ReadWord(type, ".5."), 0.5F);
    EXPECT_EQ(ReadWord(type, "5."), 5.0F);
    EXPECT_EQ(ReadWord(type, "0x1p4"), 16.0F);
    EXPECT_EQ(ReadWord(type, "0x"), 0.0F);
    EXPECT_EQ(ReadWord(type, "+-1"), 0.0F);
    EXPECT_EQ(ReadWord(type, "1,5"), 1.0F);
    EXPECT_EQ(ReadWord(type, "-Infinity"), -INFINITY);
    EXPECT_EQ(ReadWord(type, "1e39"), INFINITY);
    EXPECT_EQ(ReadWord(type, "1e400"), INFINITY);
    EXPECT_EQ(ReadWord(type, "-1e-400"), -0.0F);
    EXPECT_TRUE(std::signbit(ReadWord(type, "-0")));
    EXPECT_TRUE(std::isnan(ReadWord(type, "nan(x)")));
    EXPECT_EQ(ReadItem(type, "2.9"), 2);
    EXPECT_EQ(ReadItem(type, "-1e300"), INT32_MIN);
    EXPECT_EQ(ReadItem(type, "nan"), INT32_MIN);
  }
  // By way of double: nearest to the word is the float below, nearest to its double the one above.
  EXPECT_EQ(ReadWord("float", "1.00000017881393432617187499"), 1.00000024F);
}

TEST(ParsePLYFile_Text, ListLengths_NegativeLongAndCut) {
  const auto face = [](const std::string& type, const std::string& line) {
    const Parsed parsed = Parse(
        "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nelement face 1\n"
        "property list " +
        type + " int vertex_indices\nend_header\n0\n" + line + "\n");
    EXPECT_EQ(parsed.faces.size(), 1U);
    return parsed.faces[0];
  };
  EXPECT_EQ(face("char", "-2 5 6").vertexCount, 0);
  EXPECT_EQ(face("char", "-2 5 6").vertexIndices[0], 0);
  EXPECT_EQ(face("int", "256 5 6 7").vertexCount, 0);
  EXPECT_EQ(face("int", "259 5 6 7").vertexCount, 3);
  EXPECT_EQ(face("int", "259 5 6 7").vertexIndices[2], 7);
  EXPECT_EQ(face("float", "3.9 5 6 7").vertexCount, 3);
  EXPECT_EQ(face("double", "nan 5 6 7").vertexCount, 0);
  EXPECT_EQ(face("uint", "4294967295 5").vertexCount, 255);
  const PlyFace cut = face("uchar", "3 5");
  EXPECT_EQ(cut.vertexCount, 3);
  EXPECT_EQ(cut.vertexIndices[0], 5);
  EXPECT_EQ(cut.vertexIndices[1], 0);
}

TEST(ParsePLYFile_Binary, BigEndian_BytesReversed) {
  ExpectVertex(OneVertex("ply\nformat binary_big_endian 1.0\n", "\x3F\x80\0\0\xC0\0\0\0\x7F\x80\0\0"s),
               {1, -2, INFINITY});
}

TEST(ParsePLYFile_Binary, CutShort_RestIsZero) {
  const std::string bytes =
      OneVertex("ply\nformat binary_big_endian 1.0\n", "\x3F\x80\0\0\x40\0\0\0\x40\x40\0\0"s);
  for (std::size_t missing = 0; missing <= 12; ++missing) {
    const std::size_t values = (12 - missing) / 4;
    ExpectVertex(bytes.substr(0, bytes.size() - missing),
                 {values > 0 ? 1.0F : 0.0F, values > 1 ? 2.0F : 0.0F, values > 2 ? 3.0F : 0.0F});
  }
}

TEST(ParsePLYFile_Binary, LongLists_LowBitsOfLengthAndAllItemsPassed) {
  for (const int length : {3, 255, 256, 258, 259, 70000}) {
    PlyWriter file(FileKind::kBinaryLittleEndian);
    file.Line("element vertex 1").Line("property float x").Line("property float y").Line("property float z");
    file.Line("element face 2").Line("property list int ushort vertex_indices").Line("end_header");
    for (int k = 0; k < 3; ++k) file.Value(Type::kFloat32, k);
    file.Value(Type::kInt32, length);
    for (int k = 0; k < length; ++k) file.Value(Type::kUint16, k + 10);
    file.Value(Type::kInt32, 3).Value(Type::kUint16, 4).Value(Type::kUint16, 5).Value(Type::kUint16, 6);
    const Parsed parsed = Parse(file.bytes());
    ASSERT_EQ(parsed.faces.size(), 2U);
    EXPECT_EQ(parsed.faces[0].vertexCount, length & 0xFF);
    EXPECT_EQ(parsed.faces[0].vertexIndices[0], (length & 0xFF) > 0 ? 10 : 0);
    EXPECT_EQ(parsed.faces[1].vertexCount, 3);
    EXPECT_EQ(parsed.faces[1].vertexIndices[2], 6);
    EXPECT_TRUE(ExpectLikeReference(file.bytes()));
  }
}

TEST(ParsePLYFile_Binary, ListLengthBeyondFile_ItemsThereAreKept) {
  for (const std::uint32_t length : {5U, 0x80000000U, 0xFFFFFFFFU}) {
    PlyWriter file(FileKind::kBinaryBigEndian);
    file.Line("element vertex 1").Line("property float x").Line("property float y").Line("property float z");
    file.Line("element face 3").Line("property list uint int vertex_indices").Line("end_header");
    for (int k = 0; k < 3; ++k) file.Value(Type::kFloat32, k);
    file.Value(Type::kUint32, length).Value(Type::kInt32, 8).Value(Type::kInt32, 9);
    const Parsed parsed = Parse(file.bytes() + "\x01\x02");
    ASSERT_EQ(parsed.faces.size(), 3U);
    EXPECT_EQ(parsed.faces[0].vertexCount, length & 0xFF);
    EXPECT_EQ(parsed.faces[0].vertexIndices[1], (length & 0xFF) > 1 ? 9 : 0);
    EXPECT_EQ(parsed.faces[0].vertexIndices[2], 0);
    EXPECT_EQ(parsed.faces[1].vertexCount, 0);
    EXPECT_TRUE(ExpectLikeReference(file.bytes() + "\x01\x02"));
  }
}

TEST(ParsePLYFile_Binary, BadTypes_EndWhereTheyWouldBeRead) {
  const auto file = [](const char* property, const std::string& body) {
    return "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty char x\nproperty char y\n"
           "property char z\n"s +
           property + "\nend_header\n" + body;
  };
  const char* message = "get_binary_item: bad type = 0\n";
  ExpectEnd(file("property foo w", "\1\2\3"), message);
  ExpectEnd(file("property foo w", ""), message);  // even behind the end of the file
  ExpectEnd(file("property list foo int w", "\1\2\3"), message);
  ExpectEnd(file("property list uchar foo w", "\1\2\3\1"), message);
  ExpectVertex(file("property list uchar foo w", "\1\2\3\0"s), {1, 2, 3});
  ExpectVertex(file("property list uchar foo w", "\1\2\3"), {1, 2, 3});
  ExpectFailure("ply\nformat binary_little_endian 1.0\nelement vertex 0\nproperty foo x\nend_header\n",
                "Warning:  Can't find property 'y' in element 'vertex'\n"
                "Warning:  Can't find property 'z' in element 'vertex'\n");
}

TEST(ParsePLYFile_Text, BadTypes_EndWhereTheyWouldBeRead) {
  const auto file = [](const char* property, const std::string& body) {
    return OneVertex("1 2 3 " + body).insert(OneVertex("").size() - 11, property + "\n"s);
  };
  const char* message = "get_ascii_item: bad type = 0\n";
  ExpectEnd(file("property foo w", "4\n"), message);
  ExpectEnd(file("property foo w", "\n"), message);
  ExpectEnd(file("property list foo int w", "1 4\n"), message);
  ExpectEnd(file("property list uchar foo w", "1 4\n"), message);
  ExpectEnd(file("property list uchar foo w", "1\n"), message);
  ExpectVertex(file("property list uchar foo w", "0\n"), {1, 2, 3});
  ExpectVertex(file("property list uchar foo w", "\n"), {1, 2, 3});
  // The line is looked for first.
  const std::string noLine =
      "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\n"
      "property float z\nproperty foo w\nend_header\n";
  ExpectEnd(noLine, kEndMessage);
}

TEST(ParsePLYFile_Counts, LargerThanFileAndAMillion_NotBelieved) {
  const auto file = [](const char* format, const char* element, const char* count) {
    return "ply\nformat "s + format + " 1.0\nelement " + element + " " + count +
           "\nproperty float x\nproperty float y\nproperty float z\nproperty list uchar int vertex_indices\n"
           "end_header\n";
  };
  for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
    for (const char* count : {"1000001", "2147483647", "99999999999"}) {
      for (const char* element : {"vertex", "face", "other"})
        ExpectFailure(file(format, element, count), kBombedMessage);
    }
  }
  ExpectEnd(file("ascii", "vertex", "1000000"), kEndMessage);
  const Parsed zeros = Parse(file("binary_little_endian", "vertex", "1000000"));
  EXPECT_EQ(zeros.status, 0U);
  EXPECT_EQ(zeros.vertexCount, 1000000);
  EXPECT_EQ(zeros.vertices.size(), 1000000U);
  ExpectFailure(file("binary_little_endian", "face", "1000000"));
}

TEST(ParsePLYFile_Counts, MillionsOfRecordsInFewBytes_NoMatter) {
  // None of these takes long or much memory, though each announces up to a million zeros again.
  std::string head = "ply\nformat binary_little_endian 1.0\n";
  for (int i = 0; i < 2000; ++i) head += "element e 1000000\nproperty double a\nelement f 1000000\n";
  for (int i = 0; i < 500; ++i) head += "element vertex 1000000\nproperty float x\n";
  const Parsed parsed = Parse(head + "end_header\n12345678901234567890");
  EXPECT_EQ(parsed.status, 0U) << parsed.messages.substr(0, 100);
  EXPECT_EQ(parsed.vertexCount, 1000000);
}

TEST(ParsePLYFile_Counts, ManyPropertiesAndEmptyLines_NoMatter) {
  std::string bytes = "ply\nformat ascii 1.0\nelement vertex 100000\n";
  for (int i = 0; i < 20000; ++i) bytes += "property float a\nproperty list uchar int b\n";
  bytes += "property float z\nend_header\n" + std::string(100000, '\n');
  EXPECT_EQ(Parse(bytes).vertexCount, 100000);
}

TEST(ParsePLYFile_Mesh, ManyBlocks_AllRead) {
  Random random(41);
  std::vector<Vertex> vertices(60011);
  for (Vertex& v : vertices) {
    v = {static_cast<float>(random.Between(-5.0, 5.0)), static_cast<float>(random.Between(-1e-3, 1e3)),
         static_cast<float>(random.Below(1000))};
  }
  qv::test::PlyFaces faces(30011);
  for (auto& face : faces) {
    // Triangles in rows, then mixed.
    face.resize(&face - faces.data() < 15000 ? 3U : static_cast<std::size_t>(random.Between(0, 6)));
    for (int& corner : face) corner = random.Below(60011);
  }
  for (const FileKind kind : kPlyKinds) {
    const std::string bytes = PlyMesh(kind, vertices, faces);
    EXPECT_TRUE(ExpectLikeReference(bytes));
    for (std::size_t cut = 1; cut < 40; cut += 7) ExpectLikeReference(bytes.substr(0, bytes.size() - cut));
  }
}

TEST(ParsePLYFile_Text, BlockBoundaries_AnywhereInLines) {
  // The lines slide over the end of the first block byte by byte.
  const std::string mesh = PlyMesh(FileKind::kAscii, kVertices, kFaces);
  const std::size_t body = mesh.find("end_header");
  for (std::size_t slide = 0; slide < mesh.size() - body + 8; ++slide) {
    std::string filler = "comment ";
    filler.resize(262144 - body - slide, 'x');
    std::string bytes = mesh;
    bytes.insert(bytes.find("element vertex"), filler + "\n");
    EXPECT_TRUE(ExpectLikeReference(bytes));
    if (HasFailure()) FAIL() << slide;
  }
}

TEST(ParsePLYFile_Prefixes, EveryPrefix_LikeReference) {
  for (const FileKind kind : kPlyKinds) {
    const std::string bytes = PlyMesh(kind, kVertices, kFaces);
    for (std::size_t size = 0; size <= bytes.size(); ++size) ExpectLikeReference(bytes.substr(0, size));
  }
}

TEST(ParsePLYFile_Files, MissingOrDirectory_ReturnsOne) {
  for (const std::string& name :
       {"/nonexistent/qv3d.ply"s, std::filesystem::temp_directory_path().string()}) {
    const Parsed parsed = ParseNamed(name.c_str());
    EXPECT_FALSE(parsed.ended);
    EXPECT_EQ(parsed.status, 1U);
    EXPECT_EQ(parsed.messages, "");
  }
}

TEST(ParsePLYFile_State, EachParseStartsClean) {
  const TemporaryFile good(PlyMesh(FileKind::kAscii, kVertices, kFaces)), bad("ply"), ends(OneVertex(""));
  float b[6];
  int vertices = 0, faces = 0;
  const auto parse = [&](const TemporaryFile& file) {
    return ParsePLYFile(file.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &vertices, &faces);
  };
  EXPECT_EQ(parse(good), 0U);
  EXPECT_EQ(parse(good), 0U);
  EXPECT_EQ(ply.PlyVertices.size(), 4U);
  EXPECT_EQ(parse(bad), 1U);
  EXPECT_EQ(ply.PlyVertices.data(), nullptr);
  EXPECT_EQ(ply.PlyFaces.data(), nullptr);
  EXPECT_TRUE(qv::test::EndsProcess([&] { parse(ends); }));
  EXPECT_EQ(parse(good), 0U);
  EXPECT_EQ(CleanUpPLY(), 0U);
  EXPECT_EQ(ply.PlyVertices.data(), nullptr);
  EXPECT_EQ(CleanUpPLY(), 0U);
}

TEST(ParsePLYFile_Locale, DecimalComma_ChangesNothing) {
  const qv::test::DecimalComma locale;
  if (!locale.active()) GTEST_SKIP() << "no locale with a decimal comma here, and localedef cannot make one";
  ExpectVertex(OneVertex("ply\nformat ascii 1.5\n", "-1.5 0.25e0 1.000000000000000000000000001\n"),
               {-1.5F, 0.25F, 1});
  ExpectVertex(OneVertex("1,5 2,5 3\n"), {1, 2, 3});
}

#ifndef _WIN32
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

Parsed ParsePipe(const std::string& bytes) {
  const TemporaryFile placeholder("");
  std::remove(placeholder.name());
  EXPECT_EQ(mkfifo(placeholder.name(), 0600), 0);
  std::thread writer([&] { placeholder.Write(bytes); });
  Parsed parsed = ParseNamed(placeholder.name());
  writer.join();
  return parsed;
}

}  // namespace

TEST(ParsePLYFile_Files, Pipe_ReadLikeFile) {
  for (const FileKind kind : kPlyKinds) {
    const Parsed parsed = ParsePipe(PlyMesh(kind, kVertices, kFaces));
    EXPECT_EQ(parsed.status, 0U);
    EXPECT_EQ(parsed.vertices.size(), kVertices.size());
    EXPECT_EQ(parsed.faces.size(), kFaces.size());
  }
  const Parsed lie = ParsePipe(
      "ply\nformat binary_little_endian 1.0\nelement vertex 2000000000\nproperty float x\nproperty float y\n"
      "property float z\nend_header\n12345678901234567890");
  EXPECT_EQ(lie.status, 1U);
  EXPECT_EQ(lie.messages, kBombedMessage);
}
#endif
