// Neighbourhood filters of a 2048 x 2048 grid beside their plain form (every window walked) and OpenCV's
// filters, which also fill a border and know no missing samples. The argument is the window's size. SciPy's
// rank filters, which only Python reaches, are timed by python_peers.py.
#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 2048;
constexpr std::size_t kSamples = static_cast<std::size_t>(kSide) * kSide;

template <class T>
std::vector<T> MakeGrid(double missing) {
  qv::test::Random random(1);
  const auto heights =
      qv::test::RandomSamples<double>(random, kSamples, {.missing = missing, .magnitude = 1e6});
  std::vector<T> grid(kSamples);
  for (std::size_t i = 0; i < kSamples; ++i) {
    grid[i] = static_cast<T>(heights[i]);  // integers are asked for without holes only
  }
  return grid;
}

template <class T>
const std::vector<T>& Clean() {
  static const auto grid = MakeGrid<T>(0);
  return grid;
}
const std::vector<float>& WithHoles() {
  static const auto grid = MakeGrid<float>(0.01);
  return grid;
}

template <class T, unsigned(QV_CALL* kFilter)(int, int, int, const T*, T*)>
void Ours(benchmark::State& state) {
  const auto& in = Clean<T>();
  std::vector<T> out(kSamples);
  for (auto _ : state) {
    kFilter(static_cast<int>(state.range(0)), kSide, kSide, in.data(), out.data());
    benchmark::ClobberMemory();
  }
}

template <unsigned(QV_CALL* kFilter)(int, int, int, const float*, float*, float*),
          const std::vector<float>& kGrid()>
void OursResidual(benchmark::State& state) {
  const auto& in = kGrid();
  std::vector<float> out(kSamples), residual(kSamples);
  for (auto _ : state) {
    kFilter(static_cast<int>(state.range(0)), kSide, kSide, in.data(), out.data(), residual.data());
    benchmark::ClobberMemory();
  }
}

template <class Body>
void OpenCv(benchmark::State& state, Body body) {
  cv::setNumThreads(1);
  const cv::Mat in(kSide, kSide, CV_32F, const_cast<float*>(Clean<float>().data()));
  cv::Mat out(kSide, kSide, CV_32F);
  for (auto _ : state) {
    body(in, out, static_cast<int>(state.range(0)));
    benchmark::ClobberMemory();
  }
}

void OpenCvBox(benchmark::State& state) {
  OpenCv(state, [](const cv::Mat& in, cv::Mat& out, int size) { cv::boxFilter(in, out, -1, {size, size}); });
}
void OpenCvErode(benchmark::State& state) {
  OpenCv(state, [](const cv::Mat& in, cv::Mat& out, int size) {
    cv::erode(in, out, cv::Mat::ones(size, size, CV_8U));
  });
}
void OpenCvDilate(benchmark::State& state) {
  OpenCv(state, [](const cv::Mat& in, cv::Mat& out, int size) {
    cv::dilate(in, out, cv::Mat::ones(size, size, CV_8U));
  });
}
void OpenCvMedian(benchmark::State& state) {
  OpenCv(state, [](const cv::Mat& in, cv::Mat& out, int size) { cv::medianBlur(in, out, size); });
}

/// Walks every window in row order and stores finish(samples).
template <class Visit>
void Plain(benchmark::State& state, Visit visit) {
  const auto& in = Clean<float>();
  std::vector<float> out(kSamples);
  const std::ptrdiff_t size = state.range(0), columns = kSide - size + 1;
  for (auto _ : state) {
    for (std::ptrdiff_t r = 0; r < columns; ++r) {
      for (std::ptrdiff_t c = 0; c < columns; ++c) {
        out[static_cast<std::size_t>(r * columns + c)] = visit(in.data() + r * kSide + c, size);
      }
    }
    benchmark::ClobberMemory();
  }
}
void PlainMean(benchmark::State& state) {
  Plain(state, [](const float* window, std::ptrdiff_t size) {
    double sum = 0;
    for (std::ptrdiff_t i = 0; i < size; ++i) {
      for (std::ptrdiff_t j = 0; j < size; ++j) sum += window[i * kSide + j];
    }
    return static_cast<float>(sum / static_cast<double>(size * size));
  });
}
void PlainMinimum(benchmark::State& state) {
  Plain(state, [](const float* window, std::ptrdiff_t size) {
    float least = 1e32F;
    for (std::ptrdiff_t i = 0; i < size; ++i) {
      for (std::ptrdiff_t j = 0; j < size; ++j) least = std::min(least, window[i * kSide + j]);
    }
    return least;
  });
}
void PlainRank(benchmark::State& state, bool low) {
  std::vector<float> scratch(static_cast<std::size_t>(state.range(0) * state.range(0)));
  Plain(state, [&](const float* window, std::ptrdiff_t size) {
    for (std::ptrdiff_t i = 0; i < size; ++i)
      std::copy_n(window + i * kSide, size, scratch.data() + i * size);
    std::sort(scratch.begin(), scratch.end());
    return scratch[static_cast<std::size_t>(low ? size / 2 : size * size / 2)];
  });
}

