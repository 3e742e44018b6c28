// Decimal logarithms of positive floats, each the float nearest to the exact value.
//
// A value is 2^e * m with m between the root of a half and the root of two, and the logarithm of m is a short
// polynomial of (m - 1) / (m + 1). That is good to some 2^-49, which decides the float unless it lies next to
// the middle between two floats. Where one of a chunk does, or is out of the ordinary, the whole chunk is
// worked out one by one: that is seldom, and looking for it per vector would cost more.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

inline constexpr std::ptrdiff_t kChunk = 128;

inline constexpr std::int32_t kRootOfHalf = 0x3F3504F3;  ///< the bits of the root of a half, rounded down
inline constexpr int kFractionBits = 23;
inline constexpr double kDecadesPerOctave = 0.30102999566398119521;
/// log10(m) / s as a polynomial of s squared, where s = (m - 1) / (m + 1): through seven points (those of
/// Chebyshev) between 0 and the largest square, nowhere off by more than 2^-51.9 of itself.
inline constexpr double kDecades[] = {0x1.bcb7b1526e510p-1, 0x1.287a7636f2096p-2, 0x1.63c6277e5cd79p-3,
                                      0x1.fc3f9771f3fcbp-4, 0x1.8b5378b7d2046p-4, 0x1.425d8f6defad5p-4,
                                      0x1.2b85d9564c63fp-4};

/// The units of a double's last bit in a float's.
inline constexpr std::int64_t kDropped = std::int64_t{1} << 29;
/// In units of a double's last bit; the error of the polynomial is a sixteenth of this.
inline constexpr std::int64_t kDoubt = 256;

/// The extended type's logarithm has bits enough for every float.
float ExactDecades(float value) {
  return value > 0 ? static_cast<float>(__builtin_log10l(value)) : 0;
}

/// log10(2^exponent * m).
QV_INLINE Doubles Logarithm(const Doubles& m, const Doubles& exponent) {
  const Doubles s = (m - 1.0) / (m + 1.0), square = s * s;
  // Every other term: two short chains instead of a long one.
  const Doubles fourth = square * square;
  Doubles even = kDecades[6] + Doubles{}, odd = kDecades[5] + Doubles{};
  for (int power = 4; power >= 0; power -= 2) even = even * fourth + kDecades[power];
  for (int power = 3; power >= 1; power -= 2) odd = odd * fourth + kDecades[power];
  return s * (even + odd * square) + exponent * kDecadesPerOctave;
}

/// -1 where the bits that a float drops are close to half a unit.
QV_INLINE Longs NearMiddle(const Doubles& value) {
  const Longs aboveDoubt = (reinterpret_cast<Longs>(value) - (kDropped / 2 - kDoubt)) & (kDropped - 1);
  return aboveDoubt < 2 * kDoubt;
}

/// What makes a chunk one to be worked out one by one.
struct Doubts {
  Longs nearMiddle = {};
  Ints unusual = {};  ///< subnormal or infinite
};
QV_INLINE bool Any(const Doubts& doubts) {
  const Longs all = doubts.nearMiddle | reinterpret_cast<Longs>(doubts.unusual);
  std::int64_t any = 0;
  for (int i = 0; i < kLanes / 2; ++i) any |= all[i];
  return any != 0;
}

/// Sixteen values; right where no doubt is raised.
QV_INLINE void Decades(const float* from, float* to, Doubts* doubts) {
  const Floats z = Load(from);
  // What is not positive counts as 0 here: with a sign bit the subtraction below would overflow.
  const Ints positive = z > 0.0F, bits = reinterpret_cast<Ints>(z) & positive;
  doubts->unusual |= positive & ((z < __FLT_MIN__) | (z > __FLT_MAX__));

  const Ints exponent = (bits - kRootOfHalf) >> kFractionBits;
  const Floats m = reinterpret_cast<Floats>(bits - (exponent << kFractionBits)),
               e = __builtin_convertvector(exponent, Floats);
  const Doubles low = Logarithm(WidenLow(m), WidenLow(e)), high = Logarithm(WidenHigh(m), WidenHigh(e));
  doubts->nearMiddle |= NearMiddle(low) | NearMiddle(high);
  const Floats decades = __builtin_shufflevector(__builtin_convertvector(low, HalfFloats),
                                                 __builtin_convertvector(high, HalfFloats), 0, 1, 2, 3, 4, 5,
                                                 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  Store(to, Masked(decades, positive));
}

void ReplaceChunk(float* values) {
  float results[kChunk];
  Doubts doubts;
  for (std::ptrdiff_t i = 0; i < kChunk; i += kLanes) Decades(values + i, results + i, &doubts);
  if (Any(doubts)) {
    for (std::ptrdiff_t i = 0; i < kChunk; ++i) results[i] = ExactDecades(values[i]);
  }
  __builtin_memcpy(values, results, sizeof results);
}

void Replace(float* values, std::ptrdiff_t count) {
  std::ptrdiff_t i = 0;
  for (; i + kChunk <= count; i += kChunk) ReplaceChunk(values + i);
  if (i == count) return;
  float rest[kChunk] = {};
  const auto bytes = static_cast<std::size_t>(count - i) * sizeof(float);
  __builtin_memcpy(rest, values + i, bytes);
  ReplaceChunk(rest);
  __builtin_memcpy(values + i, rest, bytes);
}

}  // namespace

extern const DecadeKernels decades;
const DecadeKernels decades = {Replace};

}  // namespace qv::kernels::QV_KERNEL_ISA
