// Resampling of a plane; spectra, autocorrelation and frequency filters of waves and noise.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "analysis/resample.h"
#include "analysis/spectrum.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

using S = SineGauge;

/// Every stage of a transform is rounded to float: so much of its largest number for each of the stages.
double Stages(double size, int samples) {
  return Rounding(size) * std::log2(samples);
}

void CheckSpectrum(const Gauges& gauges, Checks& checks) {
  const std::optional<Wave> wave = DominantWave(AmplitudesOf(gauges.sine), gauges.sine);
  const Wave found = wave.value_or(Wave{std::nan(""), std::nan(""), std::nan("")});
  const double rounding = 4 * Stages(1, S::kWidth * S::kHeight);
  // Found between two terms by halving an interval: not exact even where the wave lies on a term, by what the
  // rounded neighbours of the term pretend.
  checks.Near("sine", "wavelength of the dominant wave", S::kWavelength, found.wavelength,
              8 * rounding * S::kWavelength);
  checks.Near("sine", "its amplitude", S::kAmplitude, found.amplitude, 8 * rounding * S::kAmplitude);
  checks.Near("sine", "its direction / degrees", 0, found.direction, 1e-3);
}

void CheckRoundTrip(const Gauges& gauges, Checks& checks) {
  HeightMap back = gauges.sine;
  std::vector<float> spectrum(2 * back.heights.size());
  ComputeFFTGrid(gauges.sine.heights.data(), S::kWidth, S::kHeight, spectrum.data());
  DoFFTInverse(S::kWidth, S::kHeight, spectrum.data(), back.heights.data());
  checks.Near("sine", "there and back, farthest from the sine", 0,
              FarthestFrom(back, [](double x, double) { return SineHeight(x); }),
              2 * Stages(S::kAmplitude, S::kWidth * S::kHeight));
  // The wave has S::kWidth / S::kSamples periods: all its energy lies at that column and its opposite.
  const std::size_t term = 2 * std::size_t{S::kWidth / S::kSamples};
  const double expected = S::kAmplitude * S::kWidth * S::kHeight / 2;
  checks.Near("sine", "term of its frequency", expected, std::hypot(spectrum[term], spectrum[term + 1]),
              Stages(expected, S::kWidth * S::kHeight));
}

void CheckCorrelation(const Gauges& gauges, Checks& checks) {
  std::vector<float> c(gauges.sine.heights.size());
  Autocorrelate(gauges.sine.heights.data(), S::kWidth, S::kHeight, c.data());
  const std::size_t zero = std::size_t{S::kHeight / 2} * S::kWidth + S::kWidth / 2;
  const double peak = S::kAmplitude * S::kAmplitude / 2 * S::kWidth * S::kHeight;
  const double rounding = 4 * Stages(peak, S::kWidth * S::kHeight);
  checks.Near("sine", "autocorrelation at lag zero", peak, c[zero], rounding);
  checks.Near("sine", "autocorrelation at half a wave", -peak, c[zero + S::kSamples / 2], rounding);
  using N = NoiseGauge;
  std::vector<float> noise(gauges.noise.heights.size());
  Autocorrelate(gauges.noise.heights.data(), N::kSize, N::kSize, noise.data());
  const std::size_t middle = std::size_t{N::kSize / 2} * N::kSize + N::kSize / 2;
  const double atZero = noise[middle];
  // Of white noise the standard deviation of the others is 1/sqrt n; six of them are out of reach for n lags.
  // The variance is range^2 / 12, with the error that the statistics state.
  checks.Near("noise", "autocorrelation at lag zero", double{N::kSize} * N::kSize / 12, atZero,
              double{N::kSize} * N::kSize / 12 * 4 * 0.9 / N::kSize);
  noise[middle] = 0;
  const auto [least, most] = std::minmax_element(noise.begin(), noise.end());
  checks.Near("noise", "largest at other lags over that at zero", 0,
              std::max(std::abs(*least), std::abs(*most)) / atZero, 6.0 / N::kSize);
}

