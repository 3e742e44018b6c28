// A window moved over a grid, for statistics that combine sample by sample: sums and extremes. Only for
// kernel files; everything here lives in the namespace of the instruction set.
//
// Rows are reduced along the row first, then down the columns, so that of equal samples the first in row
// order can win. Neither takes anything back out of a sum: samples only ever meet samples of their own
// window.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

/// Zero-filled memory of one call, aligned for the widest vectors.
template <class T>
class Scratch {
 public:
  explicit Scratch(std::ptrdiff_t count) {
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(T) + kAlignment;
    block_ = __builtin_malloc(bytes);
    if (block_ == nullptr) return;
    __builtin_memset(block_, 0, bytes);
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(block_);
    data_ = reinterpret_cast<T*>((address + kAlignment - 1) / kAlignment * kAlignment);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { __builtin_free(block_); }
  T* Data() const { return data_; }

 private:
  static constexpr std::size_t kAlignment = 64;
  void* block_ = nullptr;
  T* data_ = nullptr;
};

QV_INLINE std::ptrdiff_t Min(std::ptrdiff_t a, std::ptrdiff_t b) {
  return b < a ? b : a;
}
QV_INLINE std::ptrdiff_t Max(std::ptrdiff_t a, std::ptrdiff_t b) {
  return a < b ? b : a;
}

/// One NaN for all: see Window.
QV_INLINE float Canonical(float z) {
  return z == z ? z : __builtin_nanf("");
}
QV_INLINE double Canonical(double z) {
  return z == z ? z : __builtin_nan("");
}

// What is combined, always (earlier, later).

struct Add {
  static constexpr bool kMayOverlap = false;
  template <class T>
  QV_INLINE T Of(T a, T b) {
    return a + b;
  }
};
struct FirstSmallest {
  static constexpr bool kMayOverlap = true;
  template <class T>
  QV_INLINE T Of(T a, T b) {
    return b < a ? b : a;
  }
};
struct FirstLargest {
  static constexpr bool kMayOverlap = true;
  template <class T>
  QV_INLINE T Of(T a, T b) {
    return b > a ? b : a;
  }
};
struct Either {
  static constexpr bool kMayOverlap = true;
  template <class T>
  QV_INLINE T Of(T a, T b) {
    return static_cast<T>(a | b);
  }
};

/// Combines the `length` values from each of `count` places on. Takes rows of count + length - 1 values.
template <class Op, class T>
class RowReduction {
 public:
  explicit RowReduction(std::ptrdiff_t length) : length_(length) {
    if constexpr (!Op::kMayOverlap) PlanDisjoint(length);
  }

  /// Calls sink(place, result), the last step at once with it. The spare rows are overwritten.
  template <class Sink>
  [[gnu::always_inline]] void Run(T* values, T* spare1, T* spare2, std::ptrdiff_t count, Sink sink) const {
    Rows rows = {values, spare1, spare2};
    if constexpr (Op::kMayOverlap) {
      RunOverlapping(rows, count, sink);
    } else {
      RunDisjoint(values, rows, count, sink);
    }
  }

 private:
  enum class Kind : unsigned char { kDouble, kTriple, kAppend };
  struct Step {
    Kind kind;
    std::ptrdiff_t reached;  ///< by what the step starts from
  };
  struct Rows {
    T *from, *to, *next;
    void Advance(T* original) {
      T* free = from == original ? next : from;
      from = to;
      to = free;
    }
  };

  /// From the end: a third, a half or one less. Close to the fewest additions.
  void PlanDisjoint(std::ptrdiff_t length) {
    while (length > 1) {
      const Kind kind = length % 3 == 0 ? Kind::kTriple : length % 2 == 0 ? Kind::kDouble : Kind::kAppend;
      length = kind == Kind::kTriple ? length / 3 : kind == Kind::kDouble ? length / 2 : length - 1;
      steps_[stepCount_++] = {kind, length};
    }
  }

  template <class Sink>
  [[gnu::always_inline]] void RunOverlapping(Rows& rows, std::ptrdiff_t count, Sink sink) const {
    std::ptrdiff_t reached = 1;
    while (2 * reached < length_) {
      Pair(rows.to, rows.from, rows.from + reached, count + length_ - 2 * reached);
      reached *= 2;
      rows.Advance(nullptr);
    }
    SinkPair(rows.from, rows.from + (length_ - reached), count, sink);
  }

