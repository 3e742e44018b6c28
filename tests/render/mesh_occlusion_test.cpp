// The generator behind ComputeAmbientOcclusionData against closed forms, and the export over a stand-in for
// it.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "render/ambient_occlusion.h"
#include "render/triangle_tree.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using Point = std::array<double, 3>;

struct Mesh {
  std::vector<float> vertices, normals;
  std::vector<unsigned> triangles;

  std::size_t Count() const { return vertices.size() / 3; }

  /// A grid of columns x rows cells; place and normal take u and v in 0..1. Returns its first vertex.
  unsigned AddSheet(int columns, int rows, const std::function<Point(double, double)>& place,
                    const std::function<Point(double, double)>& normal) {
    const auto first = static_cast<unsigned>(Count()), width = static_cast<unsigned>(columns + 1);
    for (int j = 0; j <= rows; ++j) {
      for (int i = 0; i <= columns; ++i) {
        const double u = static_cast<double>(i) / columns, v = static_cast<double>(j) / rows;
        for (const double x : place(u, v)) vertices.push_back(static_cast<float>(x));
        for (const double x : normal(u, v)) normals.push_back(static_cast<float>(x));
      }
    }
    for (int j = 0; j < rows; ++j) {
      for (int i = 0; i < columns; ++i) {
        const unsigned k = first + static_cast<unsigned>(j) * width + static_cast<unsigned>(i);
        triangles.insert(triangles.end(), {k, k + 1, k + width, k + 1, k + width + 1, k + width});
      }
    }
    return first;
  }
};

const auto kUp = [](double, double) { return Point{0, 0, 1}; };

struct Result {
  std::vector<float> ao, directions;
};

const void* AsPointer(std::uintptr_t number) {
  return reinterpret_cast<const void*>(number);
}

Result Generate(const Mesh& mesh, const void* connectivity1, const void* connectivity2) {
  qv::test::Guarded<float> ao(mesh.Count()), directions(3 * mesh.Count());
  EXPECT_EQ(
      ComputeAmbientOcclusionData(mesh.vertices.data(), mesh.normals.data(), static_cast<int>(mesh.Count()),
                                  connectivity1, connectivity2, ao.data(), directions.data()),
      0U);
  for (std::size_t k = 0; k < mesh.Count(); ++k) {
    EXPECT_GE(ao[k], 0.0F);
    EXPECT_LE(ao[k], 1.0F);
    const float* d = directions.data() + 3 * k;
    EXPECT_NEAR(std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]), 1.0, 1e-5);
  }
  return {ao.Values(), directions.Values()};
}

Result Generate(const Mesh& mesh) {
  return Generate(mesh, AsPointer(mesh.triangles.size() / 3), mesh.triangles.data());
}

Result Estimate(const Mesh& mesh) {
  return Generate(mesh, nullptr, nullptr);
}

Mesh Plane(double slope) {
  Mesh mesh;
  const double length = std::sqrt(1 + slope * slope);
  mesh.AddSheet(
      20, 20,
      [=](double u, double v) {
        return Point{1000 + u, v, slope * u};
      },
      [=](double, double) {
        return Point{-slope / length, 0, 1 / length};
      });
  return mesh;
}

/// Along y, with its bottom at x = 0, where the normal points up.
Mesh Groove(double halfAngle) {
  Mesh mesh;
  const double wide = std::sin(halfAngle), high = std::cos(halfAngle);
  mesh.AddSheet(
      20, 200,
      [=](double u, double v) {
        return Point{(2 * u - 1) * wide, 20 * v, std::fabs(2 * u - 1) * high};
      },
      [=](double u, double) {
        if (u == 0.5) return Point{0, 0, 1};
        return u < 0.5 ? Point{high, 0, wide} : Point{-high, 0, wide};
      });
  return mesh;
}
constexpr std::size_t kGrooveBottom = 100 * 21 + 10;

