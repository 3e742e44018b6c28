// Feeds arbitrary bytes to the STL reader and, where the mesh allows it, to the conversion. With clang's
// libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with replay_main.cpp it is an ordinary test that runs the
// corpus.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/stl_reader.h"
#include "tests/fuzz/refinement.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::mesh::stl;

/// The conversion's arguments come from the last bytes of the file, so that they can be searched too.
void ConvertLoaded(const std::uint8_t* data, std::size_t size) {
  const auto byte = [&](std::size_t fromEnd) {
    return size > fromEnd ? data[size - 1 - fromEnd] : std::uint8_t{0};
  };
  const int nx = byte(0) % 40 - 2, ny = byte(1) % 40 - 2;
  const std::size_t samples =
      nx < 0 || ny < 0 ? 0 : (static_cast<std::size_t>(nx) + 1) * (static_cast<std::size_t>(ny) + 1);
  std::vector<float> heights(samples);
  const float width = stl.StlBounds.maximum[0] - stl.StlBounds.minimum[0];
  const float height = stl.StlBounds.maximum[1] - stl.StlBounds.minimum[1];
  const float xSize = width * static_cast<float>(byte(2) - 64) / 64,
              ySize = height * static_cast<float>(byte(3)) / 64;
  ConvertSTLFile(nx, ny, -width * static_cast<float>(byte(4)) / 256, 0, xSize, ySize, heights.data());
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const qv::test::TemporaryFile file("");
  file.Write(std::string(reinterpret_cast<const char*>(data), size));
  stl.Verbose = size % 2;
  qv::test::EndsProcess([&] {
    float b[6];
    int count = 0;
    ParseSTLFile(file.name(), b, b + 1, b + 2, b + 3, b + 4, b + 5, &count);
    if (count < 1 || stl.StlTriangles.size() != static_cast<std::size_t>(count)) std::abort();
    // Files of a few records cannot reach the 200 triangles of a conversion: announce the mesh several times
    // over.
    if (count < 200 && size % 3 == 0) {
      const std::size_t once = stl.StlTriangles.size();
      while (stl.StlTriangles.size() < 200) {
        const qv::mesh::Triangle again = stl.StlTriangles[stl.StlTriangles.size() - once];
        if (!stl.StlTriangles.Append(again)) std::abort();
      }
      stl.StlTriangleCount = static_cast<int>(stl.StlTriangles.size());
    }
    if (qv::test::IsQuicklyRefined(stl.StlTriangles, stl.StlTriangleCount, stl.StlBounds))
      ConvertLoaded(data, size);
  });
  CleanUpSTL();
  qv::test::TakeMessages();
  return 0;
}
