// Walls and floors: the host's own, which follow the rims of holes too, and the library's side walls.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "drawing/colour_map.h"
#include "drawing/scene_parts.h"

namespace qv3d {
namespace {

class Walls {
 public:
  Walls(const Surface& surface, Rims rims) : s_(surface), rims_(rims) {}

  void Draw() const {
    glBegin(GL_QUADS);
    for (int j = 0; j < s_.map.height; ++j) {
      for (int i = 0; i < s_.map.width; ++i) {
        if (IsRim(i, j - 1, i, j)) Wall(i, j, i + 1, j);
        if (IsRim(i - 1, j, i, j)) Wall(i, j, i, j + 1);
      }
    }
    glEnd();
  }

 private:
  bool IsInside(int i, int j) const {
    return i >= 0 && j >= 0 && i + 1 < s_.map.width && j + 1 < s_.map.height;
  }

  /// Whether the cell whose lowest corner is sample (i, j) has all its corners.
  bool IsFilled(int i, int j) const {
    return IsInside(i, j) && !IsMissing(s_.map.At(i, j)) && !IsMissing(s_.map.At(i + 1, j)) &&
           !IsMissing(s_.map.At(i, j + 1)) && !IsMissing(s_.map.At(i + 1, j + 1));
  }

  /// Whether there is a wall between two cells.
  bool IsRim(int i0, int j0, int i1, int j1) const {
    if (rims_ == Rims::kHoles && !(IsInside(i0, j0) && IsInside(i1, j1))) return false;
    return IsFilled(i0, j0) != IsFilled(i1, j1);
  }

  void Wall(int i0, int j0, int i1, int j1) const {
    Normal(i0, j0);
    Vertex(i0, j0, true);
    Vertex(i0, j0, false);
    Normal(i1, j1);
    Vertex(i1, j1, false);
    Vertex(i1, j1, true);
  }

  /// Away from the cells around: round holes are lit like round holes, though they are made of steps.
  void Normal(int i, int j) const {
    constexpr int kReach = 4;
    double x = 0, y = 0;
    for (int v = -kReach; v < kReach; ++v) {
      for (int u = -kReach; u < kReach; ++u) {
        const double sign = IsFilled(i + u, j + v) ? -1 : 1;
        x += sign * (u + 0.5);
        y += sign * (v + 0.5);
      }
    }
    const double length = std::max(1e-9, std::hypot(x, y));
    glNormal3d(x / length, y / length, 0);
  }

  void Vertex(int i, int j, bool top) const {
    const auto k =
        static_cast<std::size_t>(j) * static_cast<std::size_t>(s_.map.width) + static_cast<std::size_t>(i);
    glVertex3d(s_.low[0] + i * s_.map.SpacingX(), s_.low[1] + j * s_.map.SpacingY(),
               top ? double{s_.drawn[k]} : s_.low[2]);
  }

  const Surface& s_;
  Rims rims_;
};

/// The library's walls end at z = -0.005 whatever the unit: they are drawn in a frame in which the longer
/// side is 1 and that z is the floor.
constexpr double kWallBase = -0.005;

void DrawSideWalls(const Scene& scene) {
  const Surface& s = scene.surface;
  const double unit = s.LongerSide();
  std::vector<float> heights = HeightsOnFloor(s);
  for (float& h : heights) h = static_cast<float>((h - s.low[2]) / unit + kWallBase);
  const auto xSize = static_cast<float>(s.map.xSize / unit), ySize = static_cast<float>(s.map.ySize / unit);
  const ColourAsMaterial coloured;
  glLineWidth(scene.lineWidth);
  glPushMatrix();
  glTranslated(0, 0, s.low[2] - kWallBase * unit);
  glScaled(unit, unit, unit);
  glEnable(GL_NORMALIZE);
  RenderSideWallsf2(heights.data(), s.map.width, s.map.height, scene.options.columnStep,
                    scene.options.rowStep, 1, -xSize / 2, ySize / 2, xSize, ySize);
  glDisable(GL_NORMALIZE);
  glPopMatrix();
}

}  // namespace

void DrawWalls(const Surface& surface, Rims rims) {
  Walls(surface, rims).Draw();
}

void DrawFloorQuad(const Surface& surface) {
  const Point &low = surface.low, &high = surface.high;
  glBegin(GL_QUADS);
  glVertex3d(low[0], low[1], low[2]);
  glVertex3d(high[0], low[1], low[2]);
  glVertex3d(high[0], high[1], low[2]);
  glVertex3d(low[0], high[1], low[2]);
  glEnd();
}

void DrawFloor(const Surface& surface) {
  glDisable(GL_LIGHTING);
  glColor3ub(kMissingColour[0], kMissingColour[1], kMissingColour[2]);
  DrawFloorQuad(surface);
  glEnable(GL_LIGHTING);
}

std::vector<float> HeightsOnFloor(const Surface& surface) {
  std::vector<float> heights = surface.drawn;
  for (float& h : heights) {
    if (IsMissing(h)) h = static_cast<float>(surface.low[2]);
  }
  return heights;
}

void DrawWallsStyle(const Scene& scene) {
  DrawTextureStyle(scene);
  SetMaterial(kWallGrey, 0);
  DrawWalls(scene.surface, Rims::kHoles);
  DrawFloor(scene.surface);
  SetMaterial(1, 0);
  // The library's walls are dark grey.
  SetAmbient(1);
  DrawSideWalls(scene);
}

}  // namespace qv3d
