#include "plots/polar_plot.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

#include "plots/plot.h"
#include "plots/style.h"
#include "plots/ticks.h"

namespace qv3d {
namespace {

/// The reference circle's radius, and the room for the largest deviation to either side, of the whole radius.
constexpr double kReference = 0.64;
constexpr double kRoom = 0.32;
constexpr int kSpokeDegrees = 30;

class PolarPainter {
 public:
  PolarPainter(Canvas& canvas, const PolarPlot& plot)
      : canvas_(canvas), plot_(plot), unit_(std::max(8, std::min(plot.width / 60, plot.height / 64))) {
    for (const PolarCurve& curve : plot.curves) {
      for (const double value : curve.values) largest_ = std::max(largest_, std::abs(value));
    }
    if (largest_ == 0) largest_ = 1;
    const double top = 9.0 * unit_, bottom = 3.5 * unit_, side = 5.0 * unit_;
    radius_ = std::max(8.0, std::min(plot.width - 2 * side, plot.height - top - bottom) / 2);
    middle_ = {plot.width / 2.0, top + (plot.height - top - bottom) / 2};
  }

  void Draw() {
    const int u = unit_;
    canvas_.Fill(0, 0, plot_.width, plot_.height, kPaper);
    canvas_.Text(2.0 * u, 2.5 * u, plot_.title, 3 * u / 2, kInk);
    canvas_.Text(2.0 * u, 4.25 * u, plot_.subtitle, u, kQuiet);
    DrawSpokes();
    DrawRings();
    DrawRingLabels();
    for (std::size_t i = 0; i < plot_.curves.size(); ++i) DrawCurve(i);
    DrawLegend();
  }

 private:
  Spot At(double degrees, double radius) const {
    const double angle = degrees * std::numbers::pi / 180;
    return {middle_.x + radius * std::cos(angle), middle_.y - radius * std::sin(angle)};
  }
  double RadiusOf(double value) const { return radius_ * (kReference + kRoom * value / largest_); }
  std::vector<Tick> Ticks() const { return LinearTicks(-largest_, largest_, 6); }

  void DrawSpokes() {
    for (int degrees = 0; degrees < 360; degrees += kSpokeDegrees) {
      canvas_.Polyline({At(degrees, radius_ * (kReference - kRoom)), At(degrees, radius_)}, 1, kFaint);
      const Spot at = At(degrees, radius_ + 1.6 * unit_);
      canvas_.Text(at.x, at.y + unit_ / 3.0, fmt::format("{}°", degrees), unit_, kInk, Align::kCentre);
    }
  }

  void Ring(double radius, double width, Colour colour) {
    std::vector<Spot> points;
    for (int degrees = 0; degrees <= 360; ++degrees) points.push_back(At(degrees, radius));
    canvas_.Polyline(points, width, colour);
  }

  void DrawRings() {
    for (const Tick& tick : Ticks()) {
      if (tick.value != 0) Ring(RadiusOf(tick.value), 1, kFaint);
    }
    Ring(RadiusOf(0), std::max(1.0, unit_ / 12.0), kQuiet);
  }

  /// Between two spokes, under the curves.
  void DrawRingLabels() {
    const double degrees = 90 - kSpokeDegrees / 2.0;
    for (const Tick& tick : Ticks()) {
      const Spot at = At(degrees, RadiusOf(tick.value));
      const double width = canvas_.TextWidth(tick.label, unit_) + unit_ / 2.0;
      canvas_.Fill(at.x - width / 2, at.y - 0.6 * unit_, width, 1.2 * unit_, kPaper);
      canvas_.Text(at.x, at.y + unit_ / 3.0, tick.label, unit_, kInk, Align::kCentre);
    }
    canvas_.Text(middle_.x, middle_.y + unit_ / 3.0, plot_.valueName, unit_, kQuiet, Align::kCentre);
  }

  /// Later curves are drawn heavier: they are the smoother ones.
  void DrawCurve(std::size_t index) {
    const PolarCurve& curve = plot_.curves[index];
    std::vector<Spot> points;
    for (std::size_t i = 0; i < curve.values.size(); ++i) {
      points.push_back(At(curve.degrees[i], RadiusOf(curve.values[i])));
    }
    if (!points.empty()) points.push_back(points.front());
    canvas_.Polyline(points, WidthOf(index), ColourOf(index));
  }

  double WidthOf(std::size_t index) const { return (index == 0 ? 1.0 : 2.2) * std::max(1.0, unit_ / 14.0); }
  Colour ColourOf(std::size_t index) const {
    // The first of several has the finest detail and steps back.
    if (plot_.curves.size() == 1) return kCurveColours[0];
    return index == 0 ? kCurveColours[1] : kCurveColours[index == 1 ? 0 : index % kCurveColours.size()];
  }

  void DrawLegend() {
    const double u = unit_, row = 6.2 * u;
    double x = 2 * u;
    const auto entry = [&](const std::string& name, double width, Colour colour) {
      canvas_.Polyline({{x, row - u / 3}, {x + 2 * u, row - u / 3}}, width, colour);
      canvas_.Text(x + 2.6 * u, row, name, unit_, kInk);
      x += 4.6 * u + canvas_.TextWidth(name, unit_);
    };
    for (std::size_t i = 0; i < plot_.curves.size(); ++i)
      entry(plot_.curves[i].name, WidthOf(i), ColourOf(i));
    entry("reference circle", std::max(1.0, u / 12), kQuiet);
  }

  Canvas& canvas_;
  const PolarPlot& plot_;
  int unit_;
  double largest_ = 0;
  double radius_ = 0;
  Spot middle_{};
};

}  // namespace

bool WritePolarPlot(const std::filesystem::path& path, const PolarPlot& plot) {
  return WriteDrawing(path, plot.width, plot.height,
                      [&](Canvas& canvas) { PolarPainter(canvas, plot).Draw(); });
}

}  // namespace qv3d
