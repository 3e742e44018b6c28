// Line plots as PNG pictures or SVG text.
#pragma once

#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "plots/canvas.h"

namespace qv3d {

/// As many x as y. Where a number is not finite, or not positive on a logarithmic axis, the line has a gap.
struct Curve {
  std::string name;  ///< in the legend, which is there where there are several curves
  std::vector<double> x, y;
};

struct PlotAxis {
  std::string name;  ///< with its unit, as in "x / mm"
  bool logarithmic = false;
  /// The ends of the axis; what is not a number is taken from the curves.
  double low = std::numeric_limits<double>::quiet_NaN();
  double high = std::numeric_limits<double>::quiet_NaN();
};

struct Plot {
  std::string title;
  std::string subtitle;
  PlotAxis x, y;
  std::vector<Curve> curves;
  int width = 1600;
  int height = 800;
};

/// Draws paper, title, axes and curves.
void DrawPlot(Canvas& canvas, const Plot& plot);

std::string SvgOf(const Plot& plot);

/// True for .png and .svg.
bool IsPlotFile(const std::filesystem::path& path);

/// Writes what `draw` draws, as .svg or .png by the file's extension; false where a PNG picture is without
/// text for want of a font. Throws Failure (unreadable) where the file cannot be written.
bool WriteDrawing(const std::filesystem::path& path, int width, int height,
                  const std::function<void(Canvas&)>& draw);

/// As WriteDrawing.
bool WritePlot(const std::filesystem::path& path, const Plot& plot);

}  // namespace qv3d
