// Line filters over blocks of lines side by side: each vector lane runs the sequential description of its
// line, so the result is the same as one line after the other, at full vector width.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

constexpr int kPart = 8;                     // lanes of one vector of doubles
constexpr int kParts = kBlockLines / kPart;  // vectors of one sample of every line
using HalfUnsigned = std::uint32_t __attribute__((vector_size(32)));
using UnsignedLongs = std::uint64_t __attribute__((vector_size(64)));
using Quad = float __attribute__((vector_size(16)));

/// One sample of every line.
struct Samples {
  Doubles part[kParts];
};

QV_INLINE HalfFloats LoadHalf(const float* from) {
  HalfFloats v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}
QV_INLINE void StoreHalf(float* to, const HalfFloats& v) {
  __builtin_memcpy(to, &v, sizeof v);
}
QV_INLINE Doubles LoadWidened(const float* from) {
  return Widen(LoadHalf(from));
}

// ---- blocks from and to grids ----

QV_INLINE Quad LoadQuad(const float* from) {
  Quad v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}
QV_INLINE void StoreQuad(float* to, const Quad& v) {
  __builtin_memcpy(to, &v, sizeof v);
}

/// Copies a 4 x 4 tile, rows becoming columns.
QV_INLINE void TransposeTile(const float* from, std::ptrdiff_t fromPitch, float* to, std::ptrdiff_t toPitch) {
  const Quad a = LoadQuad(from), b = LoadQuad(from + fromPitch);
  const Quad c = LoadQuad(from + 2 * fromPitch), d = LoadQuad(from + 3 * fromPitch);
  const Quad ab0 = __builtin_shufflevector(a, b, 0, 4, 1, 5), ab1 = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Quad cd0 = __builtin_shufflevector(c, d, 0, 4, 1, 5), cd1 = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  StoreQuad(to, __builtin_shufflevector(ab0, cd0, 0, 1, 4, 5));
  StoreQuad(to + toPitch, __builtin_shufflevector(ab0, cd0, 2, 3, 6, 7));
  StoreQuad(to + 2 * toPitch, __builtin_shufflevector(ab1, cd1, 0, 1, 4, 5));
  StoreQuad(to + 3 * toPitch, __builtin_shufflevector(ab1, cd1, 2, 3, 6, 7));
}

constexpr std::ptrdiff_t kStretch = 64;  // samples of a row taken at once: whole cache lines, a few

// A walk across rows begins a new page with every row, where the processor does not look ahead itself.
constexpr std::ptrdiff_t kRowsAhead = 12;

void PackRows(const float* grid, std::ptrdiff_t pitch, int lines, std::ptrdiff_t n, float* block) {
  std::ptrdiff_t whole = 0;
  if (lines == kBlockLines) {
    for (; whole + kStretch <= n; whole += kStretch) {
      for (int line = 0; line < kBlockLines; line += 4) {
        for (int i = 0; i < 4 && whole + 2 * kStretch <= n; ++i) {
          Ask<0>(grid + (line + i) * pitch + whole + kStretch, kStretch);
        }
        for (std::ptrdiff_t k = whole; k < whole + kStretch; k += 4) {
          TransposeTile(grid + line * pitch + k, pitch, block + k * kBlockLines + line, kBlockLines);
        }
      }
    }
  }
  for (std::ptrdiff_t k = whole; k < n; ++k) {
    for (int line = 0; line < kBlockLines; ++line) {
      block[k * kBlockLines + line] = line < lines ? grid[line * pitch + k] : 0.0F;
    }
  }
}

