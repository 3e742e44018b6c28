#include "drawing/colour_map.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qv3d {
namespace {

// A helix around the grey diagonal of the colour cube: lightness rises evenly whatever the hue, so the order
// of the heights survives grey printing and colour blindness. From deep violet over teal and green to pale
// yellow.
constexpr double kDarkest = 0.17;
constexpr double kLightest = 0.90;
constexpr double kStartHue = 0.30;  // in thirds of a turn from blue
constexpr double kTurns = -0.60;
constexpr double kSaturation = 1.25;

}  // namespace

Colour ColourAt(double t) {
  const double lightness = kDarkest + (kLightest - kDarkest) * std::clamp(t, 0.0, 1.0);
  const double angle = 2 * std::numbers::pi * (kStartHue / 3 + 1 + kTurns * t);
  const double amplitude = kSaturation * lightness * (1 - lightness) / 2;
  const double c = std::cos(angle), s = std::sin(angle);
  // The three rows span the plane of equal perceived lightness.
  const double rgb[3] = {lightness + amplitude * (-0.14861 * c + 1.78277 * s),
                         lightness + amplitude * (-0.29227 * c - 0.90649 * s),
                         lightness + amplitude * 1.97294 * c};
  Colour colour;
  for (std::size_t i = 0; i < 3; ++i) {
    colour[i] = static_cast<std::uint8_t>(std::lround(255 * std::clamp(rgb[i], 0.0, 1.0)));
  }
  return colour;
}

Colour SlopeColourAt(double t) {
  constexpr double kStops[4][3] = {{240, 238, 228}, {250, 196, 110}, {214, 84, 48}, {92, 14, 40}};
  const double at = 3 * std::clamp(t, 0.0, 1.0);
  const std::size_t stop = std::min<std::size_t>(2, static_cast<std::size_t>(at));
  const double share = at - static_cast<double>(stop);
  Colour colour;
  for (std::size_t i = 0; i < 3; ++i) {
    colour[i] = static_cast<std::uint8_t>(
        std::lround(kStops[stop][i] + share * (kStops[stop + 1][i] - kStops[stop][i])));
  }
  return colour;
}

std::vector<Colour> ColourTable(int count) {
  std::vector<Colour> table;
  for (int i = 0; i < count; ++i) table.push_back(ColourAt(i / (count - 1.0)));
  return table;
}

}  // namespace qv3d