TEST(ComputeAmbientOcclusionData, Planes_AreFullyLitFromTheirNormal) {
  for (const double slope : {0.0, 1.0, 5.0}) {
    const Mesh mesh = Plane(slope);
    for (const Result& result : {Generate(mesh), Estimate(mesh)}) {
      for (std::size_t k = 0; k < mesh.Count(); ++k) {
        ASSERT_EQ(result.ao[k], 1.0F) << "slope " << slope << ", vertex " << k;
        for (std::size_t i = 0; i < 3; ++i)
          ASSERT_NEAR(result.directions[3 * k + i], mesh.normals[3 * k + i], 0.01);
      }
    }
  }
}

TEST(ComputeAmbientOcclusionData, BottomOfALongGroove_IsTheSineOfTheHalfAngle) {
  for (const double degrees : {15.0, 30.0, 45.0, 60.0, 80.0}) {
    const double a = degrees * 3.14159265358979 / 180;
    const Mesh mesh = Groove(a);
    const Result result = Generate(mesh);
    EXPECT_NEAR(result.ao[kGrooveBottom], std::sin(a), 0.015) << degrees;
    EXPECT_NEAR(result.directions[3 * kGrooveBottom + 2], 1, 0.01);
    EXPECT_NEAR(Estimate(mesh).ao[kGrooveBottom], std::sin(a), 0.1) << degrees;
  }
}

/// A floor from x = 0 and a wall at x = 0, 20 wide and 20 high, which do or do not share vertices.
TEST(ComputeAmbientOcclusionData, FloorBesideAWall_IsHalfLitAtTheEdge) {
  Mesh mesh;
  const unsigned floor = mesh.AddSheet(
      20, 40,
      [](double u, double v) {
        return Point{20 * u, 40 * v, 0};
      },
      kUp);
  mesh.AddSheet(
      40, 40,
      [](double u, double v) {
        return Point{0, 40 * v, 40 * u};
      },
      [](double, double) {
        return Point{1, 0, 0};
      });
  const std::size_t edge = floor + 20 * 21;
  Result result = Generate(mesh);
  EXPECT_NEAR(result.ao[edge], 0.5, 0.03);  // the wall ends
  EXPECT_GT(result.directions[3 * edge], 0.3F);
  EXPECT_NEAR(result.ao[edge + 15], 0.5 * (1 + 15 / std::hypot(15, 40)), 0.08);

  Mesh bent;  // one sheet, bent at the edge, whose normal is the floor's
  bent.AddSheet(
      60, 40,
      [](double u, double v) {
        return u < 2.0 / 3 - 1e-9 ? Point{0, 40 * v, 40 - 60 * u} : Point{60 * u - 40, 40 * v, 0};
      },
      [](double u, double) {
        return u < 2.0 / 3 - 1e-9 ? Point{1, 0, 0} : Point{0, 0, 1};
      });
  result = Generate(bent);
  EXPECT_NEAR(result.ao[20 * 61 + 40], 0.5, 0.03);
}

TEST(ComputeAmbientOcclusionData, InsideAClosedBox_IsDark) {
  Mesh mesh;
  for (int axis = 0; axis < 3; ++axis) {
    for (const int side : {0, 1}) {
      const auto place = [=](double u, double v) {
        Point p = {};
        p[static_cast<std::size_t>(axis)] = side;
        p[static_cast<std::size_t>((axis + 1) % 3)] = u;
        p[static_cast<std::size_t>((axis + 2) % 3)] = v;
        return p;
      };
      mesh.AddSheet(6, 6, place, [=](double, double) {
        Point n = {};
        n[static_cast<std::size_t>(axis)] = side == 0 ? 1 : -1;
        return n;
      });
    }
  }
  for (const float ao : Generate(mesh).ao) ASSERT_LE(ao, 0.01F);
  // The inner vertices of the faces; the squares at the edges of the box leave gaps.
  EXPECT_LE(Estimate(mesh).ao[24], 0.15F);
}

