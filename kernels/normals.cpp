// Normals of the inner samples of a row, several at a time.
//
// Float samples: the formula asks for thirteen divisions and five square roots per sample. A short reciprocal
// root replaces them all, good to about 2^-49, and because every result is rounded to float the difference
// shows only where the value lies that near to the midpoint of two floats, or below the normal range of
// floats. Samples with such a value are done again by the formula. So the results equal the formula's bit for
// bit.
#include "kernels/kernels.h"
#include "kernels/lanes.h"
#include "kernels/normal_formula.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

// No value depends on its neighbours in a vector, so the vectors may be as wide as the registers are.
#if defined(__AVX512F__)
inline constexpr int kWide = 8;
#elif defined(__AVX2__)
inline constexpr int kWide = 4;
#else
inline constexpr int kWide = 2;
#endif
using Wide = double __attribute__((vector_size(8 * kWide)));
using Bits = std::int64_t __attribute__((vector_size(8 * kWide)));
using Narrow = float __attribute__((vector_size(4 * kWide)));

QV_INLINE Wide Widen(const Narrow& v) {
  return __builtin_convertvector(v, Wide);
}
QV_INLINE Narrow Rounded(const Wide& v) {
  return __builtin_convertvector(v, Narrow);
}
QV_INLINE Bits BitsOf(const Wide& v) {
  return reinterpret_cast<Bits>(v);
}

QV_INLINE Wide LoadWide(const float* from) {
  Narrow v;
  __builtin_memcpy(&v, from, sizeof v);
  return Widen(v);
}
QV_INLINE Wide LoadWide(const double* from) {
  Wide v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}
QV_INLINE Wide Selected(const Wide& v, const Bits& mask) {
  return reinterpret_cast<Wide>(BitsOf(v) & mask);
}

QV_INLINE bool Any(const Bits& mask) {
  std::int64_t lane[kWide], any = 0;
  __builtin_memcpy(lane, &mask, sizeof lane);
  for (int i = 0; i < kWide; ++i) any |= lane[i];
  return any != 0;
}

/// Every third element: x0 y0 z0 x1 y1 z1 ...
template <class Vector, class Real>
QV_INLINE void StoreTriplets(Real* to, const Vector& x, const Vector& y, const Vector& z) {
  Vector out[3];
#if defined(__AVX512F__)
  out[0] = __builtin_shufflevector(x, y, 0, 8, 0, 1, 9, 0, 2, 10);
  out[0] = __builtin_shufflevector(out[0], z, 0, 1, 8, 3, 4, 9, 6, 7);
  out[1] = __builtin_shufflevector(x, y, 0, 3, 11, 0, 4, 12, 0, 5);
  out[1] = __builtin_shufflevector(out[1], z, 10, 1, 2, 11, 4, 5, 12, 7);
  out[2] = __builtin_shufflevector(x, y, 13, 0, 6, 14, 0, 7, 15, 0);
  out[2] = __builtin_shufflevector(out[2], z, 0, 13, 2, 3, 14, 5, 6, 15);
#elif defined(__AVX2__)
  const Vector xy0 = __builtin_shufflevector(x, y, 0, 4, 1, 5),
               xy1 = __builtin_shufflevector(x, y, 2, 6, 3, 7);
  out[0] = __builtin_shufflevector(xy0, z, 0, 1, 4, 2);
  out[1] = __builtin_shufflevector(__builtin_shufflevector(xy0, z, 3, 5, 3, 5), xy1, 0, 1, 4, 5);
  out[2] = __builtin_shufflevector(xy1, z, 6, 2, 3, 7);
#else
  out[0] = __builtin_shufflevector(x, y, 0, 2);
  out[1] = __builtin_shufflevector(z, x, 0, 3);
  out[2] = __builtin_shufflevector(y, z, 1, 3);
#endif
  __builtin_memcpy(to, out, sizeof out);
}

struct WideVector {
  Wide x, y, z;
};

