// Vectors of a fixed logical width, whatever the instruction set: the compiler splits them into what it has.
// Only for kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>  // intrinsics leave no copies of functions behind: they are always inlined

namespace qv::kernels::QV_KERNEL_ISA {

inline constexpr int kLanes = 16;
using Floats = float __attribute__((vector_size(64)));       // 16 floats
using Ints = std::int32_t __attribute__((vector_size(64)));  // 16 masks: 0 or -1
using HalfFloats = float __attribute__((vector_size(32)));   // 8 floats
using HalfInts = std::int32_t __attribute__((vector_size(32)));
using Doubles = double __attribute__((vector_size(64)));  // 8 doubles
using Longs = std::int64_t __attribute__((vector_size(64)));

#define QV_INLINE [[gnu::always_inline]] static inline

inline constexpr float kBad = -1e10F;
inline constexpr float kStart = 1e32F;

QV_INLINE Floats Load(const float* from) {
  Floats v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}
QV_INLINE void Store(float* to, const Floats& v) {
  __builtin_memcpy(to, &v, sizeof v);
}

QV_INLINE Doubles LoadDoubles(const double* from) {
  Doubles v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}

using Bytes = signed char __attribute__((vector_size(64)));  // 64 masks: 0 or -1

/// A bit per mask.
QV_INLINE std::uint64_t SignBits(const Bytes& masks) {
#if defined(__AVX512BW__)
  return _mm512_movepi8_mask(reinterpret_cast<__m512i>(masks));
#else
  std::uint64_t words[8], bits = 0;
  __builtin_memcpy(words, &masks, sizeof words);
  // The product gathers the eight lowest bits of the bytes in the highest byte.
  for (int i = 0; i < 8; ++i) {
    bits |= (words[i] & 0x0101010101010101U) * 0x0102040810204080U >> 56 << (8 * i);
  }
  return bits;
#endif
}

/// Loads count < 16 samples and fills up with missing ones.
QV_INLINE Floats LoadTail(const float* from, std::ptrdiff_t count) {
  float padded[kLanes];
  for (int i = 0; i < kLanes; ++i) padded[i] = i < count ? from[i] : kBad;
  return Load(padded);
}

/// -1 where a sample is neither the sentinel nor a NaN.
QV_INLINE Ints Used(const Floats& z) {
  return (z < kBad) | (z > kBad);
}
QV_INLINE bool Used(float z) {
  return z < kBad || z > kBad;
}

/// The samples where the mask is set, 0 elsewhere.
QV_INLINE Floats Masked(const Floats& z, const Ints& mask) {
  return reinterpret_cast<Floats>(reinterpret_cast<Ints>(z) & mask);
}

/// One bit per lane that is set.
QV_INLINE unsigned Bits(const Ints& mask) {
#if defined(__AVX512F__)
  return _mm512_movepi32_mask(reinterpret_cast<__m512i>(mask));
#else
  unsigned bits = 0;
#if defined(__AVX2__)
  __m256 part[2];
  __builtin_memcpy(part, &mask, sizeof part);
  for (int i = 0; i < 2; ++i) bits |= static_cast<unsigned>(_mm256_movemask_ps(part[i])) << (8 * i);
#else
  __m128 part[4];
  __builtin_memcpy(part, &mask, sizeof part);
  for (int i = 0; i < 4; ++i) bits |= static_cast<unsigned>(_mm_movemask_ps(part[i])) << (4 * i);
#endif
  return bits;
#endif
}

QV_INLINE Doubles Widen(const HalfFloats& half) {
#if defined(__AVX512F__)
  // GCC 12 makes four instructions of the conversion below.
  return reinterpret_cast<Doubles>(_mm512_maskz_cvtps_pd(0xFF, reinterpret_cast<__m256>(half)));
#else
  return __builtin_convertvector(half, Doubles);
#endif
}
QV_INLINE Doubles WidenLow(const Floats& z) {
  HalfFloats half;
  __builtin_memcpy(&half, &z, sizeof half);
  return Widen(half);
}
QV_INLINE Doubles WidenHigh(const Floats& z) {
  HalfFloats half;
  __builtin_memcpy(&half, reinterpret_cast<const char*>(&z) + sizeof half, sizeof half);
  return Widen(half);
}

/// One NaN for all: which one an operation passes on depends on the order of its operands.
QV_INLINE Floats CanonicalVector(const Floats& z) {
  return z == z ? z : Floats{} + __builtin_nanf("");
}

/// Asks for the cache lines of `count` samples. Where every row is a new page, the processor does not look
/// ahead itself; and stores that wait for their lines hold up whatever comes after them.
template <int kForWriting, class T>
QV_INLINE void Ask(const T* samples, std::ptrdiff_t count) {
  constexpr std::ptrdiff_t kLine = 64 / static_cast<std::ptrdiff_t>(sizeof(T));
  for (std::ptrdiff_t i = 0; i < count; i += kLine) __builtin_prefetch(samples + i, kForWriting);
}

/// Folds sixteen lanes in halves: i and i + 8, then i and i + 4, i + 2, i + 1.
QV_INLINE double Fold(const Doubles& low, const Doubles& high) {
  Doubles sum = low + high;
  double lane[8];
  __builtin_memcpy(lane, &sum, sizeof lane);
  for (int half = 4; half > 0; half /= 2) {
    for (int i = 0; i < half; ++i) lane[i] += lane[i + half];
  }
  return lane[0];
}

}  // namespace qv::kernels::QV_KERNEL_ISA
