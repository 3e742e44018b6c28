#include <cstddef>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"

unsigned QV_CALL FilterGaussianf2(int nx, int ny, const float* in, float* filtered, float* residual) {
  if (nx < 3 || ny < 3) return 0;
  const std::ptrdiff_t pitch = nx, columns = pitch - 2;
  const auto binomialRow = qv::kernels::Active().smoothing.binomialRow;
  for (std::ptrdiff_t row = 0; row < ny - 2; ++row) {
    const float* top = in + row * pitch;
    const float* const rows[3] = {top, top + pitch, top + 2 * pitch};
    binomialRow(rows, columns, filtered + row * columns, residual + row * columns);
  }
  return 0;
}
