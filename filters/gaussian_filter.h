#pragma once

#include <cstddef>

namespace qv::filters {

/// One moving average of 2*m + 1 samples.
struct Window {
  explicit Window(int halfWidth);

  std::ptrdiff_t m;
  std::ptrdiff_t length;
  float weight;
};

/// The half-width that belongs to a cut-off; below 1 where the filter leaves a line as it is.
int HalfWidth(float cutoff, float spacing);

/// One moving average over the n samples src[k*stride] in extended precision; for calls inside an
/// ExtendedPrecision scope.
void BoxAverageLine(const float* src, float* dst, std::ptrdiff_t n, std::ptrdiff_t stride,
                    const Window& window);

}  // namespace qv::filters
