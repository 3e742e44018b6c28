#include "analysis/round_profile.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

#include "failure.h"

namespace qv3d {
namespace {

constexpr double kPi = std::numbers::pi;
/// Of the Gaussian filter: wavelengths in cut-offs to width of the weights.
constexpr double kAlpha = 0.469718639349826;

double Radians(double degrees) {
  return degrees * kPi / 180;
}

/// Samples to either side of the Gaussian weights, as the library counts them with lengths in revolutions.
double GaussianReach(double cutoff, double samples) {
  const double g = cutoff / (samples * kAlpha);
  return std::floor(std::sqrt(std::log(g * samples / 0.001) / kPi) / g + 1.5);
}

using PolarFilter = unsigned(QV_CALL*)(const double*, double*, double, double, int);

std::vector<double> Run(PolarFilter filter, const std::vector<double>& in, double cutoffLength) {
  std::vector<double> out(in.size(), std::nan(""));
  filter(in.data(), out.data(), 1 / static_cast<double>(in.size()), cutoffLength,
         static_cast<int>(in.size()));
  // Where its work memory cannot be had the filter writes nothing.
  if (std::isnan(out.front()) && !std::isnan(in.front())) {
    throw Failure(ExitCode::kNotComputable, "out of memory");
  }
  return out;
}

/// The library's result lags half a sample, and that of the profile backwards lies half a sample
/// early: their mean lies where the profile does. Lengths are in revolutions: the library cuts the
/// weights off at 0.001 of the spacing, which in a longer unit would be much of them.
std::vector<double> RunGaussian(const std::vector<double>& in, double cutoff) {
  std::vector<double> forwards = Run(FilterGaussianPolar, in, 1 / cutoff);
  std::vector<double> backwards = Run(FilterGaussianPolar, {in.rbegin(), in.rend()}, 1 / cutoff);
  std::transform(forwards.begin(), forwards.end(), backwards.rbegin(), forwards.begin(),
                 [](double a, double b) { return (a + b) / 2; });
  return forwards;
}

/// The factor of the bilinear substitution that puts the 75 % at the cut-off itself; nearly the wavelength
/// where that is many samples long.
double RcFactor(double cutoff, double samples) {
  return kPi / samples / std::tan(kPi * cutoff / samples);
}

}  // namespace

MeanCircle FitCircle(const RoundProfile& profile) {
  // At equal angles the three functions are orthogonal, so each coefficient is a sum of its own.
  MeanCircle circle;
  const double n = static_cast<double>(profile.values.size());
  for (std::size_t i = 0; i < profile.values.size(); ++i) {
    const double angle = Radians(profile.AngleOf(i));
    circle.radius += profile.values[i] / n;
    circle.x += 2 * profile.values[i] * std::cos(angle) / n;
    circle.y += 2 * profile.values[i] * std::sin(angle) / n;
  }
  return circle;
}

RoundProfile DeviationsFrom(const MeanCircle& circle, const RoundProfile& profile) {
  RoundProfile deviations = profile;
  for (std::size_t i = 0; i < profile.values.size(); ++i) {
    const double angle = Radians(profile.AngleOf(i));
    deviations.values[i] -= circle.radius + circle.x * std::cos(angle) + circle.y * std::sin(angle);
  }
  return deviations;
}

Roundness MeasureRoundness(const RoundProfile& deviations) {
  const auto [low, high] = std::minmax_element(deviations.values.begin(), deviations.values.end());
  double squares = 0;
  for (const double d : deviations.values) squares += d * d;
  return {*high - *low, *high, -*low, std::sqrt(squares / static_cast<double>(deviations.values.size()))};
}

void CheckRoundCutoff(RoundFilter filter, double cutoff, std::size_t samples) {
  const double n = static_cast<double>(samples);
  const std::string what = fmt::format("--cutoff {:g} UPR", cutoff);
  if (!(cutoff >= 1)) {
    throw Failure(ExitCode::kUsage, what + ": less than one undulation per revolution");
  }
  constexpr double kLeastReach = 5;
  if (cutoff >= n / 2 || (filter == RoundFilter::kGaussian && GaussianReach(cutoff, n) < kLeastReach)) {
    throw Failure(ExitCode::kUsage, fmt::format("{}: filters nothing out of {} samples", what, samples),
                  fmt::format("Choose {:.0f} or less, or measure more samples.", std::max(1.0, n / 5)));
  }
}

RoundProfile FilterRound(RoundFilter filter, double cutoff, const RoundProfile& profile) {
  RoundProfile filtered = profile;
  const double factor = RcFactor(cutoff, static_cast<double>(profile.values.size()));
  switch (filter) {
    case RoundFilter::kGaussian:
      filtered.values = RunGaussian(profile.values, cutoff);
      break;
    case RoundFilter::kTwoRc:
      filtered.values = Run(Filter2RCPolar, profile.values, factor);
      break;
    case RoundFilter::kTwoRcPhaseCorrected:
      filtered.values = Run(Filter2RCPCPolar, profile.values, factor);
  }
  return filtered;
}

}  // namespace qv3d