void CheckFrequencyFilters(const Gauges& gauges, Checks& checks) {
  using G = CosinesGauge;
  constexpr int kLowPass = 4, kHighPass = 5;
  HeightMap low = gauges.cosines;
  std::vector<float> high(low.heights.size());
  const auto parameter = static_cast<float>(2.0 / G::kSamples);
  FFTFilter(gauges.cosines.heights.data(), G::kSize, G::kSize, kLowPass, parameter, 0, low.heights.data());
  FFTFilter(gauges.cosines.heights.data(), G::kSize, G::kSize, kHighPass, parameter, 0, high.data());
  for (std::size_t k = 0; k < high.size(); ++k) low.heights[k] += high[k];
  checks.Near("cosines", "long and short waves together, farthest from the gauge", 0,
              FarthestFrom(low, CosinesHeight), 4 * Stages(G::kAmplitude, G::kSize * G::kSize));
  // The ideal filter measures from the highest frequencies, here at (128, 32) bins; the wave lies at (8, 0),
  // a share of 124.2 / 128 away. What is nearer than 0.9 goes, and the sine stays; beyond 0.9, and it goes.
  HeightMap kept = gauges.sine;
  FFTFilter(gauges.sine.heights.data(), S::kWidth, S::kHeight, 1, 0.9f, 0, kept.heights.data());
  checks.Near("sine", "ideal filter of short waves, amplitude left", S::kAmplitude,
              WaveAmplitude(kept, S::kWavelength), 2 * Stages(S::kAmplitude, S::kWidth * S::kHeight));
  FFTFilter(gauges.sine.heights.data(), S::kWidth, S::kHeight, 0, 0.9f, 0, kept.heights.data());
  checks.Near("sine", "ideal filter of long waves, amplitude left", 0, WaveAmplitude(kept, S::kWavelength),
              2 * Stages(S::kAmplitude, S::kWidth * S::kHeight));
}

}  // namespace

void CheckResampling(const Gauges& gauges, Checks& checks) {
  const HeightMap& plane = gauges.plane;
  // The heights are rounded, less their mean and once more with it.
  const double rounding = Rounding(8 * (PlaneGauge::kC + 15));
  const HeightMap fewer = ResampleMap(plane, plane.width / 4, plane.height / 4, Interpolation::kBilinear);
  checks.Near("plane", "bilinear, a quarter of the samples, farthest from it", 0,
              FarthestFrom(fewer, PlaneHeight), rounding);
  const HeightMap more = ResampleMap(plane, 80, 60, Interpolation::kBilinear);
  // Beyond the last column and row the library repeats them.
  HeightMap inside = more;
  while (inside.xSize > plane.xSize || inside.ySize > plane.ySize) {
    inside.width -= inside.xSize > plane.xSize;
    inside.xSize = static_cast<float>((inside.width - 1) * more.SpacingX());
    inside.height -= inside.ySize > plane.ySize;
    inside.ySize = static_cast<float>((inside.height - 1) * more.SpacingY());
  }
  CropSurface(more.heights.data(), inside.heights.data(), 0, 0, more.width, more.height, inside.width,
              inside.height);
  checks.Near("plane", "bilinear, 80 x 60 samples, farthest from it", 0, FarthestFrom(inside, PlaneHeight),
              rounding);
  const HeightMap half = ResampleMap(plane, plane.width / 2, plane.height / 2, Interpolation::kBicubic);
  checks.Near("plane", "bicubic, every other sample, farthest from it", 0, FarthestFrom(half, PlaneHeight),
              rounding);
}

void CheckSpectra(const Gauges& gauges, Checks& checks) {
  CheckSpectrum(gauges, checks);
  CheckRoundTrip(gauges, checks);
  CheckCorrelation(gauges, checks);
  CheckFrequencyFilters(gauges, checks);
}

}  // namespace qv3d