  template <class Sink>
  [[gnu::always_inline]] void RunDisjoint(T* original, Rows& rows, std::ptrdiff_t count, Sink sink) const {
    for (int i = stepCount_ - 1; i > 0; --i) {
      const Step step = steps_[i];
      const std::ptrdiff_t places = count + length_ - steps_[i - 1].reached;
      if (step.kind == Kind::kDouble) Pair(rows.to, rows.from, rows.from + step.reached, places);
      if (step.kind == Kind::kTriple) Triple(rows.to, rows.from, step.reached, places);
      if (step.kind == Kind::kAppend) Pair(rows.to, rows.from, original + step.reached, places);
      rows.Advance(original);
    }
    const Step last = steps_[0];
    const T* __restrict from = rows.from;
    if (stepCount_ == 0) {
#pragma GCC ivdep
      for (std::ptrdiff_t i = 0; i < count; ++i) sink(i, from[i]);
    } else if (last.kind == Kind::kTriple) {
#pragma GCC ivdep
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        sink(i, Op::Of(Op::Of(from[i], from[i + last.reached]), from[i + 2 * last.reached]));
      }
    } else {
      SinkPair(from, (last.kind == Kind::kDouble ? from : original) + last.reached, count, sink);
    }
  }

  template <class Sink>
  [[gnu::always_inline]] static void SinkPair(const T* __restrict earlier, const T* __restrict later,
                                              std::ptrdiff_t count, Sink sink) {
#pragma GCC ivdep
    for (std::ptrdiff_t i = 0; i < count; ++i) sink(i, Op::Of(earlier[i], later[i]));
  }
  static void Pair(T* __restrict to, const T* earlier, const T* later, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = Op::Of(earlier[i], later[i]);
  }
  static void Triple(T* __restrict to, const T* from, std::ptrdiff_t distance, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      to[i] = Op::Of(Op::Of(from[i], from[i + distance]), from[i + 2 * distance]);
    }
  }

  static constexpr int kMaximalSteps = 128;
  std::ptrdiff_t length_;
  Step steps_[kMaximalSteps] = {};
  int stepCount_ = 0;
};

/// Takes the rows of a grid one after the other and gives the statistic of every window that ends in the row.
///
/// Down the columns the rows are cut into blocks of the window's height. A window covers the end of one block
/// and the beginning of the next: the first are combined backwards when their block is complete, the second
/// as they come. That is three combinations per sample, whatever the height.
template <class Op, class T>
class SlidingWindow {
 public:
  /// Windows of `across` x `down` samples over rows of count + across - 1.
  SlidingWindow(std::ptrdiff_t across, std::ptrdiff_t down, std::ptrdiff_t count)
      : reduction_(across),
        down_(down),
        count_(count),
        rowStride_(RoundedUp(count + across)),
        stride_(RoundedUp(count)),
        memory_(3 * rowStride_ + (1 + down) * stride_) {}

  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }

  /// To be filled before each call of Push().
  T* Row() { return memory_.Data(); }

  /// Takes the row and calls sink(place, result) for the windows that end in it. Returns whether there are
  /// any.
  template <class Sink>
  [[gnu::always_inline]] bool Push(Sink sink) {
    T* row = memory_.Data();
    T *spare1 = row + rowStride_, *spare2 = spare1 + rowStride_;
    T* block = spare2 + rowStride_;
    T* __restrict prefix = block + down_ * stride_;
    T* __restrict own = block + inBlock_ * stride_;
    const T* __restrict before = own + stride_;
    const bool last = inBlock_ == down_ - 1, any = anyBlock_ || last;
    if (inBlock_ == 0 && last) {
      reduction_.Run(row, spare1, spare2, count_, sink);
    } else if (inBlock_ == 0) {
      const auto start = [=](std::ptrdiff_t i, T value) __attribute__((always_inline)) {
        prefix[i] = own[i] = value;
        sink(i, Op::Of(before[i], value));
      };
      const auto startFirst = [=](std::ptrdiff_t i, T value) __attribute__((always_inline)) {
        prefix[i] = own[i] = value;
      };
      any ? reduction_.Run(row, spare1, spare2, count_, start)
          : reduction_.Run(row, spare1, spare2, count_, startFirst);
    } else if (last) {
      reduction_.Run(
          row, spare1, spare2, count_, [=](std::ptrdiff_t i, T value) __attribute__((always_inline)) {
            const T sum = Op::Of(prefix[i], value);
            own[i] = value;
            sink(i, sum);
          });
    } else {
      const auto proceed = [=](std::ptrdiff_t i, T value) __attribute__((always_inline)) {
        const T sum = Op::Of(prefix[i], value);
        own[i] = value;
        prefix[i] = sum;
        sink(i, Op::Of(before[i], sum));
      };
      const auto proceedFirst = [=](std::ptrdiff_t i, T value) __attribute__((always_inline)) {
        own[i] = value;
        prefix[i] = Op::Of(prefix[i], value);
      };
      any ? reduction_.Run(row, spare1, spare2, count_, proceed)
          : reduction_.Run(row, spare1, spare2, count_, proceedFirst);
    }
    ++inBlock_;
    if (last) CombineBackwards(block);
    return any;
  }

 private:
  static std::ptrdiff_t RoundedUp(std::ptrdiff_t count) { return (count + 31) / 16 * 16; }

  void CombineBackwards(T* block) {
    for (std::ptrdiff_t j = down_ - 2; j > 0; --j) {
      T* __restrict own = block + j * stride_;
      const T* __restrict later = own + stride_;
      for (std::ptrdiff_t i = 0; i < count_; ++i) own[i] = Op::Of(own[i], later[i]);
    }
    inBlock_ = 0;
    anyBlock_ = true;
  }

  RowReduction<Op, T> reduction_;
  std::ptrdiff_t down_, count_, rowStride_, stride_;
  Scratch<T> memory_;
  std::ptrdiff_t inBlock_ = 0;
  bool anyBlock_ = false;
};

