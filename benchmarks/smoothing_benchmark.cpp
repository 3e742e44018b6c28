// The line filters, polar filters and resamplers beside their plain forms and Debian's peers.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <lapacke.h>
#include <map>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/smoothing_reference.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 2048, kLarger = 3000;
constexpr std::size_t kCount = std::size_t{kSide} * kSide;

/// A wavy surface with noise, as a measurement has it.
const std::vector<float>& Heights() {
  static std::vector<float> grid;
  if (grid.empty()) {
    qv::test::Random random(1);
    grid = qv::test::RandomSamples(random, kCount, {});
    for (std::size_t i = 0; i < kCount; ++i) {
      const double x = static_cast<double>(i % kSide), y = static_cast<double>(i / kSide);
      grid[i] += static_cast<float>(4 * std::sin(x / 50) + 3 * std::cos(y / 70));
    }
  }
  return grid;
}

std::vector<float>& Output(int which) {
  static std::vector<float> outputs[2];
  outputs[which].resize(std::size_t{kLarger} * kLarger);
  return outputs[which];
}

cv::Mat AsMat(const std::vector<float>& grid, int side) {
  return {side, side, CV_32F, const_cast<float*>(grid.data())};
}

float CutoffFor(std::int64_t m) {
  return static_cast<float>((static_cast<double>(m) + 0.25) / 0.183);
}

// ---- Gaussian type ----

void GaussianOurs(benchmark::State& state) {
  const float cutoff = CutoffFor(state.range(0));
  for (auto _ : state) {
    GaussianFilter(kSide, kSide, 1, 1, cutoff, Heights().data(), Output(0).data(), Output(1).data());
  }
}

void GaussianPlain(benchmark::State& state) {
  const float cutoff = CutoffFor(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        qv::reference::Separable(kSide, kSide, 1, 1, cutoff, Heights(), qv::reference::GaussianLine));
  }
}

/// Three box filters with a border of zeros, double sums inside. No residual.
void GaussianOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  const int size = static_cast<int>(2 * state.range(0) + 1);
  const cv::Mat in = AsMat(Heights(), kSide);
  cv::Mat a = AsMat(Output(0), kSide), b = AsMat(Output(1), kSide);
  const auto pass = [&](const cv::Mat& from, cv::Mat& to) {
    cv::boxFilter(from, to, CV_32F, cv::Size(size, size), cv::Point(-1, -1), true, cv::BORDER_CONSTANT);
  };
  for (auto _ : state) {
    pass(in, a);
    pass(a, b);
    pass(b, a);
  }
}

// ---- spline ----

void SplineOurs(benchmark::State& state) {
  const auto cutoff = static_cast<float>(state.range(0));
  for (auto _ : state) {
    SplineFilter(kSide, kSide, 1, 1, cutoff, Heights().data(), Output(0).data(), Output(1).data());
  }
}

void SplinePlain(benchmark::State& state) {
  const auto cutoff = static_cast<float>(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        qv::reference::Separable(kSide, kSide, 1, 1, cutoff, Heights(), qv::reference::SplineLine));
  }
}

/// One banded Cholesky solve with all lines as right-hand sides, per direction, in doubles.
void SplineLapack(benchmark::State& state) {
  const double beta = 0.5 / std::sin(3.14159265358979 / static_cast<double>(state.range(0)));
  const double a = beta * beta * beta * beta;
  std::vector<double> band(std::size_t{3} * kSide), lines(kCount), turned(kCount);
  const auto solve = [&](std::vector<double>& right) {
    for (std::size_t k = 0; k < kSide; ++k) {
      const bool end = k == 0 || k == kSide - 1, next = k == 1 || k == kSide - 2;
      band[3 * k] = 1 + (end ? a : next ? 5 * a : 6 * a);
      band[3 * k + 1] = k == 0 || k == kSide - 2 ? -2 * a : -4 * a;
      band[3 * k + 2] = a;
    }
    LAPACKE_dpbtrf_work(LAPACK_COL_MAJOR, 'L', kSide, 2, band.data(), 3);
    LAPACKE_dpbtrs_work(LAPACK_COL_MAJOR, 'L', kSide, 2, kSide, band.data(), 3, right.data(), kSide);
  };
  for (auto _ : state) {
    std::copy(Heights().begin(), Heights().end(), lines.begin());
    solve(lines);
    cv::transpose(cv::Mat(kSide, kSide, CV_64F, lines.data()), cv::Mat(kSide, kSide, CV_64F, turned.data()));
    solve(turned);
    cv::transpose(cv::Mat(kSide, kSide, CV_64F, turned.data()), cv::Mat(kSide, kSide, CV_64F, lines.data()));
    for (std::size_t i = 0; i < kCount; ++i) {
      Output(1)[i] = static_cast<float>(lines[i]);
    }
  }
}

