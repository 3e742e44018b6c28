#include "picture.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "colour_map.h"
#include "failure.h"
#include "style.h"
#include "text.h"
#include "ticks.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr int kLargestTarget = 8192;

/// Pictures are drawn this much larger and then reduced.
int Supersampling(int width, int height) {
  return std::max(width, height) * 2 <= kLargestTarget ? 2 : 1;
}

/// Sizes of the parts of a picture, all in proportion to it.
struct Layout {
  int width, height;
  int unit;  ///< size of ordinary text
  Rectangle plot;

  Layout(int w, int h, bool hasBar) : width(w), height(h) {
    unit = TextSize(w, h);
    const double left = 1.5 * unit, top = 5.5 * unit, bottom = 2.0 * unit,
                 right = hasBar ? 9.5 * unit : 1.5 * unit;
    plot = {left, top, std::max(8.0, w - left - right), std::max(8.0, h - top - bottom)};
  }
};

class Composer {
 public:
  Composer(const OffscreenContext& context, const Surface& surface, const PictureOptions& options)
      : context_(context),
        surface_(surface),
        options_(options),
        layout_(options.width, options.height, HasBar()),
        image_(options.width, options.height, kPaper) {}

  bool HasFont() const { return font_.IsAvailable(); }

  Image Compose() {
    if (options_.style == Style::kMap) {
      ComposeMap();
    } else {
      ComposePerspective();
    }
    DrawTitle();
    if (HasBar()) DrawColourBar();
    return std::move(image_);
  }

 private:
  bool HasBar() const { return options_.style == Style::kTexture || options_.style == Style::kMap; }

  void ComposePerspective() {
    const Point &low = surface_.low, &high = surface_.high;
    std::vector<Point> corners;
    for (int i = 0; i < 8; ++i)
      corners.push_back({(i & 1 ? high : low)[0], (i & 2 ? high : low)[1], (i & 4 ? high : low)[2]});
    // Room for the numbers along the edges.
    Rectangle area = layout_.plot;
    area.left += 4 * layout_.unit;
    area.width = std::max(8.0, area.width - 7.5 * layout_.unit);
    area.height = std::max(8.0, area.height - 2.0 * layout_.unit);
    const Camera camera(options_.angles, corners, area, layout_.width, layout_.height);
    const int factor = Supersampling(layout_.width, layout_.height);
    Framebuffer framebuffer(context_, layout_.width * factor, layout_.height * factor);
    DrawPerspective(surface_, camera, options_.style, options_.step);
    if (options_.overlay) options_.overlay(surface_);
    const Image large = framebuffer.Read();
    image_.Paste(factor == 1 ? large : Downsample(large, factor), 0, 0);
    DrawFloorScales(camera);
  }

  void ComposeMap() {
    const HeightMap& m = surface_.map;
    Rectangle area = layout_.plot;
    area.top += 2 * layout_.unit;
    area.height -= 2 * layout_.unit;
    area.left += 3.5 * layout_.unit;
    area.width = std::max(8.0, area.width - 3.5 * layout_.unit);
    area.height = std::max(8.0, area.height - 2.0 * layout_.unit);
    const double scale = std::min(area.width / m.xSize, area.height / m.ySize);
    const int width = std::max(1, static_cast<int>(m.xSize * scale));
    const int height = std::max(1, static_cast<int>(m.ySize * scale));
    const int x = static_cast<int>(area.left + (area.width - width) / 2), y = static_cast<int>(area.top);
    const int factor = Supersampling(width, height);
    Framebuffer framebuffer(context_, width * factor, height * factor);
    DrawMap(surface_, options_.step);
    if (options_.overlay) options_.overlay(surface_);
    const Image large = framebuffer.Read();
    image_.FillRectangle(x - 1, y - 1, width + 2, height + 2, kQuiet);
    image_.Paste(factor == 1 ? large : Downsample(large, factor), x, y);
    DrawMapScales(x, y, width, height);
  }

