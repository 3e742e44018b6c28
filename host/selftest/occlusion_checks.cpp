// Ambient occlusion of a plane and at a step; the checkerboard.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "selftest/families.h"

namespace qv3d {
namespace {

float FarthestFromOne(const std::vector<float>& values) {
  float farthest = 0;
  for (const float v : values) farthest = std::max(farthest, std::abs(v - 1));
  return farthest;
}

std::vector<float> OcclusionOnGrid(const HeightMap& map, double scale) {
  std::vector<float> heights = map.heights, ao(heights.size());
  ScaleArrayFloats(heights.data(), map.Count(), scale);
  ComputeAmbientOcclusionArray(0, map.width, map.height, heights.data(), ao.data());
  return ao;
}

void CheckFlat(const Gauges& gauges, Checks& checks) {
  const HeightMap& map = gauges.flat;
  checks.Near("flat", "occlusion on the grid, farthest from 1", 0, FarthestFromOne(OcclusionOnGrid(map, 1)),
              0);
  std::vector<float> xyz(3 * map.heights.size()), normals(xyz.size()), directions(xyz.size()),
      ao(map.heights.size());
  CreateSurfaceXYZ(xyz.data(), map.heights.data(), map.width, map.height, 1, 0, map.ySize, map.xSize,
                   map.ySize);
  ComputeSurfaceNormalsf(map.heights.data(), map.width, map.height, normals.data(), 0, 0, map.xSize,
                         map.ySize);
  std::vector<unsigned> corners;
  const auto width = static_cast<unsigned>(map.width);
  for (unsigned row = 0; row + 1 < static_cast<unsigned>(map.height); ++row) {
    for (unsigned column = 0; column + 1 < width; ++column) {
      const unsigned k = row * width + column;
      corners.insert(corners.end(), {k, k + 1, k + width, k + 1, k + width + 1, k + width});
    }
  }
  // The number of triangles travels as a pointer.
  const auto* const triangles = reinterpret_cast<const void*>(std::uintptr_t{corners.size() / 3});
  ComputeAmbientOcclusionData(xyz.data(), normals.data(), map.Count(), triangles, corners.data(), ao.data(),
                              directions.data());
  // No ray above a plane meets it.
  checks.Near("flat", "occlusion by rays, farthest from 1", 0, FarthestFromOne(ao), Rounding(2));
}

/// A sample before the step is darkened by all that is higher among the 7 x 7 around it, each by half the
/// height over its distance.
void CheckStep(const Gauges& gauges, Checks& checks) {
  constexpr double kScale = 0.1;
  const std::vector<float> ao = OcclusionOnGrid(gauges.step, kScale);
  double sum = 0;
  for (int y = -3; y <= 3; ++y) {
    for (int x = 1; x <= 3; ++x) sum += StepGauge::kStep * kScale / 2 / std::hypot(x, y);
  }
  const std::size_t before = std::size_t{StepGauge::kHeight / 2} * StepGauge::kWidth + StepGauge::kColumn - 1;
  checks.Near("step", "occlusion beside the step", 1 - sum, ao[before], Rounding(32));
}

void CheckCheckerboard(Checks& checks) {
  constexpr int kWidth = 48, kHeight = 35;
  constexpr unsigned kFirst = 0x0000FF, kSecond = 0xFF0000;
  std::vector<unsigned char> image(std::size_t{3} * kWidth * kHeight), mask(image.size() / 3, 255);
  CreateCheckerboardBackground(image.data(), mask.data(), kWidth, kHeight, kFirst, kSecond);
  std::size_t right = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      // Squares of 10, the first of 9.
      const bool isSecond = ((x + 1) / 10 + (y + 1) / 10) % 2 == 0;
      const std::size_t pixel = 3 * (static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x));
      right += image[pixel] == (isSecond ? 0 : 255) && image[pixel + 2] == (isSecond ? 255 : 0);
    }
  }
  checks.Count("", "pixels of a checkerboard", std::size_t{kWidth} * kHeight, right);
}

}  // namespace

void CheckOcclusion(const Gauges& gauges, Checks& checks) {
  CheckFlat(gauges, checks);
  CheckStep(gauges, checks);
  CheckCheckerboard(checks);
}

}  // namespace qv3d