Mesh Rough(int side, std::uint64_t seed) {
  Mesh mesh;
  qv::test::Random random(seed);
  mesh.AddSheet(
      side, side,
      [&](double u, double v) {
        return Point{u, v, 0.3 * random.Unit()};
      },
      kUp);
  return mesh;
}

TEST(ComputeAmbientOcclusionData, EveryInstructionSet_GivesTheSameBits) {
  const Mesh mesh = Rough(20, 3);
  const Result expected = Generate(mesh);
  qv::test::ForEachVariant([&] {
    const Result result = Generate(mesh);
    EXPECT_TRUE(qv::test::SameBits(result.ao.data(), expected.ao.data(), result.ao.size()));
    EXPECT_TRUE(
        qv::test::SameBits(result.directions.data(), expected.directions.data(), result.directions.size()));
  });
}

TEST(ComputeAmbientOcclusionData, RoughSurface_HasValuesOfAllKinds) {
  const Result result = Generate(Rough(20, 3));
  int dark = 0, half = 0, lit = 0;
  for (const float ao : result.ao) ++(ao < 0.4F ? dark : ao < 0.8F ? half : lit);
  EXPECT_GT(dark, 5);
  EXPECT_GT(half, 50);
  EXPECT_GT(lit, 50);
}

using Vector = std::array<double, 3>;
double Determinant(const Vector& a, const Vector& b, const Vector& c) {
  return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
         a[2] * (b[0] * c[1] - b[1] * c[0]);
}

/// By solving a + u(b-a) + v(c-a) = t * direction, in double, ray by ray.
int OpenRays(const std::vector<float>& corners, const qv::kernels::OcclusionView& view) {
  int open = 0;
  for (int ray = 0; ray < 128; ++ray) {
    const float* packet = view.rays + ray / 16 * 48 + ray % 16;
    const Vector direction = {-packet[0], -packet[16], -packet[32]};
    bool stops = false;
    for (std::size_t t = 0; t < corners.size(); t += 9) {
      Vector a, ab, ac;
      for (std::size_t i = 0; i < 3; ++i) {
        a[i] = static_cast<double>(view.origin[i]) - corners[t + i];
        ab[i] = static_cast<double>(corners[t + 3 + i]) - corners[t + i];
        ac[i] = static_cast<double>(corners[t + 6 + i]) - corners[t + i];
      }
      const double whole = Determinant(direction, ab, ac);
      const double distance = Determinant(a, ab, ac) / whole;
      const double u = Determinant(direction, a, ac) / whole, v = Determinant(direction, ab, a) / whole;
      stops = stops || (u >= 0 && v >= 0 && u + v <= 1 && distance > 0 && distance < view.reach);
    }
    open += stops ? 0 : 1;
  }
  return open;
}

/// The rays against every triangle in one leaf, without the tree; and the shares against double arithmetic.
TEST(TriangleTree, RandomTriangles_StopTheRaysThatTheyStopOneByOne) {
  qv::test::Random random(23);
  const auto number = [&] { return static_cast<float>(random.Between(-1.0, 1.0)); };
  std::vector<float> rays(3 * 16 * 8);
  for (float& x : rays) x = number();
  int stopped = 0;
  for (const int triangles : {1, 4, 5, 100, 1000}) {
    std::vector<float> corners;
    for (int t = 0; t < triangles; ++t) {
      const float centre[3] = {number(), number(), number()};
      for (int k = 0; k < 9; ++k) corners.push_back(centre[k % 3] + 0.1F * number());
    }
    const qv::render::TriangleTree tree(corners);
    const qv::kernels::OcclusionNode leaf = {{-2, -2, -2}, 0, {2, 2, 2}, triangles, {0, 0, 0}, 0, 0};
    const qv::kernels::OcclusionScene flat = {&leaf, corners.data()};
    for (int round = 0; round < 20; ++round) {
      const qv::kernels::OcclusionView view = {
          {number(), number(), number()}, {1, 0, 0, 0, 1, 0, 0, 0, 1}, rays.data(), 8, 10};
      const auto& kernel = qv::kernels::Active().occlusionRays;
      const auto actual = kernel.view(tree.Scene(), view), expected = kernel.view(flat, view);
      EXPECT_EQ(actual.count, expected.count);
      EXPECT_TRUE(qv::test::SameBits(actual.direction, expected.direction, 3));
      EXPECT_EQ(actual.count, OpenRays(corners, view)) << triangles << " triangles";
      stopped += 128 - actual.count;
    }
  }
  EXPECT_GT(stopped, 500);
}

