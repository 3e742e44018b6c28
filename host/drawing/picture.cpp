#include "drawing/picture.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "drawing/colour_map.h"
#include "drawing/picture_layout.h"
#include "failure.h"
#include "plots/style.h"
#include "plots/text.h"
#include "plots/ticks.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr int kLargestTarget = 8192;

/// Pictures are drawn this much larger and then reduced.
int Supersampling(int width, int height) {
  return std::max(width, height) * 2 <= kLargestTarget ? 2 : 1;
}

/// The library's checkerboard all over.
void PaintCheckerboard(Image& image) {
  constexpr unsigned kLight = 0xF4F6F6, kDark = 0xE2E5E6;
  const std::vector<std::uint8_t> mask(image.bytes().size() / 3, 255);
  CreateCheckerboardBackground(image.Pixel(0, 0), mask.data(), image.width(), image.height(), kLight, kDark);
}

/// Puts a picture that was drawn on paper before what `behind` shows.
void PasteOver(Image& behind, const Image& drawn, const Image& coverage) {
  for (int y = 0; y < behind.height(); ++y) {
    for (int x = 0; x < behind.width(); ++x) {
      std::uint8_t* const pixel = behind.Pixel(x, y);
      const int open = 255 - coverage.Pixel(x, y)[0];
      for (std::size_t i = 0; i < 3; ++i) {
        const int mixed = drawn.Pixel(x, y)[i] + (pixel[i] - kPaper[i]) * open / 255;
        pixel[i] = static_cast<std::uint8_t>(std::clamp(mixed, 0, 255));
      }
    }
  }
}

class Composer {
 public:
  Composer(const OffscreenContext& context, const Surface& surface, const PictureOptions& options)
      : context_(context),
        surface_(surface),
        options_(options),
        facts_(FactsOf(options.style)),
        layout_(options),
        image_(options.width, options.height, kPaper) {}

  bool HasFont() const { return font_.IsAvailable(); }

  Image Compose() {
    if (options_.background == Background::kChecker) PaintCheckerboard(image_);
    if (options_.style == Style::kMap) {
      ComposeMap();
    } else {
      ComposePerspective();
    }
    if (options_.bare) return std::move(image_);
    DrawTitle();
    if (HasBar()) DrawColourBar();
    return std::move(image_);
  }

 private:
  bool HasBar() const { return facts_.legend != Legend::kNone; }

  void ComposePerspective() {
    const Camera camera = CameraOf(surface_, options_, layout_);
    SceneOptions scene = options_;
    scene.box = !options_.bare;
    const int factor = Supersampling(layout_.width, layout_.height);
    Framebuffer framebuffer(context_, layout_.width * factor, layout_.height * factor);
    DrawPerspective(surface_, camera, scene);
    PasteOver(image_, Downsample(framebuffer.Read(), factor), Downsample(framebuffer.ReadCoverage(), factor));
    if (options_.bare) return;
    DrawFloorScales(camera);
    DrawHeightScale(camera);
  }

