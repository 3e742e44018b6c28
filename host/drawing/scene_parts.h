// What the styles of drawing share. Included by the scene_*.cpp files only.
#pragma once

#include <vector>

#include <GL/gl.h>
#include <GL/glext.h>

#include "drawing/scene.h"

namespace qv3d {

/// One picture in the making, as the function of a style gets it.
struct Scene {
  const Surface& surface;
  const SceneOptions& options;
  const Camera& camera;
  float lineWidth;  ///< that suits the size of the picture
  int lines;        ///< how many profiles or wires can be told apart in it
};

/// Where the library places a grid. The middle of the grid goes to the origin: xOffset is added to x, yOffset
/// subtracted from y.
struct Placement {
  float xOffset, yOffset, xSize, ySize;
};
Placement PlacementOf(const HeightMap& map);

// Light and material.
enum class Lighting { kOverhead, kGrazing };
/// Two lights that stand still relative to the viewer: from the left above, or just above the surface.
void SetLights(const Camera& camera, Lighting lighting);
void SetAmbient(float level);
void SetMaterial(float grey, float shine);

/// While it lives, the colour given per vertex is the material.
class ColourAsMaterial {
 public:
  ColourAsMaterial();
  ColourAsMaterial(const ColourAsMaterial&) = delete;
  ColourAsMaterial& operator=(const ColourAsMaterial&) = delete;
  ~ColourAsMaterial();
};

/// The colour map as a 1-D texture, bound and switched on.
class ColourTexture {
 public:
  ColourTexture();
  ColourTexture(const ColourTexture&) = delete;
  ColourTexture& operator=(const ColourTexture&) = delete;
  ~ColourTexture();

 private:
  GLuint name_ = 0;
};

/// The samples that are drawn with the steps of the options: every step-th and always the last, as the
/// library takes them. A grid of its own, for what has no steps.
struct DrawnGrid {
  int width, height;
  std::vector<float> heights;  ///< as drawn
  std::vector<float> xyz;
  std::vector<float> normals;
  std::vector<std::size_t> samples;  ///< which sample of the surface each one is

  explicit DrawnGrid(const Scene& scene);
  /// The values of the drawn samples out of an array of `size` values per sample.
  std::vector<float> Pick(const float* values, std::size_t size) const;
};

/// What a vertex carries beside its normal: nothing, or one of these, a value (rgb: three) per sample.
struct Dress {
  const float* texture = nullptr;
  const float* rgb = nullptr;
  const float* grey = nullptr;
};

/// The surface in immediate mode or from buffers, as the options say; scene_styles.cpp, scene_buffers.cpp.
void DrawSurface(const Scene& scene, const Dress& dress);
void DrawFromBuffers(const Scene& scene, const Dress& dress);
void DrawGreyStrips(const Scene& scene, const float* grey);

// Walls: scene_walls.cpp.
inline constexpr float kWallGrey = 0.55f;
enum class Rims { kAll, kHoles };
/// Upright walls from the rims of the surface down to the floor, in the current material: it looks like a
/// part, not like a sheet.
void DrawWalls(const Surface& surface, Rims rims);
/// In the grey of what was not measured, without light; or in the current material.
void DrawFloor(const Surface& surface);
void DrawFloorQuad(const Surface& surface);

/// The heights as drawn, on the floor where nothing was measured: for what takes every sample as a height.
std::vector<float> HeightsOnFloor(const Surface& surface);

/// Contour lines, scene_lines.cpp; `flat` on the plane of the map, else on the drawn surface.
void DrawContours(const Scene& scene, bool flat);

// The styles, a function each.
void DrawTextureStyle(const Scene& scene);
void DrawPlainStyle(const Scene& scene);
void DrawGreyStyle(const Scene& scene);
void DrawNormalsStyle(const Scene& scene);
void DrawSlopeStyle(const Scene& scene);
void DrawWallsStyle(const Scene& scene);
void DrawWaterfallStyle(const Scene& scene);
void DrawSilhouetteStyle(const Scene& scene);
void DrawShadowsStyle(const Scene& scene);
void DrawOcclusionStyle(const Scene& scene);
void DrawSkylightStyle(const Scene& scene);
void DrawShaderStyle(const Scene& scene);

/// Ambient occlusion per sample, 0..1, by the heights around; scene_occlusion.cpp.
std::vector<float> OcclusionOfHeights(const Surface& surface);

}  // namespace qv3d
