#include "drawing/scene.h"

#include <QV_3D.h>
#include <algorithm>
#include <fmt/format.h>

#include "drawing/colour_map.h"
#include "drawing/scene_parts.h"

namespace qv3d {
namespace {

enum class Ground { kNone, kPart };

struct StyleEntry {
  StyleFacts facts;
  Lighting lighting;
  Ground ground;  ///< whether the surface is given walls and a floor by DrawPerspective
  void (*draw)(const Scene& scene);
};

constexpr Lighting kOverhead = Lighting::kOverhead;

/// All styles, in the order in which they are shown. The map has no function here: it is no perspective.
const std::vector<StyleEntry>& Table() {
  static const std::vector<StyleEntry> table{
      {{Style::kTexture, "texture", "coloured by height", Legend::kHeightColours, true},
       kOverhead,
       Ground::kPart,
       DrawTextureStyle},
      {{Style::kSurface, "surface", "one colour, lit by its normals", Legend::kNone, true},
       kOverhead,
       Ground::kPart,
       DrawPlainStyle},
      {{Style::kGrey, "grey", "grey levels by height", Legend::kHeightGreys, true},
       kOverhead,
       Ground::kPart,
       DrawGreyStyle},
      {{Style::kSideLight, "sidelight", "grazing light from the left", Legend::kNone, true,
        kSteepestInGrazingLight, "light from the left, close to the surface"},
       Lighting::kGrazing,
       Ground::kPart,
       DrawPlainStyle},
      {{Style::kNormals, "normals", "coloured by the surface normal", Legend::kNone, true, kSteepestDrawn,
        "coloured by the surface normal"},
       kOverhead,
       Ground::kPart,
       DrawNormalsStyle},
      {{Style::kSlope, "slope", "coloured by slope (RGB)", Legend::kSlopes, true, kSteepestDrawn,
        "coloured by the slope of the measured surface"},
       kOverhead,
       Ground::kPart,
       DrawSlopeStyle},
      {{Style::kWalls, "walls", "side walls and base", Legend::kHeightColours},
       kOverhead,
       Ground::kNone,
       DrawWallsStyle},
      {{Style::kWaterfall, "waterfall", "separate profiles", Legend::kHeightColours, false, kSteepestDrawn,
        "profiles fall to the floor where nothing was measured"},
       kOverhead,
       Ground::kNone,
       DrawWaterfallStyle},
      {{Style::kSilhouette, "silhouette", "wire grid"}, kOverhead, Ground::kNone, DrawSilhouetteStyle},
      {{Style::kShadows, "shadows", "stencil shadows of a light", Legend::kNone, false, kSteepestDrawn,
        "with the shadows of a lamp"},
       kOverhead,
       Ground::kNone,
       DrawShadowsStyle},
      {{Style::kOcclusion, "occlusion", "ambient occlusion by the heights around", Legend::kNone, false,
        kSteepestDrawn, "ambient occlusion by the heights around each sample"},
       kOverhead,
       Ground::kPart,
       DrawOcclusionStyle},
      {{Style::kSkylight, "skylight", "ambient occlusion by rays", Legend::kHeightColours, false,
        kSteepestDrawn, "darkened where less of the sky is seen"},
       kOverhead,
       Ground::kPart,
       DrawSkylightStyle},
      {{Style::kShader, "shader", "lit per pixel by a GLSL program", Legend::kHeightColours},
       kOverhead,
       Ground::kPart,
       DrawShaderStyle},
      {{Style::kMap, "map", "flat map from above", Legend::kHeightColours},
       kOverhead,
       Ground::kNone,
       nullptr},
  };
  return table;
}

const StyleEntry& EntryOf(Style style) {
  return *std::find_if(Table().begin(), Table().end(),
                       [&](const StyleEntry& entry) { return entry.facts.style == style; });
}

/// OpenGL's state, given back at the end: one style leaves no trace in the next.
class SavedState {
 public:
  SavedState() {
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
  }
  SavedState(const SavedState&) = delete;
  SavedState& operator=(const SavedState&) = delete;
  ~SavedState() {
    glPopClientAttrib();
    glPopAttrib();
  }
};

void ClearWith(float r, float g, float b, float alpha) {
  glClearColor(r, g, b, alpha);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

Scene SceneOf(const Surface& surface, const SceneOptions& options, const Camera& camera) {
  // Lines are as thick in a large picture as in a small one, for their size, but there are fewer in a small
  // one.
  constexpr float kHeightOfLine = 900;
  constexpr int kApart = 13, kFewest = 20, kMost = 70;
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  return {surface, options, camera, std::max(1.0f, static_cast<float>(viewport[3]) / kHeightOfLine),
          std::clamp(viewport[3] / kApart, kFewest, kMost)};
}

/// Surfaces stay a little behind the lines that are drawn on them.
void KeepBehindLines() {
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(1.5f, 2.0f);
}

/// The twelve edges of the box; those behind the surface are hidden by it.
void DrawBox(const Scene& scene) {
  const Point &a = scene.surface.low, &b = scene.surface.high;
  const Point* const corner[2] = {&a, &b};
  const auto vertex = [&](unsigned bits) {
    glVertex3d((*corner[bits & 1u])[0], (*corner[bits >> 1 & 1u])[1], (*corner[bits >> 2 & 1u])[2]);
  };
  glDisable(GL_LIGHTING);
  glLineWidth(scene.lineWidth);
  // The edges that are nearest to the viewer would cross the surface.
  const unsigned nearest =
      (scene.camera.toViewer()[0] > 0 ? 1u : 0u) | (scene.camera.toViewer()[1] > 0 ? 2u : 0u);
  glColor3f(0.62f, 0.63f, 0.65f);
  glBegin(GL_LINES);
  for (unsigned axis = 1; axis <= 4; axis *= 2) {
    for (unsigned from = 0; from < 8; ++from) {
      if ((from & axis) != 0) continue;
      const bool upright = axis == 4 && (from & 3u) == nearest;
      const bool above = (from & 4u) != 0 && (((from ^ nearest) & 3u & ~axis) == 0);
      if (upright || above) continue;
      vertex(from);
      vertex(from | axis);
    }
  }
  glEnd();
}

}  // namespace

const std::vector<StyleFacts>& AllStyles() {
  static const std::vector<StyleFacts> facts = [] {
    std::vector<StyleFacts> list;
    for (const StyleEntry& entry : Table()) list.push_back(entry.facts);
    return list;
  }();
  return facts;
}

const StyleFacts& FactsOf(Style style) {
  return EntryOf(style).facts;
}

std::string ProblemWith(const SceneOptions& options) {
  const StyleFacts& facts = FactsOf(options.style);
  if (options.buffers && !facts.buffers) {
    return fmt::format("--buffers: the style {} is drawn in immediate mode only", facts.name);
  }
  if (options.clip && !(options.clip->low <= options.clip->high)) {
    return "--clip: the lower height comes first";
  }
  return {};
}

std::vector<double> ContourLevels(const Surface& surface, const SceneOptions& options) {
  std::vector<double> levels = options.contourHeights;
  const auto [low, high] = surface.range;
  for (int i = 0; levels.size() < static_cast<std::size_t>(options.contours) && high > low; ++i) {
    levels.push_back(low + (double{high} - low) * (i + 0.5) / options.contours);
  }
  return levels;
}

Surface PrepareSurface(const HeightMap& map, const SceneOptions& options) {
  return PrepareSurface(map, options.zScale, FactsOf(options.style).steepest, options.clip);
}

void DrawPerspective(const Surface& surface, const Camera& camera, const SceneOptions& options) {
  const SavedState saved;
  const StyleEntry& style = EntryOf(options.style);
  const Scene scene = SceneOf(surface, options, camera);
  ClearWith(kBackground[0], kBackground[1], kBackground[2], 0);
  glEnable(GL_DEPTH_TEST);
  // Room between the surface and lines that are drawn on it.
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(1, 2);
  glShadeModel(GL_SMOOTH);
  glMatrixMode(GL_PROJECTION);
  glLoadMatrixd(camera.projection().data());
  glMatrixMode(GL_MODELVIEW);
  glLoadMatrixd(camera.view().data());
  SetLights(camera, style.lighting);
  if (options.HasContours()) KeepBehindLines();
  style.draw(scene);
  glDisable(GL_POLYGON_OFFSET_FILL);
  if (style.ground == Ground::kPart) {
    SetMaterial(kWallGrey, 0);
    DrawWalls(surface, Rims::kAll);
    DrawFloor(surface);
  }
  if (options.HasContours()) DrawContours(scene, false);
  if (options.box) DrawBox(scene);
  glFinish();
}

void DrawMap(const Surface& surface, const SceneOptions& options) {
  const SavedState saved;
  const HeightMap& m = surface.map;
  ClearWith(kMissingColour[0] / 255.0f, kMissingColour[1] / 255.0f, kMissingColour[2] / 255.0f, 1);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, m.xSize, 0, m.ySize, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glDisable(GL_LIGHTING);
  glColor3f(1, 1, 1);
  {
    const ColourTexture texture;
    RenderProjectedSurfaceWithTexture2(m.heights.data(), surface.texture.data(), m.width, m.height,
                                       options.columnStep, options.rowStep, 1, GL_TRIANGLE_STRIP, 0, 0, 0,
                                       m.xSize, m.ySize);
  }
  if (options.HasContours()) {
    const Camera unused({}, {surface.low, surface.high}, {0, 0, 1, 1}, 1, 1);
    DrawContours(SceneOf(surface, options, unused), true);
  }
  glFinish();
}

}  // namespace qv3d
