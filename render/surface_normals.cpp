#include <cstddef>
#include <cstdint>
#include <cstring>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "kernels/normal_formula.h"

namespace {

template <int kNeighbours, class Real>
struct Normals {
  const Real* h;
  std::ptrdiff_t width, height;
  double dx, dy;
  Real* normals;

  void Sample(std::ptrdiff_t column, std::ptrdiff_t row) const {
    const std::ptrdiff_t index = row * width + column;
    const qv::Place place = {column > 0, column<width - 1, row> 0, row < height - 1};
    qv::SampleNormal<kNeighbours>(h + index, width, dx, dy, place, normals + 3 * index);
  }

  static auto Inner() {
    const qv::kernels::NormalsKernels& kernels = qv::kernels::Active().normals;
    if constexpr (kNeighbours == 6) {
      return kernels.sixNeighbours;
    } else if constexpr (sizeof(Real) == sizeof(float)) {
      return kernels.fourNeighbours;
    } else {
      return kernels.fourNeighboursDouble;
    }
  }

  void BorderRow(std::ptrdiff_t row) const {
    for (std::ptrdiff_t column = 0; column < width; ++column) Sample(column, row);
  }

  void InnerRow(std::ptrdiff_t row) const {
    Sample(0, row);
    Inner()(h + row * width, width, dx, dy, normals + 3 * row * width);
    Sample(width - 1, row);
  }

  void AllRows() const {
    BorderRow(0);
    for (std::ptrdiff_t row = 1; row < height - 1; ++row) InnerRow(row);
    BorderRow(height - 1);
  }
};

template <int kNeighbours, class Real>
unsigned Compute(const Real* h, int width, int height, Real* normals, Real xSize, Real ySize) {
  if (width < 1 || height < 1) return 0;
  if (width == 1 || height == 1) {
    // No triangle, and no spacing to form one with.
    std::memset(normals, 0,
                3 * sizeof(Real) * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    return 0;
  }
  // The spacings are rounded to the type of the samples.
  const Real dx = xSize / static_cast<Real>(width - 1), dy = ySize / static_cast<Real>(height - 1);
  Normals<kNeighbours, Real>{h, width, height, dx, dy, normals}.AllRows();
  return 0;
}

}  // namespace

unsigned QV_CALL ComputeSurfaceNormals(const double* h, int width, int height, double* normals) {
  return Compute<4>(h, width, height, normals, 1.0, 1.0);
}

unsigned QV_CALL ComputeSurfaceNormalsf(const float* h, int width, int height, float* normals,
                                        float /*xOffset*/, float /*yOffset*/, float xSize, float ySize) {
  return Compute<4>(h, width, height, normals, xSize, ySize);
}

unsigned QV_CALL ComputeSurfaceNormalsf2(const float* h, int width, int height, float* normals,
                                         float /*xOffset*/, float /*yOffset*/, float xSize, float ySize) {
  return Compute<6>(h, width, height, normals, xSize, ySize);
}
