// Contours and profiles beside their plain forms and a streaming read of the same samples. contourpy, which
// only Python reaches, is timed by python_peers.py.
#include <benchmark/benchmark.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/contour_reference.h"
#include "tests/reference/profile_reference.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 2048;

struct Surface {
  std::vector<float> heights, at;
};

/// White noise smoothed three times by a running mean of 43 x 43: a rough surface whose features are some
/// fifty samples wide, and about 200,000 segments of the level 0.
Surface Rough() {
  constexpr int kHalf = 21;
  qv::test::Random random(7);
  std::vector<double> z(static_cast<std::size_t>(kSide) * kSide), rows(z.size());
  for (double& each : z) each = random.Between(-1.0, 1.0);
  const auto index = [](int r, int c) {
    return static_cast<std::size_t>((r + kSide) % kSide) * kSide +
           static_cast<std::size_t>((c + kSide) % kSide);
  };
  const auto smooth = [&](const std::vector<double>& from, std::vector<double>& to, int down, int right) {
    for (int r = 0; r < kSide; ++r) {
      for (int c = 0; c < kSide; ++c) {
        double sum = 0;
        for (int k = -kHalf; k <= kHalf; ++k) sum += from[index(r + k * down, c + k * right)];
        to[index(r, c)] = sum / (2 * kHalf + 1);
      }
    }
  };
  for (int pass = 0; pass < 3; ++pass) {
    smooth(z, rows, 0, 1);
    smooth(rows, z, 1, 0);
  }
  Surface surface;
  surface.heights.assign(z.begin(), z.end());
  for (int i = 0; i < kSide; ++i) surface.at.push_back(static_cast<float>(i));
  return surface;
}

const Surface& TheSurface() {
  static const Surface surface = Rough();
  return surface;
}

void OurContours(benchmark::State& state) {
  const Surface& s = TheSurface();
  std::vector<float> segments(std::size_t{16} * kSide * kSide);
  int count = 0;
  for (auto _ : state) {
    count = ComputeContoursf(s.heights.data(), kSide, kSide, s.at.data(), s.at.data(),
                             static_cast<float>(state.range(0)), segments.data());
    benchmark::ClobberMemory();
  }
  state.counters["segments"] = count;
}

void PlainContours(benchmark::State& state) {
  const Surface& s = TheSurface();
  for (auto _ : state) {
    benchmark::DoNotOptimize(qv::test::reference::Contours<float>(s.heights, kSide, kSide, s.at, s.at,
                                                                  static_cast<float>(state.range(0))));
  }
}

/// What reading costs: a sum of words in four independent vectors.
void Read(const float* from, std::size_t count) {
  using Words = std::uint32_t __attribute__((vector_size(64)));
  Words sums[4] = {};
  for (std::size_t i = 0; i + 64 <= count; i += 64) {
    for (std::size_t k = 0; k < 4; ++k) {
      Words words;
      __builtin_memcpy(&words, from + i + 16 * k, sizeof words);
      sums[k] += words;
    }
  }
  benchmark::DoNotOptimize((sums[0] + sums[1] + sums[2] + sums[3])[0]);
}

void StreamingRead(benchmark::State& state) {
  const Surface& s = TheSurface();
  for (auto _ : state) Read(s.heights.data(), s.heights.size());
}

constexpr int kColumns = 4096, kRows = 1024, kBand = 200;

const std::vector<float>& WideGrid() {
  static const std::vector<float> grid = [] {
    qv::test::Random random(9);
    return qv::test::RandomSamples(random, std::size_t{kColumns} * kRows, {.missing = 0.01});
  }();
  return grid;
}

/// The rows 412 to 612.
void OurProfile(benchmark::State& state) {
  std::vector<float> profile(kColumns);
  const auto& grid = WideGrid();
  for (auto _ : state) {
    ComputeCrossSectionProfile(kColumns, kRows, 0, static_cast<int>(state.range(0)), 0, 0.5F, kBand / 2,
                               grid.data(), profile.data(), 1);
    benchmark::ClobberMemory();
  }
}

void PlainProfile(benchmark::State& state) {
  const std::vector<float> before(kColumns);
  for (auto _ : state) {
    benchmark::DoNotOptimize(qv::test::reference::ReferenceProfile(
        {kColumns, kRows, 0, static_cast<int>(state.range(0)), 0.5F, kBand / 2, 1}, WideGrid(), before));
  }
}

void BandRead(benchmark::State& state) {
  for (auto _ : state) Read(WideGrid().data() + std::size_t{412} * kColumns, std::size_t{kBand} * kColumns);
}

void Levels(benchmark::internal::Benchmark* b) {
  b->Arg(0)->Unit(benchmark::kMillisecond);
}
void NoSuchLevel(benchmark::internal::Benchmark* b) {
  b->Arg(1000)->Unit(benchmark::kMillisecond);
}
void Modes(benchmark::internal::Benchmark* b) {
  b->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
}

BENCHMARK(OurContours)->Name("Contours/QV_3D")->Apply(Levels);
BENCHMARK(PlainContours)->Name("Contours/plain")->Apply(Levels);
BENCHMARK(OurContours)->Name("ContoursMeetNothing/QV_3D")->Apply(NoSuchLevel);
BENCHMARK(StreamingRead)->Name("ContoursMeetNothing/streaming_read")->Apply(NoSuchLevel);
BENCHMARK(OurProfile)->Name("BandProfile/QV_3D")->Apply(Modes);
BENCHMARK(PlainProfile)->Name("BandProfile/plain")->Apply(Modes);
BENCHMARK(BandRead)->Name("BandProfile/streaming_read")->Apply(Modes);

}  // namespace
