// What every fuzz target of the host's readers of height maps does with bytes.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <string>

#include "failure.h"
#include "formats/grid_file.h"

namespace qv::test {

inline void RequireInOrder(const qv3d::HeightMap& map) {
  if (map.width < 2 || map.height < 2 || map.heights.size() != static_cast<std::size_t>(map.Count()))
    std::abort();
  if (!(map.xSize > 0) || !(map.ySize > 0) || !std::isfinite(map.xSize) || !std::isfinite(map.ySize))
    std::abort();
  for (const float h : map.heights) {
    if (!std::isfinite(h)) std::abort();
  }
}

/// Reads them and takes what is read on to heights in memory. Ends the process where that is no grid, or
/// where the bytes are refused for a reason that a file cannot give.
inline void ReadGridBytes(const char* formatId, const std::string& bytes) {
  const qv3d::GridFormat& format = *qv3d::FindById(formatId);
  try {
    RequireInOrder(qv3d::UnderstandGrid("file", format, bytes, {}).map);
  } catch (const qv3d::Failure& failure) {
    const qv3d::ExitCode code = failure.code();
    const bool expected = code == qv3d::ExitCode::kUnreadable || code == qv3d::ExitCode::kCorrupt ||
                          code == qv3d::ExitCode::kNotComputable;
    if (!expected || std::string(failure.what()).empty()) std::abort();
  }
}

}  // namespace qv::test