void UnpackRows(const float* block, std::ptrdiff_t n, int lines, float* grid, std::ptrdiff_t pitch) {
  std::ptrdiff_t whole = 0;
  if (lines == kBlockLines) {
    for (; whole + kStretch <= n; whole += kStretch) {
      for (int line = 0; line < kBlockLines; line += 4) {
        for (int i = 0; i < 4 && whole + 2 * kStretch <= n; ++i) {
          Ask<1>(grid + (line + i) * pitch + whole + kStretch, kStretch);
        }
        for (std::ptrdiff_t k = whole; k < whole + kStretch; k += 4) {
          TransposeTile(block + k * kBlockLines + line, kBlockLines, grid + line * pitch + k, pitch);
        }
      }
    }
  }
  for (int line = 0; line < lines; ++line) {
    for (std::ptrdiff_t k = whole; k < n; ++k) grid[line * pitch + k] = block[k * kBlockLines + line];
  }
}

void PackColumns(const float* grid, std::ptrdiff_t pitch, int lines, std::ptrdiff_t n, float* block) {
  for (std::ptrdiff_t k = 0; k < n; ++k, grid += pitch, block += kBlockLines) {
    if (k + kRowsAhead < n) Ask<0>(grid + kRowsAhead * pitch, lines);
    if (lines == kBlockLines) {
      for (int i = 0; i < kBlockLines; i += kLanes) Store(block + i, Load(grid + i));
    } else {
      for (int i = 0; i < kBlockLines; ++i) block[i] = i < lines ? grid[i] : 0.0F;
    }
  }
}

void Subtract(const float* in, const float* smoothed, float* residual, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) residual[i] = in[i] - smoothed[i];
}

void UnpackColumns(const float* block, std::ptrdiff_t n, int lines, const float* in, float* residual,
                   float* filtered, std::ptrdiff_t pitch) {
  for (std::ptrdiff_t k = 0; k < n; ++k, in += pitch, residual += pitch, filtered += pitch) {
    const float* smoothed = block + k * kBlockLines;
    if (k + kRowsAhead < n) {
      Ask<0>(in + kRowsAhead * pitch, lines);
      Ask<1>(residual + kRowsAhead * pitch, lines);
      Ask<1>(filtered + kRowsAhead * pitch, lines);
    }
    if (lines == kBlockLines) {
      for (int i = 0; i < kBlockLines; i += kLanes) {
        const Floats z = Load(smoothed + i);
        Store(residual + i, Load(in + i) - z);
        Store(filtered + i, z);
      }
    } else {
      for (int i = 0; i < lines; ++i) {
        residual[i] = in[i] - smoothed[i];
        filtered[i] = smoothed[i];
      }
    }
  }
}

// ---- moving average ----

/// What has to be known of a stretch of results; see LineRanges.
struct Watch {
  HalfUnsigned smallest[kParts];
  UnsignedLongs offTie[kParts];  // the least distance of the dropped bits from those of a tie, xor-wise
  Watch() {
    for (HalfUnsigned& v : smallest) v = ~HalfUnsigned{};
    for (UnsignedLongs& v : offTie) v = ~UnsignedLongs{};
  }
};

QV_INLINE void WatchSmallest(Watch& watch, int p, const HalfFloats& z) {
  const HalfUnsigned below = (reinterpret_cast<HalfUnsigned>(z) & 0x7FFFFFFFU) - 1;  // 0 becomes the largest
  watch.smallest[p] = watch.smallest[p] < below ? watch.smallest[p] : below;
}

QV_INLINE void WatchTies(Watch& watch, int p, const Doubles& product) {
  const UnsignedLongs off = (reinterpret_cast<UnsignedLongs>(product) ^ 0x10000000U) & 0x1FFFFFFFU;
  watch.offTie[p] = watch.offTie[p] < off ? watch.offTie[p] : off;
}

QV_INLINE void Report(const Watch& watch, LineRanges* ranges) {
  for (int p = 0; p < kParts; ++p) {
    __builtin_memcpy(ranges->smallest + p * kPart, &watch.smallest[p], sizeof watch.smallest[p]);
    for (int i = 0; i < kPart; ++i) ranges->ties[p * kPart + i] = watch.offTie[p][i] == 0 ? 1 : 0;
  }
}

