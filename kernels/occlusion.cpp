// The 7 x 7 ambient occlusion of one row of a grid: samples in lanes, the neighbours in the order of a
// sequential search, so that every sample's sum is the sequential one.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

constexpr int kReach = 3;

struct Weights {
  double at[2 * kReach + 1][2 * kReach + 1];
};

/// Half over the distance; nothing for the sample itself.
QV_INLINE Weights DistanceWeights() {
  Weights weights = {};
  for (int dj = -kReach; dj <= kReach; ++dj) {
    for (int di = -kReach; di <= kReach; ++di) {
      const double square = di * di + dj * dj;
      weights.at[dj + kReach][di + kReach] = square > 0 ? 0.5 / __builtin_sqrt(square) : 0;
    }
  }
  return weights;
}

/// Only what lies higher hides: neither a lower neighbour nor a NaN.
QV_INLINE Doubles Hidden(const Doubles& neighbour, const Doubles& centre, double weight) {
  const Doubles rise = neighbour - centre;
  return (rise > 0 ? rise : Doubles{}) * weight;
}

QV_INLINE HalfFloats Shade(const Doubles& hidden) {
  const Doubles dark = Doubles{} + 0.2;
  return __builtin_convertvector(hidden > 0.8 ? dark : 1.0 - hidden, HalfFloats);
}

/// Sixteen samples, as two vectors that do not wait for each other.
QV_INLINE void ShadeBlock(const double* const* rows, std::ptrdiff_t column, const Weights& weights,
                          float* ao) {
  const double* centre = rows[kReach] + kReach + column;
  const Doubles centreLow = LoadDoubles(centre), centreHigh = LoadDoubles(centre + 8);
  Doubles low = {}, high = {};
#pragma GCC unroll 7
  for (int j = 0; j < 2 * kReach + 1; ++j) {
    const double* row = rows[j] + column;
#pragma GCC unroll 7
    for (int i = 0; i < 2 * kReach + 1; ++i) {
      if (i == kReach && j == kReach) continue;
      low += Hidden(LoadDoubles(row + i), centreLow, weights.at[j][i]);
      high += Hidden(LoadDoubles(row + i + 8), centreHigh, weights.at[j][i]);
    }
  }
  const HalfFloats shaded[2] = {Shade(low), Shade(high)};
  __builtin_memcpy(ao, shaded, sizeof shaded);
}

void OcclusionRow(const double* const* rows, std::ptrdiff_t width, float* ao) {
  const Weights weights = DistanceWeights();
  std::ptrdiff_t column = 0;
  for (; column + kLanes <= width; column += kLanes) ShadeBlock(rows, column, weights, ao + column);
  if (column == width) return;
  float tail[kLanes];
  ShadeBlock(rows, column, weights, tail);
  for (std::ptrdiff_t i = column; i < width; ++i) ao[i] = tail[i - column];
}

}  // namespace

extern const OcclusionKernels occlusion;
const OcclusionKernels occlusion = {OcclusionRow};

}  // namespace qv::kernels::QV_KERNEL_ISA
