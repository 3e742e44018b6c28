// Feeds arbitrary bytes to a reader of height maps of the host, QV_FORMAT_ID, and takes what it reads on to
// heights in memory. With clang's libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with replay_main.cpp it is an
// ordinary test.
#include <cstddef>
#include <cstdint>
#include <string>

#include "read_grid.h"

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qv::test::ReadGridBytes(QV_FORMAT_ID, std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
