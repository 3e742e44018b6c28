#include "core/plane_fit.h"

#include <cmath>
#include <cstddef>

#include "core/samples.h"
#include "exports/QV_3D.h"

namespace qv {

bool SolveLinear3x3(const float matrix[9], const float rightSide[3], float solution[3]) {
  double m[9];
  for (int i = 0; i < 9; ++i) m[i] = matrix[i];

  // The adjugate, row by row. Every cofactor is stored as a float.
  float k[9] = {
      static_cast<float>(m[4] * m[8] - m[7] * m[5]), static_cast<float>(m[7] * m[2] - m[1] * m[8]),
      static_cast<float>(m[1] * m[5] - m[2] * m[4]), static_cast<float>(m[6] * m[5] - m[3] * m[8]),
      static_cast<float>(m[0] * m[8] - m[6] * m[2]), static_cast<float>(m[3] * m[2] - m[0] * m[5]),
      static_cast<float>(m[7] * m[3] - m[6] * m[4]), static_cast<float>(m[6] * m[1] - m[7] * m[0]),
      static_cast<float>(m[0] * m[4] - m[3] * m[1]),
  };
  const double determinant = k[0] * m[0] + k[3] * m[1] + k[6] * m[2];
  if (std::fabs(determinant) < 1e-32) return false;  // a NaN passes

  const double inverse = 1.0 / determinant;
  for (float& cofactor : k) cofactor = static_cast<float>(cofactor * inverse);
  for (int row = 0; row < 3; ++row) {
    const float* c = k + 3 * row;
    solution[row] = static_cast<float>(static_cast<double>(c[0]) * rightSide[0] +
                                       static_cast<double>(c[1]) * rightSide[1] +
                                       static_cast<double>(c[2]) * rightSide[2]);
  }
  return true;
}

}  // namespace qv

int QV_CALL FitLSPlane(const float* points, int count, float* a, float* b, float* c) {
  double sx = 0, sy = 0, sz = 0, sxx = 0, sxy = 0, sxz = 0;
  float syy = 0, syz = 0;  // rounded to float after every addition: kept, results depend on it
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const double x = points[3 * i], y = points[3 * i + 1], z = points[3 * i + 2];
    sx += x;
    sy += y;
    sz += z;
    sxx += x * x;
    sxy += x * y;
    sxz += x * z;
    syy = static_cast<float>(syy + y * y);
    syz = static_cast<float>(syz + y * z);
  }
  const auto fx = static_cast<float>(sx), fy = static_cast<float>(sy), fxy = static_cast<float>(sxy);
  const float matrix[9] = {static_cast<float>(sxx), fxy, fx, fxy, syy, fy, fx, fy, static_cast<float>(count)};
  const float rightSide[3] = {static_cast<float>(sxz), syz, static_cast<float>(sz)};
  float plane[3] = {qv::kSearchStart, qv::kSearchStart, qv::kSearchStart};
  const bool solved = qv::SolveLinear3x3(matrix, rightSide, plane);
  *a = plane[0];
  *b = plane[1];
  *c = plane[2];
  return solved ? 1 : 0;
}
