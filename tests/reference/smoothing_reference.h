// The line filters, polar filters and resamplers written down directly: one line, one sample after the other.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace qv::reference {

using Line = std::vector<float>;

// ---- three moving averages ----

inline float SampleOrZero(const Line& line, long long k) {
  return k >= 0 && k < static_cast<long long>(line.size()) ? line[static_cast<std::size_t>(k)] : 0.0F;
}

/// One moving average, sums in long double, every step taken, those outside the line too.
inline Line BoxAverage(const Line& src, long long m) {
  const auto n = static_cast<long long>(src.size());
  const long long length = 2 * m + 1;
  const float w = static_cast<float>(1.0 / static_cast<double>(length));
  Line dst(src.size());
  const auto store = [&](long long at, long double value) {
    if (at >= 0 && at < n) dst[static_cast<std::size_t>(at)] = static_cast<float>(value);
  };
  long double sum = 0;
  for (long long k = 0; k < length; ++k) {
    sum += SampleOrZero(src, k);
    if (k >= m) store(k - m, sum * w);
  }
  store(m, sum * w);
  for (long long k = length; k < n; ++k) {
    sum -= SampleOrZero(src, k - length);
    sum += SampleOrZero(src, k);
    store(k - m, sum * w);
  }
  for (long long k = n - 1; k <= n - 1 + m; ++k) {
    sum -= SampleOrZero(src, k - length);
    store(k - m, sum * w);
  }
  return dst;
}

inline Line GaussianLine(const Line& src, float spacing, float cutoff) {
  if (cutoff == 0) return src;
  const double halfWidth = std::trunc(static_cast<double>(cutoff) * 0.183 / static_cast<double>(spacing));
  if (!(halfWidth >= 1 && halfWidth <= 2147483647.0)) return src;
  const auto m = static_cast<long long>(halfWidth);
  return BoxAverage(BoxAverage(BoxAverage(src, m), m), m);
}

// ---- spline ----

/// Dense rows of I + a*Q would do as well; the band keeps the order of operations.
inline Line SplineLine(Line z, float spacing, float cutoff) {
  const std::size_t n = z.size();
  if (cutoff == 0 || n < 3) return z;
  const float s = spacing * 0.001F, c = cutoff * 0.001F;
  const double beta = 0.5 / std::sin(static_cast<double>(3.1415927410125732F) * s / c);
  const double a = beta * beta * beta * beta;
  std::vector<double> d(n, 1 + 6 * a), e(n, -4 * a), f(n, a);
  d[0] = d[n - 1] = 1 + a;
  d[1] = d[n - 2] = 1 + 5 * a;
  e[0] = e[n - 2] = -2 * a;
  for (std::size_t k = 0; k + 2 < n; ++k) {
    const double m1 = e[k] / d[k], m2 = f[k] / d[k];
    d[k + 1] -= m1 * e[k];
    e[k + 1] -= m1 * f[k];
    d[k + 2] -= m2 * f[k];
    z[k + 1] = static_cast<float>(z[k + 1] - m1 * z[k]);
    z[k + 2] = static_cast<float>(z[k + 2] - m2 * z[k]);
  }
  const double m1 = e[n - 2] / d[n - 2];
  d[n - 1] -= m1 * e[n - 2];
  z[n - 1] = static_cast<float>(z[n - 1] - m1 * z[n - 2]);
  z[n - 1] = static_cast<float>(z[n - 1] / d[n - 1]);
  z[n - 2] = static_cast<float>((z[n - 2] - e[n - 2] * z[n - 1]) / d[n - 2]);
  for (std::size_t k = n - 2; k-- > 0;) {
    z[k] = static_cast<float>((z[k] - e[k] * z[k + 1] - f[k] * z[k + 2]) / d[k]);
  }
  return z;
}

// ---- separable frame ----

struct Split {
  std::vector<float> residual, filtered;
};

