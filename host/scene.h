// Draws a height map with the library. This is the part to read for how a host calls the drawing functions:
// it prepares heights, normals and texture coordinates, sets up OpenGL, and hands the arrays over.
#pragma once

#include <utility>
#include <vector>

#include "camera.h"
#include "height_map.h"

namespace qv3d {

enum class Style {
  kTexture,    ///< lit, coloured by height
  kSideLight,  ///< grey, in light that grazes the surface
  kNormals,    ///< coloured by the direction of the normal
  kMap         ///< flat, seen from above, coloured by height
};

/// A height map with all that the library draws it from. The middle of the grid lies at the origin of x and
/// y, the middle of the heights at z = 0.
struct Surface {
  HeightMap map;
  double zScale = 1;  ///< how much heights are exaggerated
  std::pair<float, float> range{0,
                                0};  ///< heights at the two ends of the colour map, in the unit of the file
  std::vector<float> drawn;          ///< heights as drawn: exaggerated
  std::vector<float> normals;        ///< of the drawn surface
  std::vector<float> texture;        ///< coordinate into the colour map, 0..1
  Point low{}, high{};               ///< corners of the box around what is drawn, floor included
};

/// `zScale` of 0 chooses one that suits the style.
Surface PrepareSurface(const HeightMap& map, double zScale, Style style);

/// A context must be current, its viewport and framebuffer set; fills the whole viewport.
void DrawPerspective(const Surface& surface, const Camera& camera, Style style, int step);

/// As DrawPerspective for the flat map: the grid fills the viewport exactly.
void DrawMap(const Surface& surface, int step);

/// What is behind the scene, and the paper of the picture.
inline constexpr float kBackground[3] = {250 / 255.0f, 250 / 255.0f, 248 / 255.0f};

}  // namespace qv3d
