// Sums of windows that are taken on from one window to the next: what enters is added, what leaves is
// subtracted, at the same cost for every size. Nothing is lost on the way because the sums are integers,
// which wrap; floats are summed as multiples of a unit that all of them share. Only for kernel files;
// everything here lives in the namespace of the instruction set.
#pragma once

#include "kernels/window_pass.h"

namespace qv::kernels::QV_KERNEL_ISA {

/// Sums of windows that begin at `count` places of a row and are `across` samples wide. They hold no rows at
/// first. Int is unsigned.
template <class Int>
class RunningSums {
 public:
  RunningSums(std::ptrdiff_t across, std::ptrdiff_t count)
      : across_(across),
        count_(count),
        stride_((count + across + kLanes) / kLanes * kLanes),
        memory_(2 * stride_) {}

  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }

  /// Moves the windows one row down. Rows begin where the first window does and are null where there is none;
  /// samples outside [begin, end) count as 0. Convert turns a sample into an Int.
  template <class T, class Convert>
  [[gnu::always_inline]] void Move(const T* entering, const T* leaving, std::ptrdiff_t begin,
                                   std::ptrdiff_t end, Convert convert) {
    if (entering != nullptr && leaving != nullptr) {
      Add(
          begin, end, [=](std::ptrdiff_t i) __attribute__((always_inline)) {
            return convert(entering[i]) - convert(leaving[i]);
          });
    } else if (entering != nullptr) {
      Add(
          begin, end, [=](std::ptrdiff_t i) __attribute__((always_inline)) { return convert(entering[i]); });
    } else if (leaving != nullptr) {
      Add(
          begin, end, [=](std::ptrdiff_t i) __attribute__((always_inline)) { return -convert(leaving[i]); });
    }
  }

  /// The sums of a row of windows, place by place.
  struct Row {
    const Int* before;
    std::ptrdiff_t across;
    [[gnu::always_inline]] Int operator[](std::ptrdiff_t i) const { return before[i + across] - before[i]; }
  };
  /// Of the windows as they lie now; until the next call of it.
  Row Sums() {
    SumBefore();
    return {memory_.Data() + stride_, across_};
  }

 private:
  /// The sum of the columns before each, four at a time: one addition waits for the one before it, not four.
  void SumBefore() {
    const Int* __restrict columns = memory_.Data();
    Int* __restrict before = memory_.Data() + stride_;
    Int sum = 0;
    for (std::ptrdiff_t i = 0; i < count_ + across_; i += 4) {
      const Int one = columns[i], two = one + columns[i + 1], three = two + columns[i + 2];
      before[i] = sum;
      before[i + 1] = sum + one;
      before[i + 2] = sum + two;
      before[i + 3] = sum + three;
      sum += two + (columns[i + 2] + columns[i + 3]);
    }
  }

  template <class Change>
  [[gnu::always_inline]] void Add(std::ptrdiff_t begin, std::ptrdiff_t end, Change change) {
    Int* __restrict columns = memory_.Data();
    QV_INDEPENDENT
    for (std::ptrdiff_t i = begin; i < end; ++i) columns[i] += change(i);
  }

  std::ptrdiff_t across_, count_, stride_;
  Scratch<Int> memory_;
};

/// Floats as integral multiples of a unit.
class FixedPoint {
 public:
  /// The integer of a float, by the bits of a sum with a double whose last digit is the unit.
  QV_INLINE std::uint64_t Of(double z, double shift) {
    return __builtin_bit_cast(std::uint64_t, z + shift) - __builtin_bit_cast(std::uint64_t, shift);
  }

  /// A sum of such integers, rounded once. Only the latest vectors have an instruction for it; elsewhere the
  /// halves are made the last digits of two doubles.
  QV_INLINE double Double(std::uint64_t sum) {
#if defined(__AVX512DQ__)
    return static_cast<double>(static_cast<std::int64_t>(sum));
#else
    constexpr double kHigh = 0x1p84, kLow = 0x1p52, kSign = 0x1p63;
    const std::uint64_t high = ((sum >> 32) ^ 0x80000000) | __builtin_bit_cast(std::uint64_t, kHigh);
    const std::uint64_t low = (sum & 0xFFFFFFFF) | __builtin_bit_cast(std::uint64_t, kLow);
    return __builtin_bit_cast(double, high) - (kHigh + kSign + kLow) + __builtin_bit_cast(double, low);
#endif
  }

  /// For sums of up to so many floats.
  explicit FixedPoint(std::ptrdiff_t samples) {
    for (; samples > 1; samples = (samples + 1) / 2) ++carried_;
  }

  /// Takes more floats into account.
  template <class Read>
  [[gnu::always_inline]] void See(const float* samples, std::ptrdiff_t count, Read read) {
    std::uint32_t least = least_, most = most_;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::uint32_t bits = __builtin_bit_cast(std::uint32_t, read(samples[i])) & 0x7FFFFFFF;
      most = bits > most ? bits : most;
      least = bits - 1 < least ? bits - 1 : least;  // 0 is a multiple of any unit
    }
    least_ = least;
    most_ = most;
  }

  /// Whether sums of so many of the floats seen are exact: the unit is the last digit of the smallest of
  /// them, the largest has 51 binary digits at most and a sum 63.
  [[nodiscard]] bool Holds() const {
    const int digits = 24 + static_cast<int>(most_ >> 23) - LeastExponent();
    return most_ < 0x7F800000 && digits <= 51 && digits + carried_ <= 63;
  }

  [[nodiscard]] double Shift() const {
    return 1.5 * 0x1p52 * Unit();
  }
  [[nodiscard]] double Unit() const {
    return __builtin_bit_cast(double, static_cast<std::uint64_t>(LeastExponent() - 150 + 1023) << 52);
  }

 private:
  /// As the bits have it, of which the denormal numbers share that of the smallest normal ones.
  [[nodiscard]] int LeastExponent() const {
    const auto exponent = static_cast<int>((least_ + 1) >> 23);
    return exponent == 0 ? 1 : exponent;
  }

  int carried_ = 0;  ///< digits that a sum may have more than its terms
  std::uint32_t least_ = 0x7F7FFFFE, most_ = 0;
};

}  // namespace qv::kernels::QV_KERNEL_ISA
