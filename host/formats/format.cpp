#include "formats/format.h"

#include <cmath>
#include <fmt/format.h>

#include "units.h"

namespace qv3d {
namespace {

constexpr double kMostSamples = std::size_t{1} << 30;

}  // namespace

const float* GridToWrite::Row(int fileRow) const {
  const int row = origin == Origin::kBottom ? fileRow : map.height - 1 - fileRow;
  return map.heights.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(map.width);
}

void RefuseCorrupt(const std::string& name, const std::string& what) {
  throw Failure(ExitCode::kCorrupt, fmt::format("{}: {}", name, what), "Export or copy it again.");
}

void RefuseUnsupported(const std::string& name, const std::string& what) {
  throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", name, what),
                "docs/formats.md lists what can be read.");
}

std::size_t SetSize(FileGrid& grid, const std::string& name, double width, double height) {
  if (!(width >= 2) || !(height >= 2) || width != std::floor(width) || height != std::floor(height)) {
    RefuseCorrupt(name, fmt::format("{:g} x {:g} samples; a height map has at least 2 x 2", width, height));
  }
  if (width * height > kMostSamples) {
    RefuseCorrupt(name, fmt::format("{:g} x {:g} samples are more than can be held", width, height));
  }
  grid.width = static_cast<int>(width);
  grid.height = static_cast<int>(height);
  return static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height);
}

double UnitOf(std::string_view unit, std::string& foreign) {
  if (unit.empty()) return 0;
  const double metres = UnitInMetres(std::string(unit));
  if (!(metres > 0)) foreign = unit;
  return metres;
}

}  // namespace qv3d
