// Compiled with everything that makes it fast: -O3 -ffast-math and this machine's instructions.
#include "benchmarks/gridding_vector_pow.h"

#include <cmath>

void qv::benchmarks::VectorPowGridding(const double* x, const double* y, const double* z,
                                       std::ptrdiff_t count, float* out, int nx, int ny, double dx, double dy,
                                       double power) {
  const double exponent = -power / 2;
  for (std::ptrdiff_t row = 0; row < ny; ++row) {
    for (std::ptrdiff_t column = 0; column < nx; ++column) {
      const double nodeX = static_cast<double>(column) * dx, nodeY = static_cast<double>(row) * dy;
      double weighted = 0, sum = 0;
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        const double square = (x[i] - nodeX) * (x[i] - nodeX) + (y[i] - nodeY) * (y[i] - nodeY);
        const double weight = std::pow(square, exponent);
        weighted += z[i] * weight;
        sum += weight;
      }
      out[(ny - 1 - row) * nx + column] = static_cast<float>(weighted / sum);
    }
  }
}
