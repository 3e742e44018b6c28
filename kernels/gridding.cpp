// Sums of inverse-distance weights, several nodes side by side, point after point in each of them. No sum
// depends on its neighbours, so a node comes out the same wherever it lies in a vector.
#include <immintrin.h>

#include "kernels/kernels.h"
#include "kernels/lanes.h"
#include "kernels/wide.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

using Bits = std::uint64_t __attribute__((vector_size(8 * kWide)));

QV_INLINE Bits BitsOf(const Wide& v) {
  return reinterpret_cast<Bits>(v);
}
QV_INLINE Wide WideOf(const Bits& v) {
  return reinterpret_cast<Wide>(v);
}

// GCC 12 compares and selects where one instruction does it.
QV_INLINE Wide Minimum(const Wide& a, const Wide& b) {
#if defined(__AVX512F__)
  return _mm512_maskz_min_pd(0xFF, a, b);
#elif defined(__AVX2__)
  return _mm256_min_pd(a, b);
#else
  return _mm_min_pd(a, b);
#endif
}

// Vectors of nodes that are worked on together, step by step: they share what is read of a point, and while
// one waits for a result the others go on.
#if defined(__AVX512F__)
inline constexpr int kVectors = 4;
#else
inline constexpr int kVectors = 2;
#endif
inline constexpr int kBlock = kVectors * kWide;
static_assert(kNodeStep % kBlock == 0);
using Pack = Wide[kVectors];

/// The square of the distance of a point.
QV_INLINE Wide SquareTo(const Wide& node, const ScatteredPoints& points, std::ptrdiff_t i) {
  const Wide dx = points.x[i] - node;
  return dx * dx + points.rowTerm[i];
}

/// A polynomial as two in the square of x, which do not wait for each other. Coefficients from the constant
/// one on.
template <int kCount>
QV_INLINE void Polynomial(const Pack& x, const double (&c)[kCount], Pack& p) {
  static_assert(kCount % 2 == 0);
  Pack square, odd;
  for (int v = 0; v < kVectors; ++v) {
    square[v] = x[v] * x[v];
    p[v] = square[v] * c[kCount - 2] + c[kCount - 4];
    odd[v] = square[v] * c[kCount - 1] + c[kCount - 3];
  }
#pragma GCC unroll 4
  for (int k = kCount - 6; k >= 0; k -= 2) {
    for (int v = 0; v < kVectors; ++v) p[v] = p[v] * square[v] + c[k];
    for (int v = 0; v < kVectors; ++v) odd[v] = odd[v] * square[v] + c[k + 1];
  }
  for (int v = 0; v < kVectors; ++v) p[v] += x[v] * odd[v];
}

/// The logarithm to base 2 of positive normal numbers: their exponent and, m being the rest between sqrt(1/2)
/// and sqrt(2), an odd polynomial of (m - 1) / (m + 1), 1.4e-14 off at most.
QV_INLINE void Log2(const Pack& values, Pack& logarithms) {
  constexpr std::uint64_t kRootHalf = 0x3FE6A09E667F3BCD, kOne = 0x3FF0000000000000;
  constexpr std::uint64_t kFraction = 0x000FFFFFFFFFFFFF, kTwoTo52 = 0x4330000000000000;
  Pack exponent, s, u, p;
  for (int v = 0; v < kVectors; ++v) {
    const Bits shifted = BitsOf(values[v]) + (kOne - kRootHalf);
    exponent[v] = WideOf((shifted >> 52) | kTwoTo52) - (0x1p52 + 1023);
    const Wide m = WideOf((shifted & kFraction) + kRootHalf);
    s[v] = (m - 1.0) / (m + 1.0);
  }
  for (int v = 0; v < kVectors; ++v) u[v] = s[v] * s[v];
  constexpr double kSeries[] = {0x1.71547652b8253p+1, 0x1.ec709dc539e76p-1, 0x1.2776c295f01cfp-1,
                                0x1.a61a2cc1ced3bp-2, 0x1.4795a63079ddfp-2, 0x1.21ac9c9040d9ep-2};
  Polynomial(u, kSeries, p);
  for (int v = 0; v < kVectors; ++v) logarithms[v] = s[v] * p[v] + exponent[v];
}

/// 2 to powers between -1000 and 1000, 3e-14 off at most: a whole part for the exponent and a polynomial for
/// the rest.
QV_INLINE void Exp2(const Pack& t, Pack& powers) {
  constexpr double kRound = 0x1.8p52;
  Pack rounded, f, p;
  for (int v = 0; v < kVectors; ++v) {
    rounded[v] = t[v] + kRound;
    f[v] = t[v] - (rounded[v] - kRound);
  }
  constexpr double kSeries[] = {1.0,
                                0x1.62e42fefa39efp-1,
                                0x1.ebfbdff823cedp-3,
                                0x1.c6b08d7047e52p-5,
                                0x1.3b2ab7181b755p-7,
                                0x1.5d87fe86fe88ep-10,
                                0x1.4308ac85aa947p-13,
                                0x1.ffcb9515a8016p-17,
                                0x1.63d136366db24p-20,
                                0x1.b63880a30e9ffp-24};
  Polynomial(f, kSeries, p);
  for (int v = 0; v < kVectors; ++v) powers[v] = WideOf(BitsOf(p[v]) + (BitsOf(rounded[v]) << 52));
}

