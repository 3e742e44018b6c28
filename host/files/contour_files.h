// Contour lines as files for other programs.
#pragma once

#include <string>
#include <vector>

#include "analysis/contour_lines.h"

namespace qv3d {

/// What the lines lie in.
struct ContourSheet {
  std::string title;
  std::string unit;  ///< of all coordinates
  double left, right, bottom, top;
  std::vector<ContourLevel> levels;
};

/// SVG: one group per level, one path per line, closed where the line is; user units are those of the
/// coordinates, y upwards.
std::string ContourSvg(const ContourSheet& sheet);

/// DXF, release 12, ASCII: a layer per level, a polyline per line, at its height.
std::string ContourDxf(const ContourSheet& sheet);

/// CSV: height, x1, y1, x2, y2 of every segment.
std::string ContourCsv(const ContourSheet& sheet);

}  // namespace qv3d
