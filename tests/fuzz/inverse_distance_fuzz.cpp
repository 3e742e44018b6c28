// Grids arbitrary points by inverse distance and compares every node with the plain sums. With clang's
// libFuzzer (QV_3D_BUILD_FUZZERS) it searches; with replay_main.cpp it is an ordinary test that runs the
// corpus.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/fuzz/input_words.h"
#include "tests/reference/gridding_reference.h"

namespace {

/// Past this neither side has enough digits left for a comparison: the rounding of a distance is magnified.
bool HasDigits(double power) {
  return !(std::abs(power) > 1000);
}

void Compare(const std::vector<double>& points, const qv::test::NodePlacement& p, double power,
             double smoothing) {
  std::vector<float> heights(p.Count(), 7.0F);
  if (InverseDistanceToAPower(points.data(), static_cast<int>(points.size() / 3), heights.data(), p.nx, p.ny,
                              p.dx, p.dy, p.x0, p.y0, power, smoothing) != 0)
    std::abort();
  for (int row = 0; row < p.ny; ++row) {
    for (int column = 0; column < p.nx; ++column) {
      const auto expected = qv::test::InverseDistanceReference(points, column * p.dx + p.x0,
                                                               row * p.dy + p.y0, power, smoothing);
      const float actual = heights[p.Index(column, row)];
      if (HasDigits(power) && !qv::test::IsCloseTo(actual, expected)) {
        std::fprintf(stderr, "node %d, %d: %.9g instead of %.17g\n", column, row, static_cast<double>(actual),
                     expected.value);
        std::abort();
      }
    }
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qv::test::InputWords input(data, size);
  constexpr double kPowers[] = {2, 1, 2.5, 3, 0, -2, 0.5, 31.5};
  const std::uint8_t kind = input.Byte();
  const double power = kind < 128 ? kPowers[kind % 8] : input.Number();
  const double smoothing = kind % 3 == 0 ? 0 : input.Number();
  const int nx = input.Byte() % 40 - 1, ny = input.Byte() % 6 - 1;
  const double x0 = input.Number(), y0 = input.Number(), dx = input.Number(), dy = input.Number();
  std::vector<double> points;
  while (input.Left() > 0) {
    for (int i = 0; i < 3; ++i) points.push_back(input.Number());
  }
  Compare(points, {nx, ny, dx, dy, x0, y0}, power, smoothing);
  return 0;
}