template <class LineFilter>
Split Separable(int nx, int ny, float dx, float dy, float cutoff, const std::vector<float>& in,
                LineFilter filter) {
  const auto columns = static_cast<std::size_t>(nx), rows = static_cast<std::size_t>(ny);
  Split split{std::vector<float>(in.size()), in};
  for (std::size_t r = 0; r < rows; ++r) {
    const Line line(in.begin() + static_cast<std::ptrdiff_t>(r * columns),
                    in.begin() + static_cast<std::ptrdiff_t>((r + 1) * columns));
    const Line smooth = filter(line, dx, cutoff);
    std::copy(smooth.begin(), smooth.end(),
              split.filtered.begin() + static_cast<std::ptrdiff_t>(r * columns));
  }
  for (std::size_t c = 0; c < columns; ++c) {
    Line line(rows);
    for (std::size_t r = 0; r < rows; ++r) line[r] = split.filtered[r * columns + c];
    const Line smooth = filter(line, dy, cutoff);
    for (std::size_t r = 0; r < rows; ++r) {
      split.filtered[r * columns + c] = smooth[r];
      split.residual[r * columns + c] = in[r * columns + c] - smooth[r];
    }
  }
  return split;
}

// ---- 3 x 3 binomial ----

inline bool IsBad(float z) {
  return static_cast<double>(z) == -1e10 || z != z;
}

