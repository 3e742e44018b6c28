#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

/// Calls step(block of 16 samples) over the array; the last block is filled up with missing samples.
template <class Step>
QV_INLINE void ForEachBlock(const float* samples, std::ptrdiff_t count, Step step) {
  std::ptrdiff_t i = 0;
  for (; i + kLanes <= count; i += kLanes) step(Load(samples + i));
  if (i < count) step(LoadTail(samples + i, count - i));
}

QV_INLINE std::ptrdiff_t CountOf(const Ints& negatives) {
  std::ptrdiff_t count = 0;
  for (int i = 0; i < kLanes; ++i) count -= negatives[i];
  return count;
}

/// Sums term(z) over the samples that are not missing; a missing one enters as term(0), which must be 0.
template <class Term>
QV_INLINE Sum SumOf(const float* samples, std::ptrdiff_t count, Term term) {
  Doubles low = {}, high = {};
  Ints used = {};
  ForEachBlock(
      samples, count, [&](const Floats& z) __attribute__((always_inline)) {
        const Ints mask = Used(z);
        const Floats masked = Masked(z, mask);
        used += mask;
        low += term(WidenLow(masked));
        high += term(WidenHigh(masked));
      });
  return {Fold(low, high), CountOf(used)};
}

template <class Power>
QV_INLINE Moments MomentsOf(const float* samples, std::ptrdiff_t count, Power power) {
  Doubles squaresLow = {}, squaresHigh = {}, powersLow = {}, powersHigh = {};
  Ints used = {};
  ForEachBlock(
      samples, count, [&](const Floats& z) __attribute__((always_inline)) {
        const Ints mask = Used(z);
        const Floats masked = Masked(z, mask);
        used += mask;
        const Doubles zLow = WidenLow(masked), zHigh = WidenHigh(masked);
        squaresLow += zLow * zLow;
        squaresHigh += zHigh * zHigh;
        powersLow += power(zLow);
        powersHigh += power(zHigh);
      });
  return {Fold(squaresLow, squaresHigh), Fold(powersLow, powersHigh), CountOf(used)};
}

Sum SumPlain(const float* samples, std::ptrdiff_t count) {
  return SumOf(
      samples, count, [](const Doubles& z) __attribute__((always_inline)) { return z; });
}

Sum SumAbsolutes(const float* samples, std::ptrdiff_t count) {
  return SumOf(
      samples, count, [](const Doubles& z) __attribute__((always_inline)) {
        return reinterpret_cast<Doubles>(reinterpret_cast<Longs>(z) & INT64_MAX);
      });
}

Sum SumSquares(const float* samples, std::ptrdiff_t count) {
  return SumOf(
      samples, count, [](const Doubles& z) __attribute__((always_inline)) { return z * z; });
}

Moments ThirdMoment(const float* samples, std::ptrdiff_t count) {
  return MomentsOf(
      samples, count, [](const Doubles& z) __attribute__((always_inline)) { return z * z * z; });
}

Moments FourthMoment(const float* samples, std::ptrdiff_t count) {
  return MomentsOf(
      samples, count, [](const Doubles& z) __attribute__((always_inline)) { return z * z * z * z; });
}

/// The first of equal extremes wins, as in a sequential search. It shows only in the sign of a zero.
QV_INLINE float FirstZero(const float* samples) {
  while (*samples != 0) ++samples;
  return *samples;
}

Extremes FindExtremes(const float* samples, std::ptrdiff_t count) {
  const Floats top = Floats{} + kStart;
  Floats minimum = top, maximum = -top;
  ForEachBlock(
      samples, count, [&](const Floats& z) __attribute__((always_inline)) {
        const Ints mask = Used(z);
        const Floats low = mask ? z : top, high = mask ? z : -top;
        minimum = low < minimum ? low : minimum;
        maximum = high > maximum ? high : maximum;
      });
  Extremes found = {kStart, -kStart};
  for (int i = 0; i < kLanes; ++i) {
    if (minimum[i] < found.minimum) found.minimum = minimum[i];
    if (maximum[i] > found.maximum) found.maximum = maximum[i];
  }
  if (found.minimum == 0) found.minimum = FirstZero(samples);
  if (found.maximum == 0) found.maximum = FirstZero(samples);
  return found;
}

}  // namespace

extern const StatisticsKernels statistics;
const StatisticsKernels statistics = {SumPlain,    SumAbsolutes, SumSquares,
                                      ThirdMoment, FourthMoment, FindExtremes};

}  // namespace qv::kernels::QV_KERNEL_ISA
