// Height statistics beside their plain form (one sample after the other) and OpenCV's reductions, which know
// no missing samples. Grids of 2048 x 2048, which the last cache holds, and 8192 x 8192, which comes from
// memory.
#include <benchmark/benchmark.h>
#include <cmath>
#include <map>
#include <opencv2/core.hpp>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

const std::vector<float>& Heights(int side) {
  static std::map<int, std::vector<float>> grids;
  auto& grid = grids[side];
  if (grid.empty()) {
    qv::test::Random random(1);
    grid = qv::test::RandomSamples(random, static_cast<std::size_t>(side) * side, {.missing = 0.01});
  }
  return grid;
}

template <class Body>
void Run(benchmark::State& state, Body body) {
  cv::setNumThreads(1);
  const auto& heights = Heights(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(body(heights));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(heights.size() * sizeof(float)));
}

template <unsigned(QV_CALL* kStatistic)(const float*, int, float*)>
void Ours(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) {
    float result = 0;
    kStatistic(heights.data(), static_cast<int>(heights.size()), &result);
    return result;
  });
}

bool Used(float z) {
  return z < -1e10F || z > -1e10F;
}

template <int kPower>
double PlainMean(const std::vector<float>& heights) {
  double sum = 0;
  std::ptrdiff_t used = 0;
  for (const float sample : heights) {
    if (!Used(sample)) continue;
    const double z = sample;
    if (kPower == 1) sum += std::fabs(z);
    if (kPower == 2) sum += z * z;
    if (kPower == 3) sum += z * z * z;
    if (kPower == 4) sum += z * z * z * z;
    ++used;
  }
  return sum / static_cast<double>(used);
}

template <int kPower>
void Plain(benchmark::State& state) {
  Run(state, PlainMean<kPower>);
}

/// The squares first, then the third or fourth powers, as two passes.
template <int kPower>
void PlainShape(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) {
    return PlainMean<kPower>(heights) / std::pow(std::sqrt(PlainMean<2>(heights)), kPower);
  });
}

void PlainExtremes(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) {
    float low = 1e32F, high = -1e32F;
    for (const float z : heights) {
      if (!Used(z)) continue;
      if (z < low) low = z;
      if (z > high) high = z;
    }
    return high - low;
  });
}

cv::Mat AsMat(const std::vector<float>& heights) {
  const int side = static_cast<int>(std::lround(std::sqrt(static_cast<double>(heights.size()))));
  return {side, side, CV_32F, const_cast<float*>(heights.data())};
}

template <int kNorm>
void OpenCvNorm(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) { return cv::norm(AsMat(heights), kNorm); });
}

void OpenCvMinMax(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) {
    double low = 0, high = 0;
    cv::minMaxLoc(AsMat(heights), &low, &high);
    return high - low;
  });
}

void OpenCvMeanStdDev(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) {
    cv::Scalar mean, deviation;
    cv::meanStdDev(AsMat(heights), mean, deviation);
    return deviation[0];
  });
}

/// What reading the array costs: a sum of words in four independent vectors.
void StreamingRead(benchmark::State& state) {
  Run(state, [](const std::vector<float>& heights) {
    using Words = std::uint32_t __attribute__((vector_size(64)));
    Words sums[4] = {};
    const char* from = reinterpret_cast<const char*>(heights.data());
    for (std::size_t i = 0; i + sizeof sums <= heights.size() * sizeof(float); i += sizeof sums) {
      for (std::size_t k = 0; k < 4; ++k) {
        Words words;
        __builtin_memcpy(&words, from + i + k * sizeof words, sizeof words);
        sums[k] += words;
      }
    }
    return (sums[0] + sums[1] + sums[2] + sums[3])[0];
  });
}

void Sides(benchmark::internal::Benchmark* b) {
  b->Arg(2048)->Arg(8192)->Unit(benchmark::kMillisecond);
}

BENCHMARK(StreamingRead)->Name("StreamingRead/memory")->Apply(Sides);
BENCHMARK(Ours<ComputeAverage>)->Name("Average/QV_3D")->Apply(Sides);
BENCHMARK(Plain<1>)->Name("Average/plain")->Apply(Sides);
BENCHMARK(OpenCvNorm<cv::NORM_L1>)->Name("Average/OpenCV_norm_L1")->Apply(Sides);
BENCHMARK(Ours<ComputeRMS>)->Name("RMS/QV_3D")->Apply(Sides);
BENCHMARK(Plain<2>)->Name("RMS/plain")->Apply(Sides);
BENCHMARK(OpenCvNorm<cv::NORM_L2>)->Name("RMS/OpenCV_norm_L2")->Apply(Sides);
BENCHMARK(Ours<ComputePeakToValley>)->Name("Extremes/QV_3D")->Apply(Sides);
BENCHMARK(PlainExtremes)->Name("Extremes/plain")->Apply(Sides);
BENCHMARK(OpenCvMinMax)->Name("Extremes/OpenCV_minMaxLoc")->Apply(Sides);
BENCHMARK(Ours<ComputeSkewness>)->Name("Skewness/QV_3D")->Apply(Sides);
BENCHMARK(PlainShape<3>)->Name("Skewness/plain")->Apply(Sides);
BENCHMARK(Ours<ComputeKurtosis>)->Name("Kurtosis/QV_3D")->Apply(Sides);
BENCHMARK(PlainShape<4>)->Name("Kurtosis/plain")->Apply(Sides);
BENCHMARK(OpenCvMeanStdDev)->Name("Shape/OpenCV_meanStdDev")->Apply(Sides);

}  // namespace
