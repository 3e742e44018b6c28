// Normals of the inner samples of a row, several at a time: the formula in every lane, with true divisions
// and roots, so that the bits are the formula's.
#include <immintrin.h>

#include "kernels/kernels.h"
#include "kernels/lanes.h"
#include "kernels/normal_formula.h"
#include "kernels/wide.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

using Bits = std::int64_t __attribute__((vector_size(8 * kWide)));

// GCC 12 widens in halves where one instruction does it, and has no root of a vector.
#if defined(__AVX512F__)
QV_INLINE Wide Widen(const Narrow& v) {
  return _mm512_maskz_cvtps_pd(0xFF, v);
}
QV_INLINE Wide Root(const Wide& v) {
  return _mm512_maskz_sqrt_pd(0xFF, v);
}
#elif defined(__AVX2__)
QV_INLINE Wide Widen(const Narrow& v) {
  return _mm256_cvtps_pd(v);
}
QV_INLINE Wide Root(const Wide& v) {
  return _mm256_sqrt_pd(v);
}
#else
QV_INLINE Wide Widen(const Narrow& v) {
  return __builtin_convertvector(v, Wide);
}
QV_INLINE Wide Root(const Wide& v) {
  return _mm_sqrt_pd(v);
}
#endif
QV_INLINE Narrow Rounded(const Wide& v) {
  return __builtin_convertvector(v, Narrow);
}
QV_INLINE Bits BitsOf(const Wide& v) {
  return reinterpret_cast<Bits>(v);
}

using qv::kernels::QV_KERNEL_ISA::LoadWide;  // of doubles
QV_INLINE Wide LoadWide(const float* from) {
  Narrow v;
  __builtin_memcpy(&v, from, sizeof v);
  return Widen(v);
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

/// As it is stored in an array of samples.
QV_INLINE Wide RoundedTo(float /*sample*/, const Wide& v) {
  return Widen(Rounded(v));
}
QV_INLINE Wide RoundedTo(double /*sample*/, const Wide& v) {
  return v;
}

template <class Real>
QV_INLINE WideVector TriangleNormal(const WideVector& a, const WideVector& b) {
  const WideVector n = Cross(a, b);
  const Wide square = Square(n), one = Wide{} + 1.0, length = square > 0.0 ? Root(square) : one;
  return {RoundedTo(Real{}, n.x / length), RoundedTo(Real{}, n.y / length), RoundedTo(Real{}, n.z / length)};
}

QV_INLINE WideVector NormalizeVector(const WideVector& v) {
  const Wide square = Square(v), one = Wide{} + 1.0, length = Root(square);
  const Wide factor = one / (length == 0.0 ? one : length);
  return {v.x * factor, v.y * factor, v.z * factor};
}

QV_INLINE void StoreNormals(float* to, const WideVector& v) {
  StoreTriplets(to, Rounded(v.x), Rounded(v.y), Rounded(v.z));
}
QV_INLINE void StoreNormals(double* to, const WideVector& v) {
  StoreTriplets(to, v.x, v.y, v.z);
}

QV_INLINE Wide OneNaN(const Wide& v) {
  return v == v ? v : Wide{} + __builtin_nan("");
}

/// The sum over the triangles of the ring, in order. Without holes no sample of the ring is missing.
template <int kNeighbours, bool kHoles, class Real>
QV_INLINE WideVector SumOfTriangles(const Wide& z, const Wide (&ring)[kNeighbours], double dx, double dy) {
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
    WideVector n = TriangleNormal<Real>(edge[k], edge[next]);
    if (kHoles) {
      const Bits both = used[k] & used[next];
      n = {Selected(n.x, both), Selected(n.y, both), Selected(n.z, both)};
    }
    sum = k == 0 ? n : WideVector{sum.x + n.x, sum.y + n.y, sum.z + n.z};
  }
  return sum;
}

/// kWide samples from h on.
template <int kNeighbours, class Real>
QV_INLINE void Block(const Real* h, std::ptrdiff_t width, double dx, double dy, Real* normals) {
  Wide ring[kNeighbours];
  Bits high = ~Bits{};
  for (int k = 0; k < kNeighbours; ++k) {
    const Offset side = kRing<kNeighbours>[k];
    ring[k] = LoadWide(h + side.row * width + side.column);
    high &= ring[k] > -1e10;
  }
  const Wide z = LoadWide(h);
  const bool holes = sizeof(Real) == sizeof(float) && Any(~high);
  const WideVector sum = holes ? SumOfTriangles<kNeighbours, true, Real>(z, ring, dx, dy)
                               : SumOfTriangles<kNeighbours, false, Real>(z, ring, dx, dy);
  const WideVector n = NormalizeVector(sum);
  StoreNormals(normals, {OneNaN(n.x), OneNaN(n.y), OneNaN(n.z)});
}

template <int kNeighbours, class Real>
void InnerRow(const Real* h, std::ptrdiff_t width, double dx, double dy, Real* normals) {
  std::ptrdiff_t column = 1;
  const std::ptrdiff_t end = width - 1;
  if (end - column < kWide) {
    const Place inner = {true, true, true, true};
    for (; column < end; ++column)
      SampleNormal<kNeighbours>(h + column, width, dx, dy, inner, normals + 3 * column);
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
