// Roundness plots: deviations from a circle, magnified, around that circle, as PNG or SVG.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qv3d {

/// Closed: the last sample is joined to the first.
struct PolarCurve {
  std::string name;             ///< in the legend
  std::vector<double> degrees;  ///< from the right, counter-clockwise
  std::vector<double> values;   ///< deviations from the reference circle, as many
};

struct PolarPlot {
  std::string title;
  std::string subtitle;
  std::string valueName;  ///< with its unit, as in "deviation / µm"
  std::vector<PolarCurve> curves;
  int width = 1100;
  int height = 1200;
};

/// Writes .svg or .png by the file's extension; false where a PNG picture is without text for want of a font.
/// Throws Failure (unreadable) where the file cannot be written.
bool WritePolarPlot(const std::filesystem::path& path, const PolarPlot& plot);

}  // namespace qv3d
