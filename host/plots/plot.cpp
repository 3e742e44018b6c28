#include "plots/plot.h"

#include <algorithm>
#include <cmath>

#include "files/whole_file.h"
#include "plots/style.h"
#include "plots/ticks.h"

namespace qv3d {
namespace {

/// Room above and below the curves, of the axis.
constexpr double kMargin = 0.05;

/// Where values lie along an axis, from 0 at its low end to 1.
class AxisScale {
 public:
  AxisScale(const PlotAxis& axis, const std::vector<Curve>& curves, std::vector<double> Curve::*numbers,
            double margin)
      : logarithmic_(axis.logarithmic) {
    double low = HUGE_VAL, high = -HUGE_VAL;
    for (const Curve& curve : curves) {
      for (const double value : curve.*numbers) {
        if (!Has(value)) continue;
        low = std::min(low, Warp(value)), high = std::max(high, Warp(value));
      }
    }
    if (low > high) low = high = Warp(1);
    if (low == high) Widen(low, high);
    const double room = margin * (high - low);
    low_ = Has(axis.low) ? Warp(axis.low) : low - room;
    high_ = Has(axis.high) ? Warp(axis.high) : high + room;
    if (!(low_ < high_)) Widen(low_, high_);
  }

  bool Has(double value) const { return std::isfinite(value) && (!logarithmic_ || value > 0); }
  double At(double value) const { return (Warp(value) - low_) / (high_ - low_); }

  std::vector<Tick> Ticks(int most) const {
    return logarithmic_ ? LogarithmicTicks(std::pow(10, low_), std::pow(10, high_), most)
                        : LinearTicks(low_, high_, most);
  }

 private:
  double Warp(double value) const { return logarithmic_ ? std::log10(value) : value; }

  static void Widen(double& low, double& high) {
    const double middle = (low + high) / 2, half = middle == 0 ? 1 : std::abs(middle) / 2;
    low = middle - half;
    high = middle + half;
  }

  bool logarithmic_;
  double low_ = 0, high_ = 1;
};

class PlotPainter {
 public:
  PlotPainter(Canvas& canvas, const Plot& plot)
      : canvas_(canvas),
        plot_(plot),
        unit_(TextSize(plot.width, plot.height)),
        x_(plot.x, plot.curves, &Curve::x, 0),
        y_(plot.y, plot.curves, &Curve::y, kMargin),
        yTicks_(y_.Ticks(7)) {
    double labels = 3.0 * unit_;
    for (const Tick& tick : yTicks_) labels = std::max(labels, canvas.TextWidth(tick.label, unit_));
    left_ = labels + 3.0 * unit_;
    top_ = 8.0 * unit_;
    width_ = std::max(8.0, plot.width - left_ - 3.0 * unit_);
    height_ = std::max(8.0, plot.height - top_ - 5.0 * unit_);
  }

  void Draw() {
    canvas_.Fill(0, 0, plot_.width, plot_.height, kPaper);
    DrawTitle();
    DrawXAxis();
    DrawYAxis();
    DrawFrame();
    for (std::size_t i = 0; i < plot_.curves.size(); ++i) DrawCurve(plot_.curves[i], ColourOf(i));
    if (plot_.curves.size() > 1) DrawLegend();
  }

 private:
  static Colour ColourOf(std::size_t curve) { return kCurveColours[curve % kCurveColours.size()]; }

  double Column(double value) const { return left_ + x_.At(value) * width_; }
  double Row(double value) const { return top_ + (1 - y_.At(value)) * height_; }

  void DrawTitle() {
    const int u = unit_;
    canvas_.Text(2 * u, 2.5 * u, plot_.title, 3 * u / 2, kInk, Align::kLeft);
    canvas_.Text(2 * u, 4.25 * u, plot_.subtitle, u, kQuiet, Align::kLeft);
  }

  void DrawXAxis() {
    const int u = unit_;
    const double bottom = top_ + height_;
    for (const Tick& tick : x_.Ticks(10)) {
      const double at = std::round(Column(tick.value));
      canvas_.Fill(at, top_, 1, height_, kFaint);
      canvas_.Fill(at, bottom, 1, u / 2.0, kQuiet);
      canvas_.Text(at, bottom + 1.75 * u, tick.label, u, kInk, Align::kCentre);
    }
    canvas_.Text(left_ + width_ / 2, bottom + 3.5 * u, plot_.x.name, u, kQuiet, Align::kCentre);
  }