/// The two solves alone, without the transpositions and conversions around them.
void SplineLapackSolvesOnly(benchmark::State& state) {
  const double beta = 0.5 / std::sin(3.14159265358979 / static_cast<double>(state.range(0)));
  const double a = beta * beta * beta * beta;
  std::vector<double> band(std::size_t{3} * kSide), lines(Heights().begin(), Heights().end());
  for (auto _ : state) {
    for (int direction = 0; direction < 2; ++direction) {
      for (std::size_t k = 0; k < kSide; ++k) {
        const bool end = k == 0 || k == kSide - 1, next = k == 1 || k == kSide - 2;
        band[3 * k] = 1 + (end ? a : next ? 5 * a : 6 * a);
        band[3 * k + 1] = k == 0 || k == kSide - 2 ? -2 * a : -4 * a;
        band[3 * k + 2] = a;
      }
      LAPACKE_dpbtrf_work(LAPACK_COL_MAJOR, 'L', kSide, 2, band.data(), 3);
      LAPACKE_dpbtrs_work(LAPACK_COL_MAJOR, 'L', kSide, 2, kSide, band.data(), 3, lines.data(), kSide);
    }
  }
}

// ---- binomial ----

void BinomialOurs(benchmark::State& state) {
  for (auto _ : state) FilterGaussianf2(kSide, kSide, Heights().data(), Output(0).data(), Output(1).data());
}

void BinomialPlain(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(qv::reference::Binomial(kSide, kSide, Heights()));
}

void BinomialOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat out = AsMat(Output(0), kSide);
  const cv::Mat kernel = (cv::Mat_<float>(3, 1) << 0.25F, 0.5F, 0.25F);
  for (auto _ : state) cv::sepFilter2D(AsMat(Heights(), kSide), out, CV_32F, kernel, kernel);
}

// ---- resampling ----

template <int(QV_CALL* kResampler)(int, int, int, int, const float*, float*, int, int)>
void ResampleOurs(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  for (auto _ : state) {
    kResampler(side, side, kSide, kSide, Heights().data(), Output(0).data(), kSide, side);
  }
}

template <int kInterpolation>
void ResampleOpenCv(benchmark::State& state) {
  cv::setNumThreads(1);
  const int side = static_cast<int>(state.range(0));
  cv::Mat out = AsMat(Output(0), side);
  for (auto _ : state) cv::resize(AsMat(Heights(), kSide), out, cv::Size(side, side), 0, 0, kInterpolation);
}

void LinearPlain(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const qv::reference::Resizing sizes{side, side, kSide, kSide, kSide, side};
  for (auto _ : state) qv::reference::ResampleLinear(sizes, Heights().data(), Output(0).data());
}

/// Sixteen products per sample in doubles, weights once per column and row.
void CubicPlain(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const double step = static_cast<double>(kSide) / side;
  const auto weights = [](double t, double* w) {
    w[0] = -(1 - t) * (1 - t) * t, w[1] = 1 - 2 * t * t + t * t * t, w[2] = (t + 1 - t * t) * t,
    w[3] = t * t * (t - 1);
  };
  for (auto _ : state) {
    for (int r = 0; r < side; ++r) {
      double g[4], u[4];
      const int j = static_cast<int>(r * step);
      weights(r * step - j, g);
      for (int c = 0; c < side; ++c) {
        const int i = static_cast<int>(c * step);
        weights(c * step - i, u);
        double sum = 0;
        bool bad = false;
        for (int p = 0; p < 4; ++p) {
          const std::size_t row = static_cast<std::size_t>(std::clamp(j + p - 1, 0, kSide - 1));
          for (int q = 0; q < 4; ++q) {
            const float z =
                Heights()[row * kSide + static_cast<std::size_t>(std::clamp(i + q - 1, 0, kSide - 1))];
            bad = bad || qv::reference::IsBad(z);
            sum += g[p] * u[q] * z;
          }
        }
        Output(
            0)[static_cast<std::size_t>(r) * static_cast<std::size_t>(side) + static_cast<std::size_t>(c)] =
            bad ? -1e10F : static_cast<float>(sum);
      }
    }
  }
}

// ---- profiles: the cost per sample must not grow with n ----

const std::vector<double>& Profile(std::int64_t n) {
  static std::map<std::int64_t, std::vector<double>> profiles;
  auto& profile = profiles[n];
  if (profile.empty()) {
    qv::test::Random random(2);
    profile = qv::test::RandomSamples<double>(random, static_cast<std::size_t>(n), {.magnitude = 0.3});
    for (std::size_t i = 0; i < profile.size(); ++i) profile[i] += 5 * std::sin(static_cast<double>(i) / 40);
  }
  return profile;
}

using ProfileCall = void (*)(const std::vector<double>& in, double* out);

