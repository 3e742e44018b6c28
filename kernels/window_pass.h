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

// Before a loop whose places are stored through arrays that no other access of it reaches.
#ifdef __clang__
#define QV_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define QV_INDEPENDENT _Pragma("GCC ivdep")
#endif

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

// What is combined, always (earlier, later). Parts may overlap.

struct FirstSmallest {
  template <class T>
  QV_INLINE T Of(T a, T b) {
    return b < a ? b : a;
  }
};
struct FirstLargest {
  template <class T>
  QV_INLINE T Of(T a, T b) {
    return b > a ? b : a;
  }
};

/// Takes the rows of a grid one after the other and gives the statistic of every window that ends in the row:
/// along the row first, then down the columns, so that of equal samples the first in row order can win.
///
/// Down the columns the rows are cut into blocks of the window's height. A window covers the end of one block
/// and the beginning of the next: the first are combined backwards when their block is complete, the second
/// as they come. That is three combinations per sample, whatever the height.
template <class Op, class T>
class SlidingWindow {
 public:
  /// Windows of `across` x `down` samples over rows of count + across - 1.
  SlidingWindow(std::ptrdiff_t across, std::ptrdiff_t down, std::ptrdiff_t count)
      : across_(across),
        down_(down),
        count_(count),
        rowStride_(RoundedUp(count + across)),
        stride_(RoundedUp(count)),
        memory_(2 * rowStride_ + (2 + down) * stride_) {}

  [[nodiscard]] bool Ready() const { return memory_.Data() != nullptr; }

  /// To be filled before each call of Push().
  T* Row() { return memory_.Data(); }

  /// Takes the row. Returns the results of the windows that end in it, or null where there are none yet.
  const T* Push() {
    T* row = Row();
    const T* combined = CombineRow(row, row + rowStride_);
    if (down_ == 1) return combined;
    T* block = memory_.Data() + 2 * rowStride_;
    T* prefix = block + down_ * stride_;
    T* result = prefix + stride_;
    T* own = block + inBlock_ * stride_;
    const bool last = inBlock_ == down_ - 1;
    const T* found = nullptr;
    if (inBlock_ == 0) {
      Start(prefix, own, result, combined, block + stride_);
    } else if (last) {
      Finish(result, prefix, own, combined);
    } else {
      Continue(prefix, own, result, combined, own + stride_);
    }
    if (anyBlock_ || last) found = result;
    ++inBlock_;
    if (last) CombineBackwards(block);
    return found;
  }

 private:
  static std::ptrdiff_t RoundedUp(std::ptrdiff_t count) { return (count + 31) / 16 * 16; }

  /// Combines the `across` values from each place on, by doubling; the last step overlaps.
  const T* CombineRow(T* from, T* to) const {
    for (std::ptrdiff_t reached = 1; reached < across_;) {
      const std::ptrdiff_t distance = Min(reached, across_ - reached);
      reached += distance;
      CombinePairs(to, from, from + distance, count_ + across_ - reached);
      T* swapped = from;
      from = to;
      to = swapped;
    }
    return from;
  }
  static void CombinePairs(T* __restrict to, const T* earlier, const T* later, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = Op::Of(earlier[i], later[i]);
  }

  void Start(T* __restrict prefix, T* __restrict own, T* __restrict result, const T* __restrict combined,
             const T* __restrict before) const {
    for (std::ptrdiff_t i = 0; i < count_; ++i) {
      prefix[i] = own[i] = combined[i];
      result[i] = Op::Of(before[i], combined[i]);
    }
  }
  void Continue(T* __restrict prefix, T* __restrict own, T* __restrict result, const T* __restrict combined,
                const T* __restrict before) const {
    for (std::ptrdiff_t i = 0; i < count_; ++i) {
      const T value = combined[i], sum = Op::Of(prefix[i], value);
      own[i] = value;
      prefix[i] = sum;
      result[i] = Op::Of(before[i], sum);
    }
  }
  void Finish(T* __restrict result, const T* __restrict prefix, T* __restrict own,
              const T* __restrict combined) const {
    for (std::ptrdiff_t i = 0; i < count_; ++i) {
      const T value = combined[i];
      own[i] = value;
      result[i] = Op::Of(prefix[i], value);
    }
  }
  void CombineBackwards(T* block) {
    for (std::ptrdiff_t j = down_ - 2; j > 0; --j) {
      T* __restrict own = block + j * stride_;
      const T* __restrict later = own + stride_;
      for (std::ptrdiff_t i = 0; i < count_; ++i) own[i] = Op::Of(own[i], later[i]);
    }
    inBlock_ = 0;
    anyBlock_ = true;
  }

