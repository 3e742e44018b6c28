// Contour segments written down cell by cell and triangle by triangle: slow and obvious.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qv::test::reference {

inline bool IsHole(float z) {
  return std::bit_cast<std::uint32_t>(z) == 0xD01502F9U;
}
inline bool IsHole(double /*z*/) {
  return false;
}

/// How often each combination of signs (m1, centre, m3, each plus 1) came up.
using CaseCounts = int[3][3][3];

template <class Real>
std::vector<Real> Contours(const std::vector<Real>& heights, int width, int height,
                           const std::vector<Real>& xs, const std::vector<Real>& ys, Real level,
                           CaseCounts* counts = nullptr) {
  static constexpr int kTable[3][3][3] = {{{0, 0, 8}, {0, 2, 5}, {7, 6, 9}},
                                          {{0, 3, 4}, {1, 3, 1}, {4, 3, 0}},
                                          {{9, 6, 7}, {5, 2, 0}, {8, 0, 0}}};
  static constexpr int kColumn[5] = {0, 0, 1, 1, 0}, kRow[5] = {0, 0, 0, 1, 1};
  std::vector<Real> segments;
  for (int j = 0; j + 1 < height; ++j) {
    for (int i = 0; i + 1 < width; ++i) {
      const auto sample = [&](int m) {
        return heights[static_cast<std::size_t>(j + kRow[m]) * width + (i + kColumn[m])];
      };
      if (IsHole(sample(1)) || IsHole(sample(2)) || IsHole(sample(3)) || IsHole(sample(4))) continue;
      Real h[5], xh[5], yh[5];
      for (int m = 4; m >= 1; --m) {
        h[m] = static_cast<Real>(static_cast<double>(sample(m)) - static_cast<double>(level));
        xh[m] = xs[i + kColumn[m]];
        yh[m] = ys[j + kRow[m]];
      }
      double sum = h[4];
      sum += h[3];
      sum += h[2];
      sum += h[1];
      h[0] = static_cast<Real>(0.25 * sum);
      xh[0] = static_cast<Real>(0.5 * (static_cast<double>(xs[i]) + static_cast<double>(xs[i + 1])));
      yh[0] = static_cast<Real>(0.5 * (static_cast<double>(ys[j]) + static_cast<double>(ys[j + 1])));
      const auto sign = [&](int m) { return h[m] > 0 ? 2 : h[m] < 0 ? 0 : 1; };
      const auto crossing = [&](int p, int q, const Real* at) {
        const Real difference = h[q] - h[p];
        const double numerator = static_cast<double>(h[q]) * static_cast<double>(at[p]) -
                                 static_cast<double>(h[p]) * static_cast<double>(at[q]);
        return static_cast<Real>(numerator / static_cast<double>(difference));
      };
      const auto putVertex = [&](int m) {
        segments.push_back(xh[m]);
        segments.push_back(yh[m]);
      };
      const auto putSide = [&](int p, int q) {
        segments.push_back(crossing(p, q, xh));
        segments.push_back(crossing(p, q, yh));
      };
      for (int m = 1; m <= 4; ++m) {
        const int m1 = m, m2 = 0, m3 = m == 4 ? 1 : m + 1;
        if (counts != nullptr) ++(*counts)[sign(m1)][sign(m2)][sign(m3)];
        switch (kTable[sign(m1)][sign(m2)][sign(m3)]) {
          case 1:
            putVertex(m1), putVertex(m2);
            break;
          case 2:
            putVertex(m2), putVertex(m3);
            break;
          case 3:
            putVertex(m3), putVertex(m1);
            break;
          case 4:
            putVertex(m1), putSide(m2, m3);
            break;
          case 5:
            putVertex(m2), putSide(m3, m1);
            break;
          case 6:
            putVertex(m3), putSide(m1, m2);
            break;
          case 7:
            putSide(m1, m2), putSide(m2, m3);
            break;
          case 8:
            putSide(m2, m3), putSide(m3, m1);
            break;
          case 9:
            putSide(m3, m1), putSide(m1, m2);
            break;
          default:
            break;
        }
      }
    }
  }
  return segments;
}

}  // namespace qv::test::reference
