// Feeds arbitrary bytes to the reader of X3P as the description in an archive that is in order: damage to the
// archive itself is mostly found by its checksums, before anybody reads what it holds.
#include <cstddef>
#include <cstdint>
#include <string>

#include "formats/zip_archive.h"
#include "read_grid.h"

namespace {

/// Enough samples of any type, and bits, for the descriptions of the corpus. As floats some of the samples
/// are none, or more than can be held.
constexpr std::size_t kSampleBytes = 256, kMaskBytes = 8;

std::string Samples() {
  std::string bytes;
  for (std::size_t i = 0; i < kSampleBytes; ++i) bytes += static_cast<char>(i * 37 % 251);
  return bytes;
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string kSamples = Samples(), kMask(kMaskBytes, '\x5D');
  const std::string description(reinterpret_cast<const char*>(data), size);
  qv::test::ReadGridBytes(
      "x3p", qv3d::WriteZip(
                 {{"main.xml", description}, {"bindata/data.bin", kSamples}, {"bindata/valid.bin", kMask}}));
  return 0;
}