void Sizes(benchmark::internal::Benchmark* b) {
  for (const int size : {3, 7, 15, 31, 63, 127}) b->Arg(size);
  b->Unit(benchmark::kMillisecond);
}
void RankSizes(benchmark::internal::Benchmark* b) {
  for (const int size : {3, 5, 7, 15, 31, 63, 127}) b->Arg(size);
  b->Unit(benchmark::kMillisecond);
}
void PlainSizes(benchmark::internal::Benchmark* b) {
  for (const int size : {3, 7, 15}) b->Arg(size);
  b->Unit(benchmark::kMillisecond);
}
void PlainRankSizes(benchmark::internal::Benchmark* b) {
  for (const int size : {3, 5}) b->Arg(size);
  b->Unit(benchmark::kMillisecond);
}

BENCHMARK((Ours<float, FilterMeanf>))->Name("Mean/QV_3D")->Apply(Sizes);
BENCHMARK(OpenCvBox)->Name("Mean/OpenCV_boxFilter")->Apply(Sizes);
BENCHMARK(PlainMean)->Name("Mean/plain")->Apply(PlainSizes);
BENCHMARK((Ours<double, FilterMean>))->Name("Mean/QV_3D_double")->Apply(Sizes);
BENCHMARK((Ours<int, FilterMeani>))->Name("Mean/QV_3D_int")->Apply(Sizes);
BENCHMARK((OursResidual<FilterMeanf2, Clean<float>>))->Name("Mean/QV_3D_f2")->Apply(Sizes);
BENCHMARK((OursResidual<FilterMeanf2, WithHoles>))->Name("Mean/QV_3D_f2_holes")->Apply(Sizes);
BENCHMARK((OursResidual<FilterMeanf3, Clean<float>>))->Name("Mean/QV_3D_f3")->Apply(Sizes);
BENCHMARK((OursResidual<FilterMeanf3, WithHoles>))->Name("Mean/QV_3D_f3_holes")->Apply(Sizes);
BENCHMARK((OursResidual<FilterLaplacianf2, Clean<float>>))->Name("Mean/QV_3D_Laplacian")->Apply(Sizes);

BENCHMARK((Ours<float, FilterMinimumf>))->Name("Minimum/QV_3D")->Apply(Sizes);
BENCHMARK(OpenCvErode)->Name("Minimum/OpenCV_erode")->Apply(Sizes);
BENCHMARK(PlainMinimum)->Name("Minimum/plain")->Apply(PlainSizes);
BENCHMARK((Ours<double, FilterMinimum>))->Name("Minimum/QV_3D_double")->Apply(Sizes);
BENCHMARK((Ours<int, FilterMinimumi>))->Name("Minimum/QV_3D_int")->Apply(Sizes);
BENCHMARK((OursResidual<FilterMinimumf2, WithHoles>))->Name("Minimum/QV_3D_f2_holes")->Apply(Sizes);
BENCHMARK((Ours<float, FilterMaximumf>))->Name("Maximum/QV_3D")->Apply(Sizes);
BENCHMARK(OpenCvDilate)->Name("Maximum/OpenCV_dilate")->Apply(Sizes);

BENCHMARK((Ours<float, FilterMedianf>))->Name("LowRank/QV_3D")->Apply(RankSizes);
BENCHMARK(OpenCvMedian)->Name("LowRank/OpenCV_medianBlur")->Arg(3)->Arg(5)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PlainRank, low, true)->Name("LowRank/plain")->Apply(PlainRankSizes);
BENCHMARK((Ours<double, FilterMedian>))->Name("LowRank/QV_3D_double")->Apply(RankSizes);
BENCHMARK((Ours<int, FilterMediani>))->Name("LowRank/QV_3D_int")->Apply(RankSizes);
BENCHMARK((OursResidual<FilterMedianf2, Clean<float>>))->Name("Median/QV_3D")->Apply(RankSizes);
BENCHMARK(OpenCvMedian)->Name("Median/OpenCV_medianBlur")->Arg(3)->Arg(5)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(PlainRank, median, false)->Name("Median/plain")->Apply(PlainRankSizes);

}  // namespace