void Measure(const float* block, std::ptrdiff_t n, LineRanges* ranges) {
  Watch watch;
  HalfUnsigned largest[kParts] = {};
  for (std::ptrdiff_t k = 0; k < n; ++k, block += kBlockLines) {
    for (int p = 0; p < kParts; ++p) {
      const HalfFloats z = LoadHalf(block + p * kPart);
      const HalfUnsigned magnitude = reinterpret_cast<HalfUnsigned>(z) & 0x7FFFFFFFU;
      largest[p] = largest[p] > magnitude ? largest[p] : magnitude;
      WatchSmallest(watch, p, z);
    }
  }
  Report(watch, ranges);
  __builtin_memcpy(ranges->largest, largest, sizeof largest);
}

QV_INLINE void Add(Samples& sum, const float* samples) {
  for (int p = 0; p < kParts; ++p) sum.part[p] += LoadWidened(samples + p * kPart);
}
QV_INLINE void Remove(Samples& sum, const float* samples) {
  for (int p = 0; p < kParts; ++p) sum.part[p] -= LoadWidened(samples + p * kPart);
}

/// Stores sum * w. A product that lies between two floats exactly, as far as a double can tell, is noted:
/// only then may rounding by way of a double differ from rounding by way of an extended number.
template <bool kLast>
QV_INLINE void StoreAverage(const Samples& sum, double w, float* to, Watch& watch) {
  for (int p = 0; p < kParts; ++p) {
    const Doubles product = sum.part[p] * w;
    WatchTies(watch, p, product);
    const HalfFloats rounded = __builtin_convertvector(product, HalfFloats);
    if (!kLast) WatchSmallest(watch, p, rounded);
    StoreHalf(to + p * kPart, rounded);
  }
}

/// The same steps as BoxAverageLine of filters/gaussian_filter.cpp, which has the reasons.
template <bool kLast>
void BoxAverageOf(const float* from, float* to, std::ptrdiff_t n, std::ptrdiff_t m, float weight,
                  LineRanges* ranges) {
  const std::ptrdiff_t length = 2 * m + 1;
  const double w = weight;
  Watch watch;
  Samples sum = {};
  for (std::ptrdiff_t k = 0; k < m && k < n; ++k) Add(sum, from + k * kBlockLines);
  for (std::ptrdiff_t at = 0; at <= m && at < n; ++at) {
    if (at + m < n) Add(sum, from + (at + m) * kBlockLines);
    StoreAverage<kLast>(sum, w, to + at * kBlockLines, watch);
  }
  for (std::ptrdiff_t k = length; k < n; ++k) {
    Remove(sum, from + (k - length) * kBlockLines);
    Add(sum, from + k * kBlockLines);
    StoreAverage<kLast>(sum, w, to + (k - m) * kBlockLines, watch);
  }
  for (std::ptrdiff_t at = n - 1 - m > 0 ? n - 1 - m : 0; at < n; ++at) {
    if (at + m >= length) Remove(sum, from + (at + m - length) * kBlockLines);
    StoreAverage<kLast>(sum, w, to + at * kBlockLines, watch);
  }
  Report(watch, ranges);
}

void BoxAverage(const float* from, float* to, std::ptrdiff_t n, std::ptrdiff_t m, float weight, bool last,
                LineRanges* ranges) {
  if (last) {
    BoxAverageOf<true>(from, to, n, m, weight, ranges);
  } else {
    BoxAverageOf<false>(from, to, n, m, weight, ranges);
  }
}

// ---- spline ----

QV_INLINE Samples LoadSamples(const float* from) {
  Samples z;
  for (int p = 0; p < kParts; ++p) z.part[p] = LoadWidened(from + p * kPart);
  return z;
}

/// Stores as float and keeps what was stored.
QV_INLINE void StoreRounded(Samples& z, float* to) {
  for (int p = 0; p < kParts; ++p) {
    const HalfFloats rounded = __builtin_convertvector(z.part[p], HalfFloats);
    StoreHalf(to + p * kPart, rounded);
    z.part[p] = Widen(rounded);
  }
}

