#include "analysis/frequency_filter.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

#include "analysis/padding.h"
#include "failure.h"

namespace qv3d {
namespace {

/// How the library wants a filter: by a number, and by a parameter in parts of the highest frequency.
struct LibraryFilter {
  int type;
  float parameter;
};

/// `part` is the frequency of the cutoff over the highest frequency.
LibraryFilter ForLibrary(const FrequencyFilter& filter, double part) {
  const bool low = filter.pass == Pass::kLow;
  switch (filter.kind) {
    case FrequencyFilterKind::kIdeal:
      // Measured from the highest frequencies of both axes, where long waves along an axis lie farthest away:
      // type 1 clears what is near, the short waves.
      return {low ? 1 : 0, static_cast<float>(std::hypot(1, 1 - part))};
    case FrequencyFilterKind::kButterworth:
      // 1 / (1 + 0.414 * q * q) is a half.
      return {low ? 2 : 3, static_cast<float>(part * std::sqrt(0.414))};
    default:
      // exp(-k * k * ln 2 / (2 * p * p)) is a half.
      return {low ? 4 : 5, static_cast<float>(part / std::numbers::sqrt2)};
  }
}

}  // namespace

void CheckCutoff(const HeightMap& map, double cutoff) {
  const double shortest = 2 * std::max(map.SpacingX(), map.SpacingY());
  const double longest = std::max(map.width * map.SpacingX(), map.height * map.SpacingY());
  if (cutoff >= shortest && cutoff <= longest) return;
  throw Failure(ExitCode::kUsage, fmt::format("--cutoff {:g}: give from {:.4g} (two samples) to {:.4g} (the "
                                              "surface), in the unit of the file",
                                              cutoff, shortest, longest));
}

FrequencyFiltered FilterByFrequency(const HeightMap& map, const FrequencyFilter& filter) {
  CheckCutoff(map, filter.cutoff);
  // The library counts terms, whatever they stand for: with as many along both axes, a wave is filtered alike
  // in all directions.
  const int side = PowerOfTwoAbove(std::max(map.width, map.height));
  const double spacing = std::sqrt(map.SpacingX() * map.SpacingY());
  const double part = 2 * spacing / filter.cutoff;
  const LibraryFilter wanted = ForLibrary(filter, part);
  std::vector<float> padded = PadWithZeros(map, side, side);
  if (FFTFilter(padded.data(), side, side, wanted.type, wanted.parameter, 0, padded.data()) != 0) {
    throw Failure(ExitCode::kNotComputable, "not enough memory for the filter", "Choose a coarser grid.");
  }
  FrequencyFiltered filtered;
  filtered.heights.resize(map.heights.size());
  CropSurface(padded.data(), filtered.heights.data(), (side - map.width) / 2, (side - map.height) / 2, side,
              side, map.width, map.height);
  if (filter.pass == Pass::kLow) {
    double mean = 0;
    for (const float h : map.heights) mean += h;
    mean /= map.Count();
    for (float& h : filtered.heights) h = static_cast<float>(h + mean);
  }
  filtered.cutoffs = {filter.cutoff * map.SpacingX() / spacing, filter.cutoff * map.SpacingY() / spacing,
                      filter.cutoff};
  if (filter.kind == FrequencyFilterKind::kIdeal) {
    filtered.cutoffs.diagonal = 2 * spacing / (std::numbers::sqrt2 - std::hypot(1, 1 - part));
  }
  return filtered;
}

}  // namespace qv3d
