// Random PLY files of all encodings and types, whole and damaged, against the reference.
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/ply_reader.h"
#include "tests/reference/ply_reference.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"
#include "tests/support/ply_files.h"
#include "tests/support/random_grid.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::ply;
using qv::mesh::Vertex;
using qv::ply::FileKind;
using qv::ply::Type;
using qv::test::PlyWriter;
using qv::test::Random;
using qv::test::TakeMessages;

bool SameValue(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

void ExpectSameMesh(const qv::test::PlyReference& expected) {
  ASSERT_EQ(ply.PlyVertices.size(), expected.vertices.size());
  ASSERT_EQ(ply.PlyFaces.size(), expected.faces.size());
  for (std::size_t i = 0; i < expected.vertices.size(); ++i) {
    const Vertex& v = ply.PlyVertices[i];
    ASSERT_TRUE(SameValue(v.z, expected.vertices[i].x)) << "x of vertex " << i;
    ASSERT_TRUE(SameValue(v.x, expected.vertices[i].y)) << "y of vertex " << i;
    ASSERT_TRUE(SameValue(-v.y, expected.vertices[i].z)) << "z of vertex " << i;
  }
  for (std::size_t i = 0; i < expected.faces.size(); ++i) {
    ASSERT_EQ(ply.PlyFaces[i].vertexCount, expected.faces[i].count) << "face " << i;
    for (int k = 0; k < 3; ++k)
      ASSERT_EQ(ply.PlyFaces[i].vertexIndices[k], expected.faces[i].corners[k]) << "face " << i;
  }
}

/// Compares everything that an import does. Returns whether there was a mesh.
bool CompareImport(const qv::test::TemporaryFile& file, const std::string& bytes) {
  const qv::test::PlyReference expected = qv::test::ReadPlyReference(bytes);
  file.Write(bytes);
  TakeMessages();
  qv::test::Guarded<float> b(6);
  qv::test::Guarded<int> counts(2);
  unsigned status = 77;
  const bool ended = qv::test::EndsProcess([&] {
    status = ParsePLYFile(file.name(), &b[0], &b[1], &b[2], &b[3], &b[4], &b[5], &counts[0], &counts[1]);
  });
  static const std::regex line("bombed on line [0-9]+ in");
  EXPECT_EQ(std::regex_replace(TakeMessages(), line, "bombed on line 0 in"), expected.messages);
  EXPECT_EQ(ended, expected.ended);
  const bool isMesh = !expected.ended && expected.status == 0;
  if (isMesh) {
    EXPECT_EQ(counts[0], expected.vertexCount);
    EXPECT_EQ(counts[1], expected.faceCount);
    ExpectSameMesh(expected);
  }
  EXPECT_EQ(status, expected.ended ? 77 : expected.status);
  EXPECT_TRUE(isMesh || (b.Untouched() && counts.Untouched()));
  CleanUpPLY();
  return isMesh;
}

Type RandomType(Random& random) {
  return static_cast<Type>(random.Between(1, qv::ply::kTypeCount));
}

const char* NameOf(Random& random, Type type) {
  const char* names[][2] = {{"int8", "char"},     {"int16", "short"},   {"int32", "int"},
                            {"uint8", "uchar"},   {"uint16", "ushort"}, {"uint32", "uint"},
                            {"float32", "float"}, {"float64", "double"}};
  return names[static_cast<int>(type) - 1][random.Below(2)];
}

/// A value that the type can hold, often an extreme one.
double RandomValue(Random& random, Type type) {
  switch (type) {
    case Type::kFloat32:
    case Type::kFloat64:
      if (random.Chance(0.05)) return random.Chance(0.5) ? NAN : -INFINITY;
      if (random.Chance(0.2)) return std::ldexp(random.Between(-1.0, 1.0), random.Between(-140, 128));
      if (random.Chance(0.3)) return random.Between(-5, 20);
      return static_cast<double>(static_cast<float>(random.Between(-100.0, 100.0)));
    default: {
      if (random.Chance(0.5)) return random.Below(20);
      char raw[8];
      const std::uint64_t bits = random.Next();
      std::memcpy(raw, &bits, sizeof raw);
      return qv::ply::WithType(type, [&](auto zero) {
        std::memcpy(&zero, raw, sizeof zero);
        return static_cast<double>(zero);
      });
    }
  }
}

struct Column {
  qv::ply::PropertyKind kind;
  Type type, countType;
};

Column AddColumn(Random& random, PlyWriter& file, const std::string& name) {
  const int kind = name == "vertex_indices" ? 0 : name.size() == 1 ? 5 : random.Below(6);
  const Type type = RandomType(random);
  if (kind < 2) {
    const Type countType = RandomType(random);
    file.Line("property list " + std::string(NameOf(random, countType)) + " " + NameOf(random, type) + " " +
              name);
    return {qv::ply::PropertyKind::kList, type, countType};
  }
  if (kind == 2) {
    file.Line("property string " + name);
    return {qv::ply::PropertyKind::kString, Type::kInt8, Type::kInt8};
  }
  file.Line("property " + std::string(NameOf(random, type)) + " " + name);
  return {qv::ply::PropertyKind::kScalar, type, Type::kNone};
}

void WriteValue(Random& random, PlyWriter& file, const Column& column) {
  if (column.kind == qv::ply::PropertyKind::kScalar) {
    file.Value(column.type, RandomValue(random, column.type));
  } else if (column.kind == qv::ply::PropertyKind::kString) {
    file.String(std::string(static_cast<std::size_t>(random.Below(5)), 'a'));
  } else {
    int count = random.Chance(0.6) ? 3 : random.Below(8);
    if (random.Chance(0.01)) count = random.Between(120, 300);
    if (qv::ply::BytesOf(column.countType) == 1) count = std::min(count, 120);
    file.Value(column.countType, count);
    for (int i = 0; i < count; ++i) file.Value(column.type, RandomValue(random, column.type));
  }
}

std::string RandomFile(Random& random, FileKind kind) {
  PlyWriter file(kind);
  std::vector<std::string> names = {"vertex", "face"};
  if (random.Chance(0.3)) names.insert(names.begin() + random.Below(3), "other");
  if (random.Chance(0.1)) names.push_back("vertex");
  if (random.Chance(0.2)) std::swap(names[0], names[1]);
  std::vector<std::pair<int, std::vector<Column>>> elements;
  for (const std::string& name : names) {
    const int count = random.Chance(0.05) ? 0 : random.Between(1, 30);
    file.Line("element " + name + " " + std::to_string(count));
    std::vector<std::string> columns =
        name == "face" ? std::vector<std::string>{"vertex_indices"} : std::vector<std::string>{"x", "y", "z"};
    for (int more = random.Below(4); more > 0; --more)
      columns.insert(columns.begin() + random.Below(static_cast<int>(columns.size()) + 1), "more");
    if (random.Chance(0.1)) columns.erase(columns.begin());
    elements.push_back({count, {}});
    for (const std::string& column : columns)
      elements.back().second.push_back(AddColumn(random, file, column));
  }
  file.Line("end_header");
  for (const auto& [count, columns] : elements) {
    for (int i = 0; i < count; ++i) {
      for (const Column& column : columns) WriteValue(random, file, column);
      file.EndRecord();
    }
  }
  return file.bytes();
}

/// A file in which every header line and every kind of record occurs, and not much of it.
std::string SmallSample(FileKind kind) {
  PlyWriter file(kind);
  file.Line("comment c").Line("element vertex 4").Line("property short s").Line("property float x");
  file.Line("property double y").Line("property int z").Line("element edge 2").Line("property string name");
  file.Line("element face 3").Line("property list uchar ushort vertex_indices").Line("end_header");
  for (int i = 0; i < 4; ++i) {
    file.Value(Type::kInt16, i)
        .Value(Type::kFloat32, i % 2)
        .Value(Type::kFloat64, i * 0.5)
        .Value(Type::kInt32, -i);
    file.EndRecord();
  }
  file.String("ab").EndRecord().String("").EndRecord();
  for (int i = 0; i < 3; ++i) {
    file.Value(Type::kUint8, 3 + i % 2);
    for (int k = 0; k < 3 + i % 2; ++k) file.Value(Type::kUint16, k);
    file.EndRecord();
  }
  return file.bytes();
}

}  // namespace

