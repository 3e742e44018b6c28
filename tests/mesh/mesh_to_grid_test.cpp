#include "mesh/mesh_to_grid.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/stl_reader.h"
#include "tests/reference/mesh_to_grid_reference.h"
#include "tests/support/conversion.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/stl_files.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::stl;
using qv::mesh::Triangle;
using qv::mesh::Vertex;
using qv::test::Converted;
using qv::test::GridReference;
using qv::test::Guarded;
using qv::test::MeshToGridReference;
using qv::test::Placement;
using qv::test::Random;
using qv::test::TakeMessages;
using qv::test::Triangles;

constexpr const char* kBadCell = "Bad cell index - shouldn't happen\n";

/// Loads a mesh as ParseSTLFile would.
void Load(const Triangles& triangles) {
  CleanUpSTL();
  for (const Triangle& t : triangles) ASSERT_TRUE(stl.StlTriangles.Append(t));
  stl.StlTriangleCount = static_cast<int>(triangles.size());
  stl.StlBounds = {};
  stl.StlBounds.Widen(triangles.data(), triangles.size());
}

Converted Convert(const Triangles& triangles, const Placement& p) {
  Load(triangles);
  Converted out = qv::test::ConvertGuarded(ConvertSTLFile, p);
  EXPECT_EQ(stl.StlTriangles.data(), nullptr) << "the mesh must be gone";
  return out;
}

/// A surface of 2 n n triangles over 0..n, of the height that `height` gives for a lattice point.
Triangles Surface(int n, const std::function<float(int, int)>& height) {
  Triangles triangles;
  const auto vertex = [&](int x, int y) {
    return Vertex{static_cast<float>(x), static_cast<float>(y), height(x, y)};
  };
  for (int y = 0; y < n; ++y) {
    for (int x = 0; x < n; ++x) {
      triangles.push_back({vertex(x, y), vertex(x + 1, y), vertex(x + 1, y + 1)});
      triangles.push_back({vertex(x, y), vertex(x + 1, y + 1), vertex(x, y + 1)});
    }
  }
  return triangles;
}

float Slope(int x, int y) {
  return static_cast<float>(2 * x - 3 * y);
}

struct VerboseScope {
  VerboseScope() { stl.Verbose = 1; }
  ~VerboseScope() { stl.Verbose = 0; }
};

std::string VerboseReport(const GridReference& expected, const Triangles& mesh) {
  qv::mesh::MeshBounds bounds;
  bounds.Widen(mesh.data(), mesh.size());
  const double r = expected.resolution;
  const double limit = 0.95 * std::min((static_cast<double>(bounds.maximum[0]) - bounds.minimum[0]) / r,
                                       (static_cast<double>(bounds.maximum[1]) - bounds.minimum[1]) / r);
  char text[256];
  std::snprintf(text, sizeof text, "Using a quadtree resolution of %d\nMaximum edge length will be %g\n",
                expected.resolution, limit);
  std::string report = text + expected.passes;
  std::snprintf(text, sizeof text,
                "Triangle splitting resulted in %d triangles\nThere were %ld missing mesh vertices\n",
                static_cast<int>(expected.refined.size()), expected.missing);
  return report + text;
}

/// Compares all bits with the reference; returns how many samples had a triangle, or -1 when there is no
/// reference.
long ExpectLikeReference(const Triangles& mesh, const Placement& p) {
  MeshToGridReference reference(mesh, 1e-6);
  const GridReference expected = reference.Convert(p.nx, p.ny, p.xOffset, p.yOffset, p.xSize, p.ySize, 60000);
  const VerboseScope verbose;
  const Converted actual = Convert(mesh, p);
  if (expected.endless) {
    EXPECT_EQ(actual.status, 1U);
    return -1;
  }
  EXPECT_EQ(actual.ended, expected.badCell);
  if (expected.badCell) return 0;
  EXPECT_EQ(actual.status, 0U);
  EXPECT_TRUE(qv::test::SameBits(actual.heights.data(), expected.heights.data(), expected.heights.size()));
  EXPECT_EQ(actual.messages, VerboseReport(expected, mesh));
  return static_cast<long>(expected.heights.size()) - expected.missing;
}

