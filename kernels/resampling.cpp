#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

QV_INLINE Floats PickSingly(const float* row, const std::int32_t* index) {
  float picked[kLanes];
  for (int i = 0; i < kLanes; ++i) picked[i] = row[index[i]];
  return Load(picked);
}

// Neighbouring outputs of an enlargement read from few neighbouring inputs: one load and one permutation per
// tap where the instruction set has one. Elsewhere, and when shrinking, one load per sample.

#if defined(__AVX2__)
#if defined(__AVX512F__)
constexpr int kPermuted = 16;
#else
constexpr int kPermuted = 8;
#endif

/// Where to load from so that every tap of `kPermuted` outputs is in the vector loaded; -1 where there is no
/// such place.
template <int kTaps>
QV_INLINE std::ptrdiff_t BaseOf(const ColumnTaps& taps, std::ptrdiff_t c) {
  std::ptrdiff_t base = taps.index[0][c];
  if (base > taps.rowLength - kPermuted) base = taps.rowLength - kPermuted;
  return taps.index[kTaps - 1][c + kPermuted - 1] < base + kPermuted ? base : -1;
}
#endif

#if defined(__AVX512F__)
QV_INLINE Floats Permuted(const float* row, std::ptrdiff_t base, const std::int32_t* index) {
  const __m512i relative =
      _mm512_sub_epi32(_mm512_loadu_si512(index), _mm512_set1_epi32(static_cast<int>(base)));
  return reinterpret_cast<Floats>(_mm512_maskz_permutexvar_ps(0xFFFF, relative, _mm512_loadu_ps(row + base)));
}

/// Calls work(c, picked) for each sixteen output columns from c on, picked[q] being their taps q.
template <int kTaps, class Work>
QV_INLINE void ForEachGroup(const float* row, const ColumnTaps& taps, Work work) {
  for (std::ptrdiff_t c = 0; c < taps.columns; c += kLanes) {
    Floats picked[kTaps];
    const std::ptrdiff_t base = BaseOf<kTaps>(taps, c);
    if (base >= 0) {
      for (int q = 0; q < kTaps; ++q) picked[q] = Permuted(row, base, taps.index[q] + c);
    } else {
      for (int q = 0; q < kTaps; ++q) picked[q] = PickSingly(row, taps.index[q] + c);
    }
    work(c, picked);
  }
}
#elif defined(__AVX2__)
QV_INLINE __m256 Permuted(const float* row, std::ptrdiff_t base, const std::int32_t* index) {
  const __m256i relative = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(index)),
                                            _mm256_set1_epi32(static_cast<int>(base)));
  return _mm256_permutevar8x32_ps(_mm256_loadu_ps(row + base), relative);
}

template <int kTaps, class Work>
QV_INLINE void ForEachGroup(const float* row, const ColumnTaps& taps, Work work) {
  for (std::ptrdiff_t c = 0; c < taps.columns; c += kLanes) {
    Floats picked[kTaps];
    const std::ptrdiff_t low = BaseOf<kTaps>(taps, c), high = BaseOf<kTaps>(taps, c + kPermuted);
    for (int q = 0; q < kTaps; ++q) {
      const std::int32_t* index = taps.index[q] + c;
      if (low >= 0 && high >= 0) {
        const __m256 halves[2] = {Permuted(row, low, index), Permuted(row, high, index + kPermuted)};
        __builtin_memcpy(&picked[q], halves, sizeof halves);
      } else {
        picked[q] = PickSingly(row, index);
      }
    }
    work(c, picked);
  }
}
#else
template <int kTaps, class Work>
QV_INLINE void ForEachGroup(const float* row, const ColumnTaps& taps, Work work) {
  for (std::ptrdiff_t c = 0; c < taps.columns; c += kLanes) {
    Floats picked[kTaps];
    for (int q = 0; q < kTaps; ++q) picked[q] = PickSingly(row, taps.index[q] + c);
    work(c, picked);
  }
}
#endif