TEST(ParsePLYFile_Random, AllTypesAndEncodings_LikeReference) {
  Random random(61);
  const qv::test::TemporaryFile file("", ".ply");
  int meshes = 0;
  for (int round = 0; round < 3000; ++round) {
    if (CompareImport(file, RandomFile(random, qv::test::kPlyKinds[round % 3]))) ++meshes;
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
  EXPECT_GT(meshes, 2000);
}

TEST(ParsePLYFile_Random, EveryPrefixOfSmallFiles_LikeReference) {
  const qv::test::TemporaryFile file("", ".ply");
  for (const FileKind kind : qv::test::kPlyKinds) {
    const std::string bytes = SmallSample(kind);
    EXPECT_TRUE(CompareImport(file, bytes));
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      CompareImport(file, bytes.substr(0, size));
      ASSERT_FALSE(HasFailure()) << "first " << size << " bytes of " << qv::test::PlyKindName(kind);
    }
  }
}

TEST(ParsePLYFile_Random, TenThousandDamagedBytesOfEach_LikeReference) {
  Random random(62);
  const qv::test::TemporaryFile file("", ".ply");
  const std::string likely =
      "0123456789.-+eExnaif \n\t\r\""
      "listfloatpropertyelementvertexface";
  for (const FileKind kind : qv::test::kPlyKinds) {
    const std::string original = SmallSample(kind);
    for (int i = 0; i < 10000; ++i) {
      std::string bytes = original;
      for (int flips = random.Chance(0.5) ? 1 : random.Between(2, 6); flips > 0; --flips) {
        char& byte = bytes[static_cast<std::size_t>(random.Below(static_cast<int>(bytes.size())))];
        byte = random.Chance(0.5)
                   ? static_cast<char>(byte ^ (1 << random.Below(8)))
                   : likely[static_cast<std::size_t>(random.Below(static_cast<int>(likely.size())))];
      }
      CompareImport(file, bytes);
      ASSERT_FALSE(HasFailure()) << "round " << i << " of " << qv::test::PlyKindName(kind);
    }
  }
}