QV_INLINE void Round(Samples& z) {
  for (int p = 0; p < kParts; ++p) {
    z.part[p] = Widen(__builtin_convertvector(z.part[p], HalfFloats));
  }
}

QV_INLINE void Eliminate(Samples& z, double factor, const Samples& pivot) {
  for (int p = 0; p < kParts; ++p) z.part[p] -= factor * pivot.part[p];
}

void SolveForward(float* block, std::ptrdiff_t n, const BandFactors& factors) {
  Samples pivot = LoadSamples(block), next = LoadSamples(block + kBlockLines);
  for (std::ptrdiff_t k = 0; k + 2 < n; ++k) {
    Samples after = LoadSamples(block + (k + 2) * kBlockLines);
    Eliminate(next, factors.firstFactor[k], pivot);
    StoreRounded(next, block + (k + 1) * kBlockLines);
    Eliminate(after, factors.secondFactor[k], pivot);
    Round(after);
    pivot = next;
    next = after;
  }
  Eliminate(next, factors.firstFactor[n - 2], pivot);
  StoreRounded(next, block + (n - 1) * kBlockLines);
}

QV_INLINE void Divide(Samples& z, double divisor) {
  for (int p = 0; p < kParts; ++p) z.part[p] /= divisor;
}

void SolveBackward(float* block, std::ptrdiff_t n, const BandFactors& factors) {
  Samples second = LoadSamples(block + (n - 1) * kBlockLines);
  Divide(second, factors.diagonal[n - 1]);
  StoreRounded(second, block + (n - 1) * kBlockLines);
  Samples first = LoadSamples(block + (n - 2) * kBlockLines);
  Eliminate(first, factors.first[n - 2], second);
  Divide(first, factors.diagonal[n - 2]);
  StoreRounded(first, block + (n - 2) * kBlockLines);
  for (std::ptrdiff_t k = n - 3; k >= 0; --k) {
    Samples z = LoadSamples(block + k * kBlockLines);
    Eliminate(z, factors.first[k], first);
    Eliminate(z, factors.second[k], second);
    Divide(z, factors.diagonal[k]);
    StoreRounded(z, block + k * kBlockLines);
    second = first;
    first = z;
  }
}

void SolveBand(float* block, std::ptrdiff_t n, const BandFactors& factors) {
  SolveForward(block, n, factors);
  SolveBackward(block, n, factors);
}

// ---- binomial window ----

void BinomialRow(const float* const rows[3], std::ptrdiff_t count, float* filtered, float* residual) {
  const float *above = rows[0], *centre = rows[1], *below = rows[2];
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const float a = above[i], b = above[i + 1], c = above[i + 2];
    const float d = centre[i], e = centre[i + 1], f = centre[i + 2];
    const float g = below[i], h = below[i + 1], j = below[i + 2];
    const double sum = static_cast<double>(a) + 2.0 * b + c + 2.0 * d + 4.0 * e + 2.0 * f + g + 2.0 * h + j;
    const double mean = sum * 0.0625;
    const float smooth = static_cast<float>(mean);
    const float rest = static_cast<float>(a - mean);  // against the top-left sample: callers rely on it
    int used = 1;                                     // no short cut, so that the loop becomes vectors
    used &= Used(a), used &= Used(b), used &= Used(c), used &= Used(d), used &= Used(e);
    used &= Used(f), used &= Used(g), used &= Used(h), used &= Used(j);
    filtered[i] = used != 0 ? smooth : kBad;
    residual[i] = used != 0 ? rest : kBad;
  }
}

}  // namespace

extern const SmoothingKernels smoothing;
const SmoothingKernels smoothing = {PackRows,   UnpackRows, PackColumns, UnpackColumns, Measure,
                                    BoxAverage, SolveBand,  Subtract,    BinomialRow};

}  // namespace qv::kernels::QV_KERNEL_ISA
