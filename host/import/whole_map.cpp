#include "import/whole_map.h"

#include <QV_3D.h>
#include <algorithm>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {

WholeMap LoadWholeMap(const ImportOptions& options, Progress& progress) {
  ImportOptions unfilled = options;
  unfilled.fill = false;
  WholeMap whole{LoadHeightMap(unfilled, progress), {}};
  HeightMap& map = whole.loaded.map;
  if (whole.loaded.missing == 0) return whole;
  if (!options.fill) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("{} of {} samples are missing ({:.2f} %): a transform needs every sample",
                              whole.loaded.missing, map.heights.size(), 100 * whole.loaded.MissingShare()),
                  "--fill gives them the lowest height; a grid inside the measured area needs none.");
  }
  whole.missing.resize(map.heights.size());
  std::transform(map.heights.begin(), map.heights.end(), whole.missing.begin(), IsMissing);
  FillMissing(map);
  return whole;
}

void RestoreMissing(const WholeMap& whole, std::vector<float>& heights) {
  for (std::size_t k = 0; k < whole.missing.size(); ++k) {
    if (whole.missing[k]) heights[k] = static_cast<float>(QV_BAD_SAMPLE);
  }
}

}  // namespace qv3d