/// Cells of a slope, of which boxes are full and slabs are thin; some of it level, where a slab has no
/// thickness.
std::vector<float> SlopeCorners(qv::test::Random& random, double steepness, double roughness, double shift) {
  constexpr int kCells = 40;
  std::vector<std::array<float, 3>> points;
  for (int k = 0; k < (kCells + 1) * (kCells + 1); ++k) {
    const double x = k % (kCells + 1) / double{kCells}, y = k / (kCells + 1) / double{kCells};  // NOLINT
    const double z = steepness * (x + 0.3 * y) + roughness * random.Unit();
    points.push_back({static_cast<float>(x + shift), static_cast<float>(y - shift), static_cast<float>(z)});
  }
  std::vector<float> corners;
  for (int j = 0; j < kCells; ++j) {
    for (int i = 0; i < kCells; ++i) {
      const int k = j * (kCells + 1) + i;
      for (const int corner : {k, k + 1, k + kCells + 1, k + 1, k + kCells + 2, k + kCells + 1}) {
        const auto& point = points[static_cast<std::size_t>(corner)];
        corners.insert(corners.end(), point.begin(), point.end());
      }
    }
  }
  return corners;
}

TEST(TriangleTree, Slopes_StopTheRaysThatTheyStopWithoutSlabs) {
  qv::test::Random random(24);
  std::vector<float> rays(3 * 16 * 8);
  for (float& x : rays) x = static_cast<float>(random.Between(-1.0, 1.0));
  for (const double steepness : {0.0, 0.01, 1.0, 30.0}) {
    for (const double roughness : {0.0, 0.001, 0.05}) {
      for (const double shift : {0.0, 1000.0}) {
        const auto corners = SlopeCorners(random, steepness, roughness, shift);
        const qv::render::TriangleTree tree(corners);
        const auto count = static_cast<int>(corners.size() / 9);
        const qv::kernels::OcclusionNode leaf = {{0, 0, 0}, 0, {0, 0, 0}, count, {0, 0, 0}, 0, 0};
        for (int round = 0; round < 20; ++round) {
          const auto at = 9 * static_cast<std::size_t>(random.Between(0, count - 1));
          const float above = static_cast<float>(random.Unit() * random.Unit() * 0.01);
          const qv::kernels::OcclusionView view = {{corners[at], corners[at + 1], corners[at + 2] + above},
                                                   {1, 0, 0, 0, 1, 0, 0, 0, 1},
                                                   rays.data(),
                                                   8,
                                                   10};
          qv::test::ForEachVariant([&] {
            const auto& kernel = qv::kernels::Active().occlusionRays;
            const auto actual = kernel.view(tree.Scene(), view),
                       expected = kernel.view({&leaf, corners.data()}, view);
            EXPECT_EQ(actual.count, expected.count);
            EXPECT_TRUE(qv::test::SameBits(actual.direction, expected.direction, 3));
          });
        }
      }
    }
  }
}

TEST(ComputeAmbientOcclusionData, ConnectivityInEitherOrder_IsUnderstood) {
  const Mesh mesh = Rough(8, 5);
  const Result expected = Generate(mesh);
  const Result estimate = Estimate(mesh);
  EXPECT_NE(expected.ao, estimate.ao);
#if !defined(_WIN32)
  EXPECT_EQ(Generate(mesh, mesh.triangles.data(), AsPointer(mesh.triangles.size() / 3)).ao, expected.ao);
#endif
}