inline Split Binomial(int nx, int ny, const std::vector<float>& in) {
  Split split;
  for (int r = 1; r + 1 < ny; ++r) {
    for (int c = 1; c + 1 < nx; ++c) {
      const int weights[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
      double sum = 0;
      bool bad = false;
      for (int i = 0; i < 9; ++i) {
        const float z = in[static_cast<std::size_t>(r + i / 3 - 1) * static_cast<std::size_t>(nx) +
                           static_cast<std::size_t>(c + i % 3 - 1)];
        bad = bad || IsBad(z);
        sum = i == 0 ? static_cast<double>(z) : sum + static_cast<double>(weights[i]) * z;
      }
      const double g = sum * 0.0625;
      const float corner = in[static_cast<std::size_t>(r - 1) * static_cast<std::size_t>(nx) +
                              static_cast<std::size_t>(c - 1)];
      split.filtered.push_back(bad ? -1e10F : static_cast<float>(g));
      split.residual.push_back(bad ? -1e10F : static_cast<float>(corner - g));
    }
  }
  return split;
}

// ---- rolling circle ----

inline bool CircleHolds(double x1, double x2, double z0, double z1, double z2, double radius) {
  const double h = std::sqrt(x2 * x2 + (z2 - z0) * (z2 - z0)) / 2;
  if (h >= radius) return true;
  const double t = std::atan((z2 - z0) / x2) + std::acos(h / radius);
  const double cx = radius * std::cos(t), cz = z0 + radius * std::sin(t);
  return std::sqrt((cx - x1) * (cx - x1) + (cz - z1) * (cz - z1)) <= radius;
}

inline std::vector<int> Contacts(const std::vector<double>& z, double radius, double dx) {
  const int n = static_cast<int>(z.size());
  if (n == 1) return {0};
  if (n == 2) return {0, 1};
  const auto holds = [&](int a, int b, int c) {
    const auto at = [&](int i) { return z[static_cast<std::size_t>(i)]; };
    return CircleHolds((b - a) * dx, (c - a) * dx, at(a), at(b), at(c), radius);
  };
  std::vector<int> stack;
  int j = 0, i = 1, k = 2;
  while (k < n) {
    if (holds(j, i, k)) {
      stack.push_back(j);
      j = i;
      i = k;
      ++k;
    } else if (j != 0) {
      i = j;
      j = stack.back();
      stack.pop_back();
    } else {
      i = k;
      ++k;
    }
  }
  if (stack.empty() || holds(stack.back(), j, n - 1)) stack.push_back(j);
  stack.push_back(n - 1);
  return stack;
}

inline std::vector<double> RollCircle(const std::vector<double>& z, double radius, double dx) {
  const int n = static_cast<int>(z.size());
  const std::vector<int> contacts = n > 0 ? Contacts(z, radius, dx) : std::vector<int>();
  std::vector<double> out;
  for (int i = 0; i < n; ++i) {
    double lo = std::trunc(i - radius / dx), hi = std::trunc(radius / dx + i);
    if (!(lo > 0)) lo = 0;
    if (!(hi < n - 1)) hi = n - 1;
    double best = -9.99e33;
    for (const int p : contacts) {
      if (p < lo || p > hi) continue;
      const double x = (i - p) * dx;
      double arc = -9.9e33;
      if (std::fabs(x) <= radius)
        arc = z[static_cast<std::size_t>(p)] - (radius - std::sqrt(radius * radius - x * x));
      if (arc > best) best = arc;
    }
    out.push_back(best);
  }
  return out;
}

// ---- polar ----

inline std::size_t Modulo(long long i, std::size_t n) {
  const auto size = static_cast<long long>(n);
  return static_cast<std::size_t>((i % size + size) % size);
}

/// 0 where the input is copied.
inline long long PolarHalfLength(double spacing, double cutoff) {
  const double g = spacing / (cutoff * 0.469718639349826);
  const double m =
      std::floor(std::sqrt(std::log(g / (0.001 * spacing)) / 3.14159265358979323846) / g + 1.0 + 0.5);
  return m >= 5 && m < 2147483648.0 ? static_cast<long long>(m) : 0;
}

inline std::vector<double> GaussianPolar(const std::vector<double>& in, double spacing, double cutoff) {
  const long long reach = PolarHalfLength(spacing, cutoff);
  if (reach == 0) return in;
  const double g = spacing / (cutoff * 0.469718639349826);
  const double r = std::exp(-3.14159265358979323846 * g * g);
  std::vector<double> out;
  for (const double z : in) out.push_back(g * z);
  double w = g * r, odd = r;
  for (long long j = 1; j <= reach; ++j) {
    for (std::size_t i = 0; i < in.size(); ++i) {
      const auto at = static_cast<long long>(i);
      out[i] += w * (in[Modulo(at + j, in.size())] + in[Modulo(at - j - 1, in.size())]);
    }
    odd *= r * r;
    w *= odd;
  }
  return out;
}

inline std::vector<double> ExtendProfile(const std::vector<double>& in, std::size_t& lead) {
  const std::size_t n = in.size();
  lead = n / 4;
  std::vector<double> x(static_cast<std::size_t>(1.5 * static_cast<double>(n)));
  for (std::size_t k = 0; k < x.size(); ++k) {
    x[k] = k < lead ? in[3 * lead + k] : k < lead + n ? in[k - lead] : in[k - lead - n];
  }
  return x;
}

inline std::vector<double> TwoStagesPolar(const std::vector<double>& in, double spacing, double cutoff) {
  std::size_t lead = 0;
  const std::vector<double> x = ExtendProfile(in, lead);
  const double sqrt3 = std::sqrt(3.0), pi2 = 9.869604401089338, pi9 = 28.27433388230811;
  const double pi = 3.14159265358979;
  const double d = 3 * cutoff * cutoff + (pi9 * spacing + 6 * sqrt3 * cutoff) * spacing * pi;
  const double c1 = (18 * pi2 * spacing * spacing - 6 * cutoff * cutoff) / d;
  const double c2 = ((pi9 * spacing - 6 * sqrt3 * cutoff) * spacing * pi + 3 * cutoff * cutoff) / d;
  const double b0 = 9 * pi2 * spacing * spacing / d, b1 = 18 * pi2 * spacing * spacing / d;
  std::vector<double> y(x.size());
  for (std::size_t k = 0; k < 2 && k < x.size(); ++k) y[k] = x[k];
  for (std::size_t k = 0; k + 2 < x.size(); ++k) {
    y[k + 2] = b0 * x[k] + b1 * x[k + 1] + b0 * x[k + 2] - c2 * y[k] - c1 * y[k + 1];
  }
  const auto begin = y.begin() + static_cast<std::ptrdiff_t>(lead);
  return {begin, begin + static_cast<std::ptrdiff_t>(in.size())};
}

inline std::vector<double> PhaseCorrectedPolar(const std::vector<double>& in, double spacing, double cutoff) {
  std::size_t lead = 0;
  const std::vector<double> x = ExtendProfile(in, lead);
  const double p = spacing * 9.42477796076937, s = std::sqrt(3.0) * cutoff;
  const double k = p / (p + s), r = (p - s) / (p + s);
  std::vector<double> f(x.size()), b(x.size(), 0.0);
  f[0] = x[0];
  for (std::size_t j = 1; j < x.size(); ++j) f[j] = k * (x[j] + x[j - 1]) - r * f[j - 1];
  for (std::size_t j = x.size() - 1; j > 0; --j) b[j - 1] = k * (f[j] + f[j - 1]) - r * b[j];
  const auto begin = b.begin() + static_cast<std::ptrdiff_t>(lead);
  return {begin, begin + static_cast<std::ptrdiff_t>(in.size())};
}

// ---- resampling ----

struct Resizing {
  int outNx, outNy, inNx, inNy, inStride, outStride;
};

inline double BilinearScale(int in, int out) {
  const double i = in, o = out;
  return in < out ? (i - i / o) / o : i / o;
}

/// `out` holds the output rows at their stride and is changed only where a sample is written.
inline void ResampleLinear(const Resizing& s, const float* in, float* out) {
  const double sx = BilinearScale(s.inNx, s.outNx), sy = BilinearScale(s.inNy, s.outNy);
  for (int r = 0; r < s.outNy; ++r) {
    for (int c = 0; c < s.outNx; ++c) {
      const double x = c * sx, y = r * sy;
      const int i = static_cast<int>(x), j = static_cast<int>(y);
      const double fx = x - i, fy = y - j;
      const std::ptrdiff_t i0 = std::clamp(i, 0, s.inNx - 1), i1 = std::clamp(i + 1, 0, s.inNx - 1);
      const std::ptrdiff_t j0 = std::clamp(j, 0, s.inNy - 1), j1 = std::clamp(j + 1, 0, s.inNy - 1);
      const float a = in[j0 * s.inStride + i0], b = in[j1 * s.inStride + i0];
      const float e = in[j0 * s.inStride + i1], d = in[j1 * s.inStride + i1];
      const bool bad = IsBad(a) || IsBad(b) || IsBad(e) || IsBad(d);
      const double value = d * fx * fy + b * (1 - fx) * fy + e * fx * (1 - fy) + a * (1 - fx) * (1 - fy);
      out[static_cast<std::ptrdiff_t>(r) * s.outStride + c] = bad ? -1e10F : static_cast<float>(value);
    }
  }
}

/// The result of one bicubic sample, its products summed in long double, and the sum of their magnitudes.
struct CubicSample {
  long double sum = 0, magnitude = 0;
  bool bad = false;
};

inline CubicSample ResampleCubicAt(const Resizing& s, const std::vector<float>& in, int c, int r) {
  double x = c * (static_cast<double>(s.inNx) / s.outNx);
  if (x <= 0) x = 0;
  if (x >= s.inNx - 1) x = s.inNx - 1;
  const int i = static_cast<int>(x);
  double t = x - i;
  const int k0 = x < 1 ? 0 : i - 1, k1 = x >= s.inNx - 1 ? s.inNx - 1 : i;
  const int k2 = x >= s.inNx - 2 ? k1 : i + 1, k3 = x >= s.inNx - 3 ? k2 : i + 2;
  const double u[4] = {-(1 - t) * (1 - t) * t, 1 - 2 * t * t + t * t * t, (t + 1 - t * t) * t,
                       (1 - t) * t * t};
  const double y = r * (static_cast<double>(s.inNy) / s.outNy);
  const int j = static_cast<int>(y);
  t = y - j;
  const int m0 = y < 1 ? 0 : j - 1, m1 = y >= s.inNy - 1 ? s.inNy - 1 : j;
  const int m2 = y >= s.inNy - 2 ? m1 : j + 1, m3 = y >= s.inNy - 3 ? m2 : j + 2;
  const double g[4] = {-(1 - t) * (1 - t) * t, 1 - 2 * t * t + t * t * t, (t + 1 - t * t) * t,
                       t * t * (t - 1)};
  const int k[4] = {k0, k1, k2, k3}, m[4] = {m0, m1, m2, m3};
  CubicSample result;
  for (int p = 0; p < 4; ++p) {
    for (int q = 0; q < 4; ++q) {
      const float z = in[static_cast<std::size_t>(m[p]) * static_cast<std::size_t>(s.inNx) +
                         static_cast<std::size_t>(k[q])];
      const long double term = static_cast<long double>(g[p]) * u[q] * z;
      result.bad = result.bad || IsBad(z);
      result.sum += term;
      result.magnitude += std::fabs(term);
    }
  }
  return result;
}

}  // namespace qv::reference
