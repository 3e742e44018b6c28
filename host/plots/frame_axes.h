// The two scales of a picture whose inside is a plane: ticks below and to the left of a frame.
#pragma once

#include <string>

#include "plots/canvas.h"

namespace qv3d {

struct FrameAxes {
  int x, y, width, height;          ///< the inside of the frame, in pixels
  double left, right, bottom, top;  ///< coordinates of its edges
  std::string xName, yName;
};

/// Draws ticks, numbers and names; `unit` is the size of the text.
void DrawFrameAxes(Canvas& canvas, const FrameAxes& axes, int unit);

}  // namespace qv3d