  void DrawYAxis() {
    const int u = unit_;
    for (const Tick& tick : yTicks_) {
      const double at = std::round(Row(tick.value));
      canvas_.Fill(left_, at, width_, 1, kFaint);
      canvas_.Fill(left_ - u / 2.0, at, u / 2.0, 1, kQuiet);
      canvas_.Text(left_ - u, at + u / 3.0, tick.label, u, kInk, Align::kRight);
    }
    canvas_.Text(left_ - u, top_ - u, plot_.y.name, u, kQuiet, Align::kLeft);
  }

  void DrawFrame() {
    canvas_.Fill(left_ - 1, top_ - 1, 1, height_ + 2, kQuiet);
    canvas_.Fill(left_ - 1, top_ + height_, width_ + 2, 1, kQuiet);
    canvas_.Fill(left_ + width_, top_ - 1, 1, height_ + 2, kQuiet);
    canvas_.Fill(left_ - 1, top_ - 1, width_ + 2, 1, kQuiet);
  }

  /// Runs of samples that are there.
  void DrawCurve(const Curve& curve, Colour colour) {
    const double width = std::max(1.5, unit_ / 9.0);
    std::vector<Spot> run;
    const auto flush = [&] {
      canvas_.Polyline(run, width, colour);
      run.clear();
    };
    for (std::size_t i = 0; i < std::min(curve.x.size(), curve.y.size()); ++i) {
      if (IsInside(curve.x[i], curve.y[i])) {
        run.push_back({Column(curve.x[i]), Row(curve.y[i])});
      } else {
        flush();
      }
    }
    flush();
  }

  bool IsInside(double x, double y) const {
    constexpr double kSlack = 1e-9;
    if (!x_.Has(x) || !y_.Has(y)) return false;
    const double u = x_.At(x), v = y_.At(y);
    return u >= -kSlack && u <= 1 + kSlack && v >= -kSlack && v <= 1 + kSlack;
  }

  /// In one line above the frame, from the right.
  void DrawLegend() {
    const int u = unit_;
    double right = left_ + width_;
    for (std::size_t i = plot_.curves.size(); i-- > 0;) {
      const std::string& name = plot_.curves[i].name;
      const double text = canvas_.TextWidth(name, u), row = top_ - u;
      canvas_.Text(right - text, row, name, u, kInk, Align::kLeft);
      canvas_.Polyline({{right - text - 2.5 * u, row - u / 3.0}, {right - text - 0.6 * u, row - u / 3.0}},
                       u / 5.0, ColourOf(i));
      right -= text + 4.5 * u;
    }
  }

  Canvas& canvas_;
  const Plot& plot_;
  int unit_;
  AxisScale x_, y_;
  std::vector<Tick> yTicks_;
  double left_, top_, width_, height_;
};

}  // namespace

void DrawPlot(Canvas& canvas, const Plot& plot) {
  PlotPainter(canvas, plot).Draw();
}

std::string SvgOf(const Plot& plot) {
  SvgCanvas canvas(plot.width, plot.height);
  DrawPlot(canvas, plot);
  return canvas.Finish();
}

bool IsPlotFile(const std::filesystem::path& path) {
  return path.extension() == ".png" || path.extension() == ".svg";
}

bool WriteDrawing(const std::filesystem::path& path, int width, int height,
                  const std::function<void(Canvas&)>& draw) {
  if (path.extension() == ".svg") {
    SvgCanvas canvas(width, height);
    draw(canvas);
    WriteWholeFile(path, canvas.Finish());
    return true;
  }
  Image image(width, height, kPaper);
  ImageCanvas canvas(image);
  draw(canvas);
  WritePng(path, image);
  return canvas.HasFont();
}

bool WritePlot(const std::filesystem::path& path, const Plot& plot) {
  return WriteDrawing(path, plot.width, plot.height, [&](Canvas& canvas) { DrawPlot(canvas, plot); });
}

}  // namespace qv3d