template <ProfileCall kCall>
void OverProfile(benchmark::State& state) {
  const auto& in = Profile(state.range(0));
  std::vector<double> out(in.size());
  for (auto _ : state) kCall(in, out.data());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr double kRadius = 200, kCutoff = 100;

void Roll(const std::vector<double>& in, double* out) {
  Convolve_Radius(in.data(), out, static_cast<int>(in.size()), kRadius, 1);
}
void PolarGaussian(const std::vector<double>& in, double* out) {
  FilterGaussianPolar(in.data(), out, 1, kCutoff, static_cast<int>(in.size()));
}
void PolarGaussianPlain(const std::vector<double>& in, double*) {
  benchmark::DoNotOptimize(qv::reference::GaussianPolar(in, 1, kCutoff));
}
void TwoStages(const std::vector<double>& in, double* out) {
  Filter2RCPolar(in.data(), out, 0.01, 0.05, static_cast<int>(in.size()));
}
void TwoStagesPlain(const std::vector<double>& in, double*) {
  benchmark::DoNotOptimize(qv::reference::TwoStagesPolar(in, 0.01, 0.05));
}
void PhaseCorrected(const std::vector<double>& in, double* out) {
  Filter2RCPCPolar(in.data(), out, 0.01, 0.05, static_cast<int>(in.size()));
}
void PhaseCorrectedPlain(const std::vector<double>& in, double*) {
  benchmark::DoNotOptimize(qv::reference::PhaseCorrectedPolar(in, 0.01, 0.05));
}

/// The walk and, per sample, a search of the contacts within reach from the first.
void RollPlain(const std::vector<double>& in, double* out) {
  const std::vector<int> contacts = qv::reference::Contacts(in, kRadius, 1);
  std::size_t first = 0;
  for (std::size_t i = 0; i < in.size(); ++i) {
    const double at = static_cast<double>(i);
    while (contacts[first] < at - kRadius) ++first;
    double best = -9.99e33;
    for (std::size_t c = first; c < contacts.size() && contacts[c] <= at + kRadius; ++c) {
      const double x = at - contacts[c];
      const double arc =
          in[static_cast<std::size_t>(contacts[c])] - (kRadius - std::sqrt(kRadius * kRadius - x * x));
      if (arc > best) best = arc;
    }
    out[i] = best;
  }
}

void HalfWidths(benchmark::internal::Benchmark* b) {
  b->Arg(5)->Arg(20)->Arg(100)->Arg(400)->Unit(benchmark::kMillisecond);
}
void Cutoff(benchmark::internal::Benchmark* b) {
  b->Arg(50)->Unit(benchmark::kMillisecond);
}
void Sides(benchmark::internal::Benchmark* b) {
  b->Arg(kLarger)->Arg(1000)->Unit(benchmark::kMillisecond);
}
void Lengths(benchmark::internal::Benchmark* b) {
  b->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(GaussianOurs)->Name("Gaussian/QV_3D")->Apply(HalfWidths);
BENCHMARK(GaussianPlain)->Name("Gaussian/plain")->Apply(HalfWidths);
BENCHMARK(GaussianOpenCv)->Name("Gaussian/OpenCV_three_boxes")->Apply(HalfWidths);
BENCHMARK(SplineOurs)->Name("Spline/QV_3D")->Apply(Cutoff);
BENCHMARK(SplinePlain)->Name("Spline/plain")->Apply(Cutoff);
BENCHMARK(SplineLapack)->Name("Spline/LAPACK_pbtrs")->Apply(Cutoff);
BENCHMARK(SplineLapackSolvesOnly)->Name("Spline/LAPACK_solves_only")->Apply(Cutoff);
BENCHMARK(BinomialOurs)->Name("Binomial/QV_3D")->Unit(benchmark::kMillisecond);
BENCHMARK(BinomialPlain)->Name("Binomial/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(BinomialOpenCv)->Name("Binomial/OpenCV_sepFilter2D")->Unit(benchmark::kMillisecond);
BENCHMARK(ResampleOurs<Resample>)->Name("Bilinear/QV_3D")->Apply(Sides);
BENCHMARK(LinearPlain)->Name("Bilinear/plain")->Apply(Sides);
BENCHMARK(ResampleOpenCv<cv::INTER_LINEAR>)->Name("Bilinear/OpenCV_resize")->Apply(Sides);
BENCHMARK(ResampleOurs<ResampleBicubic>)->Name("Bicubic/QV_3D")->Apply(Sides);
BENCHMARK(CubicPlain)->Name("Bicubic/plain")->Apply(Sides);
BENCHMARK(ResampleOpenCv<cv::INTER_CUBIC>)->Name("Bicubic/OpenCV_resize")->Apply(Sides);
BENCHMARK(OverProfile<Roll>)->Name("RollingCircle/QV_3D")->Apply(Lengths);
BENCHMARK(OverProfile<RollPlain>)->Name("RollingCircle/plain")->Apply(Lengths);
BENCHMARK(OverProfile<PolarGaussian>)->Name("PolarGaussian/QV_3D")->Apply(Lengths);
BENCHMARK(OverProfile<PolarGaussianPlain>)->Name("PolarGaussian/plain")->Apply(Lengths);
BENCHMARK(OverProfile<TwoStages>)->Name("Polar2RC/QV_3D")->Apply(Lengths);
BENCHMARK(OverProfile<TwoStagesPlain>)->Name("Polar2RC/plain")->Apply(Lengths);
BENCHMARK(OverProfile<PhaseCorrected>)->Name("Polar2RCPC/QV_3D")->Apply(Lengths);
BENCHMARK(OverProfile<PhaseCorrectedPlain>)->Name("Polar2RCPC/plain")->Apply(Lengths);

}  // namespace
