#include "selftest/check.h"

#include <numbers>

namespace qv3d {

double Check::Deviation() const {
  return std::abs(found - expected);
}

void Checks::Near(const char* gauge, const std::string& name, double expected, double found,
                  double tolerance) {
  Check check{family_, gauge, name, expected, found, tolerance, CheckState::kFailed, {}};
  // Not true of a NaN.
  if (check.Deviation() <= tolerance) check.state = CheckState::kOk;
  all_.push_back(check);
}

void Checks::Count(const char* gauge, const std::string& name, std::size_t expected, std::size_t found) {
  Near(gauge, name, static_cast<double>(expected), static_cast<double>(found), 0);
}

std::size_t Checks::Number(CheckState state) const {
  return static_cast<std::size_t>(
      std::count_if(all_.begin(), all_.end(), [&](const Check& check) { return check.state == state; }));
}

void Checks::Remark(CheckState state, const std::string& reason) {
  Check check;
  check.family = family_;
  check.state = state;
  check.remark = reason;
  all_.push_back(check);
}

double WaveAmplitude(const HeightMap& map, double wavelength) {
  double sine = 0, cosine = 0;
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column) {
      const double angle = 2 * std::numbers::pi * column * map.SpacingX() / wavelength;
      sine += map.At(column, row) * std::sin(angle);
      cosine += map.At(column, row) * std::cos(angle);
    }
  }
  return 2 * std::hypot(sine, cosine) / map.Count();
}

}  // namespace qv3d
