// The styles that draw the surface as strips, each vertex with a normal and perhaps a colour.
#include <QV_3D.h>
#include <algorithm>

#include "drawing/colour_map.h"
#include "drawing/scene_parts.h"

namespace qv3d {
namespace {

void DrawTextured(const Scene& scene, const float* texture) {
  const Surface& s = scene.surface;
  const SceneOptions& o = scene.options;
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  const int width = s.map.width, height = s.map.height;
  const float* const n = s.normals.data();
  if (o.clip) {
    // The library leaves out what lies outside the range, so it is given the heights of all samples.
    RenderSurfaceWithTextureAndNormalsAndClipping(s.unclipped.data(), n, texture, width, height, o.columnStep,
                                                  o.rowStep, GL_TRIANGLE_STRIP, 1, xOffset, yOffset, xSize,
                                                  ySize, s.shown.second, s.shown.first);
  } else {
    RenderSurfaceWithTextureAndNormalsf3(s.drawn.data(), n, texture, width, height, o.columnStep, o.rowStep,
                                         GL_TRIANGLE_STRIP, 1, xOffset, yOffset, xSize, ySize);
  }
}

/// The form with grey levels has one step for both directions and takes missing samples for heights.
void DrawGrey(const Scene& scene, const float* grey) {
  const Surface& s = scene.surface;
  if (scene.options.columnStep != scene.options.rowStep || CountMissing(s.map) > 0) {
    DrawGreyStrips(scene, grey);
    return;
  }
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  RenderSurfaceWithColorsAndNormalsf(s.drawn.data(), s.normals.data(), grey, s.map.width, s.map.height,
                                     scene.options.rowStep, GL_TRIANGLE_STRIP, 1, xOffset, yOffset, xSize,
                                     ySize);
}

}  // namespace

void DrawSurface(const Scene& scene, const Dress& dress) {
  const Surface& s = scene.surface;
  const SceneOptions& o = scene.options;
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  if (o.buffers) {
    DrawFromBuffers(scene, dress);
  } else if (dress.texture != nullptr) {
    DrawTextured(scene, dress.texture);
  } else if (dress.grey != nullptr) {
    DrawGrey(scene, dress.grey);
  } else if (dress.rgb != nullptr) {
    RenderSurfaceWithColorsAndNormalsf3(s.drawn.data(), s.normals.data(), dress.rgb, s.map.width,
                                        s.map.height, o.columnStep, o.rowStep, GL_TRIANGLE_STRIP, 1, xOffset,
                                        yOffset, xSize, ySize);
  } else {
    RenderSurfaceWithNormalsf3(s.drawn.data(), s.normals.data(), s.map.width, s.map.height, o.columnStep,
                               o.rowStep, GL_TRIANGLE_STRIP, 1, xOffset, yOffset, xSize, ySize);
  }
}

void DrawTextureStyle(const Scene& scene) {
  const ColourTexture texture;
  SetMaterial(1, 0.6f);
  DrawSurface(scene, {.texture = scene.surface.texture.data()});
}

void DrawPlainStyle(const Scene& scene) {
  SetMaterial(0.8f, 0.3f);
  DrawSurface(scene, {});
}

void DrawGreyStyle(const Scene& scene) {
  SetMaterial(0.95f, 0);
  const ColourAsMaterial coloured;
  DrawSurface(scene, {.grey = scene.surface.texture.data()});
}

void DrawNormalsStyle(const Scene& scene) {
  const std::vector<float>& normals = scene.surface.normals;
  std::vector<float> rgb(normals.size());
  std::transform(normals.begin(), normals.end(), rgb.begin(), [](float n) { return 0.5f + 0.5f * n; });
  glDisable(GL_LIGHTING);
  DrawSurface(scene, {.rgb = rgb.data()});
  glEnable(GL_LIGHTING);
}

void DrawSlopeStyle(const Scene& scene) {
  const std::vector<float> angles = SlopeAngles(scene.surface);
  const double steepest = SteepestAngle(angles);
  std::vector<float> rgb;
  rgb.reserve(3 * angles.size());
  for (const float angle : angles) {
    for (const std::uint8_t c : SlopeColourAt(angle / steepest)) rgb.push_back(c / 255.0f);
  }
  SetMaterial(1, 0.2f);
  const ColourAsMaterial coloured;
  DrawSurface(scene, {.rgb = rgb.data()});
}

}  // namespace qv3d