/// How the coordinates of a random mesh are made.
struct MeshKind {
  const char* name;
  double scale = 1;
  double xOffset = 0, yOffset = 0;
  bool lattice = false;   ///< vertices on whole numbers, where cell borders and samples lie too
  double size = 0.3;      ///< of a triangle, relative to the mesh
  double degenerate = 0;  ///< share of lines, walls and points
  double sliver = 0;      ///< share of triangles that are lines but for a rounding
  double aspect = 1;      ///< y extent over x extent
};

Vertex RandomVertex(Random& random, const MeshKind& kind, const Vertex* near) {
  double x = random.Unit(), y = random.Unit();
  if (near != nullptr) {
    x = near->x + kind.size * (x - 0.5);
    y = near->y + kind.size * (y - 0.5);
  }
  x = std::min(std::max(x, 0.0), 1.0);
  y = std::min(std::max(y, 0.0), 1.0);
  return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(random.Between(-9.0, 9.0))};
}

Vertex Blend(const Vertex& a, const Vertex& b, double t) {
  return {static_cast<float>(a.x + (static_cast<double>(b.x) - a.x) * t),
          static_cast<float>(a.y + (static_cast<double>(b.y) - a.y) * t), a.z - b.z};
}

Vertex PlaceVertex(const Vertex& v, const MeshKind& kind) {
  if (kind.lattice) return {std::round(v.x * 12), std::round(v.y * 12), v.z};
  return {static_cast<float>(kind.xOffset + kind.scale * v.x),
          static_cast<float>(kind.yOffset + kind.scale * kind.aspect * v.y), v.z};
}

Triangle RandomTriangle(Random& random, const MeshKind& kind) {
  Triangle t;
  t.a = RandomVertex(random, kind, nullptr);
  t.b = RandomVertex(random, kind, &t.a);
  t.c = RandomVertex(random, kind, &t.a);
  if (random.Chance(kind.degenerate)) {
    switch (random.Below(5)) {
      case 0:
        t.c = t.b = t.a;
        break;
      case 1:
        t.b.x = t.c.x = t.a.x;
        break;
      case 2:
        t.b.y = t.c.y = t.a.y;
        break;
      case 3:
        t.c = t.b;
        break;
      default:
        t.c = Blend(t.a, t.b, 0.5);
        break;
    }
  } else if (random.Chance(kind.sliver)) {
    t.c = Blend(t.a, t.b, random.Between(-0.2, 1.2));
  }
  switch (random.Below(3)) {
    case 0:
      std::swap(t.a, t.b);
      break;
    case 1:
      std::swap(t.a, t.c);
      break;
    default:
      break;
  }
  return {PlaceVertex(t.a, kind), PlaceVertex(t.b, kind), PlaceVertex(t.c, kind)};
}

Placement RandomPlacement(Random& random, const MeshKind& kind) {
  const double width = kind.lattice ? 12 : kind.scale, height = kind.lattice ? 12 : kind.scale * kind.aspect;
  Placement p = {random.Between(1, 40),     random.Between(1, 40),     0, 0,
                 static_cast<float>(width), static_cast<float>(height)};
  if (kind.lattice) p.nx = p.ny = 12 * random.Between(1, 4);
  if (random.Chance(0.4)) {  // beyond the mesh, on all sides
    p.xOffset = static_cast<float>(-0.25 * width);
    p.yOffset = static_cast<float>(-0.5 * height);
    p.xSize = static_cast<float>(1.5 * width);
    p.ySize = static_cast<float>(2 * height);
  }
  if (random.Chance(0.2)) {  // backwards
    p.xOffset += p.xSize;
    p.xSize = -p.xSize;
  }
  if (random.Chance(0.2)) {
    p.yOffset += p.ySize;
    p.ySize = -p.ySize;
  }
  return p;
}

/// Returns in how many rounds there were heights to compare.
int CompareRandomMeshes(const MeshKind& kind, std::uint64_t seed, int rounds) {
  Random random(seed);
  long covered = 0;
  int compared = 0;
  for (int round = 0; round < rounds; ++round) {
    Triangles mesh(
        static_cast<std::size_t>(random.Chance(0.2) ? random.Between(800, 2500) : random.Between(200, 500)));
    for (Triangle& t : mesh) t = RandomTriangle(random, kind);
    const long samples = ExpectLikeReference(mesh, RandomPlacement(random, kind));
    if (samples >= 0) ++compared;
    if (samples > 0) covered += samples;
    EXPECT_FALSE(::testing::Test::HasFailure()) << kind.name << ", round " << round;
    if (::testing::Test::HasFailure()) return compared;
  }
  EXPECT_GT(covered, 0) << kind.name;
  return compared;
}

}  // namespace

