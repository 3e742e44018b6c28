// Feeds arbitrary bytes to a reader of height maps of the host, QV_FORMAT_ID, and takes what it reads on to
// heights in memory. With clang's libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with replay_main.cpp it is an
// ordinary test.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "failure.h"
#include "formats/grid_file.h"

namespace {

void RequireInOrder(const qv3d::HeightMap& map) {
  if (map.width < 2 || map.height < 2 || map.heights.size() != static_cast<std::size_t>(map.Count()))
    std::abort();
  if (!(map.xSize > 0) || !(map.ySize > 0) || !std::isfinite(map.xSize) || !std::isfinite(map.ySize))
    std::abort();
  for (const float h : map.heights) {
    if (!std::isfinite(h)) std::abort();
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const qv3d::GridFormat& format = *qv3d::FindById(QV_FORMAT_ID);
  try {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    RequireInOrder(qv3d::UnderstandGrid("file", format, bytes, {}).map);
  } catch (const qv3d::Failure& failure) {
    const qv3d::ExitCode code = failure.code();
    const bool expected = code == qv3d::ExitCode::kUnreadable || code == qv3d::ExitCode::kCorrupt ||
                          code == qv3d::ExitCode::kNotComputable;
    if (!expected || std::string(failure.what()).empty()) std::abort();
  }
  return 0;
}
