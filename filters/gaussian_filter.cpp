#include "filters/gaussian_filter.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/kept_memory.h"
#include "core/samples.h"
#include "exports/QV_3D.h"
#include "filters/extended_precision.h"
#include "filters/line_blocks.h"
#include "filters/scratch.h"

namespace qv::filters {

// Beyond the length of any line the half-width counts in the weight alone, so indices need not reach that
// far.
Window::Window(int halfWidth)
    : m(std::min<std::ptrdiff_t>(halfWidth, PTRDIFF_MAX / 4)),
      length(2 * m + 1),
      weight(static_cast<float>(1 / (2.0 * halfWidth + 1))) {}

int HalfWidth(float cutoff, float spacing) {
  return cutoff == 0 ? 0 : TruncateToInt(cutoff * 0.183 / spacing);
}

// The order of additions, the 64-bit mantissa and the float stores are what callers' results were made with.
// Samples beyond the line count as 0, results beyond it are dropped.
[[gnu::noinline]] void BoxAverageLine(const float* src, float* dst, std::ptrdiff_t n, std::ptrdiff_t stride,
                                      const Window& window) {
  const std::ptrdiff_t m = window.m, length = window.length;
  const long double w = window.weight;
  long double sum = 0;
  // Lead-in: what lies before the line is not made up for, so the edge is pulled towards 0.
  for (std::ptrdiff_t k = 0; k < std::min(m, n); ++k) sum += src[k * stride];
  for (std::ptrdiff_t at = 0; at < std::min(m + 1, n); ++at) {
    if (at + m < n) sum += src[(at + m) * stride];
    dst[at * stride] = static_cast<float>(sum * w);
  }
  for (std::ptrdiff_t k = length; k < n; ++k) {
    sum -= src[(k - length) * stride];
    sum += src[k * stride];
    dst[(k - m) * stride] = static_cast<float>(sum * w);
  }
  // Tail: it begins at the last full window once more, so the sample before that window is subtracted a
  // second time and all results from there on lack it. Kept: callers rely on the values.
  for (std::ptrdiff_t at = std::max<std::ptrdiff_t>(n - 1 - m, 0); at < n; ++at) {
    if (at + m >= length) sum -= src[(at + m - length) * stride];
    dst[at * stride] = static_cast<float>(sum * w);
  }
}

namespace {

constexpr int kExponentShift = 23;
constexpr std::uint32_t kInfinityBits = 0x7F800000U;

/// Whether sums of up to `terms` samples of a line are exact in a double, and so in an extended number too,
/// and their products with a weight of about 1/terms stay clear of the denormal floats.
///
/// Samples are multiples of the last place of the smallest, 2^(low - 23), and below 2^(high + 1): a sum is a
/// whole number of last places below 2^(high - low + 24) * terms.
bool ExactInDoubles(std::uint32_t largest, std::uint32_t smallestLessOne, std::ptrdiff_t terms) {
  if (largest == 0) return true;
  if (largest >= kInfinityBits) return false;
  const int termBits = std::bit_width(static_cast<std::uint64_t>(terms));
  const int high = static_cast<int>(largest >> kExponentShift);
  const int low = static_cast<int>((smallestLessOne + 1) >> kExponentShift);
  return low >= kExponentShift + 2 + termBits && high - low + 24 + termBits <= 53;
}

/// The smallest magnitude of one line of a block, less 1, after it was written anew.
std::uint32_t SmallestOfLine(const float* line, std::ptrdiff_t n) {
  std::uint32_t smallestLessOne = UINT32_MAX;
  for (std::ptrdiff_t k = 0; k < n; ++k) {
    const auto bits = std::bit_cast<std::uint32_t>(line[k * kernels::kBlockLines]);
    smallestLessOne = std::min(smallestLessOne, (bits & 0x7FFFFFFFU) - 1);
  }
  return smallestLessOne;
}

/// A bound of what averages of samples can be: the weight and the result are rounded, by half a unit each.
std::uint32_t LargestAverage(std::uint32_t largest) {
  return largest == 0 ? 0 : largest + 4;
}

/// Three moving averages of each line of a block: from `block` through `other` and back; returns where the
/// result is. Lines for which doubles may not give the bits of the extended sum are done again with it.
class GaussianSmoothLine {
 public:
  GaussianSmoothLine(std::ptrdiff_t n, int halfWidth, float* other)
      : n_(n), window_(halfWidth), terms_(std::min(window_.length, n) + 1), other_(other) {}

  float* operator()(float* block, int lines) const {
    kernels::LineRanges ranges, averaged;
    kernels::Active().smoothing.measure(block, n_, &ranges);
    float *from = block, *to = other_;
    for (int pass = 0; pass < 3; ++pass) {
      kernels::Active().smoothing.boxAverage(from, to, n_, window_.m, window_.weight, pass == 2, &averaged);
      for (int line = 0; line < lines; ++line) {
        const bool exact = ExactInDoubles(ranges.largest[line], ranges.smallest[line], terms_);
        if (!exact || averaged.ties[line] != 0) Redo(from, to, line, averaged);
        averaged.largest[line] = LargestAverage(ranges.largest[line]);
      }
      ranges = averaged;
      std::swap(from, to);
    }
    return from;
  }

 private:
  void Redo(const float* from, float* to, int line, kernels::LineRanges& ranges) const {
    const ExtendedPrecision extended;
    BoxAverageLine(from + line, to + line, n_, kernels::kBlockLines, window_);
    ranges.smallest[line] = SmallestOfLine(to + line, n_);
  }

  std::ptrdiff_t n_;
  Window window_;
  std::ptrdiff_t terms_;
  float* other_;
};

/// The scratch lines that have always been left allocated: three per line, untouched. Taken at once, since
/// thousands of small blocks would cost more than the filter.
void KeepScratchLines(std::ptrdiff_t lines, std::ptrdiff_t n) {
  KeepBlock(3 * lines * n, sizeof(float));
}

}  // namespace

}  // namespace qv::filters

unsigned QV_CALL GaussianFilter(int nx, int ny, float dx, float dy, float cutoff, const float* in,
                                float* residual, float* filtered) {
  using namespace qv::filters;
  if (nx < 1 || ny < 1) return 0;
  const Grid grid{nx, ny};
  qv::filters::Scratch<float> block(BlockSize(grid)), other(BlockSize(grid));
  if (!block || !other) return 0;

  const float* source = in;
  const int rowHalfWidth = HalfWidth(cutoff, dx), columnHalfWidth = HalfWidth(cutoff, dy);
  KeepScratchLines(grid.ny, grid.nx);
  if (rowHalfWidth >= 1) {
    SmoothRows(grid, in, filtered, block.get(), GaussianSmoothLine(nx, rowHalfWidth, other.get()));
    source = filtered;
  }
  KeepScratchLines(grid.nx, grid.ny);
  if (columnHalfWidth >= 1) {
    SmoothColumns(grid, source, in, residual, filtered, block.get(),
                  GaussianSmoothLine(ny, columnHalfWidth, other.get()));
  } else {
    PassColumns(grid, source, in, residual, filtered);
  }
  return 0;
}
