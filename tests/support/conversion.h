// Converts the loaded mesh to a grid between guard bands, and tells how that ended.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/fake_diagnostics.h"
#include "tests/support/guarded.h"

namespace qv::test {

struct Placement {
  int nx, ny;
  float xOffset, yOffset, xSize, ySize;
};

struct Converted {
  bool ended = false;
  unsigned status = 77;
  std::vector<float> heights;
  bool untouched = false;
  std::string messages;
};

/// `convert` is ConvertSTLFile or ConvertPLYFile.
template <class Export>
Converted ConvertGuarded(Export convert, const Placement& p) {
  TakeMessages();
  Converted out;
  const std::size_t count =
      p.nx < 0 || p.ny < 0 ? 1 : (static_cast<std::size_t>(p.nx) + 1) * (static_cast<std::size_t>(p.ny) + 1);
  Guarded<float> heights(count);
  out.ended = EndsProcess(
      [&] { out.status = convert(p.nx, p.ny, p.xOffset, p.yOffset, p.xSize, p.ySize, heights.data()); });
  out.messages = TakeMessages();
  out.heights = heights.Values();
  out.untouched = heights.Untouched();
  return out;
}

}  // namespace qv::test
