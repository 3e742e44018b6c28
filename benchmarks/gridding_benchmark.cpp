// Gridding of scattered points beside a loop with the compiler's vector pow and the plain loop, of scattered
// triangles beside the conversion of the same mesh from a file. Powers are given times ten.
#include <benchmark/benchmark.h>
#include <cmath>
#include <vector>

#include "benchmarks/bumpy_surface.h"
#include "benchmarks/gridding_vector_pow.h"
#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

using qv::benchmarks::Million;

constexpr int kPoints = 10000;
constexpr int kNodes = 256;
constexpr double kSpacing = 1.0 / (kNodes - 1);

struct Cloud {
  std::vector<double> x, y, z;
  std::vector<double> records;
};

/// A wavy surface measured at random places over the unit square.
const Cloud& Points() {
  static Cloud cloud;
  if (!cloud.records.empty()) return cloud;
  qv::test::Random random(11);
  for (int i = 0; i < kPoints; ++i) {
    const double x = random.Unit(), y = random.Unit();
    const double z = std::sin(9 * x) * std::cos(7 * y) + 0.01 * random.Unit();
    cloud.x.push_back(x);
    cloud.y.push_back(y);
    cloud.z.push_back(z);
    cloud.records.insert(cloud.records.end(), {x, y, z});
  }
  return cloud;
}

double PowerOf(const benchmark::State& state) {
  return static_cast<double>(state.range(0)) / 10;
}

void PointsOurs(benchmark::State& state) {
  std::vector<float> out(std::size_t{kNodes} * kNodes);
  for (auto _ : state) {
    InverseDistanceToAPower(Points().records.data(), kPoints, out.data(), kNodes, kNodes, kSpacing, kSpacing,
                            0, 0, PowerOf(state), 0);
    benchmark::DoNotOptimize(out.data());
  }
}

void PointsVectorPow(benchmark::State& state) {
  std::vector<float> out(std::size_t{kNodes} * kNodes);
  const Cloud& points = Points();
  for (auto _ : state) {
    qv::benchmarks::VectorPowGridding(points.x.data(), points.y.data(), points.z.data(), kPoints, out.data(),
                                      kNodes, kNodes, kSpacing, kSpacing, PowerOf(state));
    benchmark::DoNotOptimize(out.data());
  }
}

/// Step by step, over an eighth of the rows.
void PointsPlain(benchmark::State& state) {
  std::vector<float> out(std::size_t{kNodes} * kNodes);
  const Cloud& points = Points();
  for (auto _ : state) {
    for (int row = 0; row < kNodes / 8; ++row) {
      for (int column = 0; column < kNodes; ++column) {
        const double x = column * kSpacing, y = row * kSpacing;
        double weighted = 0, weight = 0;
        for (std::size_t i = 0; i < kPoints; ++i) {
          const double dx = points.x[i] - x, dy = points.y[i] - y;
          const double power = std::pow(std::sqrt(dx * dx + dy * dy), PowerOf(state));
          weighted += points.z[i] / power;
          weight += 1 / power;
        }
        out[static_cast<std::size_t>((kNodes - 1 - row) * kNodes + column)] =
            static_cast<float>(weighted / weight);
      }
    }
    benchmark::DoNotOptimize(out.data());
  }
}

constexpr int kIntervals = 1000;
constexpr std::size_t kSamples = static_cast<std::size_t>(kIntervals + 1) * (kIntervals + 1);

void TrianglesOurs(benchmark::State& state) {
  std::vector<double> triangles;
  for (const qv::mesh::Triangle& t : Million()) {
    for (const qv::mesh::Vertex& v : {t.a, t.b, t.c}) triangles.insert(triangles.end(), {v.x, v.y, v.z});
  }
  std::vector<float> heights(kSamples);
  for (auto _ : state) {
    const int result = LinearInterpolationOfTriangles(triangles.data(), static_cast<int>(Million().size()),
                                                      heights.data(), kIntervals + 1, kIntervals + 1,
                                                      1.0 / kIntervals, 1.0 / kIntervals, 0, 0, 80);
    if (result != 0) state.SkipWithError("failed");
  }
  state.counters["missing"] = static_cast<double>(std::count(heights.begin(), heights.end(), -1e10F));
}

void TrianglesFromFile(benchmark::State& state) {
  std::vector<float> heights(kSamples);
  for (auto _ : state) {
    state.PauseTiming();
    qv::benchmarks::LoadMesh(Million());
    state.ResumeTiming();
    if (ConvertSTLFile(kIntervals, kIntervals, 0, 0, 1, 1, heights.data()) != 0)
      state.SkipWithError("failed");
  }
  state.counters["missing"] = static_cast<double>(std::count(heights.begin(), heights.end(), -1e10F));
}

void Powers(benchmark::internal::Benchmark* b) {
  b->Arg(20)->Arg(25)->Unit(benchmark::kMillisecond);
}

BENCHMARK(PointsOurs)->Name("Inverse_distance/QV_3D")->Apply(Powers);
BENCHMARK(PointsVectorPow)->Name("Inverse_distance/vector_pow")->Apply(Powers)->Iterations(1);
BENCHMARK(PointsPlain)->Name("Inverse_distance/plain_eighth")->Apply(Powers)->Iterations(1);
BENCHMARK(TrianglesOurs)->Name("Triangle_gridding/QV_3D")->Unit(benchmark::kMillisecond);
BENCHMARK(TrianglesFromFile)->Name("Triangle_gridding/STL_conversion")->Unit(benchmark::kMillisecond);

}  // namespace
