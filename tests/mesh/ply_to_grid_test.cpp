#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/ply_reader.h"
#include "tests/reference/mesh_to_grid_reference.h"
#include "tests/support/conversion.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"
#include "tests/support/ply_files.h"
#include "tests/support/random_grid.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::ply;
using qv::mesh::Triangle;
using qv::mesh::Vertex;
using qv::ply::FileKind;
using qv::test::Converted;
using qv::test::Guarded;
using qv::test::Placement;
using qv::test::Random;
using qv::test::TakeMessages;

constexpr const char* kBadCell = "Bad cell index - shouldn't happen\n";

struct Mesh {
  std::vector<Vertex> vertices;  ///< in the grid's frame
  qv::test::PlyFaces faces;
};

/// The file's axes for a vertex in the grid's.
Vertex InFile(const Vertex& v) {
  return {v.z, v.x, -v.y};
}

unsigned Parse(const std::string& bytes) {
  const qv::test::TemporaryFile file(bytes);
  float b[6];
  int vertices = 0, faces = 0;
  return ParsePLYFile(file.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &vertices, &faces);
}

void Load(const Mesh& mesh) {
  std::vector<Vertex> vertices;
  for (const Vertex& v : mesh.vertices) vertices.push_back(InFile(v));
  ASSERT_EQ(Parse(qv::test::PlyMesh(FileKind::kBinaryLittleEndian, vertices, mesh.faces)), 0U);
}

Converted Convert(const Mesh& mesh, const Placement& p) {
  Load(mesh);
  Converted out = qv::test::ConvertGuarded(ConvertPLYFile, p);
  EXPECT_EQ(ply.PlyVertices.data(), nullptr) << "the mesh must be gone";
  EXPECT_EQ(ply.PlyFaces.data(), nullptr);
  EXPECT_EQ(ply.PlyTriangles.data(), nullptr);
  return out;
}

/// A plane of 2 n n faces over 0..n, of height x + 10 y, all times `scale`.
Mesh Plane(int n, float scale = 1) {
  Mesh mesh;
  const auto at = [n](int x, int y) { return y * (n + 1) + x; };
  for (int y = 0; y <= n; ++y) {
    for (int x = 0; x <= n; ++x) {
      mesh.vertices.push_back({scale * static_cast<float>(x), scale * static_cast<float>(y),
                               scale * static_cast<float>(x + 10 * y)});
    }
  }
  for (int y = 0; y < n; ++y) {
    for (int x = 0; x < n; ++x) {
      mesh.faces.push_back({at(x, y), at(x + 1, y), at(x + 1, y + 1)});
      mesh.faces.push_back({at(x, y), at(x + 1, y + 1), at(x, y + 1)});
    }
  }
  return mesh;
}

struct VerboseScope {
  VerboseScope() { ply.PlyVerbose = 1; }
  ~VerboseScope() { ply.PlyVerbose = 0; }
};

/// The triangles that the faces stand for.
std::vector<Triangle> TrianglesOf(const Mesh& mesh) {
  std::vector<Triangle> triangles;
  for (const std::vector<int>& face : mesh.faces) {
    const auto at = [&](std::size_t k) { return mesh.vertices[static_cast<std::size_t>(face[k])]; };
    triangles.push_back({at(0), at(2), at(1)});
  }
  return triangles;
}

}  // namespace

TEST(ConvertPLYFile_Grid, Plane_HeightsAtSamples) {
  const Converted out = Convert(Plane(10), {10, 10, 0, 0, 10, 10});
  EXPECT_EQ(out.status, 0U);
  EXPECT_EQ(out.messages, "");
  for (int y = 0; y <= 10; ++y) {
    for (int x = 0; x <= 10; ++x)
      EXPECT_NEAR(out.heights[static_cast<std::size_t>(y * 11 + x)], static_cast<float>(x + 10 * y), 1e-5);
  }
}

