// Height maps for what knows no missing samples: the transforms.
#pragma once

#include <vector>

#include "import/load.h"

namespace qv3d {

struct WholeMap {
  LoadedMap loaded;           ///< without missing samples
  std::vector<bool> missing;  ///< which samples were missing; empty where none was
};

/// As LoadHeightMap. Throws Failure (not computable) where samples are missing and none were to be filled.
WholeMap LoadWholeMap(const ImportOptions& options, Progress& progress);

/// Marks the samples that were missing as missing again.
void RestoreMissing(const WholeMap& whole, std::vector<float>& heights);

}  // namespace qv3d
