#include "scene.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <numbers>

#include <GL/gl.h>
#include <GL/glext.h>

#include "colour_map.h"
#include "units.h"

namespace qv3d {
namespace {

/// The colours span all but this share of the samples at either end where the outermost samples would take up
/// most of them.
constexpr double kOutliers = 0.002;
constexpr double kLongTails = 2;
/// Heights are drawn at most this much of the longer side high...
constexpr double kDrawnHeight = 0.11;
/// ... and with slopes that still look like a surface and not like a brush.
constexpr double kSteepestDrawn = 0.85;
constexpr double kSteepestInSideLight = 0.16;

/// A round factor, unless that would be below 1: then heights are drawn as they are.
double ChooseZScale(const HeightMap& map, Style style) {
  const auto [low, high] = HeightRange(map, kOutliers);
  const double slope = RmsSlope(map);
  double scale = 1;
  if (high > low) scale = kDrawnHeight * std::max(map.xSize, map.ySize) / (double{high} - low);
  if (slope > 0)
    scale = std::min(scale, (style == Style::kSideLight ? kSteepestInSideLight : kSteepestDrawn) / slope);
  return scale > 1 ? NiceStepBelow(scale) : 1;
}

std::pair<float, float> ChooseRange(const HeightMap& map) {
  const auto [low, high] = HeightRange(map);
  const auto [lowMost, highMost] = HeightRange(map, kOutliers);
  if (double{high} - low > kLongTails * (double{highMost} - lowMost)) return {lowMost, highMost};
  return {low, high};
}

void ComputeTextureCoordinates(Surface& s) {
  s.texture = s.map.heights;
  for (float& h : s.texture) {
    if (!IsMissing(h)) h = std::clamp(h, s.range.first, s.range.second);
  }
  float maximum, minimum;
  NormalizeArrayFloats(s.texture.data(), s.map.Count(), 1, 0, &maximum, &minimum, 0);
}

void ComputeDrawnHeights(Surface& s) {
  const auto [low, high] = HeightRange(s.map);
  s.drawn = s.map.heights;
  for (float& h : s.drawn) {
    if (!IsMissing(h)) h -= (low + high) / 2;
  }
  // Scaled here and not by the zScale of the drawing functions, because the normals are those of the heights
  // given.
  ScaleArrayFloats(s.drawn.data(), s.map.Count(), s.zScale);
  const double half = s.zScale * (double{high} - low) / 2;
  const double base = half + 0.04 * std::max(s.map.xSize, s.map.ySize);
  s.low = {-s.map.xSize / 2.0, -s.map.ySize / 2.0, -base};
  s.high = {s.map.xSize / 2.0, s.map.ySize / 2.0, half};
}

void SetDirectionalLight(GLenum light, double x, double y, double z, float diffuse, float specular) {
  const float position[] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 0};
  const float colour[] = {diffuse, diffuse, diffuse, 1};
  const float shine[] = {specular, specular, specular, 1};
  glEnable(light);
  glLightfv(light, GL_POSITION, position);
  glLightfv(light, GL_DIFFUSE, colour);
  glLightfv(light, GL_SPECULAR, shine);
}

/// Lights stand still relative to the viewer: from the left above, and for the side light just above the
/// surface.
void SetLights(const Camera& camera, Style style) {
  const double az = std::atan2(camera.toViewer()[0], -camera.toViewer()[1]);
  const auto light = [&](GLenum name, double turn, double elevation, float diffuse, float specular) {
    const double a = az + turn * std::numbers::pi / 180, e = elevation * std::numbers::pi / 180;
    SetDirectionalLight(name, std::sin(a) * std::cos(e), -std::cos(a) * std::cos(e), std::sin(e), diffuse,
                        specular);
  };
  const bool side = style == Style::kSideLight;
  const float level = side ? 0.26f : 0.36f;
  const float ambient[] = {level, level, level, 1};
  glEnable(GL_LIGHTING);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, ambient);
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, GL_FALSE);
  if (side) {
    light(GL_LIGHT0, -100, 18, 1.45f, 0.20f);
    light(GL_LIGHT1, 60, 50, 0.14f, 0);
  } else {
    light(GL_LIGHT0, -75, 42, 0.78f, 0.20f);
    light(GL_LIGHT1, 70, 50, 0.18f, 0);
  }
}

void SetMaterial(float grey, float shine) {
  const float body[] = {grey, grey, grey, 1};
  const float gloss[] = {shine, shine, shine, 1};
  glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, body);
  glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, gloss);
  glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 36);
  glColor3f(1, 1, 1);
}

/// The colour map as a 1-D texture, bound and switched on.
class ColourTexture {
 public:
  ColourTexture() {
    const std::vector<Colour> table = ColourTable(1024);
    glGenTextures(1, &name_);
    glBindTexture(GL_TEXTURE_1D, name_);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage1D(GL_TEXTURE_1D, 0, GL_RGB8, static_cast<GLsizei>(table.size()), 0, GL_RGB, GL_UNSIGNED_BYTE,
                 table.data());
    glEnable(GL_TEXTURE_1D);
  }
  ColourTexture(const ColourTexture&) = delete;
  ColourTexture& operator=(const ColourTexture&) = delete;
  ~ColourTexture() {
    glDisable(GL_TEXTURE_1D);
    glDeleteTextures(1, &name_);
  }

 private:
  GLuint name_ = 0;
};

