// Windows over a step; the Gaussian type, the spline and the circle.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "analysis/crop.h"
#include "analysis/surface_filter.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

using S = StepGauge;
constexpr int kWindow = 5, kHalf = kWindow / 2;

/// How many of the window's columns around one lie on the step, as a share; clipped to the map.
double ShareOnStep(int column) {
  const int first = std::max(column - kHalf, 0), last = std::min(column + kHalf, S::kWidth - 1);
  return std::clamp(last - std::max(first, S::kColumn) + 1, 0, kWindow) / double(last - first + 1);
}

/// Farthest that the filtered step lies from `height(column)`, which knows the step's height as 1.
template <class Height>
void CheckWindow(const Gauges& gauges, Checks& checks, FilterKind kind, const char* name, Height height) {
  const HeightMap filtered = ApplyFilter({kind, kWindow}, gauges.step, gauges.step).filtered;
  const double farthest = FarthestFrom(filtered, [&](double x, double) {
    return S::kStep * height(static_cast<int>(std::lround(x / kGaugeSpacing)));
  });
  // A result is rounded once, by the weights' sum at the most.
  checks.Near("step", name, 0, farthest, Rounding(2 * S::kStep));
}

/// What three moving averages of `window` samples, of which only the number matters here, pass of a wave.
double ThreeAverages(double window, double samplesPerWave) {
  const double part = std::numbers::pi / samplesPerWave;
  return std::pow(std::sin(window * part) / (window * std::sin(part)), 3);
}

void CheckGaussian(const Gauges& gauges, Checks& checks) {
  using G = SineGauge;
  const FilteredMap result =
      ApplyFilter({FilterKind::kGaussian, 0, G::kWavelength}, gauges.sine, gauges.sine);
  // Without the edges 16 samples are gone at either end: 7 of the 8 waves are left.
  const double passed = WaveAmplitude(result.filtered, G::kWavelength) / G::kAmplitude;
  // The window should be 0.366 cut-offs wide and is cut to an odd number of samples: up to one off.
  const double ideal = 0.366 * G::kSamples;
  const double tolerance =
      std::max(ThreeAverages(ideal - 1, G::kSamples) - 0.5, 0.5 - ThreeAverages(ideal + 1, G::kSamples));
  checks.Near("sine", "Gaussian type, passed at the cut-off", 0.5, passed, tolerance);
  // Every average is rounded to a float, and there are three along both axes.
  const double window = 2 * std::floor(0.183 * G::kSamples) + 1;
  checks.Near("sine", "the same by three averages of 11 samples", ThreeAverages(window, G::kSamples), passed,
              Rounding(8));
}

void CheckSpline(const Gauges& gauges, Checks& checks) {
  using G = SineGauge;
  const HeightMap filtered =
      ApplyFilter({FilterKind::kSpline, 0, G::kWavelength}, gauges.sine, gauges.sine).filtered;
  // The free ends make waves of their own, which die away as exp(-sqrt 2 * pi * x / cut-off): to 1e-4 over
  // two cut-offs.
  const HeightMap inner = CropEdges(filtered, 2 * G::kSamples, 0);
  checks.Near("sine", "spline, passed at the cut-off", 0.5,
              WaveAmplitude(inner, G::kWavelength) / G::kAmplitude, 2e-4);
}

void CheckCircle(const Gauges& gauges, Checks& checks) {
  constexpr double kRadius = 50 * kGaugeSpacing;
  const HeightMap rolled = ApplyFilter({FilterKind::kCircle, 0, kRadius}, gauges.step, gauges.step).filtered;
  // The circle lies on the step's edge, and its side hangs over what is before it.
  for (const int before : {1, 2}) {
    const double x = before * kGaugeSpacing;
    const double drop = kRadius - std::sqrt(kRadius * kRadius - x * x);
    checks.Near("step", before == 1 ? "circle, a sample before the step" : "circle, two samples before it",
                S::kStep - drop, rolled.At(S::kColumn - before, S::kHeight / 2), Rounding(2 * S::kStep));
  }
}

}  // namespace

void CheckWindows(const Gauges& gauges, Checks& checks) {
  const auto onStep = [](int column) { return column >= S::kColumn ? 1.0 : 0.0; };
  CheckWindow(gauges, checks, FilterKind::kMean, "mean of 5 x 5, farthest from a ramp", ShareOnStep);
  CheckWindow(gauges, checks, FilterKind::kMedian, "median, farthest from the step", onStep);
  CheckWindow(gauges, checks, FilterKind::kMinimum, "lowest, farthest from the step moved up",
              [&](int column) { return onStep(column - kHalf); });
  CheckWindow(gauges, checks, FilterKind::kMaximum, "highest, farthest from the step moved down",
              [&](int column) { return onStep(column + kHalf); });
  // The third lowest of 25 lies on the step only where fewer than three samples do not: none of five columns.
  CheckWindow(gauges, checks, FilterKind::kRank, "low rank, farthest from the step moved up",
              [&](int column) { return onStep(column - kHalf); });
  CheckWindow(gauges, checks, FilterKind::kLaplacian, "Laplacian, farthest from its weights",
              [&](int column) {
                constexpr double kSamples = kWindow * kWindow;
                return onStep(column) * (kSamples + 1) / kSamples - ShareOnStep(column);
              });
  CheckWindow(gauges, checks, FilterKind::kBinomial, "binomial, farthest from 1/4, 3/4",
              [&](int column) { return (onStep(column - 1) + 2 * onStep(column) + onStep(column + 1)) / 4; });
}

void CheckProfileFilters(const Gauges& gauges, Checks& checks) {
  CheckGaussian(gauges, checks);
  CheckSpline(gauges, checks);
  CheckCircle(gauges, checks);
}

}  // namespace qv3d
