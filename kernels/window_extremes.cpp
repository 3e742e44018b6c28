#include "kernels/window_pass.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

// Where the searches start. The double one is not the float's value; that of the integers is not their limit.
// Callers rely on each: it is what a window without a usable sample gives.
template <class T>
constexpr T kSearchStart = static_cast<T>(1e32F);
template <>
constexpr double kSearchStart<double> = 1e32;
template <>
constexpr std::int32_t kSearchStart<std::int32_t> = 1000000000;

struct Minimum {
  using Op = FirstSmallest;
  template <class T>
  static constexpr T kStart = kSearchStart<T>;
};
struct Maximum {
  using Op = FirstLargest;
  template <class T>
  static constexpr T kStart = -kSearchStart<T>;
};

/// Calls emit(output row, first column, count, results) strip by strip.
template <class Search, class T, class Emit>
QV_INLINE void ForEachResult(const Window& window, const T* in, Emit emit) {
  const std::ptrdiff_t side = 2 * window.half + 1;
  const std::ptrdiff_t columns = window.nx - side + 1;
  const std::ptrdiff_t strip = StripWidth<T>(columns, side, side);
  for (std::ptrdiff_t x = 0; x < columns; x += strip) {
    const std::ptrdiff_t count = Min(strip, columns - x);
    SlidingWindow<typename Search::Op, T> sliding(side, side, count);
    if (!sliding.Ready()) return;
    for (std::ptrdiff_t y = 0; y < window.ny; ++y) {
      const T* __restrict from = in + y * window.nx + x;
      T* __restrict row = sliding.Row();
      if (y + 1 < window.ny) Ask<0>(from + window.nx, count + side - 1);
      // The start value comes first of all, and a NaN never beats it.
      for (std::ptrdiff_t i = 0; i < count + side - 1; ++i) {
        row[i] = Search::Op::Of(Search::template kStart<T>, from[i]);
      }
      const T* results = sliding.Push();
      if (results != nullptr) emit(y - side + 1, x, count, results);
    }
  }
}

/// Three rows at a time: nothing to share down the columns.
template <class Search, class T>
void FindOfNine(const Window& window, const T* in, T* out) {
  using Op = typename Search::Op;
  const std::ptrdiff_t columns = window.nx - 2;
  Scratch<T> memory(3 * columns);
  if (memory.Data() == nullptr) return;
  for (std::ptrdiff_t y = 0; y < window.ny; ++y) {
    const T* __restrict from = in + y * window.nx;
    if (y + 1 < window.ny) {
      Ask<0>(from + window.nx, window.nx);
      if (y > 0) Ask<1>(out + (y - 1) * columns, columns);
    }
    T* __restrict row = memory.Data() + y % 3 * columns;
    for (std::ptrdiff_t i = 0; i < columns; ++i) {
      row[i] = Op::Of(Op::Of(Op::Of(Search::template kStart<T>, from[i]), from[i + 1]), from[i + 2]);
    }
    if (y < 2) continue;
    const T* first = memory.Data() + (y - 2) % 3 * columns;
    const T* second = memory.Data() + (y - 1) % 3 * columns;
    T* __restrict to = out + (y - 2) * columns;
    for (std::ptrdiff_t i = 0; i < columns; ++i) to[i] = Op::Of(Op::Of(first[i], second[i]), row[i]);
  }
}

template <class Search, class T>
void Find(const Window& window, const T* in, T* out) {
  if (window.half == 1) {
    FindOfNine<Search>(window, in, out);
    return;
  }
  const std::ptrdiff_t columns = window.nx - 2 * window.half, rows = window.ny - 2 * window.half;
  ForEachResult<Search>(window, in,
                        [&](std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t count, const T* results) {
                          T* to = out + y * columns + x;
                          if (y + 1 < rows) Ask<1>(to + columns, count);
                          __builtin_memcpy(to, results, static_cast<std::size_t>(count) * sizeof(T));
                        });
}

template <class Search>
void FindResidual(const Window& window, const float* in, float* out, float* residual) {
  const std::ptrdiff_t columns = window.nx - 2 * window.half, rows = window.ny - 2 * window.half;
  ForEachResult<Search>(
      window, in, [&](std::ptrdiff_t y, std::ptrdiff_t x, std::ptrdiff_t count, const float* results) {
        const float* __restrict from = in + y * window.nx + x;  // the window's top-left sample
        float* __restrict toOut = out + y * columns + x;
        float* __restrict toResidual = residual + y * columns + x;
        if (y + 1 < rows) {
          Ask<1>(toOut + columns, count);
          Ask<1>(toResidual + columns, count);
        }
        for (std::ptrdiff_t i = 0; i < count; ++i) {
          const float found = results[i], difference = Canonical(from[i] - found);
          toOut[i] = found;
          toResidual[i] = found == kBad ? kBad : difference;
        }
      });
}

}  // namespace

extern const WindowExtremeKernels windowExtremes;
const WindowExtremeKernels windowExtremes = {
    Find<Minimum, double>, Find<Minimum, float>, Find<Minimum, std::int32_t>, FindResidual<Minimum>,
    Find<Maximum, double>, Find<Maximum, float>, Find<Maximum, std::int32_t>, FindResidual<Maximum>};

}  // namespace qv::kernels::QV_KERNEL_ISA