std::vector<float> ColoursOfNormals(const Surface& s) {
  std::vector<float> rgb(s.normals.size());
  std::transform(s.normals.begin(), s.normals.end(), rgb.begin(), [](float n) { return 0.5f + 0.5f * n; });
  return rgb;
}

/// The surface itself. Sizes and offsets put the middle of the grid at the origin: the offset is added to x
/// but subtracted from y.
void DrawSurface(const Surface& s, Style style, int step) {
  const HeightMap& m = s.map;
  const float xOffset = -m.xSize / 2, yOffset = m.ySize / 2;
  const float* const h = s.drawn.data();
  const float* const n = s.normals.data();
  if (style == Style::kTexture) {
    const ColourTexture texture;
    SetMaterial(1, 0.6f);
    RenderSurfaceWithTextureAndNormalsf3(h, n, s.texture.data(), m.width, m.height, step, step,
                                         GL_TRIANGLE_STRIP, 1, xOffset, yOffset, m.xSize, m.ySize);
  } else if (style == Style::kNormals) {
    const std::vector<float> rgb = ColoursOfNormals(s);
    glDisable(GL_LIGHTING);
    RenderSurfaceWithColorsAndNormalsf3(h, n, rgb.data(), m.width, m.height, step, step, GL_TRIANGLE_STRIP, 1,
                                        xOffset, yOffset, m.xSize, m.ySize);
    glEnable(GL_LIGHTING);
  } else {
    SetMaterial(0.8f, 0.3f);
    RenderSurfaceWithNormalsf3(h, n, m.width, m.height, step, step, GL_TRIANGLE_STRIP, 1, xOffset, yOffset,
                               m.xSize, m.ySize);
  }
}

/// Upright walls from the rim of the surface, holes included, down to the floor: it looks like a part, not
/// like a sheet.
class Walls {
 public:
  explicit Walls(const Surface& surface) : s_(surface) {}

  void Draw() const {
    SetMaterial(0.55f, 0);
    glBegin(GL_QUADS);
    for (int j = 0; j < s_.map.height; ++j) {
      for (int i = 0; i < s_.map.width; ++i) {
        if (IsFilled(i, j - 1) != IsFilled(i, j)) Wall(i, j, i + 1, j);
        if (IsFilled(i - 1, j) != IsFilled(i, j)) Wall(i, j, i, j + 1);
      }
    }
    glEnd();
  }

 private:
  /// Whether the cell whose lowest corner is sample (i, j) has all its corners.
  bool IsFilled(int i, int j) const {
    if (i < 0 || j < 0 || i + 1 >= s_.map.width || j + 1 >= s_.map.height) return false;
    return !IsMissing(s_.map.At(i, j)) && !IsMissing(s_.map.At(i + 1, j)) &&
           !IsMissing(s_.map.At(i, j + 1)) && !IsMissing(s_.map.At(i + 1, j + 1));
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
};

void DrawFloor(const Surface& s) {
  glDisable(GL_LIGHTING);
  glColor3ub(kMissingColour[0], kMissingColour[1], kMissingColour[2]);
  glBegin(GL_QUADS);
  glVertex3d(s.low[0], s.low[1], s.low[2]);
  glVertex3d(s.high[0], s.low[1], s.low[2]);
  glVertex3d(s.high[0], s.high[1], s.low[2]);
  glVertex3d(s.low[0], s.high[1], s.low[2]);
  glEnd();
  glEnable(GL_LIGHTING);
}

void ClearWith(float r, float g, float b) {
  glClearColor(r, g, b, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

}  // namespace

Surface PrepareSurface(const HeightMap& map, double zScale, Style style) {
  Surface s;
  s.map = map;
  s.zScale = zScale > 0 ? zScale : ChooseZScale(map, style);
  s.range = ChooseRange(map);
  ComputeTextureCoordinates(s);
  ComputeDrawnHeights(s);
  s.normals.resize(3 * s.map.heights.size());
  ComputeSurfaceNormalsf(s.drawn.data(), map.width, map.height, s.normals.data(), 0, 0, map.xSize, map.ySize);
  return s;
}

void DrawPerspective(const Surface& surface, const Camera& camera, Style style, int step) {
  ClearWith(kBackground[0], kBackground[1], kBackground[2]);
  glEnable(GL_DEPTH_TEST);
  // Room between the surface and lines that are drawn on it.
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(1, 2);
  glShadeModel(GL_SMOOTH);
  glMatrixMode(GL_PROJECTION);
  glLoadMatrixd(camera.projection().data());
  glMatrixMode(GL_MODELVIEW);
  glLoadMatrixd(camera.view().data());
  SetLights(camera, style);
  DrawSurface(surface, style, step);
  Walls(surface).Draw();
  DrawFloor(surface);
  glFinish();
}

void DrawMap(const Surface& surface, int step) {
  const HeightMap& m = surface.map;
  ClearWith(kMissingColour[0] / 255.0f, kMissingColour[1] / 255.0f, kMissingColour[2] / 255.0f);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, m.xSize, 0, m.ySize, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glDisable(GL_LIGHTING);
  glColor3f(1, 1, 1);
  const ColourTexture texture;
  RenderProjectedSurfaceWithTexture2(m.heights.data(), surface.texture.data(), m.width, m.height, step, step,
                                     1, GL_TRIANGLE_STRIP, 0, 0, 0, m.xSize, m.ySize);
  glFinish();
}

}  // namespace qv3d
