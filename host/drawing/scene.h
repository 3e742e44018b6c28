// Draws a height map with the library. This and the scene_*.cpp files are the part to read for how a host
// calls the drawing functions: they prepare arrays, set up OpenGL, and hand the arrays over.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "drawing/camera.h"
#include "drawing/surface.h"

namespace qv3d {

enum class Style {
  kTexture,     ///< lit, coloured by height
  kSideLight,   ///< grey, in light that grazes the surface
  kNormals,     ///< coloured by the direction of the normal
  kMap,         ///< flat, seen from above, coloured by height
  kSurface,     ///< one colour, lit
  kGrey,        ///< grey levels by height
  kSlope,       ///< a colour of its own for every sample, by its slope
  kWalls,       ///< with the walls and the base of the library
  kWaterfall,   ///< separate profiles
  kSilhouette,  ///< a wire grid
  kShadows,     ///< with the shadows that it throws on itself
  kOcclusion,   ///< grooves darkened by the heights around
  kSkylight,    ///< darkened where little of the sky is seen
  kShader       ///< lit per pixel by a GLSL program
};

/// What the colours of a style mean.
enum class Legend { kNone, kHeightColours, kHeightGreys, kSlopes };

/// What may be asked of a style.
struct StyleFacts {
  Style style;
  const char* name;         ///< on the command line
  const char* description;  ///< for a list of options and for a caption
  Legend legend = Legend::kNone;
  bool buffers = false;              ///< can be drawn from buffer objects too
  double steepest = kSteepestDrawn;  ///< slopes to which heights are exaggerated by default
  const char* remark = "";           ///< said under the title
};

const std::vector<StyleFacts>& AllStyles();
const StyleFacts& FactsOf(Style style);

/// How the volumes of shadows are counted: by which of OpenGL's ways to treat front and back faces
/// differently.
enum class ShadowCount { kAutomatic, kSeparateStencil, kTwoSides, kTwoPasses };

struct SceneOptions {
  Style style = Style::kTexture;
  double zScale = 0;                   ///< exaggeration of heights, 0 to choose one
  int columnStep = 1, rowStep = 1;     ///< draw every so many columns and rows
  int contours = 0;                    ///< number of contour lines drawn over the surface
  std::vector<double> contourHeights;  ///< and where they lie, if not evenly spaced
  std::optional<ClipRange> clip;
  std::optional<double> waterfallAngle;  ///< degrees: which profiles are shown; by default that of the view
  Point light{-1.0, 0.7, 0.5};           ///< from the middle of the surface, its longer side being 1
  bool buffers = false;                  ///< draw from buffer objects instead of in immediate mode
  bool box = true;                       ///< the edges of the box around the surface
  ShadowCount shadowCount = ShadowCount::kAutomatic;

  bool HasContours() const { return contours > 0 || !contourHeights.empty(); }
};

/// The heights at which contours are drawn: those given, or a number of them evenly spaced in the colours'
/// range.
std::vector<double> ContourLevels(const Surface& surface, const SceneOptions& options);

/// What is wrong with a combination of options, empty where nothing is.
std::string ProblemWith(const SceneOptions& options);

Surface PrepareSurface(const HeightMap& map, const SceneOptions& options);

/// A context must be current, its viewport and framebuffer set; fills the whole viewport. What is drawn has
/// an alpha of 1, the background one of 0.
void DrawPerspective(const Surface& surface, const Camera& camera, const SceneOptions& options);

/// As DrawPerspective for the flat map: the grid fills the viewport exactly.
void DrawMap(const Surface& surface, const SceneOptions& options);

/// What is behind the scene, and the paper of the picture.
inline constexpr float kBackground[3] = {250 / 255.0f, 250 / 255.0f, 248 / 255.0f};

}  // namespace qv3d
