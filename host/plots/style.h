// What all pictures look like: the paper, the inks, and sizes in proportion to the picture.
#pragma once

#include <algorithm>
#include <array>

#include "plots/image.h"

namespace qv3d {

inline constexpr Colour kPaper{250, 250, 248};
inline constexpr Colour kInk{38, 42, 48};
inline constexpr Colour kQuiet{105, 110, 118};
/// Lines of a plot's grid.
inline constexpr Colour kFaint{224, 225, 224};

/// Curves of a plot, in this order; the first is the colour of a curve that is alone.
inline constexpr std::array<Colour, 6> kCurveColours{
    {{28, 84, 140}, {196, 92, 30}, {46, 128, 88}, {150, 60, 120}, {130, 112, 30}, {80, 84, 92}}};

/// Pixels of ordinary text in a picture of this size.
constexpr int TextSize(int width, int height) {
  return std::max(7, std::min(width / 64, height / 46));
}

}  // namespace qv3d
