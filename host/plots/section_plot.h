// The plot of a profile.
#pragma once

#include <string>

#include "analysis/section.h"
#include "plots/plot.h"

namespace qv3d {

/// Heights over positions in handy units, without a title.
Plot SectionPlot(const HeightMap& map, bool alongX, const Profile& profile, const std::string& fileUnit);

}  // namespace qv3d