/// The full formula: products with zero components carry the signs of zeros.
QV_INLINE WideVector Cross(const WideVector& a, const WideVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
QV_INLINE Wide Square(const WideVector& v) {
  return v.x * v.x + v.y * v.y + v.z * v.z;
}

/// 1 / sqrt(s) for positive finite s, relative error below 2^-49. It begins with the exponent halved in
/// integers (error below 0.035) and takes two steps of the series of (1 - e)^(-1/2): up to e^3, then up to
/// e^2.
QV_INLINE Wide ReciprocalRoot(const Wide& s) {
  Wide r = reinterpret_cast<Wide>(0x5FE6EB50C7B537A9 - (BitsOf(s) >> 1));
  Wide e = 1.0 - s * (r * r);
  r += r * (e * (0.5 + e * (0.375 + e * 0.3125)));
  e = 1.0 - s * (r * r);
  return r + r * (e * (0.5 + e * 0.375));
}

QV_INLINE Wide Root(const Wide& s) {
  double lane[kWide];
  __builtin_memcpy(lane, &s, sizeof lane);
  for (int i = 0; i < kWide; ++i) lane[i] = __builtin_sqrt(lane[i]);
  return LoadWide(lane);
}

/// Is the value within 64 units of its last place of the midpoint of two floats, or below their normal range?
QV_INLINE Bits Doubtful(const Wide& q) {
  const Bits near = ((BitsOf(q) + ((1LL << 28) + 64)) & ((1LL << 29) - 128)) == 0;
  const Wide square = q * q;
  return near | ((square > 0.0) & (square < 0x1p-252));
}
QV_INLINE Bits Doubtful(const WideVector& q) {
  return Doubtful(q.x) | Doubtful(q.y) | Doubtful(q.z);
}

/// How vectors from float samples are given unit length.
struct ShortRoot {
  Bits unsure = {};  ///< lanes to be done again by the formula
  Bits lost =
      {};  ///< lanes where something infinite or a NaN took part: the formula makes three NaNs of that
};

/// The unit normal of a triangle, rounded to float, where it is used; else 0.
template <bool kHoles>
QV_INLINE WideVector Unit(ShortRoot* method, const WideVector& n, const Bits& used) {
  const Wide s = Square(n), r = ReciprocalRoot(s);
  const WideVector q = {n.x * r, n.y * r, n.z * r};
  method->unsure |= Doubtful(q);
  const Bits finite = s < 0x1p1023;
  method->lost |= kHoles ? ~finite & used : ~finite;
  const WideVector rounded = {Widen(Rounded(q.x)), Widen(Rounded(q.y)), Widen(Rounded(q.z))};
  if (!kHoles) return rounded;
  return {Selected(rounded.x, used), Selected(rounded.y, used), Selected(rounded.z, used)};
}

/// Stores the sum, normalised.
QV_INLINE void Finish(ShortRoot* method, const WideVector& sum, float* normals) {
  const Wide s = Square(sum), one = Wide{} + 1.0, nan = Wide{} + __builtin_nan("");
  const Wide r = ReciprocalRoot(s == 0.0 ? one : s);
  const WideVector q = {sum.x * r, sum.y * r, sum.z * r};
  method->unsure = (method->unsure | Doubtful(q)) & ~method->lost;
  StoreTriplets(normals, Rounded(method->lost ? nan : q.x), Rounded(method->lost ? nan : q.y),
                Rounded(method->lost ? nan : q.z));
}

/// The formula itself, for double samples: nothing is rounded afterwards, so nothing may differ before.
struct TrueRoot {
  Bits unsure = {};
};

template <bool kHoles>
QV_INLINE WideVector Unit(TrueRoot* /*method*/, const WideVector& n, const Bits& /*used*/) {
  const Wide s = Square(n), length = Root(s);
  const Bits some = s > 0.0;
  return {some ? n.x / length : n.x, some ? n.y / length : n.y, some ? n.z / length : n.z};
}

QV_INLINE Wide OneNaN(const Wide& v) {
  return v == v ? v : Wide{} + __builtin_nan("");
}

QV_INLINE void Finish(TrueRoot* /*method*/, const WideVector& sum, double* normals) {
  const Wide length = Root(Square(sum)), factor = 1.0 / length;
  const Bits none = length == 0.0;
  StoreTriplets(normals, OneNaN(none ? sum.x : sum.x * factor), OneNaN(none ? sum.y : sum.y * factor),
                OneNaN(none ? sum.z : sum.z * factor));
}

template <class Real>
struct MethodOf {
  using Type = ShortRoot;
};
template <>
struct MethodOf<double> {
  using Type = TrueRoot;
};

/// The sum over the triangles of the ring, in order. Without holes no sample of `ring` is missing.
template <int kNeighbours, bool kHoles, class Method>
QV_INLINE WideVector SumOfTriangles(Method* method, const Wide& z, const Wide (&ring)[kNeighbours], double dx,
                                    double dy) {
  WideVector edge[kNeighbours], sum = {};
  Bits used[kNeighbours];
  for (int k = 0; k < kNeighbours; ++k) {
    const Offset side = kRing<kNeighbours>[k];
    edge[k] = {Wide{} + (side.column == 0 ? 0.0 : side.column * dx),
               Wide{} + (side.row == 0 ? 0.0 : side.row * dy), ring[k] - z};
    used[k] = (ring[k] < -1e10) | (ring[k] > -1e10);
  }
#pragma GCC unroll 6
  for (int k = 0; k < kNeighbours; ++k) {
    const int next = (k + 1) % kNeighbours;
    const WideVector n = Unit<kHoles>(method, Cross(edge[k], edge[next]), used[k] & used[next]);
    sum = k == 0 ? n : WideVector{sum.x + n.x, sum.y + n.y, sum.z + n.z};
  }
  return sum;
}

template <int kNeighbours, class Real>
[[gnu::noinline]] void Again(const Real* h, std::ptrdiff_t width, double dx, double dy, Real* normal) {
  SampleNormal<kNeighbours>(h, width, dx, dy, Place{true, true, true, true}, normal);
}

/// kWide samples from h on.
template <int kNeighbours, class Real>
QV_INLINE void Block(const Real* h, std::ptrdiff_t width, double dx, double dy, Real* normals) {
  Wide ring[kNeighbours];
  Bits allHigh = ~Bits{};
  for (int k = 0; k < kNeighbours; ++k) {
    const Offset side = kRing<kNeighbours>[k];
    ring[k] = LoadWide(h + side.row * width + side.column);
    allHigh &= ring[k] > -1e10;
  }
  const Wide z = LoadWide(h);
  typename MethodOf<Real>::Type method;
  const bool holes = sizeof(Real) == sizeof(float) && Any(~allHigh);
  const WideVector sum = holes ? SumOfTriangles<kNeighbours, true>(&method, z, ring, dx, dy)
                               : SumOfTriangles<kNeighbours, false>(&method, z, ring, dx, dy);
  Finish(&method, sum, normals);
  if (!Any(method.unsure)) return;
  for (int i = 0; i < kWide; ++i) {
    if (method.unsure[i]) Again<kNeighbours>(h + i, width, dx, dy, normals + 3 * i);
  }
}

/// Spacings that are 0 or not finite make normals that the short way does not foresee.
QV_INLINE bool Ordinary(double spacing) {
  const double size = __builtin_fabs(spacing);
  return size > 0 && size < __builtin_inf();
}

template <int kNeighbours, class Real>
void InnerRow(const Real* h, std::ptrdiff_t width, double dx, double dy, Real* normals) {
  std::ptrdiff_t column = 1;
  const std::ptrdiff_t end = width - 1;
  if (end - column < kWide || !Ordinary(dx) || !Ordinary(dy)) {
    for (; column < end; ++column) Again<kNeighbours>(h + column, width, dx, dy, normals + 3 * column);
    return;
  }
  while (column < end) {
    // The last block goes back over samples that are done already.
    if (column > end - kWide) column = end - kWide;
    Block<kNeighbours>(h + column, width, dx, dy, normals + 3 * column);
    column += kWide;
  }
}

}  // namespace

extern const NormalsKernels normals;
const NormalsKernels normals = {InnerRow<4, double>, InnerRow<4, float>, InnerRow<6, float>};

}  // namespace qv::kernels::QV_KERNEL_ISA
