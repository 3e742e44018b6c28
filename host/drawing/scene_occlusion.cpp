// Ambient occlusion, by the library's two ways: by the heights around each sample, and by rays.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "drawing/scene_parts.h"
#include "failure.h"

namespace qv3d {
namespace {

constexpr float kMissing = static_cast<float>(QV_BAD_SAMPLE);

/// The estimate grows with the heights, which are scaled so that a slope of usual steepness darkens by this.
constexpr double kUsualDarkening = 0.3;
/// What a slope of 1 sample per sample adds up to in the window of 7 x 7 samples.
constexpr double kSumOfSlope = 7.5;

/// Rays are cast from at most this many samples; between them the result is interpolated.
constexpr int kMostRaySamples = 20000;

/// The drawn surface on fewer samples, in a frame in which its longer side is 1.
struct CoarseSurface {
  int width, height;
  std::vector<float> heights;
  std::vector<float> xyz, normals;
  std::vector<unsigned> triangles;

  explicit CoarseSurface(const Surface& s) {
    const double share = std::sqrt(std::min(1.0, double{kMostRaySamples} / s.map.Count()));
    width = std::max(2, static_cast<int>(s.map.width * share));
    height = std::max(2, static_cast<int>(s.map.height * share));
    heights.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    if (Resample(width, height, s.map.width, s.map.height, s.drawn.data(), heights.data(), s.map.width,
                 width) != 1) {
      throw Failure(ExitCode::kNotComputable, "out of memory", "Choose a coarser grid.");
    }
    const double unit = s.LongerSide();
    ScaleArrayFloats(heights.data(), width * height, 1 / unit);
    const auto xSize = static_cast<float>(s.map.xSize / unit), ySize = static_cast<float>(s.map.ySize / unit);
    xyz.resize(3 * heights.size());
    normals.resize(3 * heights.size());
    CreateSurfaceXYZ(xyz.data(), heights.data(), width, height, 1, 0, ySize, xSize, ySize);
    ComputeSurfaceNormalsf(heights.data(), width, height, normals.data(), 0, 0, xSize, ySize);
    Connect();
  }

 private:
  void Connect() {
    const auto w = static_cast<unsigned>(width);
    for (unsigned j = 0; j + 1 < static_cast<unsigned>(height); ++j) {
      for (unsigned i = 0; i + 1 < w; ++i) {
        const unsigned k = j * w + i;
        if (IsMissing(heights[k]) || IsMissing(heights[k + 1]) || IsMissing(heights[k + w]) ||
            IsMissing(heights[k + w + 1])) {
          continue;
        }
        triangles.insert(triangles.end(), {k, k + 1, k + w, k + 1, k + w + 1, k + w});
      }
    }
  }
};

/// Gives missing samples the mean of their neighbours, ring by ring: interpolation needs some beyond the
/// rims.
void GrowOverHoles(std::vector<float>& values, int width, int height, int rings) {
  for (int ring = 0; ring < rings; ++ring) {
    const std::vector<float> before = values;
    for (int j = 0; j < height; ++j) {
      for (int i = 0; i < width; ++i) {
        const auto at = [&](int column, int row) {
          return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                 static_cast<std::size_t>(column);
        };
        if (!IsMissing(before[at(i, j)])) continue;
        float sum = 0;
        int count = 0;
        for (int v = std::max(0, j - 1); v <= std::min(height - 1, j + 1); ++v) {
          for (int u = std::max(0, i - 1); u <= std::min(width - 1, i + 1); ++u) {
            if (IsMissing(before[at(u, v)])) continue;
            sum += before[at(u, v)];
            ++count;
          }
        }
        if (count > 0) values[at(i, j)] = sum / static_cast<float>(count);
      }
    }
  }
}

/// The share of the sky that every sample of the surface sees.
std::vector<float> OpennessByRays(const Surface& s) {
  const CoarseSurface coarse(s);
  std::vector<float> xyz = coarse.xyz, openness(coarse.heights.size());
  for (float& v : xyz) {
    if (IsMissing(v)) v = 0;  // no triangle has it
  }
  std::vector<float> directions(xyz.size());
  const auto count = reinterpret_cast<const void*>(coarse.triangles.size() / 3);
  if (ComputeAmbientOcclusionData(xyz.data(), coarse.normals.data(), coarse.width * coarse.height, count,
                                  coarse.triangles.data(), openness.data(), directions.data()) != 0) {
    throw Failure(ExitCode::kNotComputable, "the ambient occlusion cannot be computed");
  }
  for (std::size_t k = 0; k < openness.size(); ++k) {
    if (IsMissing(coarse.heights[k])) openness[k] = kMissing;
  }
  GrowOverHoles(openness, coarse.width, coarse.height, 2);
  std::vector<float> fine(s.map.heights.size());
  Resample(s.map.width, s.map.height, coarse.width, coarse.height, openness.data(), fine.data(), coarse.width,
           s.map.width);
  for (float& v : fine) {
    if (IsMissing(v)) v = 1;
  }
  return fine;
}

/// Openness as a colour: flat ground stays as it is, and what differs is made plain.
std::vector<float> ColoursOf(const std::vector<float>& openness) {
  constexpr float kContrast = 2;
  std::vector<float> rgb;
  rgb.reserve(3 * openness.size());
  for (const float open : openness) rgb.insert(rgb.end(), 3, std::pow(open, kContrast));
  return rgb;
}

}  // namespace

std::vector<float> OcclusionOfHeights(const Surface& s) {
  HeightMap drawn = s.map;
  drawn.heights = s.drawn;
  const double slope = RmsSlope(drawn);
  const double spacing = std::sqrt(s.map.SpacingX() * s.map.SpacingY());
  const double strength = slope > 0 ? std::min(1.0, kUsualDarkening / (kSumOfSlope * slope)) : 1;
  ScaleArrayFloats(drawn.heights.data(), drawn.Count(), strength / spacing);
  std::vector<float> ao(drawn.heights.size());
  ComputeAmbientOcclusionArray(0, drawn.width, drawn.height, drawn.heights.data(), ao.data());
  return ao;
}

void DrawOcclusionStyle(const Scene& scene) {
  constexpr int kClay = 0xBFD2DC;  // red in the lowest byte
  const Surface& s = scene.surface;
  const SceneOptions& o = scene.options;
  const std::vector<float> ao = OcclusionOfHeights(s);
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  SetMaterial(1, 0);
  const ColourAsMaterial coloured;
  RenderSurfaceWithNormalsf4(s.drawn.data(), s.normals.data(), s.map.width, s.map.height, o.columnStep,
                             o.rowStep, GL_TRIANGLE_STRIP, 1, xOffset, yOffset, xSize, ySize, kClay,
                             ao.data());
}

void DrawSkylightStyle(const Scene& scene) {
  const Surface& s = scene.surface;
  const SceneOptions& o = scene.options;
  const std::vector<float> rgb = ColoursOf(OpennessByRays(s));
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  SetMaterial(1, 0);
  const ColourTexture texture;
  const ColourAsMaterial coloured;
  RenderSurfaceWithTextureAndNormalsAndAOColorf3(
      s.drawn.data(), s.normals.data(), s.texture.data(), rgb.data(), s.map.width, s.map.height, o.columnStep,
      o.rowStep, GL_TRIANGLE_STRIP, 1, xOffset, yOffset, xSize, ySize);
}

}  // namespace qv3d