TEST(ConvertPLYFile_Faces, Quadrilateral_OnlyTriangleACB) {
  // Faces 1 to 200 lie far away and keep the resolution; the first is a square of which half is covered.
  Mesh mesh = Plane(10);
  mesh.vertices.insert(mesh.vertices.end(), {{20, 0, 1}, {24, 0, 2}, {24, 4, 3}, {20, 4, 4}});
  mesh.faces.insert(mesh.faces.begin(), {121, 122, 123, 124});
  const Converted out = Convert(mesh, {4, 4, 20, 0, 4, 4});
  for (int y = 0; y <= 4; ++y) {
    for (int x = 0; x <= 4; ++x) {
      if (x == 0 && y == 0)
        continue;  // floats near 0 are fine enough for the nudge to move it off the diagonal
      const bool isCovered = x >= y;
      EXPECT_EQ(out.heights[static_cast<std::size_t>(y * 5 + x)] == -1e10F, !isCovered) << x << ' ' << y;
    }
  }
}

TEST(ConvertPLYFile_Faces, FewCornersOrBadIndices_NoTriangleButCounted) {
  Mesh mesh = Plane(9);  // 162 faces
  const auto vertexCount = static_cast<int>(mesh.vertices.size());
  const Converted whole = Convert(Plane(10), {3, 3, 0, 0, 9, 9});
  const VerboseScope verbose;
  for (int i = 0; i < 8; ++i) {
    mesh.faces.insert(mesh.faces.begin(),
                      {{}, {3}, {4, 5}, {0, 1, vertexCount}, {0, -1, 1}, {INT32_MIN, 0, 1}});
  }
  const Converted out = Convert(mesh, {3, 3, 0, 0, 9, 9});
  EXPECT_EQ(out.status, 0U);
  EXPECT_EQ(out.messages,
            "Using a quadtree resolution of 1\nMaximum edge length will be 8.55\n"
            "Maximum edge length: 1.41421 (Triangles: 162)\n");
  EXPECT_EQ(out.heights, whole.heights);
}

TEST(ConvertPLYFile_Faces, LengthByItsLowBits) {
  Mesh mesh = Plane(10);
  for (auto& face : mesh.faces) face.resize(3 + 253, 0);
  mesh.faces.back().resize(255);
  // A uchar cannot say 256: written as ints.
  qv::test::PlyWriter file(FileKind::kBinaryLittleEndian);
  file.Line("element vertex " + std::to_string(mesh.vertices.size()));
  file.Line("property float x").Line("property float y").Line("property float z");
  file.Line("element face 200").Line("property list int int vertex_indices").Line("end_header");
  for (const Vertex& v : mesh.vertices) {
    const Vertex w = InFile(v);
    for (const float c : {w.x, w.y, w.z}) file.Value(qv::ply::Type::kFloat32, c);
  }
  for (const auto& face : mesh.faces) {
    file.Value(qv::ply::Type::kInt32, static_cast<double>(face.size()));
    for (const int corner : face) file.Value(qv::ply::Type::kInt32, corner);
  }
  ASSERT_EQ(Parse(file.bytes()), 0U);
  Guarded<float> heights(121);
  EXPECT_EQ(ConvertPLYFile(10, 10, 0, 0, 10, 10, heights.data()), 0U);
  int covered = 0;
  for (std::size_t i = 0; i < 121; ++i) covered += heights[i] == -1e10F ? 0 : 1;
  EXPECT_GT(covered, 0);
  EXPECT_LE(covered, 3);  // only the last triangle is left
}

TEST(ConvertPLYFile_Faces, None_AllMissing) {
  Mesh mesh = Plane(10);
  mesh.faces.clear();
  const VerboseScope verbose;
  const Converted out = Convert(mesh, {3, 2, 0, 0, 10, 10});
  EXPECT_EQ(out.status, 0U);
  EXPECT_EQ(out.heights, std::vector<float>(12, -1e10F));
  EXPECT_EQ(out.messages,
            "Using a quadtree resolution of 0\nMaximum edge length will be inf\n"
            "Maximum edge length: 0 (Triangles: 0)\n");
}