  std::ptrdiff_t across_, down_, count_, rowStride_, stride_;
  Scratch<T> memory_;
  std::ptrdiff_t inBlock_ = 0;
  bool anyBlock_ = false;
};

/// Sums the `length` values from each of `count` places on. Takes rows of count + length - 1 values.
template <class T>
class RowSums {
 public:
  /// The steps are planned from the end: a third, a half or one less. Close to the fewest additions.
  explicit RowSums(std::ptrdiff_t length) : length_(length) {
    while (length > 1) {
      const Kind kind = length % 3 == 0 ? Kind::kTriple : length % 2 == 0 ? Kind::kDouble : Kind::kAppend;
      length = kind == Kind::kTriple ? length / 3 : kind == Kind::kDouble ? length / 2 : length - 1;
      steps_[stepCount_++] = {kind, length};
    }
  }

  /// Calls sink(place, sum), the last step at once with it. The spare rows are overwritten.
  template <class Sink>
  [[gnu::always_inline]] void Run(T* original, T* spare1, T* spare2, std::ptrdiff_t count, Sink sink) const {
    Rows rows = {original, spare1, spare2};
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
      QV_INDEPENDENT
      for (std::ptrdiff_t i = 0; i < count; ++i) sink(i, from[i]);
    } else if (last.kind == Kind::kTriple) {
      QV_INDEPENDENT
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        sink(i, from[i] + from[i + last.reached] + from[i + 2 * last.reached]);
      }
    } else {
      SinkPair(from, (last.kind == Kind::kDouble ? from : original) + last.reached, count, sink);
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

  template <class Sink>
  [[gnu::always_inline]] static void SinkPair(const T* __restrict earlier, const T* __restrict later,
                                              std::ptrdiff_t count, Sink sink) {
    QV_INDEPENDENT
    for (std::ptrdiff_t i = 0; i < count; ++i) sink(i, earlier[i] + later[i]);
  }
  static void Pair(T* __restrict to, const T* earlier, const T* later, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = earlier[i] + later[i];
  }
  static void Triple(T* __restrict to, const T* from, std::ptrdiff_t distance, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      to[i] = from[i] + from[i + distance] + from[i + 2 * distance];
    }
  }

  static constexpr int kMaximalSteps = 128;
  std::ptrdiff_t length_;
  Step steps_[kMaximalSteps] = {};
  int stepCount_ = 0;
};

/// Sums of all windows of a strip of a grid, by blocks of rows.
///
/// A window covers the end of one block of rows and the beginning of the next. Down the columns, the ends of
/// one block are summed upwards and the beginnings of the next one downwards, in registers; along the rows,
/// RowSums does the rest.
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
    for (; x + kGroup <= end; x += kGroup) {
      if (x + 2 * kGroup <= end) AskForGroup(top, Min(rows, top + 2 * down_ - 1), x + kGroup, source);
      SumGroup<kGroup>(top, rows, x, widen, source);
    }
    for (; x + kLanes <= end; x += kLanes) SumGroup<kLanes>(top, rows, x, widen, source);
    if (x < end && end - begin >= kLanes) {  // some are summed twice, from the beginning
      SumGroup<kLanes>(top, rows, end - kLanes, widen, source);
    } else {
      for (; x < end; ++x) SumGroup<1>(top, rows, x, widen, source);
    }
  }

  /// Calls sink(place, sum) for the windows that begin in row top + row.
  template <class Sink>
  [[gnu::always_inline]] void Finish(std::ptrdiff_t row, Sink sink) {
    Sum* spare = memory_.Data() + down_ * stride_;
    reduction_.Run(memory_.Data() + row * stride_, spare, spare + stride_, count_, sink);
  }

 private:
  static constexpr std::ptrdiff_t kGroup = 4 * kLanes;

  template <class Source>
  [[gnu::always_inline]] static void AskForGroup(std::ptrdiff_t top, std::ptrdiff_t end, std::ptrdiff_t x,
                                                 Source source) {
    for (std::ptrdiff_t y = top; y < end; ++y) {
      if (const auto* from = source(y, x); from != nullptr) Ask<0>(from, kGroup);
    }
  }

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

  RowSums<Sum> reduction_;
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
