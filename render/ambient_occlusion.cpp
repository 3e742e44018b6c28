// Ambient occlusion: the estimate on the grid, and the run of the generator for meshes.
#include "render/ambient_occlusion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "render/mesh_occlusion.h"

namespace {

constexpr std::ptrdiff_t kReach = 3, kWindow = 2 * kReach + 1;

struct Free {
  void operator()(void* block) const { std::free(block); }
};
using Scratch = std::unique_ptr<double[], Free>;

struct Grid {
  const float* h;
  std::ptrdiff_t width, height;
};

/// The rows of the window, each widened once: row j in slot j mod 7. An eighth row stands for those outside
/// the grid.
class RowRing {
 public:
  explicit RowRing(const Grid& grid)
      : grid_(grid),
        length_((grid.width + 15) / 16 * 16 + 2 * kReach),
        rows_(static_cast<double*>(
            std::malloc(static_cast<std::size_t>(length_ * (kWindow + 1)) * sizeof(double)))) {}

  bool Ready() const { return rows_ != nullptr; }

  /// What is no sample is lower than every sample.
  void Clear() {
    for (std::ptrdiff_t i = 0; i < length_ * (kWindow + 1); ++i) {
      rows_[static_cast<std::size_t>(i)] = -std::numeric_limits<double>::infinity();
    }
  }

  void Fill(std::ptrdiff_t row) {
    const float* samples = grid_.h + row * grid_.width;
    double* widened = Slot(row % kWindow) + kReach;
    for (std::ptrdiff_t i = 0; i < grid_.width; ++i) widened[i] = static_cast<double>(samples[i]);
  }

  const double* Row(std::ptrdiff_t row) const {
    return Slot(row < 0 || row >= grid_.height ? kWindow : row % kWindow);
  }

 private:
  double* Slot(std::ptrdiff_t slot) const { return rows_.get() + slot * length_; }

  Grid grid_;
  std::ptrdiff_t length_;
  Scratch rows_;
};

void ShadeRows(const Grid& grid, RowRing& ring, float* ao) {
  const auto& kernel = qv::kernels::Active().occlusion;
  ring.Clear();
  for (std::ptrdiff_t row = 0; row < kReach && row < grid.height; ++row) ring.Fill(row);
  for (std::ptrdiff_t row = 0; row < grid.height; ++row) {
    if (row + kReach < grid.height) ring.Fill(row + kReach);
    const double* rows[kWindow];
    for (std::ptrdiff_t j = 0; j < kWindow; ++j) rows[j] = ring.Row(row + j - kReach);
    kernel.row(rows, grid.width, ao + row * grid.width);
  }
}

/// The same sums in the same order, one sample after the other, without scratch memory.
float ShadeSample(const Grid& grid, std::ptrdiff_t column, std::ptrdiff_t row) {
  const double centre = static_cast<double>(grid.h[row * grid.width + column]);
  double hidden = 0;
  for (std::ptrdiff_t dj = -kReach; dj <= kReach; ++dj) {
    for (std::ptrdiff_t di = -kReach; di <= kReach; ++di) {
      const std::ptrdiff_t i = column + di, j = row + dj;
      if (i < 0 || i >= grid.width || j < 0 || j >= grid.height) continue;
      const double neighbour = static_cast<double>(grid.h[j * grid.width + i]);
      if (!(neighbour > centre)) continue;
      hidden += (neighbour - centre) * (0.5 / std::sqrt(static_cast<double>(di * di + dj * dj)));
    }
  }
  return static_cast<float>(hidden > 0.8 ? 0.2 : 1 - hidden);
}

void ShadeSamples(const Grid& grid, float* ao) {
  for (std::ptrdiff_t row = 0; row < grid.height; ++row) {
    for (std::ptrdiff_t column = 0; column < grid.width; ++column) {
      ao[row * grid.width + column] = ShadeSample(grid, column, row);
    }
  }
}

/// Held to the range; a NaN stays.
float ToRange(float accessibility) {
  if (accessibility < 0) return 0;
  return accessibility > 1 ? 1 : accessibility;
}

void CopyResults(const qv::platform::VertexOcclusion* results, int vertexCount, float* ao,
                 float* directions) {
  for (std::ptrdiff_t k = 0; k < vertexCount; ++k) {
    std::copy_n(results[k].direction, 3, directions + 3 * k);
    ao[k] = ToRange(results[k].accessibility);
  }
}

}  // namespace

unsigned qv::render::RunOcclusionGenerator(platform::OcclusionGenerator& generator, const float* vertices,
                                           const float* normals, int vertexCount, const void* connectivity1,
                                           const void* connectivity2, float* ao, float* directions) {
  if (generator.initialize() == 0) return 1;
  void* object =
      generator.create_object_vn(vertices, 12, normals, 12, vertexCount, 1, connectivity1, connectivity2);
  if (generator.start_ao_gen_vert(object, 512, 0.01F, 1.0F, 5, 1, 2, 1) != 0) {
    do {
      generator.ao_vert_generate(5);
    } while (generator.results_ready() == 0);
    CopyResults(generator.get_vert_results(), vertexCount, ao, directions);
  }
  generator.destroy_object(object);
  generator.shutdown();
  return 0;
}

unsigned QV_CALL ComputeAmbientOcclusionData(const float* vertices, const float* normals, int vertexCount,
                                             const void* connectivity1, const void* connectivity2, float* ao,
                                             float* directions) {
  qv::render::MeshOcclusion generator;
  return qv::render::RunOcclusionGenerator(generator, vertices, normals, vertexCount, connectivity1,
                                           connectivity2, ao, directions);
}

unsigned QV_CALL ComputeAmbientOcclusionArray(int /*unused*/, int width, int height, const float* h,
                                              float* ao) {
  if (width < 1 || height < 1) return 0;
  const Grid grid = {h, width, height};
  RowRing ring(grid);
  if (ring.Ready()) {
    ShadeRows(grid, ring, ao);
  } else {
    ShadeSamples(grid, ao);
  }
  return 0;
}