TEST(ConvertPLYFile_Faces, OnlyBadOnes_AllMissing) {
  for (const std::size_t count : {5U, 400U}) {
    Mesh mesh = Plane(10);
    mesh.faces.assign(count, {0, 1, 500});
    const Converted out = Convert(mesh, {3, 2, 0, 0, 10, 10});
    EXPECT_FALSE(out.ended);
    EXPECT_EQ(out.status, 0U);
    EXPECT_EQ(out.heights, std::vector<float>(12, -1e10F));
  }
  // Also where the mesh has no extent at all.
  const Converted point = Convert({{{1, 2, 3}}, qv::test::PlyFaces(300, {0, 0, 1})}, {1, 1, 0, 0, 1, 1});
  EXPECT_EQ(point.status, 0U);
  EXPECT_EQ(point.heights, std::vector<float>(4, -1e10F));
}

TEST(ConvertPLYFile_BadMesh, FewFacesFlatOrNotFinite_EndsProcess) {
  Mesh few = Plane(10);
  few.faces.pop_back();
  const Converted out = Convert(few, {3, 2, 0, 0, 10, 10});
  EXPECT_TRUE(out.ended);
  EXPECT_EQ(out.messages, kBadCell);
  EXPECT_TRUE(out.untouched);

  Mesh flat = Plane(10);
  for (Vertex& v : flat.vertices) v.y = 3;
  EXPECT_TRUE(Convert(flat, {3, 2, 0, 0, 10, 10}).ended);
  for (const float bad : {INFINITY, -INFINITY, NAN}) {
    Mesh mesh = Plane(10);
    mesh.vertices[60].x = bad;
    EXPECT_TRUE(Convert(mesh, {3, 2, 0, 0, 10, 10}).ended);
    mesh = Plane(10);
    mesh.vertices[0].y = bad;
    EXPECT_TRUE(Convert(mesh, {3, 2, 0, 0, 10, 10}).ended);
    mesh = Plane(10);
    mesh.vertices[60].z = bad;
    EXPECT_FALSE(Convert(mesh, {3, 2, 0, 0, 10, 10}).ended);
  }
  // An infinite vertex of no face makes the box infinite too.
  Mesh stray = Plane(10);
  stray.vertices.push_back({INFINITY, 0, 0});
  EXPECT_TRUE(Convert(stray, {3, 2, 0, 0, 10, 10}).ended);
}

TEST(ConvertPLYFile_Grid, NudgeSeenNearOrigin) {
  // Heights are x: a mesh of a hundredth, where floats are finer than the nudge.
  Mesh mesh = Plane(10, 1e-3F);
  for (Vertex& v : mesh.vertices) v.z = v.x;
  const Converted out = Convert(mesh, {1, 1, 0, 0, 0.01F, 0.01F});
  EXPECT_NEAR(out.heights[0], 1e-8, 1e-10);
  EXPECT_LT(out.heights[1], 0.01F);
  EXPECT_NEAR(out.heights[1], 0.01F - 1e-8, 2e-9);
}

TEST(ConvertPLYFile_Grid, NearlyVerticalTriangle_HeightAboveThreshold) {
  for (const float width : {0x1p-32F, 0x1p-21F}) {  // doubled areas of 4.7e-10 and 9.5e-7
    Mesh mesh = Plane(10);
    for (Vertex& v : mesh.vertices) v.z = 7;
    for (Vertex& v : mesh.vertices) v.x -= 5;  // so that the narrow one stands at 0, where floats are fine
    mesh.vertices.insert(mesh.vertices.end(), {{0, 3, 4}, {0, 5, 4}, {width, 3, 4}});
    mesh.faces.insert(mesh.faces.begin(), {121, 122, 123});
    const Converted out = Convert(mesh, {10, 10, 0, 0, 10, 10});
    EXPECT_EQ(out.heights[4 * 11 + 6], 7.0F);
    EXPECT_EQ(out.heights[4 * 11 + 5], width < 0x1p-31F ? 0.0F : 4.0F);
  }
}