QV_INLINE void StoreDoubles(double* to, const Doubles& v) {
  __builtin_memcpy(to, &v, sizeof v);
}

bool AnyMissing(const float* row, std::ptrdiff_t count) {
  Ints used = ~Ints{};
  std::ptrdiff_t i = 0;
  for (; i + kLanes <= count; i += kLanes) used &= Used(Load(row + i));
  bool all = true;
  for (int lane = 0; lane < kLanes; ++lane) all &= used[lane] != 0;
  for (; i < count; ++i) all &= Used(row[i]);
  return !all;
}

void PickTwo(const float* row, const ColumnTaps& taps, float* picked) {
  float *near = picked, *far = picked + taps.pitch;
  ForEachGroup<2>(
      row, taps, [&](std::ptrdiff_t c, const Floats(&tap)[2]) __attribute__((always_inline)) {
        Store(near + c, tap[0]);
        Store(far + c, tap[1]);
      });
}

void BicubicRow(const float* row, const ColumnTaps& taps, double* sums) {
  ForEachGroup<4>(
      row, taps, [&](std::ptrdiff_t c, const Floats(&tap)[4]) __attribute__((always_inline)) {
        Doubles low = WidenLow(tap[0]) * LoadDoubles(taps.weight[0] + c);
        Doubles high = WidenHigh(tap[0]) * LoadDoubles(taps.weight[0] + c + 8);
        for (int q = 1; q < 4; ++q) {
          low += WidenLow(tap[q]) * LoadDoubles(taps.weight[q] + c);
          high += WidenHigh(tap[q]) * LoadDoubles(taps.weight[q] + c + 8);
        }
        StoreDoubles(sums + c, low);
        StoreDoubles(sums + c + 8, high);
      });
}

void MissingTaps(const float* row, const ColumnTaps& taps, int count, std::uint32_t* missing) {
  for (std::ptrdiff_t c = 0; c < taps.columns; ++c) {
    bool used = true;
    for (int q = 0; q < count; ++q) used &= Used(row[taps.index[q][c]]);
    missing[c] = used ? 0 : 0xFFFFFFFFU;
  }
}

void BlendTwoRows(const float* const picked[2], const ColumnTaps& taps, double fy, float* out) {
  const float *near0 = picked[0], *far0 = near0 + taps.pitch, *near1 = picked[1], *far1 = near1 + taps.pitch;
  const double* weights = taps.weight[1];
  const double gy = 1 - fy;
  for (std::ptrdiff_t c = 0; c < taps.columns; ++c) {
    const double fx = weights[c], gx = 1 - fx;
    out[c] =
        static_cast<float>(far1[c] * fx * fy + near1[c] * gx * fy + far0[c] * fx * gy + near0[c] * gx * gy);
  }
}

void BlendFourRows(const double* const rows[4], const double weights[4], std::ptrdiff_t columns, float* out) {
  const double *row0 = rows[0], *row1 = rows[1], *row2 = rows[2], *row3 = rows[3];
  const double w0 = weights[0], w1 = weights[1], w2 = weights[2], w3 = weights[3];
  for (std::ptrdiff_t c = 0; c < columns; ++c) {
    out[c] = static_cast<float>(row0[c] * w0 + row1[c] * w1 + row2[c] * w2 + row3[c] * w3);
  }
}

void MarkMissing(const std::uint32_t* const* masks, int rows, std::ptrdiff_t columns, float* out) {
  for (int r = 0; r < rows; ++r) {
    const std::uint32_t* mask = masks[r];
    for (std::ptrdiff_t c = 0; c < columns; ++c) out[c] = mask[c] != 0 ? kBad : out[c];
  }
}

}  // namespace

extern const ResamplingKernels resampling;
const ResamplingKernels resampling = {AnyMissing,   PickTwo,       BicubicRow, MissingTaps,
                                      BlendTwoRows, BlendFourRows, MarkMissing};

}  // namespace qv::kernels::QV_KERNEL_ISA