  /// Calls use(position from the low end, label) at round numbers of the coordinate.
  template <typename Use>
  static void ForEachTick(double start, double size, int most, Use use) {
    for (const Tick& tick : LinearTicks(start, start + size, most)) use(tick.value - start, tick.label);
  }

  void DrawMapScales(int x, int y, int width, int height) {
    const HeightMap& m = surface_.map;
    const int u = layout_.unit;
    ForEachTick(m.x0, m.xSize, 8, [&](double at, const std::string& label) {
      const int column = x + static_cast<int>(std::lround(at / m.xSize * (width - 1)));
      image_.FillRectangle(column, y + height, 1, u / 2, kQuiet);
      font_.Draw(image_, column, y + height + 3 * u / 2 + u / 4, label, u, kInk, Align::kCentre);
    });
    ForEachTick(m.y0, m.ySize, 8, [&](double at, const std::string& label) {
      const int row = y + height - 1 - static_cast<int>(std::lround(at / m.ySize * (height - 1)));
      image_.FillRectangle(x - u / 2, row, u / 2, 1, kQuiet);
      font_.Draw(image_, x - u, row + u / 3, label, u, kInk, Align::kRight);
    });
    font_.Draw(image_, x + width / 2, y + height + 3 * u + u / 4, AxisName("x"), u, kQuiet, Align::kCentre);
    font_.Draw(image_, x - u, y - u, AxisName("y"), u, kQuiet, Align::kRight);
  }

  std::string FileUnit() const { return UnitName(options_.unit); }
  std::string AxisName(const char* axis) const { return fmt::format("{} / {}", axis, FileUnit()); }

  /// Numbers along the two edges of the floor that are nearest to the viewer.
  void DrawFloorScales(const Camera& camera) {
    const Point &low = surface_.low, &high = surface_.high;
    const double nearY = camera.toViewer()[1] < 0 ? low[1] : high[1];
    const double nearX = camera.toViewer()[0] < 0 ? low[0] : high[0];
    const HeightMap& m = surface_.map;
    ForEachTick(m.x0, m.xSize, 6, [&](double at, const std::string& label) {
      FloorTick(camera, {low[0] + at, nearY, low[2]}, {0, nearY < 0 ? -1.0 : 1.0, 0}, label);
    });
    ForEachTick(m.y0, m.ySize, 6, [&](double at, const std::string& label) {
      FloorTick(camera, {nearX, low[1] + at, low[2]}, {nearX < 0 ? -1.0 : 1.0, 0, 0}, label);
    });
    FloorName(camera, {0, nearY, low[2]}, {0, nearY < 0 ? -1.0 : 1.0, 0}, AxisName("x"));
    FloorName(camera, {nearX, 0, low[2]}, {nearX < 0 ? -1.0 : 1.0, 0, 0}, AxisName("y"));
  }

  /// Direction in the picture in which `outward` points, one pixel long.
  static std::array<double, 2> ScreenDirection(const Camera& camera, const Point& at, const Point& outward,
                                               double size) {
    const std::array<double, 2> a = camera.Project(at);
    const std::array<double, 2> b =
        camera.Project({at[0] + size * outward[0], at[1] + size * outward[1], at[2]});
    const double length = std::max(1e-9, std::hypot(b[0] - a[0], b[1] - a[1]));
    return {(b[0] - a[0]) / length, (b[1] - a[1]) / length};
  }

  void FloorTick(const Camera& camera, const Point& at, const Point& outward, const std::string& label) {
    const std::array<double, 2> p = camera.Project(at);
    const std::array<double, 2> d = ScreenDirection(camera, at, outward, 0.01 * surface_.map.xSize);
    const int u = layout_.unit;
    for (int i = 2; i < 2 + u / 2; ++i) {
      image_.Blend(static_cast<int>(std::lround(p[0] + i * d[0])),
                   static_cast<int>(std::lround(p[1] + i * d[1])), kQuiet, 0.8);
    }
    TextAround(p[0] + 1.6 * u * d[0], p[1] + 1.6 * u * d[1], label, kInk);
  }

