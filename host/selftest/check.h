// What a built-in check is: a number that a gauge's closed form tells, and the number that was found.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "selftest/gauges.h"

namespace qv3d {

enum class CheckState { kOk, kFailed, kSkipped };

struct Check {
  std::string family, gauge, name;
  double expected = 0, found = 0, tolerance = 0;
  CheckState state = CheckState::kFailed;
  std::string remark;  ///< why there are no numbers

  double Deviation() const;
};

class Checks {
 public:
  /// The checks that follow belong to this family.
  void Begin(const char* family) { family_ = family; }

  /// Holds where both numbers are finite and no farther apart than the tolerance. `gauge` is empty where what
  /// is checked does not depend on the heights of one.
  void Near(const char* gauge, const std::string& name, double expected, double found, double tolerance);
  /// As Near, for what is counted.
  void Count(const char* gauge, const std::string& name, std::size_t expected, std::size_t found);
  /// A family that ended early, and one that was not looked at.
  void Fail(const std::string& reason) { Remark(CheckState::kFailed, reason); }
  void Skip(const std::string& reason) { Remark(CheckState::kSkipped, reason); }

  const std::vector<Check>& all() const { return all_; }
  std::size_t Number(CheckState state) const;

 private:
  void Remark(CheckState state, const std::string& reason);

  std::string family_;
  std::vector<Check> all_;
};

/// What rounding a number of this size to a float once may do to it.
constexpr double Rounding(double size) {
  return size * 0x1p-24;
}

/// The farthest that a sample lies from `height(x, y)`; infinite where one is missing.
template <class Height>
double FarthestFrom(const HeightMap& map, Height height) {
  double farthest = 0;
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column) {
      const double x = map.x0 + column * map.SpacingX(), y = map.y0 + row * map.SpacingY();
      if (IsMissing(map.At(column, row))) return HUGE_VAL;
      farthest = std::max(farthest, std::abs(map.At(column, row) - height(x, y)));
    }
  }
  return farthest;
}

/// The amplitude of the wave along x of this length; the map must hold a whole number of them.
double WaveAmplitude(const HeightMap& map, double wavelength);

}  // namespace qv3d
