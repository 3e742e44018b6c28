#include "analysis/section.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {
namespace {

/// The part of the way across the lines at which the library finds this line, and not the one before.
float PartFor(float line, int last) {
  if (last == 0) return 0;
  float part = line / static_cast<float>(last);
  while (part * static_cast<float>(last) < line) part = std::nextafter(part, 2.0f);
  return part;
}

/// Bands without a sample give +-1e32 or a NaN.
bool HasNoSample(float height) {
  return IsMissing(height) || std::abs(height) >= 1e31f;
}

}  // namespace

double LineAt(const HeightMap& map, bool alongX, double position) {
  return alongX ? (position - map.y0) / map.SpacingY() : (position - map.x0) / map.SpacingX();
}

void RequireInside(const HeightMap& map, SectionRequest& request) {
  const double first = request.alongX ? map.y0 : map.x0;
  const double spacing = request.alongX ? map.SpacingY() : map.SpacingX();
  const int last = (request.alongX ? map.height : map.width) - 1;
  // A position that was read from a rounded number may lie a little outside.
  constexpr double kSlack = 1e-6;
  if (!(request.line >= -kSlack * last && request.line <= last * (1 + kSlack))) {
    throw Failure(
        ExitCode::kUsage,
        fmt::format("the section lies outside of the map, which has {} 0 to {} at {} = {:.6g} to {:.6g}",
                    request.alongX ? "rows" : "columns", last, request.alongX ? "y" : "x", first,
                    first + last * spacing));
  }
  request.line = std::clamp(request.line, 0.0, double(last));
}

Profile ProfileOf(const HeightMap& map, const SectionRequest& request) {
  const int count = request.alongX ? map.width : map.height;
  const int last = (request.alongX ? map.height : map.width) - 1;
  // A band of an even number of lines has its middle between two of them.
  double line = request.line;
  if (request.band > 1) line = std::floor(line + 0.5) + (request.band % 2 == 0 ? 0.5 : 0);
  const auto half = static_cast<float>(request.band - 1) / 2;
  Profile profile;
  profile.heights.resize(static_cast<std::size_t>(count));
  ComputeCrossSectionProfile(map.width, map.height, request.alongX ? 0 : 1, static_cast<int>(request.mode), 0,
                             PartFor(static_cast<float>(line), last), half, map.heights.data(),
                             profile.heights.data(), 1);
  // Columns come from the last row to the first.
  if (!request.alongX) std::reverse(profile.heights.begin(), profile.heights.end());
  for (float& h : profile.heights) {
    if (HasNoSample(h)) h = static_cast<float>(QV_BAD_SAMPLE);
  }
  for (int k = 0; k < count; ++k) {
    profile.positions.push_back(request.alongX ? map.x0 + k * map.SpacingX() : map.y0 + k * map.SpacingY());
  }
  return profile;
}

ProfileStatistics MeasureProfile(Profile profile) {
  ProfileStatistics s;
  const auto count = static_cast<int>(profile.heights.size());
  float* const h = profile.heights.data();
  if (RemoveAverage(h, count) != 0) {
    throw Failure(ExitCode::kNotComputable, "every sample of the section is missing");
  }
  ComputeAverage(h, count, &s.pa);
  ComputeRMS(h, count, &s.pq);
  ComputePeak(h, count, &s.pp);
  ComputeValley(h, count, &s.pv);
  ComputePeakToValley(h, count, &s.pt);
  ComputeSkewness(h, count, &s.psk);
  ComputeKurtosis(h, count, &s.pku);
  return s;
}

}  // namespace qv3d