TEST(ConvertSTLFile_Random, OverlappingTriangles_LikeReference) {
  EXPECT_GT(CompareRandomMeshes({.name = "overlapping"}, 101, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "small triangles", .size = 0.05}, 102, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "large triangles", .size = 2}, 103, 20), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "far from the origin", .xOffset = 5000, .yOffset = -300}, 104, 30),
            0);
}

TEST(ConvertSTLFile_Random, VerticesOnSamplesAndCellBorders_LikeReference) {
  EXPECT_GT(CompareRandomMeshes({.name = "lattice", .lattice = true}, 111, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "lattice, small", .lattice = true, .size = 0.1}, 112, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "lattice, degenerate", .lattice = true, .degenerate = 0.7}, 113, 60),
            0);
}

TEST(ConvertSTLFile_Random, DegenerateTriangles_LikeReference) {
  EXPECT_GT(CompareRandomMeshes({.name = "degenerate", .degenerate = 0.9}, 121, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "only degenerate", .size = 0.1, .degenerate = 1}, 122, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "slivers", .sliver = 1}, 123, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "small slivers", .size = 0.02, .sliver = 0.9}, 124, 60), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "slivers far away", .xOffset = 1e5, .yOffset = 1e5, .sliver = 0.9},
                                125, 60),
            0);
}

TEST(ConvertSTLFile_Random, ExtremeCoordinates_LikeReference) {
  EXPECT_GT(CompareRandomMeshes({.name = "huge", .scale = 1e30}, 131, 20), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "huge, degenerate", .scale = 1e37, .degenerate = 0.5, .sliver = 0.5},
                                132, 20),
            0);
  EXPECT_GT(CompareRandomMeshes({.name = "tiny", .scale = 1e-20}, 133, 20), 0);
  EXPECT_GT(CompareRandomMeshes(
                {.name = "tiny, degenerate", .scale = 1e-37, .degenerate = 0.5, .sliver = 0.5}, 134, 20),
            0);
  EXPECT_GT(CompareRandomMeshes({.name = "denormal", .scale = 1e-42, .degenerate = 0.2}, 135, 20), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "beyond the start of the bounds", .xOffset = 3e10, .yOffset = -3e10},
                                136, 5),
            0);
}

TEST(ConvertSTLFile_Random, CoordinatesAtResolutionOfFloats_LikeReference) {
  // Midpoints are often one of the ends, and triangles that stay large span more than a block of cells. Some
  // meshes could be cut forever: they are refused.
  int compared = 0, rounds = 0;
  for (const double steps : {5.0, 10.0, 20.0, 40.0, 100.0}) {
    const double offset = 0x1p30;  // floats are 64 or 128 apart
    compared += CompareRandomMeshes(
        {.name = "coarse", .scale = 64 * steps, .xOffset = offset, .yOffset = -offset, .size = 1},
        141 + static_cast<std::uint64_t>(steps), 30);
    compared += CompareRandomMeshes({.name = "coarse, across a power of two",
                                     .scale = 64 * steps,
                                     .xOffset = offset - 32 * steps,
                                     .yOffset = 0,
                                     .size = 0.5,
                                     .degenerate = 0.3},
                                    341 + static_cast<std::uint64_t>(steps), 30);
    rounds += 60;
    std::printf("%g steps: %d of %d meshes could be refined\n", steps, compared, rounds);
  }
  EXPECT_GT(compared, 60);
  EXPECT_LT(compared, rounds);
}

TEST(ConvertSTLFile_Random, OtherAspects_LikeReference) {
  EXPECT_GT(CompareRandomMeshes({.name = "wide", .size = 0.1, .aspect = 0.05}, 151, 20), 0);
  EXPECT_GT(CompareRandomMeshes({.name = "tall", .size = 0.1, .degenerate = 0.5, .aspect = 20}, 152, 20), 0);
}

