#include <cstddef>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"

namespace {

template <class Real, class Kernel, class SideKernel>
int Contours(Kernel rowOfCells, SideKernel sideOfRow, const Real* heights, int width, int height,
             const Real* xCoordinates, const Real* yCoordinates, Real level, Real* segments) {
  if (width < 2 || height < 2) return 0;
  const std::ptrdiff_t stride = width;
  std::ptrdiff_t count = 0;
  // Two rows wholly on the same side of the level have nothing between them. Each row is looked at once, and
  // only up to its first change of sides.
  int lowerSide = sideOfRow(heights, stride, level);
  for (std::ptrdiff_t j = 0; j < height - 1; ++j) {
    const int upperSide = sideOfRow(heights + (j + 1) * stride, stride, level);
    const bool apart = lowerSide != 0 && lowerSide == upperSide;
    lowerSide = upperSide;
    if (apart) continue;
    count += rowOfCells(heights + j * stride, heights + (j + 1) * stride, stride - 1, xCoordinates,
                        yCoordinates[j], yCoordinates[j + 1], level, segments + 4 * count);
  }
  return static_cast<int>(count);
}

}  // namespace

int QV_CALL ComputeContours(const double* heights, int width, int height, const double* xCoordinates,
                            const double* yCoordinates, double level, double* segments) {
  return Contours(qv::kernels::Active().contours.doubles, qv::kernels::Active().contours.sideOfDoubles,
                  heights, width, height, xCoordinates, yCoordinates, level, segments);
}

int QV_CALL ComputeContoursf(const float* heights, int width, int height, const float* xCoordinates,
                             const float* yCoordinates, float level, float* segments) {
  return Contours(qv::kernels::Active().contours.floats, qv::kernels::Active().contours.sideOfFloats, heights,
                  width, height, xCoordinates, yCoordinates, level, segments);
}