TEST(ComputeAmbientOcclusionData, AnythingElse_IsEstimatedWithoutBeingTouched) {
  Mesh mesh = Rough(8, 5);
  const Result estimate = Estimate(mesh);
  const void* count = AsPointer(mesh.triangles.size() / 3);
  EXPECT_EQ(Generate(mesh, count, nullptr).ao, estimate.ao);
  EXPECT_EQ(Generate(mesh, nullptr, mesh.triangles.data()).ao, estimate.ao);
#if !defined(_WIN32)  // there a pointer may look like a count
  const void* wild = AsPointer(0xDEAD00000000);
  EXPECT_EQ(Generate(mesh, wild, wild).ao, estimate.ao);
  EXPECT_EQ(Generate(mesh, count, count).ao, estimate.ao);
  EXPECT_EQ(Generate(mesh, nullptr, wild).ao, estimate.ao);
#endif
  for (const unsigned bad : {static_cast<unsigned>(mesh.Count()), 0xFFFFFFFFU}) {
    mesh.triangles.back() = bad;
    EXPECT_EQ(Generate(mesh).ao, estimate.ao);
  }
}

TEST(ComputeAmbientOcclusionData, MissingAndBrokenVertices_HideNothing) {
  Mesh mesh = Plane(0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  mesh.vertices[3 * 30 + 2] = -1e10F;
  mesh.vertices[3 * 50 + 2] = nan;
  mesh.vertices[3 * 70] = std::numeric_limits<float>::infinity();
  for (std::size_t i = 0; i < 3; ++i) mesh.normals[3 * 90 + i] = 0;
  for (std::size_t i = 0; i < 3; ++i) mesh.normals[3 * 91 + i] = nan;
  for (const Result& result : {Generate(mesh), Estimate(mesh)}) {
    for (const float ao : result.ao) ASSERT_EQ(ao, 1.0F);
  }
}

TEST(ComputeAmbientOcclusionData, CoincidentAndDegenerateTriangles_AreSurvived) {
  Mesh mesh;
  for (int k = 0; k < 300; ++k) {
    mesh.vertices.insert(mesh.vertices.end(), {1, 2, 3});
    mesh.normals.insert(mesh.normals.end(), {0, 0, 1});
    mesh.triangles.insert(mesh.triangles.end(), {0, static_cast<unsigned>(k), static_cast<unsigned>(k)});
  }
  for (const Result& result : {Generate(mesh), Estimate(mesh)}) {
    for (const float ao : result.ao) ASSERT_EQ(ao, 1.0F);
  }
}

TEST(ComputeAmbientOcclusionData, NoVertices_WritesNothing) {
  qv::test::Guarded<float> ao(2), directions(6);
  for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(ComputeAmbientOcclusionData(nullptr, nullptr, count, AsPointer(5), ao.data(), ao.data(),
                                          directions.data()),
              0U);
  }
  EXPECT_TRUE(ao.Untouched());
  EXPECT_TRUE(directions.Untouched());
}

// ---------------------------------------------------------------------------------------------------------------

/// Writes down what it is asked.
class FakeGenerator final : public qv::platform::OcclusionGenerator {
 public:
  std::string calls;
  bool initializes = true, starts = true;
  int slices = 3;
  std::vector<qv::platform::VertexOcclusion> results = {
      {{1, 2, 3}, 1.3F}, {{4, 5, 6}, -0.1F}, {{7, 8, 9}, 0.25F}};
  const void* given[4] = {};

