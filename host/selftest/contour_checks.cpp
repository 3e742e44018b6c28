// The level circle of a sphere's cap, and sections.
#include <cmath>
#include <numbers>

#include "analysis/contour_lines.h"
#include "analysis/section.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

double AreaOf(const ContourLine& line) {
  double doubled = 0;
  for (std::size_t i = 0; i < line.points.size(); ++i) {
    const auto &a = line.points[i], &b = line.points[(i + 1) % line.points.size()];
    doubled += double{a[0]} * b[1] - double{b[0]} * a[1];
  }
  return std::abs(doubled) / 2;
}

void CheckCircle(const Gauges& gauges, Checks& checks) {
  using G = CapGauge;
  constexpr float kLevel = 40;
  const ContourLevel level = ContoursAt(gauges.cap, kLevel);
  const double z = G::kRadius - (G::kPeak - kLevel);
  const double radius = std::sqrt(G::kRadius * G::kRadius - z * z);
  checks.Count("cap", "lines at a level", 1, level.lines.size());
  const ContourLine none;
  const ContourLine& line = level.lines.empty() ? none : level.lines.front();
  // Between samples the surface is taken for flat: across a cell it lies up to d^2 / (8 * curvature radius)
  // lower, d being the diagonal, and the radius of the level is off by that over the slope.
  const double below = 2 * kGaugeSpacing * kGaugeSpacing / (8 * G::kRadius) * std::pow(G::kRadius / z, 3);
  const double off = below / (radius / z);
  checks.Near("cap", "length of the level circle", 2 * std::numbers::pi * radius, LengthOf(line),
              2 * std::numbers::pi * off);
  checks.Near("cap", "area of the level circle", std::numbers::pi * radius * radius, AreaOf(line),
              2 * std::numbers::pi * radius * off);
}

double FarthestFromProfile(const Profile& profile, double (*height)(double)) {
  double farthest = 0;
  for (std::size_t k = 0; k < profile.heights.size(); ++k) {
    farthest = std::max(farthest, std::abs(profile.heights[k] - height(profile.positions[k])));
  }
  return farthest;
}

}  // namespace

void CheckContours(const Gauges& gauges, Checks& checks) {
  CheckCircle(gauges, checks);
  using G = CapGauge;
  const Profile row = ProfileOf(gauges.cap, {true, (G::kSize - 1) / 2.0});
  // The line is found through a fraction of the map's height in single precision: beside the row by that much
  // of the map, where the neighbouring row is lower by no more than the spacing's square over the radius.
  checks.Near("cap", "section through the middle, farthest from the circle", 0,
              FarthestFromProfile(row, [](double x) { return CapHeight(x - G::kMiddle, 0); }),
              Rounding(4 * G::kRadius));
  const Profile column = ProfileOf(gauges.plane, {false, 10.5});
  checks.Near("plane", "section between two columns, farthest from the line", 0,
              FarthestFromProfile(column, [](double y) { return PlaneHeight(10.5 * kGaugeSpacing, y); }),
              Rounding(8 * (PlaneGauge::kC + 15)));
}

}  // namespace qv3d
