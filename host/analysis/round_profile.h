// Roundness: a profile of one revolution, its least-squares circle, its deviations, and the polar filters.
#pragma once

#include <filesystem>
#include <vector>

namespace qv3d {

/// Radii, or deviations from any circle, at equal angles over one revolution.
struct RoundProfile {
  std::vector<double> values;
  double firstAngle = 0;  ///< degrees, of the first value

  double AngleOf(std::size_t index) const {
    return firstAngle + 360.0 * static_cast<double>(index) / static_cast<double>(values.size());
  }
};

/// Reads lines of one number (a radius or deviation) or two (an angle in degrees, and the number); "#" starts
/// a comment, and a first line without a number is a heading. Angles must rise in equal steps over the whole
/// turn; a last sample at 360 degrees after the first is left out. Throws Failure (unreadable, corrupt).
RoundProfile ReadRoundProfile(const std::filesystem::path& path);

/// The circle r = radius + x*cos(angle) + y*sin(angle) with the least squares of what is left. For a profile
/// of deviations `radius` is their mean.
struct MeanCircle {
  double radius = 0, x = 0, y = 0;
};

MeanCircle FitCircle(const RoundProfile& profile);
RoundProfile DeviationsFrom(const MeanCircle& circle, const RoundProfile& profile);

struct Roundness {
  double t = 0;  ///< highest peak to deepest valley
  double p = 0;  ///< highest peak
  double v = 0;  ///< depth of the deepest valley
  double q = 0;  ///< root mean square
};

Roundness MeasureRoundness(const RoundProfile& deviations);

enum class RoundFilter { kGaussian, kTwoRc, kTwoRcPhaseCorrected };

/// Throws Failure (usage) where the cut-off, in undulations per revolution, makes no sense for so many
/// samples.
void CheckRoundCutoff(RoundFilter filter, double cutoff, std::size_t samples);

/// The profile without the undulations beyond the cut-off, of which 50 % pass the Gaussian filter and 75 %
/// the other two.
RoundProfile FilterRound(RoundFilter filter, double cutoff, const RoundProfile& profile);

}  // namespace qv3d
