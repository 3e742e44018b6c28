#include "plots/frame_axes.h"

#include <algorithm>
#include <cmath>

#include "plots/style.h"
#include "plots/ticks.h"

namespace qv3d {

void DrawFrameAxes(Canvas& canvas, const FrameAxes& a, int unit) {
  const int u = unit;
  const int mostX = std::clamp(a.width / (5 * u), 1, 8), mostY = std::clamp(a.height / (3 * u), 1, 8);
  for (const Tick& tick : LinearTicks(a.left, a.right, mostX)) {
    const double at = a.x + (tick.value - a.left) / (a.right - a.left) * (a.width - 1);
    canvas.Fill(std::round(at), a.y + a.height, 1, u / 2.0, kQuiet);
    canvas.Text(at, a.y + a.height + 1.75 * u, tick.label, u, kInk, Align::kCentre);
  }
  for (const Tick& tick : LinearTicks(a.bottom, a.top, mostY)) {
    const double at = a.y + (a.top - tick.value) / (a.top - a.bottom) * (a.height - 1);
    canvas.Fill(a.x - u / 2.0, std::round(at), u / 2.0, 1, kQuiet);
    canvas.Text(a.x - u, at + u / 3.0, tick.label, u, kInk, Align::kRight);
  }
  canvas.Text(a.x + a.width / 2.0, a.y + a.height + 3.25 * u, a.xName, u, kQuiet, Align::kCentre);
  canvas.Text(a.x - 4 * u, a.y - 0.75 * u, a.yName, u, kQuiet, Align::kLeft);
}

}  // namespace qv3d
