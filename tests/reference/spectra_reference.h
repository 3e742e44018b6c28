// The spectral exports written down step by step: slow and obvious.
#pragma once

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace qv::test::reference {

inline void FFT1D(int direction, int m, std::vector<float>& x, std::vector<float>& y) {
  int n = 1;
  for (int i = 0; i < m; ++i) n *= 2;
  int j = 0;
  for (int i = 0; i < n - 1; ++i) {
    if (i < j) {
      std::swap(x[i], x[j]);
      std::swap(y[i], y[j]);
    }
    int k = n / 2;
    while (k <= j) {
      j -= k;
      k /= 2;
    }
    j += k;
  }
  double c1 = -1, c2 = 0;
  int l2 = 1;
  for (int stage = 0; stage < m; ++stage) {
    const int l1 = l2;
    l2 *= 2;
    double u1 = 1, u2 = 0;
    for (j = 0; j < l1; ++j) {
      for (int i = j; i < n; i += l2) {
        const int i1 = i + l1;
        const double t1 = u1 * x[i1] - u2 * y[i1];
        const double t2 = u1 * y[i1] + u2 * x[i1];
        x[i1] = static_cast<float>(x[i] - t1);
        y[i1] = static_cast<float>(y[i] - t2);
        x[i] = static_cast<float>(x[i] + t1);
        y[i] = static_cast<float>(y[i] + t2);
      }
      const double z = u1 * c1 - u2 * c2;
      u2 = u1 * c2 + u2 * c1;
      u1 = z;
    }
    c2 = std::sqrt((1 - c1) / 2);
    if (direction == 1) c2 = -c2;
    c1 = std::sqrt((1 + c1) / 2);
  }
  if (direction == 1) {
    for (int i = 0; i < n; ++i) {
      x[i] /= static_cast<float>(n);
      y[i] /= static_cast<float>(n);
    }
  }
}

using Plane = std::vector<std::vector<float>>;

inline Plane Zeros(int rows, int columns) {
  return Plane(rows, std::vector<float>(columns, 0.0F));
}

inline void FFT2D(Plane& real, Plane& imaginary, int rows, int columns, int direction) {
  std::vector<float> x(rows), y(rows);
  int m = static_cast<int>(std::log(rows) * 1.4426950408890578);
  for (int c = 0; c < columns; ++c) {
    for (int r = 0; r < rows; ++r) {
      x[r] = real[r][c];
      y[r] = imaginary[r][c];
    }
    FFT1D(direction, m, x, y);
    for (int r = 0; r < rows; ++r) {
      real[r][c] = x[r];
      imaginary[r][c] = y[r];
    }
  }
  m = static_cast<int>(std::log(columns) * 1.4426950408890578);
  for (int r = 0; r < rows; ++r) FFT1D(direction, m, real[r], imaginary[r]);
}

inline int PaddedSize(int size) {
  const double l = std::log(size) * 1.4426950408890578;
  const int k = static_cast<int>(l);
  return l - k < 1e-11 ? size : static_cast<int>(std::pow(2.0, k + 1));
}

struct Prepared {
  int rows, columns, rowOffset, columnOffset;
  Plane real, imaginary;
};

/// The order of the mean's sum is free: give heights whose sum is exact.
inline Prepared Prepare(const std::vector<float>& heights, int width, int height) {
  Prepared p;
  p.rows = PaddedSize(height);
  p.columns = PaddedSize(width);
  p.rowOffset = (p.rows - height) / 2;
  p.columnOffset = (p.columns - width) / 2;
  p.real = p.imaginary = Zeros(p.rows, p.columns);
  double sum = 0;
  float count = 0;
  for (const float z : heights) {
    sum += z;
    count += 1.0F;
  }
  const double mean = sum / count;
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < width; ++c) {
      p.real[r + p.rowOffset][c + p.columnOffset] =
          static_cast<float>(heights[static_cast<std::size_t>(r) * width + c] - mean);
    }
  }
  FFT2D(p.real, p.imaginary, p.rows, p.columns, -1);
  return p;
}

inline std::vector<float> Pairs(const Plane& real, const Plane& imaginary) {
  std::vector<float> pairs;
  for (std::size_t r = 0; r < real.size(); ++r) {
    for (std::size_t c = 0; c < real[r].size(); ++c) {
      pairs.push_back(real[r][c]);
      pairs.push_back(imaginary[r][c]);
    }
  }
  return pairs;
}

inline std::vector<float> ComputeFFTGrid(const std::vector<float>& heights, int width, int height) {
  const Prepared p = Prepare(heights, width, height);
  return Pairs(p.real, p.imaginary);
}

