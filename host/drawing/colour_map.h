// The colours of heights: dark is low, light is high, and equal steps of height look like equal steps.
#pragma once

#include <vector>

#include "plots/image.h"

namespace qv3d {

/// The colour of t in 0..1.
Colour ColourAt(double t);

/// The colour of a slope, 0 for flat to 1 for steep: from pale over orange to dark red.
Colour SlopeColourAt(double t);

/// The grey of missing samples, which no height has.
inline constexpr Colour kMissingColour{205, 205, 205};

/// `count` colours from 0 to 1, as a 1-D texture takes them.
std::vector<Colour> ColourTable(int count);

}  // namespace qv3d
