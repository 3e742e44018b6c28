// Height statistics of waves and of noise.
#include <cmath>
#include <numbers>

#include "selftest/families.h"

namespace qv3d {
namespace {

constexpr double kPi = std::numbers::pi;

/// The mean of the magnitude of a wave that is sampled n times, with samples on crests and zeros, is
/// 2/pi * (pi/n) / tan(pi/n): short of 2/pi by (pi/n)^2 / 3 and terms of higher order, which a half bounds.
double ShareLost(int samples) {
  return (kPi / samples) * (kPi / samples) / 2;
}

void CheckSine(const Gauges& gauges, Checks& checks) {
  using G = SineGauge;
  const Statistics s = Measure(gauges.sine);
  const double sa = 2 / kPi * G::kAmplitude;
  checks.Near("sine", "Sa, 2/pi of the amplitude", sa, s.sa, sa * ShareLost(G::kSamples));
  // Over whole waves the sums of even powers of sampled sines are those of the integrals: only the rounding
  // of the samples and of the result is left, several times over in the fourth power.
  checks.Near("sine", "Sq, amplitude / sqrt 2", G::kAmplitude / std::numbers::sqrt2, s.sq,
              Rounding(4 * G::kAmplitude));
  checks.Near("sine", "Sp, the crest", G::kAmplitude, s.sp, Rounding(G::kAmplitude));
  checks.Near("sine", "Sv, the trough", G::kAmplitude, s.sv, Rounding(G::kAmplitude));
  checks.Near("sine", "Sz, crest to trough", 2 * G::kAmplitude, s.sz, Rounding(4 * G::kAmplitude));
  checks.Near("sine", "Ssk, symmetric", 0, s.ssk, Rounding(8));
  checks.Near("sine", "Sku, 3/2", 1.5, s.sku, Rounding(16));
}

void CheckCosines(const Gauges& gauges, Checks& checks) {
  using G = CosinesGauge;
  const Statistics s = Measure(gauges.cosines);
  const double sa = 4 / (kPi * kPi) * G::kAmplitude;
  checks.Near("cosines", "Sa, 4/pi^2 of the amplitude", sa, s.sa, 2 * sa * ShareLost(G::kSamples));
  checks.Near("cosines", "Sq, half the amplitude", G::kAmplitude / 2, s.sq, Rounding(4 * G::kAmplitude));
  checks.Near("cosines", "Sku, 9/4", 2.25, s.sku, Rounding(32));
  checks.Near("cosines", "ten-point height, crests to troughs", 2 * G::kAmplitude,
              s.hasTenPoint ? s.tenPoint : std::nan(""), Rounding(4 * G::kAmplitude));
}

void CheckNoise(const Gauges& gauges, Checks& checks) {
  using G = NoiseGauge;
  const Statistics s = Measure(gauges.noise);
  // Means of n random numbers lie within four standard errors of what they estimate. Of an even distribution
  // of width 1 the moments are 1/12, 0 and 1/80, and the variances of z^2, z^3 and z^4 are 1/180, 1/448 and
  // 1/3600: those of the ratios follow by adding their parts.
  const double error = 4 / std::sqrt(double{G::kSize} * G::kSize);
  const double square = 1 / 12.0, ofSquare = std::sqrt(1 / 180.0) / square,
               ofFourth = std::sqrt(1 / 3600.0) * 80;
  const double sq = G::kRange * std::sqrt(square);
  checks.Near("noise", "Sq, range / sqrt 12", sq, s.sq, error * sq * ofSquare / 2);
  checks.Near("noise", "Ssk, symmetric", 0, s.ssk, error * std::sqrt(1 / 448.0) / std::pow(square, 1.5));
  checks.Near("noise", "Sku, 9/5", 1.8, s.sku, error * 1.8 * (ofFourth + 2 * ofSquare));
}

}  // namespace

void CheckStatistics(const Gauges& gauges, Checks& checks) {
  CheckSine(gauges, checks);
  CheckCosines(gauges, checks);
  CheckNoise(gauges, checks);
}

}  // namespace qv3d
