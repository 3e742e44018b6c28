#include "plots/section_plot.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "units.h"

namespace qv3d {

Plot SectionPlot(const HeightMap& map, bool alongX, const Profile& profile, const std::string& fileUnit) {
  const Unit length = HandyUnit(fileUnit, std::max(map.xSize, map.ySize));
  float most = 0;
  for (const float h : profile.heights) most = IsMissing(h) ? most : std::max(most, std::abs(h));
  const Unit height = HandyUnit(fileUnit, most);
  Plot plot;
  plot.x.name = fmt::format("{} / {}", alongX ? "x" : "y", length.name);
  plot.y.name = fmt::format("height / {}", height.name);
  Curve curve;
  for (std::size_t k = 0; k < profile.heights.size(); ++k) {
    const float h = profile.heights[k];
    curve.x.push_back(profile.positions[k] * length.factor);
    curve.y.push_back(IsMissing(h) ? std::nan("") : h * height.factor);
  }
  plot.x.low = curve.x.front();
  plot.x.high = curve.x.back();
  plot.curves.push_back(std::move(curve));
  return plot;
}

}  // namespace qv3d
