// What is drawn as lines: profiles, the wire grid, and contours over any style.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "drawing/scene_parts.h"

namespace qv3d {
namespace {

/// The surface and its walls in the colour of the paper hide the lines that lie behind.
void HideWhatIsBehind(const Scene& scene) {
  const Surface& s = scene.surface;
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  glDisable(GL_LIGHTING);
  glColor3f(kBackground[0], kBackground[1], kBackground[2]);
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(2, 4);
  RenderSurfacef2(s.drawn.data(), s.map.width, s.map.height, 1, 1, GL_TRIANGLE_STRIP, 1, xOffset, yOffset,
                  xSize, ySize);
  DrawWalls(s, Rims::kAll);
  glDisable(GL_POLYGON_OFFSET_FILL);
}

/// Every step-th row, or column, of the surface, each with all its samples.
struct Profiles {
  int width, height;
  std::vector<float> heights, texture;
  Placement place;

  Profiles(const Surface& s, bool columns, int step) : place(PlacementOf(s.map)) {
    const int columnStep = columns ? step : 1, rowStep = columns ? 1 : step;
    width = (s.map.width - 1) / columnStep + 1;
    height = (s.map.height - 1) / rowStep + 1;
    place.xSize = static_cast<float>((width - 1) * columnStep * s.map.SpacingX());
    place.ySize = static_cast<float>((height - 1) * rowStep * s.map.SpacingY());
    const std::vector<float> all = HeightsOnFloor(s);
    for (int j = 0; j < height; ++j) {
      for (int i = 0; i < width; ++i) {
        const auto k = static_cast<std::size_t>(j * rowStep) * static_cast<std::size_t>(s.map.width) +
                       static_cast<std::size_t>(i * columnStep);
        heights.push_back(all[k]);
        texture.push_back(std::max(0.0f, s.texture[k]));
      }
    }
  }
};

/// The rule of the library: profiles along the columns where the view comes from the side.
bool ShowsColumns(double angle) {
  return angle >= 45 && angle < 315 && !(angle > 135 && angle < 225);
}

double FullCircle(double angle) {
  return std::fmod(std::fmod(angle, 360) + 360, 360);
}

int StepFor(int given, int samples, int lines) {
  return given > 1 ? given : std::max(1, samples / lines);
}

/// The lines of one level in a band of rows. Bands keep the room for the worst case small.
template <typename Use>
void ForEachBand(const HeightMap& map, Use use) {
  constexpr int kBandRows = 64;
  for (int first = 0; first + 1 < map.height; first += kBandRows) {
    use(first, std::min(kBandRows, map.height - 1 - first) + 1);
  }
}

std::vector<float> Positions(int count, double first, double spacing) {
  std::vector<float> at;
  for (int i = 0; i < count; ++i) at.push_back(static_cast<float>(first + i * spacing));
  return at;
}

}  // namespace

void DrawWaterfallStyle(const Scene& scene) {
  const Surface& s = scene.surface;
  const SceneOptions& o = scene.options;
  const double angle = FullCircle(o.waterfallAngle.value_or(scene.camera.Azimuth()));
  const bool columns = ShowsColumns(angle);
  const int step = columns ? StepFor(o.columnStep, s.map.width, scene.lines)
                           : StepFor(o.rowStep, s.map.height, scene.lines);
  const Profiles p(s, columns, step);
  HideWhatIsBehind(scene);
  const ColourTexture texture;
  // The light end of the colour map would hardly be seen as a thin line on paper.
  glColor3f(0.8f, 0.8f, 0.8f);
  glLineWidth(1.5f * scene.lineWidth);
  RenderWaterfallSurfacef(p.heights.data(), 0, p.texture.data(), p.width, p.height, 1, GL_LINE_STRIP,
                          static_cast<float>(angle), 1, p.place.xOffset, p.place.yOffset, p.place.xSize,
                          p.place.ySize);
}

void DrawSilhouetteStyle(const Scene& scene) {
  const Surface& s = scene.surface;
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  HideWhatIsBehind(scene);
  const std::vector<float> heights = HeightsOnFloor(s);
  glColor3f(0.16f, 0.22f, 0.34f);
  glLineWidth(scene.lineWidth);
  RenderSilhouetteLines(
      heights.data(), s.map.width, s.map.height, StepFor(scene.options.columnStep, s.map.width, scene.lines),
      StepFor(scene.options.rowStep, s.map.height, scene.lines), 1, xOffset, yOffset, xSize, ySize);
}

void DrawContours(const Scene& scene, bool flat) {
  const Surface& s = scene.surface;
  const HeightMap& m = s.map;
  const std::vector<float> x = Positions(m.width, flat ? 0 : -m.xSize / 2.0, m.SpacingX());
  const std::vector<float> y = Positions(m.height, flat ? 0 : -m.ySize / 2.0, m.SpacingY());
  const std::vector<float>& heights = flat ? m.heights : s.drawn;
  std::vector<float> segments;
  glDisable(GL_LIGHTING);
  glColor3f(0.08f, 0.08f, 0.10f);
  glLineWidth(1.2f * scene.lineWidth);
  for (const double level : ContourLevels(s, scene.options)) {
    const float at = flat ? static_cast<float>(level) : s.Drawn(level);
    ForEachBand(m, [&](int first, int rows) {
      const auto start = static_cast<std::size_t>(first) * static_cast<std::size_t>(m.width);
      segments.resize(16 * static_cast<std::size_t>(m.width - 1) * static_cast<std::size_t>(rows - 1));
      const int count = ComputeContoursf(heights.data() + start, m.width, rows, x.data(), y.data() + first,
                                         at, segments.data());
      RenderContourLinesf(segments.data(), at, flat ? 0.0f : 1.0f, count);
    });
  }
}

}  // namespace qv3d
