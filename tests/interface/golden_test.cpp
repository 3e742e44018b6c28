// One long mixed computation through the exports, reduced to a hash per family. The values are checked in:
// every compiler, instruction set and platform must come to the same bits. A change of a hash is a change of
// results.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/ply_files.h"
#include "tests/support/random_grid.h"
#include "tests/support/stl_files.h"
#include "tests/support/temporary_file.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Random;

constexpr int kWidth = 301, kHeight = 203;
constexpr int kCount = kWidth * kHeight;

/// FNV-1a over the bytes of what is added.
class Hash {
 public:
  void Add(const void* data, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
      value_ = (value_ ^ static_cast<const unsigned char*>(data)[i]) * 0x100000001B3U;
    }
  }
  template <class T>
  void Add(const std::vector<T>& values) {
    Add(values.data(), values.size() * sizeof(T));
  }
  void Add(unsigned status) { Add(&status, sizeof status); }
  std::uint64_t Value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325U;
};

std::vector<float> Heights(double missing) {
  Random random(2026);
  return qv::test::RandomSamples(random, kCount, {.missing = missing, .repeated = 0.01, .magnitude = 25});
}

std::uint64_t StatisticsHash() {
  Hash hash;
  for (const double missing : {0.0, 0.03, 1.0}) {
    auto heights = Heights(missing);
    std::vector<float> results(8, 0.0F);
    hash.Add(RemoveAverage(heights.data(), kCount));
    hash.Add(ComputeAverage(heights.data(), kCount, &results[0]));
    hash.Add(ComputeRMS(heights.data(), kCount, &results[1]));
    hash.Add(ComputePeak(heights.data(), kCount, &results[2]));
    hash.Add(ComputeValley(heights.data(), kCount, &results[3]));
    hash.Add(ComputePeakToValley(heights.data(), kCount, &results[4]));
    hash.Add(ComputeSkewness(heights.data(), kCount, &results[5]));
    hash.Add(ComputeKurtosis(heights.data(), kCount, &results[6]));
    hash.Add(ComputeTenPointHeight(heights.data(), kWidth, kHeight, &results[7]));
    hash.Add(results);
    hash.Add(heights);
  }
  return hash.Value();
}

std::uint64_t ConversionHash() {
  Hash hash;
  auto heights = Heights(0.03);
  std::vector<unsigned char> bytes(kCount, 1);
  std::vector<float> extremes(2);
  hash.Add(ScaleArrayFloats(heights.data(), kCount, 1.0 / 3));
  hash.Add(NormalizeArrayFloats(heights.data(), kCount, 300, -7.3F, &extremes[0], &extremes[1], 0));
  hash.Add(ConvertFloatsToBytes(heights.data(), bytes.data(), kCount));
  hash.Add(bytes);
  hash.Add(ConvertFloatsToBytesWithThreshold(heights.data(), bytes.data(), kCount, 99.5, 200, 20));
  hash.Add(bytes);
  hash.Add(ReplaceBadSamplesWithMinimum(heights.data(), kCount));
  hash.Add(heights);
  hash.Add(extremes);
  std::vector<float> plane(3);
  hash.Add(static_cast<unsigned>(FitLSPlane(heights.data(), kCount / 3, &plane[0], &plane[1], &plane[2])));
  hash.Add(plane);
  return hash.Value();
}

std::uint64_t NormalsHash() {
  Hash hash;
  const auto heights = Heights(0.02);
  const std::vector<double> wide(heights.begin(), heights.end());
  std::vector<float> normals(3 * kCount);
  std::vector<double> wideNormals(3 * kCount);
  hash.Add(ComputeSurfaceNormalsf(heights.data(), kWidth, kHeight, normals.data(), 0, 0, 30, 20));
  hash.Add(normals);
  hash.Add(ComputeSurfaceNormalsf2(heights.data(), kWidth, kHeight, normals.data(), 0, 0, 30, 20));
  hash.Add(normals);
  hash.Add(ComputeSurfaceNormals(wide.data(), kWidth, kHeight, wideNormals.data()));
  hash.Add(wideNormals);
  return hash.Value();
}

