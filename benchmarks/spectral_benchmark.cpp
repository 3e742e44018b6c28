// Transforms beside their plain form (line after line, the strided columns copied out and back) and FFTW's
// single-precision plan, measured and in place; the exports beside the transform that they contain.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <map>
#include <vector>

#include "exports/QV_3D.h"
#include "spectral/fft.h"
#include "spectral/work_grid.h"
#include "tests/reference/spectra_reference.h"
#include "tests/support/random_grid.h"

namespace {

const std::vector<float>& Heights(int side) {
  static std::map<int, std::vector<float>> grids;
  auto& grid = grids[side];
  if (grid.empty()) {
    qv::test::Random random(1);
    grid =
        qv::test::RandomSamples(random, static_cast<std::size_t>(side) * static_cast<std::size_t>(side), {});
  }
  return grid;
}

/// To the spectrum and back by turns, so that values neither grow nor vanish.
class Turns {
 public:
  short Next() {
    direction_ = static_cast<short>(-direction_);
    return direction_;
  }

 private:
  short direction_ = 1;
};

void OurTransform(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const std::vector<float>& heights = Heights(side);
  qv::spectral::WorkGrid grid;
  if (grid.Allocate(side, side) != 0) return state.SkipWithError("no memory");
  for (int r = 0; r < side; ++r) {
    for (int c = 0; c < side; ++c) {
      grid.real[r][c] = heights[static_cast<std::size_t>(r) * side + c];
      grid.imaginary[r][c] = heights[static_cast<std::size_t>(c) * side + r];
    }
  }
  Turns turns;
  for (auto _ : state) grid.Transform(turns.Next());
}

void PlainTransform(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  qv::test::reference::Plane real = qv::test::reference::Zeros(side, side), imaginary = real;
  for (int r = 0; r < side; ++r) {
    for (int c = 0; c < side; ++c) {
      real[r][c] = Heights(side)[static_cast<std::size_t>(r) * side + c];
      imaginary[r][c] = Heights(side)[static_cast<std::size_t>(c) * side + r];
    }
  }
  Turns turns;
  for (auto _ : state) qv::test::reference::FFT2D(real, imaginary, side, side, turns.Next());
}

void FftwTransform(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const auto count = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
  fftwf_complex* data = fftwf_alloc_complex(count);
  const fftwf_plan forward = fftwf_plan_dft_2d(side, side, data, data, FFTW_FORWARD, FFTW_MEASURE);
  const fftwf_plan backward = fftwf_plan_dft_2d(side, side, data, data, FFTW_BACKWARD, FFTW_MEASURE);
  for (std::size_t i = 0; i < count; ++i) {
    data[i][0] = 1e-12F * Heights(side)[i];
    data[i][1] = 0;
  }
  Turns turns;
  int left = 0;
  for (auto _ : state) {
    fftwf_execute(turns.Next() < 0 ? forward : backward);
    if (++left < 4) continue;
    // It does not scale: begin anew before the values leave the range.
    state.PauseTiming();
    left = 0;
    for (std::size_t i = 0; i < count; ++i) {
      data[i][0] = 1e-12F * Heights(side)[i];
      data[i][1] = 0;
    }
    state.ResumeTiming();
  }
  fftwf_destroy_plan(forward);
  fftwf_destroy_plan(backward);
  fftwf_free(data);
}

template <int kLinear>
void OurPowerSpectrum(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<float> out(Heights(side).size());
  for (auto _ : state) PowerSpectrum(Heights(side).data(), side, side, kLinear, out.data());
}

void OurAutocorrelation(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<float> out(Heights(side).size());
  for (auto _ : state) Autocorrelate(Heights(side).data(), side, side, out.data());
}

void OurFilter(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<float> out(Heights(side).size());
  for (auto _ : state) FFTFilter(Heights(side).data(), side, side, 4, 0.3F, 0, out.data());
}

void Sides(benchmark::internal::Benchmark* b) {
  b->Arg(2048)->Unit(benchmark::kMillisecond);
}

BENCHMARK(OurTransform)->Name("FFT2D/QV_3D")->Apply(Sides);
BENCHMARK(FftwTransform)->Name("FFT2D/FFTW")->Apply(Sides);
BENCHMARK(PlainTransform)->Name("FFT2D/plain")->Apply(Sides);
BENCHMARK(OurPowerSpectrum<1>)->Name("PowerSpectrumLinear/QV_3D")->Apply(Sides);
BENCHMARK(OurTransform)->Name("PowerSpectrumLinear/its_transform")->Apply(Sides);
BENCHMARK(OurPowerSpectrum<0>)->Name("PowerSpectrumDecades/QV_3D")->Apply(Sides);
BENCHMARK(OurTransform)->Name("PowerSpectrumDecades/its_transform")->Apply(Sides);
BENCHMARK(OurAutocorrelation)->Name("Autocorrelate/QV_3D")->Apply(Sides);
BENCHMARK(OurFilter)->Name("FFTFilter/QV_3D")->Apply(Sides);

}  // namespace
