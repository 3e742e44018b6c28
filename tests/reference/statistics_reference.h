// The statistics and conversions written down directly: one sample after the other, sums in long double.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace qv::reference {

inline bool Missing(float z) {
  return static_cast<double>(z) == -1e10 || z != z;
}

struct PowerSum {
  long double sum = 0;        ///< of z^power, or of |z| for power 0
  long double magnitude = 0;  ///< of the terms' absolute values
  std::ptrdiff_t used = 0;
};

inline PowerSum SumOfPowers(const std::vector<float>& samples, int power) {
  PowerSum total;
  for (const float z : samples) {
    if (Missing(z)) continue;
    long double term = 1;
    for (int i = 0; i < power; ++i) term *= z;
    if (power == 0) term = std::fabs(static_cast<long double>(z));
    total.sum += term;
    total.magnitude += std::fabs(term);
    ++total.used;
  }
  return total;
}

inline float Peak(const std::vector<float>& samples) {
  float m = -1e32F;
  for (const float z : samples) {
    if (!Missing(z) && m < z) m = z;
  }
  return m;
}

inline float Lowest(const std::vector<float>& samples) {
  float m = 1e32F;
  for (const float z : samples) {
    if (!Missing(z) && z < m) m = z;
  }
  return m;
}

/// Ten-point height: gathers every extremum of the grid and sorts the lists. Returns false where there are
/// too few.
inline bool TenPointHeight(const std::vector<float>& grid, int width, int height, float* result) {
  std::vector<float> peaks, valleys;
  for (int y = 1; y + 1 < height; ++y) {
    for (int x = 1; x + 1 < width; ++x) {
      const float centre = grid[static_cast<std::size_t>(y) * width + x];
      int lower = 0, higher = 0;
      for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
          if (dx == 0 && dy == 0) continue;
          const float z = grid[static_cast<std::size_t>(y + dy) * width + (x + dx)];
          lower += !Missing(z) && z < centre;
          higher += !Missing(z) && z > centre;
        }
      }
      if (Missing(centre)) continue;
      if (lower == 8) peaks.push_back(centre);
      if (higher == 8) valleys.push_back(centre);
    }
  }
  if (peaks.size() < 5 && valleys.size() < 5) return false;
  std::sort(peaks.rbegin(), peaks.rend());
  std::sort(valleys.begin(), valleys.end());
  peaks.resize(std::max<std::size_t>(peaks.size(), 5));
  valleys.resize(std::max<std::size_t>(valleys.size(), 5));
  double p = 0, v = 0;
  for (std::size_t i = 0; i < 5; ++i) {
    p += peaks[i];
    v -= valleys[i];
  }
  *result = static_cast<float>((p + v) * static_cast<double>(0.2F));
  return true;
}

/// Truncation toward zero to 32 bits as the platform's instruction does it, then the low 8 bits.
inline unsigned char TruncatedByte(double value) {
  if (!(std::trunc(value) >= -2147483648.0 && std::trunc(value) <= 2147483647.0)) return 0;
  return static_cast<unsigned char>(static_cast<long long>(value) & 0xFF);
}

}  // namespace qv::reference
