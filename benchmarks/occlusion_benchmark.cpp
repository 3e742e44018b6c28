// Ambient occlusion on the grid beside its plain form, sample by sample.
#include <benchmark/benchmark.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/occlusion_reference.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 2048;

const std::vector<float>& Heights() {
  static const std::vector<float> heights = [] {
    qv::test::Random random(1);
    return qv::test::RandomSamples(random, std::size_t{kSide} * kSide, {.missing = 0.01, .magnitude = 0.02});
  }();
  return heights;
}

void Array(benchmark::State& state) {
  const auto& heights = Heights();
  std::vector<float> ao(heights.size());
  for (auto _ : state) {
    ComputeAmbientOcclusionArray(0, kSide, kSide, heights.data(), ao.data());
    benchmark::ClobberMemory();
  }
}

void PlainArray(benchmark::State& state) {
  const auto& heights = Heights();
  std::vector<float> ao(heights.size());
  for (auto _ : state) {
    for (int j = 0; j < kSide; ++j) {
      for (int i = 0; i < kSide; ++i) {
        ao[static_cast<std::size_t>(j) * kSide + i] = qv::test::OcclusionOf(heights, kSide, kSide, i, j);
      }
    }
    benchmark::ClobberMemory();
  }
}

BENCHMARK(Array)->Name("occlusion array 2048x2048/QV_3D")->Unit(benchmark::kMillisecond);
BENCHMARK(PlainArray)->Name("occlusion array 2048x2048/plain")->Unit(benchmark::kMillisecond);

}  // namespace
