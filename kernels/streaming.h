// Results on their way past the caches. An ordinary store first reads the line that it changes; where a
// filter writes more than the caches hold, that is a third of all that goes to and from memory. Only for
// kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

#if defined(__AVX512F__)
inline constexpr bool kCanStream = true;
QV_INLINE void StreamLine(float* to, const Floats& line) {
  _mm512_stream_ps(to, reinterpret_cast<__m512>(line));
}
#elif defined(__AVX2__)
inline constexpr bool kCanStream = true;
QV_INLINE void StreamLine(float* to, const Floats& line) {
  __m256 halves[2];
  __builtin_memcpy(halves, &line, sizeof halves);
  _mm256_stream_ps(to, halves[0]);
  _mm256_stream_ps(to + 8, halves[1]);
}
#else
inline constexpr bool kCanStream = false;
QV_INLINE void StreamLine(float* to, const Floats& line) {
  Store(to, line);
}
#endif

/// Copies samples to a place of any alignment.
QV_INLINE void Stream(const float* from, float* to, std::ptrdiff_t count) {
  const auto behind =
      static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(to) / sizeof(float)) % kLanes;
  std::ptrdiff_t i = behind == 0 ? 0 : kLanes - behind;
  if (i > count) i = count;
  __builtin_memcpy(to, from, static_cast<std::size_t>(i) * sizeof(float));
  for (; i + kLanes <= count; i += kLanes) StreamLine(to + i, Load(from + i));
  __builtin_memcpy(to + i, from + i, static_cast<std::size_t>(count - i) * sizeof(float));
}

/// Before the results are anyone else's to read.
QV_INLINE void EndStreaming() {
#if defined(__AVX2__)
  _mm_sfence();
#endif
}

}  // namespace qv::kernels::QV_KERNEL_ISA