TEST(ConvertPLYFile_Grid, NoIntervalsOrNegative) {
  for (const Placement& p : {Placement{0, 3, 0, 0, 10, 10}, Placement{3, 0, 0, 0, 10, 10}}) {
    const Converted out = Convert(Plane(10), p);
    EXPECT_EQ(out.status, 0U);
    EXPECT_EQ(out.heights, std::vector<float>(4, -1e10F));
  }
  const Converted out = Convert(Plane(10), {-1, 3, 0, 0, 10, 10});
  EXPECT_EQ(out.status, 0U);
  EXPECT_TRUE(out.untouched);
}

TEST(ConvertPLYFile_State, WithoutMeshOrTwice_ReturnsOne) {
  CleanUpPLY();
  Guarded<float> heights(4);
  EXPECT_EQ(ConvertPLYFile(1, 1, 0, 0, 1, 1, heights.data()), 1U);
  Convert(Plane(10), {1, 1, 0, 0, 10, 10});
  EXPECT_EQ(ConvertPLYFile(1, 1, 0, 0, 1, 1, heights.data()), 1U);
  EXPECT_EQ(CleanUpPLY(), 0U);
  // A file that failed leaves nothing to convert either.
  Load(Plane(10));
  EXPECT_EQ(Parse("ply"), 1U);
  EXPECT_EQ(ConvertPLYFile(1, 1, 0, 0, 1, 1, heights.data()), 1U);
  EXPECT_TRUE(heights.Untouched());
}

TEST(ConvertPLYFile_Random, LikeReference) {
  Random random(51);
  for (int round = 0; round < 60; ++round) {
    Mesh mesh;
    for (int i = random.Between(3, 300); i > 0; --i) {
      mesh.vertices.push_back({static_cast<float>(random.Between(0.0, 3.0)),
                               static_cast<float>(random.Between(0.0, 2.0)),
                               static_cast<float>(random.Between(-9.0, 9.0))});
    }
    const auto corner = [&] { return random.Below(static_cast<int>(mesh.vertices.size())); };
    for (int i = random.Between(200, 600); i > 0; --i) {
      mesh.faces.push_back({corner(), corner(), corner()});
      if (random.Chance(0.2)) mesh.faces.back().push_back(corner());
    }
    // The reference takes its box from the triangles.
    for (int i = 0; i + 2 < static_cast<int>(mesh.vertices.size()); i += 3)
      mesh.faces.push_back({i, i + 1, i + 2});
    mesh.vertices.resize(mesh.vertices.size() / 3 * 3);
    const auto vertexCount = static_cast<int>(mesh.vertices.size());
    for (auto& face : mesh.faces) {
      for (int& c : face) c %= vertexCount;
    }
    qv::test::MeshToGridReference reference(TrianglesOf(mesh), 1e-9, 1e-8);
    const int nx = random.Between(1, 40), ny = random.Between(1, 40);
    const auto expected = reference.Convert(nx, ny, -0.1F, 0.05F, 3.2F, 1.9F, 200000);
    const VerboseScope verbose;
    const Converted actual = Convert(mesh, {nx, ny, -0.1F, 0.05F, 3.2F, 1.9F});
    ASSERT_EQ(actual.ended, expected.badCell);
    if (expected.badCell || expected.endless) continue;
    EXPECT_TRUE(qv::test::SameBits(actual.heights.data(), expected.heights.data(), expected.heights.size()))
        << round;
    EXPECT_NE(actual.messages.find(expected.passes), std::string::npos);
    EXPECT_EQ(actual.messages.find("missing"), std::string::npos);
    EXPECT_EQ(actual.messages.find("splitting"), std::string::npos);
  }
}
