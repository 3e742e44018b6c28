#include "drawing/pick.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include <GL/gl.h>
#include <GL/glext.h>

#include "drawing/picture_layout.h"
#include "failure.h"

namespace qv3d {
namespace {

/// A pixel is asked for at its middle: nearly a point.
constexpr double kPointSize = 0.02;
/// Beside the surface, samples this far around are looked for.
constexpr double kReach = 9;

/// How the samples get into the picture: a position of its own for the map, which is flat.
struct View {
  Matrix projection;
  Matrix model;
  float zScale;  ///< 0 on the map
  int width, height;

  std::array<double, 2> Project(const Point& p) const {
    const Matrix both = Multiply(projection, model);
    double v[4];
    for (std::size_t row = 0; row < 4; ++row) {
      v[row] = both[row] * p[0] + both[4 + row] * p[1] + both[8 + row] * p[2] + both[12 + row];
    }
    return {(v[0] / v[3] + 1) / 2 * width, (1 - v[1] / v[3]) / 2 * height};
  }

  /// The part of the view of `size` pixels around a position, made as large as the whole.
  Matrix Around(double x, double y, double size) const {
    const double sx = width / size, sy = height / size;
    const double atX = 2 * x / width - 1, atY = 1 - 2 * y / height;
    return Multiply({sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, 1, 0, -sx * atX, -sy * atY, 0, 1}, projection);
  }
};

constexpr Matrix kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

View ViewOf(const Surface& surface, const PictureOptions& options) {
  const Layout layout(options);
  if (options.style != Style::kMap) {
    const Camera camera = CameraOf(surface, options, layout);
    return {camera.projection(), camera.view(), 1, layout.width, layout.height};
  }
  const PixelBox box = MapBox(surface.map, options, layout);
  const double sx = 2.0 * box.width / layout.width / surface.map.xSize;
  const double sy = 2.0 * box.height / layout.height / surface.map.ySize;
  const double middleX = (2.0 * box.x + box.width) / layout.width - 1;
  const double middleY = 1 - (2.0 * box.y + box.height) / layout.height;
  return {{sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, 0.5, 0, middleX, middleY, 0, 1},
          kIdentity,
          0,
          layout.width,
          layout.height};
}

struct Hit {
  unsigned depth;  ///< of the nearest vertex
  std::size_t name;
};

/// What `draw` draws under names, as far as it lies in the view volume of `projection`.
template <typename Draw>
std::vector<Hit> Select(const View& view, const Matrix& projection, Draw draw) {
  constexpr std::size_t kWordsPerHit = 4;
  for (std::size_t room = 4096;; room *= 4) {
    std::vector<GLuint> buffer(kWordsPerHit * room);
    glSelectBuffer(static_cast<GLsizei>(buffer.size()), buffer.data());
    glRenderMode(GL_SELECT);
    glInitNames();
    glPushName(0);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(projection.data());
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixd(view.model.data());
    draw();
    const GLint count = glRenderMode(GL_RENDER);
    if (count < 0) continue;  // the buffer was too small
    std::vector<Hit> hits;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      const GLuint* const record = &buffer[kWordsPerHit * i];
      hits.push_back({record[1], record[3]});
    }
    return hits;
  }
}

class Picker {
 public:
  Picker(const Surface& surface, const View& view, double x, double y)
      : s_(surface), view_(view), x_(x), y_(y), samples_(surface.map.heights.size()) {}

  std::optional<std::size_t> UnderPixel() const {
    const HeightMap& m = s_.map;
    const std::vector<Hit> hits = Select(view_, view_.Around(x_, y_, kPointSize), [&] {
      RenderTrianglesForSelection(s_.drawn.data(), m.width, m.height, GL_TRIANGLES, view_.zScale,
                                  -m.xSize / 2, m.ySize / 2, m.xSize, m.ySize);
    });
    if (hits.empty()) return std::nullopt;
    const std::size_t name = std::min_element(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) {
                               return a.depth < b.depth;
                             })->name;
    return Nearest(CornersOf(name));
  }

  std::optional<std::size_t> AroundPixel() const {
    const HeightMap& m = s_.map;
    const std::vector<Hit> hits = Select(view_, view_.Around(x_, y_, kReach), [&] {
      RenderPointsForSelection(s_.drawn.data(), m.width, m.height, GL_POINTS, view_.zScale, -m.xSize / 2,
                               m.ySize / 2, m.xSize, m.ySize);
    });
    if (hits.empty()) return std::nullopt;
    std::vector<std::size_t> samples;
    for (const Hit& hit : hits) samples.push_back(hit.name);
    return Nearest(samples);
  }

 private:
  /// The samples of a triangle by its name: lower ones first, upper ones of the same cells behind.
  std::vector<std::size_t> CornersOf(std::size_t name) const {
    const auto w = static_cast<std::size_t>(s_.map.width);
    if (name < samples_) return {name, name + 1, name + w};
    const std::size_t k = name - samples_;
    return {k + 1, k + w + 1, k + w};
  }

  std::size_t Nearest(const std::vector<std::size_t>& samples) const {
    return *std::min_element(samples.begin(), samples.end(),
                             [&](std::size_t a, std::size_t b) { return Distance(a) < Distance(b); });
  }

  double Distance(std::size_t sample) const {
    const HeightMap& m = s_.map;
    const auto w = static_cast<std::size_t>(m.width);
    const std::size_t column = sample % w, row = sample / w;
    const std::array<double, 2> p = view_.Project({static_cast<double>(column) * m.SpacingX() - m.xSize / 2.0,
                                                   static_cast<double>(row) * m.SpacingY() - m.ySize / 2.0,
                                                   double{view_.zScale} * s_.drawn[sample]});
    return std::hypot(p[0] - x_, p[1] - y_);
  }

  const Surface& s_;
  const View& view_;
  double x_, y_;
  std::size_t samples_;
};

}  // namespace

std::optional<PickedSample> PickSample(const OffscreenContext& context, const HeightMap& map,
                                       const PictureOptions& options, int x, int y) {
  RequireDrawable(map, options);
  const Surface surface = PrepareSurface(map, options);
  const View view = ViewOf(surface, options);
  // Nothing is drawn, but OpenGL wants to know where it would be.
  const Framebuffer framebuffer(context, 64, 64);
  const Picker picker(surface, view, x + 0.5, y + 0.5);
  std::optional<std::size_t> sample = picker.UnderPixel();
  const bool exactly = sample.has_value();
  if (!exactly) sample = picker.AroundPixel();
  if (!sample) return std::nullopt;
  const int column = static_cast<int>(*sample % static_cast<std::size_t>(map.width));
  const int row = static_cast<int>(*sample / static_cast<std::size_t>(map.width));
  return PickedSample{
      column, row, map.x0 + column * map.SpacingX(), map.y0 + row * map.SpacingY(), map.At(column, row),
      exactly};
}

}  // namespace qv3d