/// Sums of all windows of a strip of a grid, by blocks of rows.
///
/// A window covers the end of one block of rows and the beginning of the next. Down the columns, the ends of
/// one block are summed upwards and the beginnings of the next one downwards, in registers; along the rows,
/// RowReduction does the rest.
template <class Sum>
class WindowSums {
 public:
  WindowSums(std::ptrdiff_t across, std::ptrdiff_t down, std::ptrdiff_t count)
      : reduction_(across),
        down_(down),
        count_(count),
        columns_(count + across - 1),
        stride_((columns_ + 2 * kLanes) / kLanes * kLanes),
        memory_((down + 2) * stride_) {}

  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }

  /// Sums down the columns for the windows that begin in the `down` rows from `top` on, of a grid of `rows`
  /// rows. source(row, column) is where the samples of a place are; those outside [begin, end) count as 0,
  /// like those of a null row. Widen turns a sample into what is summed.
  template <class Widen, class Source>
  [[gnu::always_inline]] void SumColumns(std::ptrdiff_t top, std::ptrdiff_t rows, std::ptrdiff_t begin,
                                         std::ptrdiff_t end, Widen widen, Source source) {
    std::ptrdiff_t x = begin;
    for (; x + kGroup <= end; x += kGroup) SumGroup<kGroup>(top, rows, x, widen, source);
    for (; x + kLanes <= end; x += kLanes) SumGroup<kLanes>(top, rows, x, widen, source);
    for (; x < end; ++x) SumGroup<1>(top, rows, x, widen, source);
  }

  /// Calls sink(place, sum) for the windows that begin in row top + row. The row's column sums are used up.
  template <class Sink>
  [[gnu::always_inline]] void Finish(std::ptrdiff_t row, Sink sink) {
    T* spare = memory_.Data() + down_ * stride_;
    reduction_.Run(memory_.Data() + row * stride_, spare, spare + stride_, count_, sink);
  }

 private:
  using T = Sum;
  static constexpr std::ptrdiff_t kGroup = 4 * kLanes;

  template <std::ptrdiff_t kCount, class Widen, class Source>
  [[gnu::always_inline]] void SumGroup(std::ptrdiff_t top, std::ptrdiff_t rows, std::ptrdiff_t x, Widen widen,
                                       Source source) {
    Sum* own = memory_.Data() + x;
    Sum sum[kCount] = {};
    for (std::ptrdiff_t j = Min(down_, rows - top) - 1; j >= 0; --j) {
      if (const auto* from = source(top + j, x); from != nullptr) {
        for (std::ptrdiff_t i = 0; i < kCount; ++i) sum[i] += widen(from[i]);
      }
      for (std::ptrdiff_t i = 0; i < kCount; ++i) own[j * stride_ + i] = sum[i];
    }
    Sum next[kCount] = {};
    const std::ptrdiff_t nextCount = Min(down_ - 1, rows - top - down_);
    for (std::ptrdiff_t j = 0; j < nextCount; ++j) {
      if (const auto* from = source(top + down_ + j, x); from != nullptr) {
        for (std::ptrdiff_t i = 0; i < kCount; ++i) next[i] += widen(from[i]);
      }
      for (std::ptrdiff_t i = 0; i < kCount; ++i) own[(j + 1) * stride_ + i] += next[i];
    }
  }

  RowReduction<Add, Sum> reduction_;
  std::ptrdiff_t down_, count_, columns_, stride_;
  Scratch<Sum> memory_;
};

/// How many columns to take at a time so that the block of rows stays in the second-level cache, without
/// reading the columns that neighbouring strips share too often.
template <class T>
QV_INLINE std::ptrdiff_t StripWidth(std::ptrdiff_t columns, std::ptrdiff_t across, std::ptrdiff_t down) {
  constexpr std::ptrdiff_t kBytes = 512 * 1024;
  const std::ptrdiff_t fitting = kBytes / static_cast<std::ptrdiff_t>(sizeof(T)) / (down + 4);
  const std::ptrdiff_t width = Max(Min(fitting, 1024), Max(2 * across, 64)) / 64 * 64;
  return Min(width, columns);
}

}  // namespace qv::kernels::QV_KERNEL_ISA