/// Overlapping triangles of all sizes, so that refinement, order of covering and interpolation all show.
qv::test::Triangles RandomMesh() {
  Random random(3);
  qv::test::Triangles triangles;
  for (int i = 0; i < 1500; ++i) {
    const double size = i % 20 == 0 ? 5.0 : 0.4;
    const double x = random.Between(0.0, 10.0), y = random.Between(0.0, 8.0);
    const auto vertex = [&]() -> qv::mesh::Vertex {
      const double vx = x + random.Between(-size, size), vy = y + random.Between(-size, size);
      return {static_cast<float>(vx), static_cast<float>(vy), static_cast<float>(random.Between(-1.0, 1.0))};
    };
    const qv::mesh::Vertex a = vertex(), b = vertex(), c = vertex();
    triangles.push_back({a, b, c});
  }
  return triangles;
}

std::uint64_t MeshHash() {
  const qv::test::TemporaryFile file(qv::test::BinaryStl(RandomMesh()));
  Hash hash;
  std::vector<float> bounds(6), heights(201 * 151);
  int triangles = 0;
  hash.Add(ParseSTLFile(file.name(), &bounds[0], &bounds[1], &bounds[2], &bounds[3], &bounds[4], &bounds[5],
                        &triangles));
  hash.Add(bounds);
  hash.Add(ConvertSTLFile(200, 150, 0.01F, -0.2F, 9.0F, 8.5F, heights.data()));
  hash.Add(heights);
  return hash.Value();
}

std::uint64_t GriddingHash() {
  Random random(4);
  std::vector<double> records;
  for (int i = 0; i < 9 * 400; ++i) records.push_back(random.Between(0.0, i % 3 == 2 ? 1.0 : 10.0));
  for (std::size_t i = 0; i < 9 * 350; ++i) {  // most triangles small, so that many are seen
    const std::size_t corner = i % 9, axis = i % 3;
    if (corner >= 3 && axis != 2) records[i] = records[i - corner + axis] + records[i] / 10 - 0.5;
    if (axis != 2) records[i] = std::min(std::max(records[i], 0.0), 10.0);
  }
  Hash hash;
  std::vector<float> heights(201 * 51);
  for (const double power : {2.0, 2.5, 1.0, -3.0}) {
    hash.Add(InverseDistanceToAPower(records.data(), 1200, heights.data(), 201, 51, 0.05, 0.2, 0, 0, power,
                                     power == 1 ? 0.3 : 0));
    hash.Add(heights);
  }
  for (const int cells : {1, 20}) {
    hash.Add(static_cast<unsigned>(LinearInterpolationOfTriangles(records.data(), 400, heights.data(), 201,
                                                                  51, 0.05, 0.2, 0, 0, cells)));
    hash.Add(heights);
  }
  return hash.Value();
}

/// The same triangles as faces.
std::uint64_t FaceHash(qv::ply::FileKind kind) {
  std::vector<qv::mesh::Vertex> vertices;
  qv::test::PlyFaces faces;
  for (const qv::mesh::Triangle& t : RandomMesh()) {
    const auto first = static_cast<int>(vertices.size());
    for (const qv::mesh::Vertex& v : {t.a, t.b, t.c}) vertices.push_back({v.z, v.x, -v.y});
    faces.push_back({first, first + 1, first + 2});
  }
  const qv::test::TemporaryFile file(qv::test::PlyMesh(kind, vertices, faces));
  Hash hash;
  std::vector<float> bounds(6), heights(201 * 151);
  int vertexCount = 0, faceCount = 0;
  hash.Add(ParsePLYFile(file.name(), &bounds[0], &bounds[1], &bounds[2], &bounds[3], &bounds[4], &bounds[5],
                        &vertexCount, &faceCount));
  hash.Add(bounds);
  hash.Add(ConvertPLYFile(200, 150, 0.01F, -0.2F, 9.0F, 8.5F, heights.data()));
  hash.Add(heights);
  return hash.Value();
}

TEST(Golden, EveryInstructionSet_ComesToTheCheckedInBits) {
  qv::test::ForEachVariant([] {
    EXPECT_EQ(StatisticsHash(), 1307860322453785006U);
    EXPECT_EQ(ConversionHash(), 15362743057919811641U);
    EXPECT_EQ(NormalsHash(), 7268532115950777013U);
    EXPECT_EQ(MeshHash(), 8249860758718269052U);
    EXPECT_EQ(GriddingHash(), 6733985977426830394U);
    for (const qv::ply::FileKind kind : qv::test::kPlyKinds) EXPECT_EQ(FaceHash(kind), 12717366430242297373U);
  });
}

}  // namespace
