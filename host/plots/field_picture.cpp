#include "plots/field_picture.h"

#include <algorithm>
#include <cmath>

#include "analysis/height_map.h"
#include "drawing/colour_map.h"
#include "plots/frame_axes.h"
#include "plots/style.h"
#include "plots/ticks.h"

namespace qv3d {
namespace {

/// The samples of one axis that a pixel shows: those it covers, at least one.
struct Share {
  int first, last;

  Share(int pixel, int pixels, int samples) {
    const auto at = [&](int p) { return static_cast<int>(std::int64_t{p} * samples / pixels); };
    first = std::min(at(pixel), samples - 1);
    last = std::max(first, std::min(at(pixel + 1), samples) - 1);
  }
};

class FieldPainter {
 public:
  FieldPainter(ImageCanvas& canvas, Image& image, const Field& field, int unit)
      : canvas_(canvas), image_(image), field_(field), unit_(unit) {}

  /// Draws into the part of the picture given, the field as large as it fits.
  void Draw(double left, double top, double width, double height) {
    const double u = unit_, numbers = 5 * u, bar = 8 * u;
    const double across = std::abs(field_.right - field_.left), along = std::abs(field_.top - field_.bottom);
    const double most = std::max(8.0, width - numbers - bar), tall = std::max(8.0, height - 7 * u);
    const double scale = std::min(most / across, tall / along);
    width_ = std::max(2, static_cast<int>(across * scale));
    height_ = std::max(2, static_cast<int>(along * scale));
    x_ = static_cast<int>(left + numbers + (most - width_) / 2);
    y_ = static_cast<int>(top + 3.5 * u);
    canvas_.Text(x_, y_ - 2.3 * u, field_.name, unit_ + unit_ / 6, kInk, Align::kLeft);
    canvas_.Fill(x_ - 1, y_ - 1, width_ + 2, height_ + 2, kQuiet);
    DrawValues();
    DrawFrameAxes(canvas_,
                  {x_, y_, width_, height_, field_.left, field_.right, field_.bottom, field_.top,
                   field_.xName, field_.yName},
                  unit_);
    DrawColourBar();
  }

 private:
  Colour ColourOf(int column, int row) const {
    const Share x(column, width_, field_.columns), y(row, height_, field_.rows);
    double sum = 0;
    int count = 0;
    for (int j = y.first; j <= y.last; ++j) {
      for (int i = x.first; i <= x.last; ++i) {
        const float value =
            field_.values[static_cast<std::size_t>(j) * static_cast<std::size_t>(field_.columns) +
                          static_cast<std::size_t>(i)];
        if (IsMissing(value)) continue;
        sum += value;
        ++count;
      }
    }
    if (count == 0) return kMissingColour;
    const double span = field_.high - field_.low;
    return ColourAt(span > 0 ? std::clamp((sum / count - field_.low) / span, 0.0, 1.0) : 0);
  }

  void DrawValues() {
    for (int row = 0; row < height_; ++row) {
      for (int column = 0; column < width_; ++column) {
        const Colour colour = ColourOf(column, row);
        std::copy(colour.begin(), colour.end(), image_.Pixel(x_ + column, y_ + height_ - 1 - row));
      }
    }
  }

  void DrawColourBar() {
    const int u = unit_, x = x_ + width_ + u, width = 3 * u / 2;
    canvas_.Fill(x - 1, y_ - 1, width + 2, height_ + 2, kQuiet);
    for (int row = 0; row < height_; ++row)
      canvas_.Fill(x, y_ + row, width, 1, ColourAt(1 - row / (height_ - 1.0)));
    // Over the middle of the bar, where the y axis' name leaves room; a narrow field leaves it at the right.
    const bool narrow = width_ < 14 * u;
    canvas_.Text(narrow ? x : x + width / 2.0, y_ - 0.75 * u, field_.valueName, u, kQuiet,
                 narrow ? Align::kLeft : Align::kCentre);
    for (const Tick& tick : LinearTicks(field_.low, field_.high, std::clamp(height_ / (3 * u), 1, 8))) {
      const double at = y_ + (field_.high - tick.value) / (field_.high - field_.low) * (height_ - 1);
      canvas_.Fill(x + width + 1, std::round(at), u / 2.0, 1, kQuiet);
      canvas_.Text(x + width + u, at + u / 3.0, tick.label, u, kInk, Align::kLeft);
    }
  }

  ImageCanvas& canvas_;
  Image& image_;
  const Field& field_;
  int unit_;
  int x_ = 0, y_ = 0, width_ = 0, height_ = 0;
};

}  // namespace

void DrawFields(ImageCanvas& canvas, Image& image, const FieldPicture& picture) {
  const int u = TextSize(picture.width, picture.height);
  canvas.Text(2 * u, 2.5 * u, picture.title, 3 * u / 2, kInk, Align::kLeft);
  canvas.Text(2 * u, 4.25 * u, picture.subtitle, u, kQuiet, Align::kLeft);
  const double top = 5.5 * u, width = (picture.width - 2.0 * u) / static_cast<double>(picture.fields.size());
  double left = u;
  for (const Field& field : picture.fields) {
    FieldPainter(canvas, image, field, u).Draw(left, top, width, picture.height - top - u);
    left += width;
  }
}

bool WriteFields(const std::filesystem::path& path, const FieldPicture& picture) {
  Image image(picture.width, picture.height, kPaper);
  ImageCanvas canvas(image);
  DrawFields(canvas, image, picture);
  WritePng(path, image);
  return canvas.HasFont();
}

}  // namespace qv3d
