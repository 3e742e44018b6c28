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

/// Calls sinkAt(row, first column), for what to do with (place, extreme), row by row of each strip.
template <class Search, class T, class SinkAt>
QV_INLINE void ForEachRow(const Window& window, const T* in, SinkAt sinkAt) {
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
      // The start value comes first of all, and a NaN never beats it.
      for (std::ptrdiff_t i = 0; i < count + side - 1; ++i) {
        row[i] = Search::Op::Of(Search::template kStart<T>, from[i]);
      }
      sliding.Push(sinkAt(y - side + 1, x));
    }
  }
}

template <class Search, class T>
void Find(const Window& window, const T* in, T* out) {
  const std::ptrdiff_t columns = window.nx - 2 * window.half;
  ForEachRow<Search>(window, in, [&](std::ptrdiff_t y, std::ptrdiff_t x) {
    T* __restrict to = out + Max(y, 0) * columns + x;
    return [=](std::ptrdiff_t i, T found) __attribute__((always_inline)) {
      to[i] = found;
    };
  });
}

template <class Search>
void FindResidual(const Window& window, const float* in, float* out, float* residual) {
  const std::ptrdiff_t columns = window.nx - 2 * window.half;
  ForEachRow<Search>(window, in, [&](std::ptrdiff_t y, std::ptrdiff_t x) {
    const float* __restrict from = in + Max(y, 0) * window.nx + x;  // the window's top-left sample
    float* __restrict toOut = out + Max(y, 0) * columns + x;
    float* __restrict toResidual = residual + Max(y, 0) * columns + x;
    return [=](std::ptrdiff_t i, float found) __attribute__((always_inline)) {
      const float difference = Canonical(from[i] - found);
      toOut[i] = found;
      toResidual[i] = found == kBad ? kBad : difference;
    };
  });
}

}  // namespace

extern const WindowExtremeKernels windowExtremes;
const WindowExtremeKernels windowExtremes = {
    Find<Minimum, double>, Find<Minimum, float>, Find<Minimum, std::int32_t>, FindResidual<Minimum>,
    Find<Maximum, double>, Find<Maximum, float>, Find<Maximum, std::int32_t>, FindResidual<Maximum>};

}  // namespace qv::kernels::QV_KERNEL_ISA
