// The circle of a lobed profile, and what the polar filters leave of its lobes.
#include <cmath>
#include <numbers>

#include "selftest/families.h"

namespace qv3d {
namespace {

using L = LobesGauge;

/// The amplitude of so many undulations per revolution.
double Undulation(const RoundProfile& profile, int number) {
  double sine = 0, cosine = 0;
  const auto n = static_cast<double>(profile.values.size());
  for (std::size_t i = 0; i < profile.values.size(); ++i) {
    const double angle = 2 * std::numbers::pi * number * static_cast<double>(i) / n;
    sine += profile.values[i] * std::sin(angle);
    cosine += profile.values[i] * std::cos(angle);
  }
  return 2 * std::hypot(sine, cosine) / n;
}

}  // namespace

void CheckRoundness(const Gauges& gauges, Checks& checks) {
  const MeanCircle circle = FitCircle(gauges.lobes);
  // Doubles throughout: rounding alone, of sums of numbers of the radius' size.
  constexpr double kSums = 1e-12 * L::kRadius;
  checks.Near("lobes", "radius of the circle", L::kRadius, circle.radius, kSums);
  checks.Near("lobes", "eccentricity along x", L::kEccentricity * std::cos(L::kDirection), circle.x, kSums);
  checks.Near("lobes", "eccentricity along y", L::kEccentricity * std::sin(L::kDirection), circle.y, kSums);
  const RoundProfile lobes = DeviationsFrom(circle, gauges.lobes);
  checks.Near("lobes", "RONt, twice the amplitude", 2 * L::kAmplitude, MeasureRoundness(lobes).t, 2 * kSums);
  const auto passed = [&](RoundFilter filter) {
    return Undulation(FilterRound(filter, L::kLobes, lobes), L::kLobes) / L::kAmplitude;
  };
  // The Gaussian's weights reach half a sample too far: of the cut-off, of 240 samples, 1/(alpha * 240).
  checks.Near("lobes", "Gaussian, passed at the cut-off", 0.5, passed(RoundFilter::kGaussian),
              1 / (0.4697 * 240));
  // The bilinear substitution is made exact for the cut-off. The filters settle over a quarter of a turn,
  // more than three cut-offs, by exp(-2 pi * 3 / sqrt 3) and less.
  checks.Near("lobes", "2RC, passed at the cut-off", 0.75, passed(RoundFilter::kTwoRc), 2e-5);
  checks.Near("lobes", "2RC phase-corrected, passed at the cut-off", 0.75,
              passed(RoundFilter::kTwoRcPhaseCorrected), 2e-5);
}

}  // namespace qv3d
