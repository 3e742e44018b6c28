// Grids arbitrary triangles and compares every node, bit by bit, with a search through all triangles. With
// clang's libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with replay_main.cpp it is an ordinary test that runs
// the corpus.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/fuzz/input_words.h"
#include "tests/reference/gridding_reference.h"
#include "tests/support/fake_diagnostics.h"

namespace {

using qv::test::InputWords;
using qv::test::NodePlacement;

/// A position on the grid or, rarely, anywhere. Most inputs would otherwise end at the first vertex.
double Position(InputWords& input, double first, double spacing, int nodes) {
  const std::uint8_t kind = input.Byte();
  const double last = static_cast<double>(nodes) - 1;
  if (kind < 100) return first + spacing * last * kind / 96;
  if (kind < 200) return first + spacing * ((kind - 100) % std::max(nodes, 1));
  if (kind < 225) return first + spacing * last * input.Byte() / 255;
  if (kind < 254)
    return std::nextafter(first + spacing * ((kind - 225) % std::max(nodes, 1)), input.Number());
  return input.Number();
}

std::vector<double> Triangles(InputWords& input, const NodePlacement& p) {
  std::vector<double> triangles;
  while (input.Left() > 0) {
    const bool repeats = input.Byte() % 8 == 0;  // a corner: lines and points are of interest
    for (int corner = 0; corner < 3; ++corner) {
      if (repeats && corner == 2) {
        triangles.insert(triangles.end(), triangles.end() - 3, triangles.end());
        continue;
      }
      triangles.push_back(Position(input, p.x0, p.dx, p.nx));
      triangles.push_back(Position(input, p.y0, p.dy, p.ny));
      triangles.push_back(input.Number());
    }
  }
  return triangles;
}

void Fail(const char* what, std::size_t where) {
  std::fprintf(stderr, "%s at %zu\n", what, where);
  std::abort();
}

void Compare(const std::vector<double>& triangles, const NodePlacement& p, int cells) {
  const auto expected = qv::test::TriangleGridReference(triangles, p, cells).Convert();
  std::vector<float> heights(p.Count(), 7.0F);
  qv::test::TakeMessages();
  const int result =
      LinearInterpolationOfTriangles(triangles.data(), static_cast<int>(triangles.size() / 9), heights.data(),
                                     p.nx, p.ny, p.dx, p.dy, p.x0, p.y0, cells);
  if (result != expected.result) Fail("result", 0);
  const std::string message = result == -1 ? "Bad cell index - shouldn't happen\n" : "";
  if (qv::test::TakeMessages() != message) Fail("message", 0);
  for (std::size_t i = 0; i < heights.size(); ++i) {
    const float height = result == 0 ? expected.heights[i] : 7.0F;
    const bool bothNaN = std::isnan(height) && std::isnan(heights[i]);
    if (!bothNaN && std::memcmp(&height, &heights[i], sizeof height) != 0) Fail("height", i);
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  InputWords input(data, size);
  const int nx = input.Byte() % 30 - 1, ny = input.Byte() % 30 - 1;
  const std::uint8_t kind = input.Byte();
  const int cells = kind < 250 ? kind % 50 - 1 : input.Int();
  const double x0 = input.Number(), y0 = input.Number(), dx = input.Number(), dy = input.Number();
  const NodePlacement placement = {nx, ny, dx, dy, x0, y0};
  Compare(Triangles(input, placement), placement, cells);
  return 0;
}
