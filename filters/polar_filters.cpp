#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "filters/scratch.h"
#include "kernels/kernels.h"

namespace qv::filters {

namespace {

constexpr double kPi = 3.14159265358979323846;

/// How far the Gaussian weights g*exp(-pi*g*g*j*j) reach: to 0.001*spacing, and one sample more. Below 5, or
/// not a number, means that there is nothing to smooth.
int PolarReach(double g, double spacing) {
  const double reach = std::sqrt(std::log(g / (0.001 * spacing)) / kPi) / g + 1.0 + 0.5;
  return TruncateToInt(std::floor(reach));
}

/// The weights of offsets 1, 2, ..., each made from the one before by the next odd power of r.
class PolarWeights {
 public:
  explicit PolarWeights(double g) : power_(std::exp(-kPi * g * g)), square_(power_ * power_), weight_(g) {}

  double Next() {
    weight_ *= power_;
    power_ *= square_;
    return weight_;
  }

 private:
  double power_;
  double square_;
  double weight_;
};

/// The profile of the recursive filters: a quarter turn of lead-in (the end of the profile), the profile, and
/// its start again; `total` samples.
struct ExtendedProfile {
  ExtendedProfile(const double* profile, std::ptrdiff_t count)
      : in(profile),
        n(count),
        lead(count / 4),
        total(static_cast<std::ptrdiff_t>(1.5 * static_cast<double>(count))) {}

  double operator[](std::ptrdiff_t k) const {
    if (k < lead) return in[3 * lead + k];
    return k < lead + n ? in[k - lead] : in[k - lead - n];
  }

  const double* in;
  std::ptrdiff_t n;
  std::ptrdiff_t lead;
  std::ptrdiff_t total;
};

/// Two identical RC stages, discretised by the bilinear substitution.
struct TwoStageCoefficients {
  TwoStageCoefficients(double spacing, double cutoff) {
    constexpr double kNinePi = 28.27433388230811, kShortPi = 3.14159265358979, kPiSquared = 9.869604401089338;
    const double sqrt3 = std::sqrt(3.0);
    const double divisor =
        3 * cutoff * cutoff + (kNinePi * spacing + 6 * sqrt3 * cutoff) * spacing * kShortPi;
    c1 = (18 * kPiSquared * spacing * spacing - 6 * cutoff * cutoff) / divisor;
    c2 = ((kNinePi * spacing - 6 * sqrt3 * cutoff) * spacing * kShortPi + 3 * cutoff * cutoff) / divisor;
    b0 = 9 * kPiSquared * spacing * spacing / divisor;
    b1 = 18 * kPiSquared * spacing * spacing / divisor;
  }
  double c1, c2, b0, b1;
};

void AddGaussianPairs(const double* in, double* out, double g, int reach, std::ptrdiff_t n, double* cycle) {
  std::memcpy(cycle, in, static_cast<std::size_t>(n) * sizeof(double));
  std::memcpy(cycle + n, in, static_cast<std::size_t>(n) * sizeof(double));
  PolarWeights weights(g);
  constexpr std::ptrdiff_t kChunk = 512;
  double chunk[kChunk];
  for (std::ptrdiff_t j = 1; j <= reach; j += kChunk) {
    const std::ptrdiff_t count = std::min(kChunk, reach - j + 1);
    for (std::ptrdiff_t i = 0; i < count; ++i) chunk[i] = weights.Next();
    // The left partner of offset j is i-j-1, not i-j: a shift by half a sample that callers rely on.
    const std::ptrdiff_t behind = n - 1 - j % n;
    kernels::Active().profiles.addPairs(cycle, n, chunk, count, j % n, behind, out);
  }
}

}  // namespace

}  // namespace qv::filters

unsigned QV_CALL FilterGaussianPolar(const double* in, double* out, double spacing, double cutoff, int n) {
  using namespace qv::filters;
  if (n < 1) return 0;
  const auto count = static_cast<std::size_t>(n);
  const double g = spacing / (cutoff * 0.469718639349826);
  const int reach = PolarReach(g, spacing);
  if (reach < 5) {
    std::memcpy(out, in, count * sizeof(double));
    return 0;
  }
  Scratch<double> cycle(2 * count);
  if (!cycle) return 0;
  for (std::size_t i = 0; i < count; ++i) out[i] = g * in[i];
  AddGaussianPairs(in, out, g, reach, n, cycle.get());
  return 0;
}

unsigned QV_CALL Filter2RCPolar(const double* in, double* out, double spacing, double cutoff, int n) {
  using namespace qv::filters;
  if (n < 1) return 0;
  const TwoStageCoefficients c(spacing, cutoff);
  const ExtendedProfile x(in, n);
  double y0 = x[0], y1 = x.total > 1 ? x[1] : 0;  // started with the input itself
  const auto write = [&](std::ptrdiff_t k, double y) {
    if (k >= x.lead && k < x.lead + n) out[k - x.lead] = y;
  };
  write(0, y0);
  write(1, y1);
  for (std::ptrdiff_t k = 0; k + 2 < x.lead + n; ++k) {
    const double y2 = c.b0 * x[k] + c.b1 * x[k + 1] + c.b0 * x[k + 2] - c.c2 * y0 - c.c1 * y1;
    write(k + 2, y2);
    y0 = y1;
    y1 = y2;
  }
  return 0;
}

unsigned QV_CALL Filter2RCPCPolar(const double* in, double* out, double spacing, double cutoff, int n) {
  using namespace qv::filters;
  if (n < 1) return 0;
  const double p = spacing * 9.42477796076937, s = std::sqrt(3.0) * cutoff;
  const double k = p / (p + s), r = (p - s) / (p + s);
  const ExtendedProfile x(in, n);
  Scratch<double> forward(static_cast<std::size_t>(x.total));
  if (!forward) return 0;
  forward[0] = x[0];
  for (std::ptrdiff_t j = 1; j < x.total; ++j) forward[j] = k * (x[j] + x[j - 1]) - r * forward[j - 1];
  double backward = 0;  // not the last forward value: callers rely on it
  for (std::ptrdiff_t j = x.total - 1; j >= x.lead; --j) {
    if (j < x.lead + n) out[j - x.lead] = backward;
    if (j > 0) backward = k * (forward[j] + forward[j - 1]) - r * backward;
  }
  return 0;
}