TEST(ConvertSTLFile_Resolution, FewerThan200Triangles_EndsProcess) {
  const Converted out =
      Convert(Triangles(199, Triangle{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), {1, 1, 0, 0, 1, 1});
  EXPECT_TRUE(out.ended);
  EXPECT_EQ(out.messages, kBadCell);
  EXPECT_TRUE(out.untouched);
}

TEST(ConvertSTLFile_Resolution, ExactlyTwoHundred_OneCell) {
  const VerboseScope verbose;
  const Converted out = Convert(Surface(10, Slope), {10, 10, 0, 0, 10, 10});
  EXPECT_FALSE(out.ended);
  EXPECT_EQ(out.messages,
            "Using a quadtree resolution of 1\n"
            "Maximum edge length will be 9.5\n"
            "Maximum edge length: 1.41421 (Triangles: 200)\n"
            "Triangle splitting resulted in 200 triangles\n"
            "There were 0 missing mesh vertices\n");
  for (int y = 0; y <= 10; ++y) {
    for (int x = 0; x <= 10; ++x) EXPECT_EQ(out.heights[static_cast<std::size_t>(y * 11 + x)], Slope(x, y));
  }
}

TEST(ConvertSTLFile_Resolution, OneTriangleVerbose_MessagesUpToTheEnd) {
  const VerboseScope verbose;
  const Converted out = Convert({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}, {1, 1, 0, 0, 1, 1});
  EXPECT_TRUE(out.ended);
  EXPECT_EQ(out.messages,
            std::string("Using a quadtree resolution of 0\nMaximum edge length will be inf\n") + kBadCell);
}

TEST(ConvertSTLFile_Resolution, CappedAt80) {
  const VerboseScope verbose;
  const Triangles mesh(1280000, Triangle{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
  // One large triangle again and again: the cap is reached, then the refinement is refused as hopeless.
  const Converted out = Convert(mesh, {1, 1, 0, 0, 1, 1});
  EXPECT_EQ(out.status, 1U);
  EXPECT_EQ(out.messages, "Using a quadtree resolution of 80\nMaximum edge length will be 0.011875\n");
}

TEST(ConvertSTLFile_BadMesh, NoExtentOrNotFinite_EndsProcess) {
  const Triangle good = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};
  const Converted flatX =
      Convert(Triangles(200, Triangle{{1, 0, 0}, {1, 1, 0}, {1, 2, 0}}), {1, 1, 0, 0, 1, 1});
  EXPECT_TRUE(flatX.ended);
  const Converted flatY =
      Convert(Triangles(200, Triangle{{0, 3, 0}, {1, 3, 0}, {2, 3, 0}}), {1, 1, 0, 0, 1, 1});
  EXPECT_TRUE(flatY.ended);
  for (const float bad : {INFINITY, -INFINITY, NAN}) {
    Triangles mesh(200, good);
    mesh[123].b.x = bad;
    EXPECT_TRUE(Convert(mesh, {1, 1, 0, 0, 1, 1}).ended);
    mesh[123] = good;
    mesh[199].c.y = bad;
    const Converted out = Convert(mesh, {1, 1, 0, 0, 1, 1});
    EXPECT_TRUE(out.ended);
    EXPECT_EQ(out.messages, kBadCell);
    EXPECT_TRUE(out.untouched);
    mesh[199] = good;
    mesh[5].a.z = mesh[5].b.z = bad;
    EXPECT_FALSE(Convert(mesh, {1, 1, 0, 0, 1, 1}).ended);
  }
  EXPECT_TRUE(
      Convert(Triangles(200, Triangle{{NAN, 0, 0}, {NAN, 1, 0}, {NAN, 0, 0}}), {1, 1, 0, 0, 1, 1}).ended);
}

TEST(ConvertSTLFile_Samples, OnFarEdges_InLastCell) {
  const Converted out = Convert(Surface(20, Slope), {2, 2, 0, 0, 20, 20});
  const std::vector<float> expected = {0, 20, 40, -30, -10, 10, -60, -40, -20};
  EXPECT_EQ(out.heights, expected);
}

TEST(ConvertSTLFile_Samples, GridLargerThanMesh_MissingOutside) {
  const VerboseScope verbose;
  const Converted out = Convert(Surface(10, Slope), {4, 4, -5, -5, 20, 20});
  for (int y = 0; y <= 4; ++y) {
    for (int x = 0; x <= 4; ++x) {
      const bool inside = x >= 1 && x <= 3 && y >= 1 && y <= 3;
      EXPECT_EQ(out.heights[static_cast<std::size_t>(y * 5 + x)],
                inside ? Slope(5 * x - 5, 5 * y - 5) : -1e10F);
    }
  }
  EXPECT_NE(out.messages.find("There were 16 missing mesh vertices\n"), std::string::npos);
}

TEST(ConvertSTLFile_Samples, Overlap_LowerIndexWins) {
  Triangles mesh = Surface(10, [](int, int) { return 1.0F; });
  const Triangles above = Surface(10, [](int, int) { return 9.0F; });
  mesh.insert(mesh.end(), above.begin(), above.end());
  for (const float z : Convert(mesh, {20, 20, 0, 0, 10, 10}).heights) EXPECT_EQ(z, 1.0F);
  std::rotate(mesh.begin(), mesh.begin() + 200, mesh.end());
  for (const float z : Convert(mesh, {20, 20, 0, 0, 10, 10}).heights) EXPECT_EQ(z, 9.0F);
}

TEST(ConvertSTLFile_Samples, SharedEdge_LowerIndexGivesHeight) {
  // Two steps that meet along x = 5 without sharing heights.
  Triangles mesh = Surface(10, Slope);
  for (Triangle& t : mesh) {
    const float z = std::min({t.a.x, t.b.x, t.c.x}) < 5 ? 1.0F : 2.0F;
    t.a.z = t.b.z = t.c.z = z;
  }
  const auto middle = [](const Converted& out) { return out.heights[1 * 3 + 1]; };
  EXPECT_EQ(middle(Convert(mesh, {2, 2, 0, 0, 10, 10})), 1.0F);
  std::reverse(mesh.begin(), mesh.end());
  EXPECT_EQ(middle(Convert(mesh, {2, 2, 0, 0, 10, 10})), 2.0F);
}

TEST(ConvertSTLFile_Samples, VerticalTriangleFirst_HeightZero) {
  Triangles mesh = Surface(10, [](int, int) { return 7.0F; });
  mesh.insert(mesh.begin(), Triangle{{5, 2, 3}, {5, 4, 3}, {5, 3, 8}});
  const Converted out = Convert(mesh, {10, 10, 0, 0, 10, 10});
  // It accepts its whole line within its cell: the only one.
  for (int y = 0; y <= 10; ++y) {
    for (int x = 0; x <= 10; ++x)
      EXPECT_EQ(out.heights[static_cast<std::size_t>(y * 11 + x)], x == 5 ? 0.0F : 7.0F);
  }
}

TEST(ConvertSTLFile_Samples, NearlyVerticalTriangle_HeightZeroUpToThreshold) {
  for (const float width : {0x1p-21F, 0x1p-19F}) {  // doubled areas of 9.5e-7 and 3.8e-6
    Triangles mesh = Surface(10, [](int, int) { return 7.0F; });
    mesh.insert(mesh.begin(), Triangle{{5, 3, 4}, {5 + width, 3, 4}, {5, 5, 4}});
    const Converted out = Convert(mesh, {10, 10, 0, 0, 10, 10});
    EXPECT_EQ(out.heights[4 * 11 + 5], width < 0x1p-20F ? 0.0F : 4.0F);
    EXPECT_EQ(out.heights[4 * 11 + 6], 7.0F);
  }
}

TEST(ConvertSTLFile_Samples, HeightEqualToMissingValue_NotCounted) {
  const VerboseScope verbose;
  const Converted out = Convert(Surface(10, [](int, int) { return -1e10F; }), {4, 4, 0, 0, 10, 10});
  for (const float z : out.heights) EXPECT_EQ(z, -1e10F);
  EXPECT_NE(out.messages.find("There were 0 missing mesh vertices\n"), std::string::npos);
}

TEST(ConvertSTLFile_Sizes, NoIntervals_AllMissing) {
  const VerboseScope verbose;
  for (const Placement& p :
       {Placement{0, 3, 0, 0, 10, 10}, Placement{3, 0, 0, 0, 10, 10}, Placement{0, 0, 0, 0, 1, 1}}) {
    const Converted out = Convert(Surface(10, Slope), p);
    EXPECT_EQ(out.status, 0U);
    for (const float z : out.heights) EXPECT_EQ(z, -1e10F);
    EXPECT_NE(
        out.messages.find("There were " + std::to_string(out.heights.size()) + " missing mesh vertices\n"),
        std::string::npos);
  }
}

TEST(ConvertSTLFile_Sizes, Negative_NothingWritten) {
  for (const Placement& p : {Placement{-1, 3, 0, 0, 10, 10}, Placement{3, -1, 0, 0, 10, 10},
                             Placement{-7, 0, 0, 0, 1, 1}, Placement{INT32_MIN, INT32_MIN, 0, 0, 1, 1}}) {
    const Converted out = Convert(Surface(10, Slope), p);
    EXPECT_EQ(out.status, 0U);
    EXPECT_TRUE(out.untouched);
  }
}

TEST(ConvertSTLFile_Sizes, NotFinite_AllMissing) {
  for (const float bad : {INFINITY, -INFINITY, NAN}) {
    for (const Placement& p : {Placement{3, 3, bad, 0, 1, 1}, Placement{3, 3, 0, bad, 1, 1},
                               Placement{3, 3, 0, 0, bad, 1}, Placement{3, 3, 0, 0, 1, bad}}) {
      const Converted out = Convert(Surface(10, Slope), p);
      EXPECT_EQ(out.status, 0U);
      for (const float z : out.heights) EXPECT_EQ(z, -1e10F);
    }
  }
}

TEST(ConvertSTLFile_Sizes, NoExtentOfGrid_OneHeightEverywhere) {
  for (const float z : Convert(Surface(10, Slope), {30, 20, 4, 6, 0, 0}).heights) EXPECT_EQ(z, Slope(4, 6));
}

TEST(ConvertSTLFile_State, WithoutMesh_ReturnsOne) {
  CleanUpSTL();
  TakeMessages();
  const VerboseScope verbose;
  Guarded<float> heights(4);
  EXPECT_EQ(ConvertSTLFile(1, 1, 0, 0, 1, 1, heights.data()), 1U);
  EXPECT_TRUE(heights.Untouched());
  EXPECT_EQ(TakeMessages(), "");
}

TEST(ConvertSTLFile_State, SecondConversion_ReturnsOne) {
  Convert(Surface(10, Slope), {1, 1, 0, 0, 10, 10});
  Guarded<float> heights(4);
  EXPECT_EQ(ConvertSTLFile(1, 1, 0, 0, 10, 10, heights.data()), 1U);
  EXPECT_EQ(CleanUpSTL(), 0U);
}

TEST(ConvertSTLFile_State, ParsedFile_Converted) {
  const qv::test::TemporaryFile file(qv::test::BinaryStl(Surface(10, Slope)));
  float b[6];
  int count = 0;
  ASSERT_EQ(ParseSTLFile(file.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &count), 0U);
  EXPECT_EQ(count, 200);
  Guarded<float> heights(9);
  EXPECT_EQ(ConvertSTLFile(2, 2, 0, 0, b[1] - b[0], b[3] - b[2], heights.data()), 0U);
  EXPECT_EQ(heights[4], Slope(5, 5));
}

TEST(ConvertMeshToGrid_Ply, NudgeThresholdAndMessages_AsDescribed) {
  const qv::mesh::MeshConversion ply = {.degenerateArea = 1e-9, .nudge = 1e-8, .reportsCounts = false};
  const Triangles mesh = Surface(10, Slope);
  qv::mesh::GrowingArray<Triangle> triangles;
  // Near the origin floats are fine enough for the nudge to be seen.
  qv::mesh::MeshBounds bounds;
  for (Triangle t : mesh) {
    for (Vertex* v : {&t.a, &t.b, &t.c}) {
      v->x *= 1e-3F;
      v->y *= 1e-3F;
      v->z = v->x;
    }
    ASSERT_TRUE(triangles.Append(t));
  }
  bounds.Widen(triangles.data(), triangles.size());
  TakeMessages();
  Guarded<float> heights(4);
  EXPECT_EQ(qv::mesh::ConvertMeshToGrid(ply, triangles, 200, bounds,
                                        {1, 1, 0, 0, 0.01F, 0.01F, heights.data()}, true),
            0U);
  EXPECT_EQ(TakeMessages(),
            "Using a quadtree resolution of 1\nMaximum edge length will be 0.0095\n"
            "Maximum edge length: 0.00141421 (Triangles: 200)\n");
  EXPECT_NEAR(heights[0], 1e-8, 1e-10);
  EXPECT_LT(heights[1], 0.01F);
}

TEST(ConvertMeshToGrid_NoTriangles, AllMissing_ReturnsZero) {
  qv::mesh::GrowingArray<Triangle> none;
  TakeMessages();
  Guarded<float> heights(6);
  EXPECT_EQ(qv::mesh::ConvertMeshToGrid({1e-9, 1e-8, false}, none, 0, {}, {1, 2, 0, 0, 1, 1, heights.data()},
                                        false),
            0U);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(heights[i], -1e10F);
  EXPECT_EQ(TakeMessages(), "");
}
