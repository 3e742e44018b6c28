#include "filters/spline_filter.h"

#include <algorithm>
#include <cmath>

#include "core/kept_memory.h"
#include "exports/QV_3D.h"
#include "filters/line_blocks.h"
#include "filters/scratch.h"

namespace qv::filters {

double SplineStiffness(float cutoff, float spacing) {
  constexpr float kPi = 3.1415927410125732F;  // the float, not a closer value: results depend on it
  const float scaledSpacing = spacing * 0.001F, scaledCutoff = cutoff * 0.001F;
  const double beta = 0.5 / std::sin(static_cast<double>(kPi) * scaledSpacing / scaledCutoff);
  return beta * beta * beta * beta;
}

kernels::BandFactors EliminateSpline(double a, std::ptrdiff_t n, double* storage) {
  double *d = storage, *e = d + n, *f = e + n, *m1 = f + n, *m2 = m1 + n;
  std::fill(d, d + n, 1 + 6 * a);
  std::fill(e, e + n, -4 * a);
  std::fill(f, f + n, a);
  d[0] = d[n - 1] = 1 + a;
  d[1] = d[n - 2] = 1 + 5 * a;
  e[0] = e[n - 2] = -2 * a;
  for (std::ptrdiff_t k = 0; k + 2 < n; ++k) {
    m1[k] = e[k] / d[k];
    m2[k] = f[k] / d[k];
    d[k + 1] -= m1[k] * e[k];
    e[k + 1] -= m1[k] * f[k];
    d[k + 2] -= m2[k] * f[k];
  }
  m1[n - 2] = e[n - 2] / d[n - 2];
  d[n - 1] -= m1[n - 2] * e[n - 2];
  return {d, e, f, m1, m2};
}

namespace {

bool Smooths(std::ptrdiff_t n, float cutoff) {
  return n >= 3 && cutoff != 0;
}

/// Solves for every line of a block in place. The matrix is the same for all lines: it is eliminated once.
class SplineSmoothLine {
 public:
  SplineSmoothLine(std::ptrdiff_t n, float cutoff, float spacing, double* storage)
      : n_(n), factors_(EliminateSpline(SplineStiffness(cutoff, spacing), n, storage)) {}

  float* operator()(float* block, int) const {
    kernels::Active().smoothing.solveBand(block, n_, factors_);
    return block;
  }

 private:
  std::ptrdiff_t n_;
  kernels::BandFactors factors_;
};

}  // namespace

}  // namespace qv::filters

unsigned QV_CALL SplineFilter(int nx, int ny, float dx, float dy, float cutoff, const float* in,
                              float* residual, float* filtered) {
  using namespace qv::filters;
  if (nx < 1 || ny < 1) return 0;
  const Grid grid{nx, ny};
  Scratch<float> block(BlockSize(grid));
  Scratch<double> storage(5 * static_cast<std::size_t>(std::max(nx, ny)));
  if (!block || !storage) return 0;

  // The grid of row results has always been left allocated. They go to `filtered` instead, which is
  // overwritten in the end.
  qv::KeepBlock(grid.nx * grid.ny, sizeof(float));
  const float* source = in;
  if (Smooths(nx, cutoff)) {
    SmoothRows(grid, in, filtered, block.get(), SplineSmoothLine(nx, cutoff, dx, storage.get()));
    source = filtered;
  }
  if (Smooths(ny, cutoff)) {
    SmoothColumns(grid, source, in, residual, filtered, block.get(),
                  SplineSmoothLine(ny, cutoff, dy, storage.get()));
  } else {
    PassColumns(grid, source, in, residual, filtered);
  }
  return 0;
}
