// SDF: writing, as 64-bit floats or as text.
#include <fmt/format.h>
#include <iterator>
#include <limits>

#include "formats/readers.h"
#include "formats/samples.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr int kDoubles = 7;
constexpr double kMostBinary = std::numeric_limits<std::uint16_t>::max();
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

/// Spacing and heights in metres are these numbers times the scale: as they are in memory, nothing is
/// rounded.
struct Scales {
  double x, y, z;
};

Scales ScalesOf(const GridToWrite& grid) {
  const double metres = UnitInMetres(grid.unit);
  return {grid.map.SpacingX() * metres, grid.map.SpacingY() * metres, metres};
}

}  // namespace

std::string WriteSdf(const GridToWrite& grid) {
  const HeightMap& map = grid.map;
  if (map.width > kMostBinary || map.height > kMostBinary) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("{} x {} samples: a binary SDF file has at most {:g} along a side", map.width,
                              map.height, kMostBinary),
                  "--format sdf-ascii knows no limit.");
  }
  const Scales scales = ScalesOf(grid);
  const SdfProvenance told = ToSdf(grid.provenance);
  std::string bytes = fmt::format("bISO-1.0{:<10.10}{:<12}{:<12}", told.maker, told.created, told.modified);
  StoreLittle(bytes, static_cast<std::uint16_t>(map.width));
  StoreLittle(bytes, static_cast<std::uint16_t>(map.height));
  for (const double number : {scales.x, scales.y, scales.z, -1.0}) StoreLittle(bytes, number);
  for (const int number : {0, kDoubles, 0}) bytes += static_cast<char>(number);
  bytes.reserve(bytes.size() + map.heights.size() * sizeof(double));
  for (int row = 0; row < map.height; ++row) {
    const float* const heights = grid.Row(row);
    for (int i = 0; i < map.width; ++i) StoreLittle(bytes, IsMissing(heights[i]) ? kNothing : heights[i]);
  }
  return bytes;
}

std::string WriteAsciiSdf(const GridToWrite& grid) {
  const HeightMap& map = grid.map;
  const Scales scales = ScalesOf(grid);
  const SdfProvenance told = ToSdf(grid.provenance);
  std::string text = fmt::format("aISO-1.0\nManufacID = {}\nCreateDate = {}\nModDate = {}\n", told.maker,
                                 told.created, told.modified);
  text += fmt::format(
      "NumPoints = {}\n"
      "NumProfiles = {}\nXscale = {:.9g}\nYscale = {:.9g}\nZscale = {}\nZresolution = -1\nCompression = 0\n"
      "DataType = {}\nCheckType = 0\n*\n",
      map.width, map.height, scales.x, scales.y, scales.z, kDoubles);
  for (int row = 0; row < map.height; ++row) {
    const float* const heights = grid.Row(row);
    for (int i = 0; i < map.width; ++i) {
      if (i > 0) text += ' ';
      if (IsMissing(heights[i])) {
        text += "BAD";
      } else {
        fmt::format_to(std::back_inserter(text), "{}", heights[i]);
      }
    }
    text += '\n';
  }
  return text + "*\n*\n";
}

}  // namespace qv3d