inline std::vector<float> DoFFTInverse(int width, int height, const std::vector<float>& spectrum) {
  Plane real = Zeros(height, width), imaginary = real;
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < width; ++c) {
      real[r][c] = spectrum[2 * (static_cast<std::size_t>(r) * width + c)];
      imaginary[r][c] = spectrum[2 * (static_cast<std::size_t>(r) * width + c) + 1];
    }
  }
  FFT2D(real, imaginary, height, width, 1);
  std::vector<float> heights;
  for (const auto& row : real) heights.insert(heights.end(), row.begin(), row.end());
  return heights;
}

inline Plane Shifted(const Plane& grid, int rows, int columns) {
  Plane shifted = grid;
  const int halfRows = rows / 2, halfColumns = columns / 2;
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      shifted[r][c] = grid[r < halfRows ? r + halfRows : r - halfRows]
                          [c < halfColumns ? c + halfColumns : c - halfColumns];
    }
  }
  return shifted;
}

inline std::vector<float> Crop(const Prepared& p, const Plane& grid, int width, int height) {
  std::vector<float> out;
  for (int r = 0; r < height; ++r) {
    for (int c = 0; c < width; ++c) out.push_back(grid[r + p.rowOffset][c + p.columnOffset]);
  }
  return out;
}

inline std::vector<float> PowerSpectrum(const std::vector<float>& heights, int width, int height,
                                        bool linear) {
  Prepared p = Prepare(heights, width, height);
  for (int r = 0; r < p.rows; ++r) {
    for (int c = 0; c < p.columns; ++c) {
      const double re = p.real[r][c], im = p.imaginary[r][c];
      p.real[r][c] = static_cast<float>(std::sqrt(re * re + im * im));
    }
  }
  std::vector<float> out = Crop(p, Shifted(p.real, p.rows, p.columns), width, height);
  if (!linear) {
    for (float& v : out) v = v > 0 ? static_cast<float>(std::log10(static_cast<double>(v))) : 0;
  }
  return out;
}

inline std::vector<float> Autocorrelate(const std::vector<float>& heights, int width, int height) {
  Prepared p = Prepare(heights, width, height);
  for (int r = 0; r < p.rows; ++r) {
    for (int c = 0; c < p.columns; ++c) {
      const double re = p.real[r][c], im = p.imaginary[r][c];
      p.real[r][c] = static_cast<float>(re * re + im * im);
      p.imaginary[r][c] = 0;
    }
  }
  FFT2D(p.real, p.imaginary, p.rows, p.columns, 1);
  return Crop(p, Shifted(p.real, p.rows, p.columns), width, height);
}

inline void ApplyIdealFilter(Prepared& p, int mode, double parameter1) {
  const double larger = p.rows / 2 > p.columns / 2 ? p.rows / 2 : p.columns / 2;
  for (int r = 0; r < p.rows; ++r) {
    for (int c = 0; c < p.columns; ++c) {
      const double dx = c - p.columns / 2, dy = r - p.rows / 2;
      const double ratio = static_cast<int>(std::sqrt(dx * dx + dy * dy)) / larger;
      if (mode == 0 ? ratio > parameter1 : ratio < parameter1) p.real[r][c] = p.imaginary[r][c] = 0;
    }
  }
}

template <class Gain>
void ApplyGains(Prepared& p, Gain gain) {
  for (int r = 0; r < p.rows / 2; ++r) {
    for (int c = 0; c < p.columns / 2; ++c) {
      const int k = static_cast<int>(std::sqrt(static_cast<double>(r * r + c * c)) + 0.5);
      const auto g = static_cast<float>(gain(k));
      for (const int row : {r, p.rows - 1 - r}) {
        for (const int column : {c, p.columns - 1 - c}) {
          p.real[row][column] *= g;
          p.imaginary[row][column] *= g;
        }
      }
    }
  }
}

inline std::vector<float> FFTFilter(const std::vector<float>& heights, int width, int height, int filterType,
                                    float parameter1) {
  Prepared p = Prepare(heights, width, height);
  const double larger = p.rows / 2 > p.columns / 2 ? p.rows / 2 : p.columns / 2;
  const double d0 = larger * parameter1;
  const double sigma = larger * parameter1 * 1.2011224090139594;
  const auto butterworth = [&](int k) { return 1 / (1 + 0.414 * std::pow(k / d0, 2.0)); };
  const auto gaussian = [&](int k) {
    return std::exp(-(static_cast<double>(k) * k) / (2 * (sigma * sigma)));
  };
  if (filterType == 0) ApplyIdealFilter(p, 0, parameter1);
  if (filterType == 1) ApplyIdealFilter(p, 1, parameter1);
  if (filterType == 2) ApplyGains(p, butterworth);
  if (filterType == 3) ApplyGains(p, [&](int k) { return 1 - butterworth(k); });
  if (filterType == 4) ApplyGains(p, gaussian);
  if (filterType == 5) ApplyGains(p, [&](int k) { return 1 - gaussian(k); });
  FFT2D(p.real, p.imaginary, p.rows, p.columns, 1);
  return Crop(p, p.real, width, height);
}

}  // namespace qv::test::reference