QV_INLINE void LoadPack(const double* from, Pack& to) {
  for (int v = 0; v < kVectors; ++v) to[v] = LoadWide(from + v * kWide);
}
QV_INLINE void StorePack(double* to, const Pack& from) {
  for (int v = 0; v < kVectors; ++v) StoreWide(to + v * kWide, from[v]);
}

/// One division for four points: 1/a + 1/b + 1/c + 1/d = ((a + b)cd + (c + d)ab) / abcd.
QV_INLINE void AddFour(const ScatteredPoints& points, std::ptrdiff_t i, const Wide& node, Wide& weighted,
                       Wide& weight, Wide& least) {
  const double* z = points.z + i;
  const Wide a = SquareTo(node, points, i), b = SquareTo(node, points, i + 1);
  const Wide c = SquareTo(node, points, i + 2), d = SquareTo(node, points, i + 3);
  const Wide ab = a * b, cd = c * d, product = ab * cd;
  const Wide inverse = 1.0 / product;
  least = Minimum(product, least);
  weight += ((a + b) * cd + (c + d) * ab) * inverse;
  weighted += ((z[0] * b + z[1] * a) * cd + (z[2] * d + z[3] * c) * ab) * inverse;
}

void AddInverseSquares(const ScatteredPoints& points, const double* nodes, std::ptrdiff_t count,
                       const NodeSums& sums) {
  for (std::ptrdiff_t k = 0; k < count; k += kBlock) {
    Pack node, weighted, weight, least;
    LoadPack(nodes + k, node);
    LoadPack(sums.weighted + k, weighted);
    LoadPack(sums.weight + k, weight);
    LoadPack(sums.least + k, least);
    std::ptrdiff_t i = 0;
    for (; i + 4 <= points.count; i += 4) {
      for (int v = 0; v < kVectors; ++v) AddFour(points, i, node[v], weighted[v], weight[v], least[v]);
    }
    for (; i < points.count; ++i) {
      for (int v = 0; v < kVectors; ++v) {
        const Wide square = SquareTo(node[v], points, i), inverse = 1.0 / square;
        least[v] = Minimum(square, least[v]);
        weight[v] += inverse;
        weighted[v] += points.z[i] * inverse;
      }
    }
    StorePack(sums.weighted + k, weighted);
    StorePack(sums.weight + k, weight);
    StorePack(sums.least + k, least);
  }
}

// Powers are done in two sweeps over some points at a time: a shorter chain of operations that wait for each
// other leaves the processor room to begin with the next point.
inline constexpr std::ptrdiff_t kSweep = 32;

QV_INLINE void StoreExponents(const ScatteredPoints& points, std::ptrdiff_t first, std::ptrdiff_t end,
                              const Pack& node, double exponent, double* exponents, Pack& least) {
  for (std::ptrdiff_t i = first; i < end; ++i) {
    Pack square, t;
    for (int v = 0; v < kVectors; ++v) {
      square[v] = SquareTo(node[v], points, i);
      least[v] = Minimum(square[v], least[v]);
    }
    Log2(square, t);
    for (int v = 0; v < kVectors; ++v) t[v] *= exponent;
    StorePack(exponents + (i - first) * kBlock, t);
  }
}

QV_INLINE void AddWeights(const ScatteredPoints& points, std::ptrdiff_t first, std::ptrdiff_t end,
                          const double* exponents, Pack& weighted, Pack& weight) {
  for (std::ptrdiff_t i = first; i < end; ++i) {
    Pack t, power;
    LoadPack(exponents + (i - first) * kBlock, t);
    Exp2(t, power);
    for (int v = 0; v < kVectors; ++v) {
      weight[v] += power[v];
      weighted[v] += points.z[i] * power[v];
    }
  }
}

void AddPowers(const ScatteredPoints& points, const double* nodes, std::ptrdiff_t count, double exponent,
               const NodeSums& sums) {
  alignas(64) double exponents[kSweep * kBlock];
  for (std::ptrdiff_t k = 0; k < count; k += kBlock) {
    Pack node, weighted, weight, least;
    LoadPack(nodes + k, node);
    LoadPack(sums.weighted + k, weighted);
    LoadPack(sums.weight + k, weight);
    LoadPack(sums.least + k, least);
    for (std::ptrdiff_t i = 0; i < points.count; i += kSweep) {
      const std::ptrdiff_t end = i + kSweep < points.count ? i + kSweep : points.count;
      StoreExponents(points, i, end, node, exponent, exponents, least);
      AddWeights(points, i, end, exponents, weighted, weight);
    }
    StorePack(sums.weighted + k, weighted);
    StorePack(sums.weight + k, weight);
    StorePack(sums.least + k, least);
  }
}

}  // namespace

extern const GriddingKernels gridding;
const GriddingKernels gridding = {AddInverseSquares, AddPowers};

}  // namespace qv::kernels::QV_KERNEL_ISA