  void FloorName(const Camera& camera, const Point& at, const Point& outward, const std::string& name) {
    const std::array<double, 2> p = camera.Project(at);
    const std::array<double, 2> d = ScreenDirection(camera, at, outward, 0.01 * surface_.map.xSize);
    TextAround(p[0] + 5.0 * layout_.unit * d[0], p[1] + 3.4 * layout_.unit * d[1], name, kQuiet);
  }

  void TextAround(double x, double y, const std::string& text, Colour colour) {
    font_.Draw(image_, static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)) + layout_.unit / 3,
               text, layout_.unit, colour, Align::kCentre);
  }

  void DrawTitle() {
    const int u = layout_.unit;
    const HeightMap& m = surface_.map;
    font_.Draw(image_, 2 * u, 2 * u + u / 2, options_.title, 3 * u / 2, kInk);
    // Each sample stands for the cell around it.
    std::string line = fmt::format("{:.4g} × {:.4g} {}, {} × {} samples", m.width * m.SpacingX(),
                                   m.height * m.SpacingY(), FileUnit(), m.width, m.height);
    if (options_.style != Style::kMap) {
      line += surface_.zScale == 1 ? ", heights to scale"
                                   : fmt::format(", heights exaggerated {:g}×", surface_.zScale);
    }
    if (options_.style == Style::kSideLight) line += ", light from the left, close to the surface";
    if (options_.style == Style::kNormals) line += ", coloured by the surface normal";
    if (CountMissing(m) > 0 && HasBar()) line += ", grey: not measured";
    font_.Draw(image_, 2 * u, 4 * u + u / 4, line, u, kQuiet);
  }

  void DrawColourBar() {
    const int u = layout_.unit;
    const auto [low, high] = surface_.range;
    const Unit unit = HandyUnit(options_.unit, std::max(std::abs(low), std::abs(high)));
    const int x = layout_.width - 8 * u, y = static_cast<int>(layout_.plot.top + 2.2 * u);
    const int width = 3 * u / 2, height = std::max(2, static_cast<int>(layout_.plot.height * 0.72));
    image_.FillRectangle(x - 1, y - 1, width + 2, height + 2, kQuiet);
    for (int row = 0; row < height; ++row) {
      image_.FillRectangle(x, y + row, width, 1, ColourAt(1 - row / (height - 1.0)));
    }
    font_.Draw(image_, x, y - u, fmt::format("height / {}", unit.name), u, kInk);
    if (!(high > low)) {
      font_.Draw(image_, x + width + u, y + height, TickLabel(low * unit.factor), u, kInk);
      return;
    }
    const double start = low * unit.factor, size = (double{high} - low) * unit.factor;
    ForEachTick(start, size, 8, [&](double at, const std::string& label) {
      const int row = y + height - 1 - static_cast<int>(std::lround(at / size * (height - 1)));
      image_.FillRectangle(x + width + 1, row, u / 2, 1, kQuiet);
      font_.Draw(image_, x + width + u, row + u / 3, label, u, kInk);
    });
  }

  const OffscreenContext& context_;
  const Surface& surface_;
  const PictureOptions& options_;
  Layout layout_;
  Image image_;
  Font font_;
};

}  // namespace

Picture DrawPicture(const OffscreenContext& context, const HeightMap& map, const PictureOptions& options) {
  if (CountMissing(map) == map.heights.size()) {
    throw Failure(ExitCode::kNotComputable, "every sample is missing: there is nothing to draw");
  }
  const Surface surface = PrepareSurface(map, options.zScale, options.style);
  Composer composer(context, surface, options);
  const bool hasText = composer.HasFont();
  return {composer.Compose(), surface.zScale, hasText};
}

}  // namespace qv3d