  unsigned char initialize() override {
    calls += "initialize ";
    return initializes ? 8 : 0;
  }
  void* create_object_vn(const float* vertices, int vertexStride, const float* normals, int normalStride,
                         int vertexCount, int one, const void* connectivity1,
                         const void* connectivity2) override {
    calls += "create(" + std::to_string(vertexStride) + ' ' + std::to_string(normalStride) + ' ' +
             std::to_string(vertexCount) + ' ' + std::to_string(one) + ") ";
    const void* arguments[4] = {vertices, normals, connectivity1, connectivity2};
    std::copy(arguments, arguments + 4, given);
    return &calls;
  }
  unsigned char start_ao_gen_vert(void* object, int rays, float offset, float reach, int a, int b, int c,
                                  int d) override {
    EXPECT_EQ(object, &calls);
    EXPECT_EQ(offset, 0.01F);
    EXPECT_EQ(reach, 1.0F);
    calls += "start(" + std::to_string(rays) + ' ' + std::to_string(a) + ' ' + std::to_string(b) + ' ' +
             std::to_string(c) + ' ' + std::to_string(d) + ") ";
    return starts ? 1 : 0;
  }
  void ao_vert_generate(int effort) override {
    calls += "generate(" + std::to_string(effort) + ") ";
    --slices;
  }
  unsigned char results_ready() override {
    calls += "ready ";
    return slices > 0 ? 0 : 1;
  }
  const qv::platform::VertexOcclusion* get_vert_results() override {
    calls += "results ";
    return results.data();
  }
  void destroy_object(void* object) override {
    EXPECT_EQ(object, &calls);
    calls += "destroy ";
  }
  void shutdown() override { calls += "shutdown"; }
};

struct GeneratorRun {
  qv::test::Guarded<float> ao{3}, directions{9};
  unsigned status = 77;
  GeneratorRun(FakeGenerator& generator, int vertexCount)
      : status(qv::render::RunOcclusionGenerator(generator, ao.data(), directions.data(), vertexCount,
                                                 &status, &generator, ao.data(), directions.data())) {}
};

TEST(RunOcclusionGenerator, Normally_CallsTheEightOperationsInOrder) {
  FakeGenerator generator;
  const GeneratorRun run(generator, 3);
  EXPECT_EQ(run.status, 0U);
  EXPECT_EQ(
      generator.calls,
      "initialize create(12 12 3 1) start(512 5 1 2 1) generate(5) ready generate(5) ready generate(5) ready "
      "results destroy shutdown");
  EXPECT_EQ(generator.given[0], run.ao.data());
  EXPECT_EQ(generator.given[1], run.directions.data());
  EXPECT_EQ(generator.given[2], &run.status);
  EXPECT_EQ(generator.given[3], &generator);
  EXPECT_EQ(run.ao.Values(), (std::vector<float>{1, 0, 0.25F}));
  EXPECT_EQ(run.directions.Values(), (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(RunOcclusionGenerator, FailedInitialize_CallsNothingElse) {
  FakeGenerator generator;
  generator.initializes = false;
  const GeneratorRun run(generator, 3);
  EXPECT_EQ(run.status, 1U);
  EXPECT_EQ(generator.calls, "initialize ");
  EXPECT_TRUE(run.ao.Untouched());
}

TEST(RunOcclusionGenerator, FailedStart_CleansUpAndSucceeds) {
  FakeGenerator generator;
  generator.starts = false;
  const GeneratorRun run(generator, 3);
  EXPECT_EQ(run.status, 0U);
  EXPECT_EQ(generator.calls, "initialize create(12 12 3 1) start(512 5 1 2 1) destroy shutdown");
  EXPECT_TRUE(run.ao.Untouched());
  EXPECT_TRUE(run.directions.Untouched());
}

TEST(RunOcclusionGenerator, NoVertices_CopiesNothing) {
  for (const int count : {0, -2}) {
    FakeGenerator generator;
    const GeneratorRun run(generator, count);
    EXPECT_EQ(run.status, 0U);
    EXPECT_NE(generator.calls.find("results destroy shutdown"), std::string::npos);
    EXPECT_TRUE(run.ao.Untouched());
    EXPECT_TRUE(run.directions.Untouched());
  }
}

}  // namespace
