// Surface normals beside the formula written down directly, one sample after the other. 2048 x 2048 samples,
// smooth with a little noise, without and with 5 % missing.
#include <benchmark/benchmark.h>
#include <cmath>
#include <vector>

#include "exports/QV_3D.h"
#include "kernels/normal_formula.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 2048;

template <class Real>
std::vector<Real> Surface(double missing) {
  qv::test::Random random(1);
  std::vector<Real> h(static_cast<std::size_t>(kSide) * kSide);
  for (std::size_t k = 0; k < h.size(); ++k) {
    const double x = static_cast<double>(k % kSide), y = static_cast<double>(k / kSide);
    h[k] = static_cast<Real>(std::sin(x / 40) * std::cos(y / 60) + random.Between(-0.05, 0.05));
    if (random.Chance(missing)) h[k] = Real{-1e10};
  }
  return h;
}

template <class Real, class Body>
void Run(benchmark::State& state, double missing, Body body) {
  const auto h = Surface<Real>(missing);
  std::vector<Real> normals(3 * h.size());
  for (auto _ : state) {
    body(h.data(), normals.data());
    benchmark::ClobberMemory();
  }
}

template <int kNeighbours, class Real>
void PlainNormals(const Real* h, Real* normals, Real size) {
  const double spacing = size / Real{kSide - 1};
  for (std::ptrdiff_t row = 0; row < kSide; ++row) {
    for (std::ptrdiff_t column = 0; column < kSide; ++column) {
      const qv::Place place = {column > 0, column<kSide - 1, row> 0, row < kSide - 1};
      const std::ptrdiff_t k = row * kSide + column;
      qv::SampleNormal<kNeighbours>(h + k, kSide, spacing, spacing, place, normals + 3 * k);
    }
  }
}

template <class Form>
void RegisterFloats(const std::string& name, double missing, Form ours,
                    void (*plain)(const float*, float*, float)) {
  benchmark::RegisterBenchmark((name + "/QV_3D").c_str(), [=](benchmark::State& state) {
    Run<float>(state, missing,
               [&](const float* h, float* normals) { ours(h, kSide, kSide, normals, 0, 0, 100, 100); });
  })->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark((name + "/plain").c_str(), [=](benchmark::State& state) {
    Run<float>(state, missing, [&](const float* h, float* normals) { plain(h, normals, 100); });
  })->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
  RegisterFloats("normals, 4 neighbours", 0, &ComputeSurfaceNormalsf, &PlainNormals<4, float>);
  RegisterFloats("normals, 4 neighbours, holes", 0.05, &ComputeSurfaceNormalsf, &PlainNormals<4, float>);
  RegisterFloats("normals, 6 neighbours", 0, &ComputeSurfaceNormalsf2, &PlainNormals<6, float>);
  RegisterFloats("normals, 6 neighbours, holes", 0.05, &ComputeSurfaceNormalsf2, &PlainNormals<6, float>);
  benchmark::RegisterBenchmark("normals, doubles/QV_3D", [](benchmark::State& state) {
    Run<double>(state, 0,
                [](const double* h, double* normals) { ComputeSurfaceNormals(h, kSide, kSide, normals); });
  })->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("normals, doubles/plain", [](benchmark::State& state) {
    Run<double>(state, 0, [](const double* h, double* normals) { PlainNormals<4, double>(h, normals, 1); });
  })->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