  void ComposeMap() {
    const auto [x, y, width, height] = MapBox(surface_.map, options_, layout_);
    const int factor = Supersampling(width, height);
    Framebuffer framebuffer(context_, width * factor, height * factor);
    DrawMap(surface_, options_);
    if (!options_.bare) image_.FillRectangle(x - 1, y - 1, width + 2, height + 2, kQuiet);
    image_.Paste(Downsample(framebuffer.Read(), factor), x, y);
    if (!options_.bare) DrawMapScales(x, y, width, height);
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

  /// Numbers along the upright edge of the box that lies farthest to the left.
  void DrawHeightScale(const Camera& camera) {
    const auto [low, high] = HeightRange(surface_.map);
    if (!(high > low)) return;
    Point foot = surface_.low;
    for (unsigned i = 0; i < 4; ++i) {
      const Point corner{(i & 1u ? surface_.high : surface_.low)[0],
                         (i & 2u ? surface_.high : surface_.low)[1], surface_.low[2]};
      if (camera.Project(corner)[0] < camera.Project(foot)[0]) foot = corner;
    }
    const Unit unit = HandyUnit(options_.unit, std::max(std::abs(low), std::abs(high)));
    const auto at = [&](double height) {
      return camera.Project({foot[0], foot[1], (height / unit.factor - surface_.middle) * surface_.zScale});
    };
    const double start = low * unit.factor, size = (double{high} - low) * unit.factor;
    const double pixels = at(start)[1] - at(start + size)[1];
    const int u = layout_.unit;
    // Seen from above there is no height to be read.
    if (pixels < u) return;
    const int most = std::clamp(static_cast<int>(pixels / (0.8 * u)), 1, 6);
    ForEachTick(start, size, most, [&](double offset, const std::string& label) {
      const std::array<double, 2> p = at(start + offset);
      const int x = static_cast<int>(std::lround(p[0])), y = static_cast<int>(std::lround(p[1]));
      for (int i = 2; i < 2 + u / 2; ++i) image_.Blend(x - i, y, kQuiet, 0.8);
      font_.Draw(image_, x - u, y + u / 3, label, u, kInk, Align::kRight);
    });
    const std::array<double, 2> top = at(start + size);
    font_.Draw(image_, static_cast<int>(top[0]) - u, static_cast<int>(top[1]) - u,
               fmt::format("z / {}", unit.name), u, kQuiet, Align::kRight);
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
    if (facts_.remark[0] != '\0') line += fmt::format(", {}", facts_.remark);
    if (CountMissing(m) > 0 && HasBar() && options_.style != Style::kWaterfall)
      line += options_.clip ? ", grey: not shown" : ", grey: not measured";
    font_.Draw(image_, 2 * u, 4 * u + u / 4, line, u, kQuiet);
  }

  /// What the colour bar shows from its lower to its upper end, in a unit for people.
  struct Bar {
    std::string name;
    double start, size;
    double factor;  ///< of heights
    Colour (*colour)(double);
  };

  Bar BarOfStyle() const {
    if (facts_.legend == Legend::kSlopes) {
      return {"slope / °", 0, SteepestAngle(SlopeAngles(surface_)), 1, SlopeColourAt};
    }
    const auto [low, high] = surface_.range;
    const Unit unit = HandyUnit(options_.unit, std::max(std::abs(low), std::abs(high)));
    const auto greyAt = [](double t) {
      const auto level = static_cast<std::uint8_t>(std::lround(255 * std::clamp(t, 0.0, 1.0)));
      return Colour{level, level, level};
    };
    return {fmt::format("height / {}", unit.name), low * unit.factor, (double{high} - low) * unit.factor,
            unit.factor, facts_.legend == Legend::kHeightGreys ? +greyAt : ColourAt};
  }

  void DrawColourBar() {
    const int u = layout_.unit;
    const Bar bar = BarOfStyle();
    const int x = layout_.width - 8 * u, y = static_cast<int>(layout_.plot.top + 2.2 * u);
    const int width = 3 * u / 2, height = std::max(2, static_cast<int>(layout_.plot.height * 0.72));
    image_.FillRectangle(x - 1, y - 1, width + 2, height + 2, kQuiet);
    for (int row = 0; row < height; ++row) {
      image_.FillRectangle(x, y + row, width, 1, bar.colour(1 - row / (height - 1.0)));
    }
    font_.Draw(image_, x, y - u, bar.name, u, kInk);
    if (!(bar.size > 0)) {
      font_.Draw(image_, x + width + u, y + height, TickLabel(bar.start), u, kInk);
      return;
    }
    const auto rowOf = [&](double at) {
      return y + height - 1 - static_cast<int>(std::lround(at / bar.size * (height - 1)));
    };
    ForEachTick(bar.start, bar.size, 8, [&](double at, const std::string& label) {
      image_.FillRectangle(x + width + 1, rowOf(at), u / 2, 1, kQuiet);
      font_.Draw(image_, x + width + u, rowOf(at) + u / 3, label, u, kInk);
    });
    if (facts_.legend == Legend::kSlopes) return;
    for (const double level : ContourLevels(surface_, options_)) {
      const double at = level * bar.factor - bar.start;
      if (at < 0 || at > bar.size) continue;
      image_.FillRectangle(x, rowOf(at), width, std::max(1, u / 10), kInk);
    }
  }

  const OffscreenContext& context_;
  const Surface& surface_;
  const PictureOptions& options_;
  const StyleFacts& facts_;
  Layout layout_;
  Image image_;
  Font font_;
};

}  // namespace

void RequireDrawable(const HeightMap& map, const PictureOptions& options) {
  if (const std::string problem = ProblemWith(options); !problem.empty()) {
    throw Failure(ExitCode::kUsage, problem);
  }
  if (CountMissing(map) == map.heights.size()) {
    throw Failure(ExitCode::kNotComputable, "every sample is missing: there is nothing to draw");
  }
}

Picture DrawPicture(const OffscreenContext& context, const HeightMap& map, const PictureOptions& options) {
  RequireDrawable(map, options);
  const Surface surface = PrepareSurface(map, options);
  Composer composer(context, surface, options);
  const bool hasText = composer.HasFont();
  return {composer.Compose(), surface.zScale, hasText};
}

}  // namespace qv3d
