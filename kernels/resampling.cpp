#include "kernels/kernels.h"
#include "kernels/lanes.h"

#if defined(__AVX2__)
#include <immintrin.h>  // intrinsics leave no copies of functions behind: they are always inlined
#endif

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

// Sixteen neighbouring outputs of an enlargement read from few neighbouring inputs: one load and one
// permutation per tap where the instruction set has one. Elsewhere, and when shrinking, one load per sample.
#if defined(__AVX512F__)
constexpr int kGroup = 16;
QV_INLINE void Permute(const float* row, std::ptrdiff_t base, const std::int32_t* index, float* picked) {
  const __m512i relative =
      _mm512_sub_epi32(_mm512_loadu_si512(index), _mm512_set1_epi32(static_cast<int>(base)));
  _mm512_storeu_ps(picked, _mm512_maskz_permutexvar_ps(0xFFFF, relative, _mm512_loadu_ps(row + base)));
}
#elif defined(__AVX2__)
constexpr int kGroup = 8;
QV_INLINE void Permute(const float* row, std::ptrdiff_t base, const std::int32_t* index, float* picked) {
  const __m256i relative = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(index)),
                                            _mm256_set1_epi32(static_cast<int>(base)));
  _mm256_storeu_ps(picked, _mm256_permutevar8x32_ps(_mm256_loadu_ps(row + base), relative));
}
#else
constexpr int kGroup = 8;
#endif

QV_INLINE void PickSingly(const float* row, const std::int32_t* index, int count, float* picked) {
  for (int i = 0; i < count; ++i) picked[i] = row[index[i]];
}

/// Calls work(column, count, picked) for each group of output columns, picked[q][i] being tap q of column +
/// i.
template <int kTaps, class Work>
QV_INLINE void ForEachGroup(const float* row, const ColumnTaps& taps, Work work) {
  float picked[kTaps][kGroup];
  std::ptrdiff_t c = 0;
  for (; c + kGroup <= taps.columns; c += kGroup) {
#if defined(__AVX2__)
    std::ptrdiff_t base = taps.index[0][c];
    if (base > taps.rowLength - kGroup) base = taps.rowLength - kGroup;
    const bool close = base >= 0 && taps.index[kTaps - 1][c + kGroup - 1] < base + kGroup;
    if (close) {
      for (int q = 0; q < kTaps; ++q) Permute(row, base, taps.index[q] + c, picked[q]);
      work(c, kGroup, picked);
      continue;
    }
#endif
    for (int q = 0; q < kTaps; ++q) PickSingly(row, taps.index[q] + c, kGroup, picked[q]);
    work(c, kGroup, picked);
  }
  const int rest = static_cast<int>(taps.columns - c);
  for (int q = 0; q < kTaps; ++q) PickSingly(row, taps.index[q] + c, rest, picked[q]);
  if (rest > 0) work(c, rest, picked);
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

void BilinearRow(const float* row, const ColumnTaps& taps, double* near, double* far) {
  ForEachGroup<2>(
      row,
      taps, [&](std::ptrdiff_t c, int count, const float(&picked)[2][kGroup]) __attribute__((always_inline)) {
        const double *nearWeight = taps.weight[0] + c, *farWeight = taps.weight[1] + c;
        for (int i = 0; i < count; ++i) near[c + i] = picked[0][i] * nearWeight[i];
        for (int i = 0; i < count; ++i) far[c + i] = picked[1][i] * farWeight[i];
      });
}

void BicubicRow(const float* row, const ColumnTaps& taps, double* sums) {
  const double* const* w = taps.weight;
  ForEachGroup<4>(
      row,
      taps, [&](std::ptrdiff_t c, int count, const float(&picked)[4][kGroup]) __attribute__((always_inline)) {
        for (int i = 0; i < count; ++i) {
          sums[c + i] = picked[0][i] * w[0][c + i] + picked[1][i] * w[1][c + i] + picked[2][i] * w[2][c + i] +
                        picked[3][i] * w[3][c + i];
        }
      });
}

void MissingTaps(const float* row, const ColumnTaps& taps, int count, std::uint32_t* missing) {
  for (std::ptrdiff_t c = 0; c < taps.columns; ++c) {
    bool used = true;
    for (int q = 0; q < count; ++q) used &= Used(row[taps.index[q][c]]);
    missing[c] = used ? 0 : 0xFFFFFFFFU;
  }
}

void BlendTwoRows(const double* const near[2], const double* const far[2], double fy, std::ptrdiff_t columns,
                  float* out) {
  const double *near0 = near[0], *near1 = near[1], *far0 = far[0], *far1 = far[1];
  const double gy = 1 - fy;
  for (std::ptrdiff_t c = 0; c < columns; ++c) {
    out[c] = static_cast<float>(far1[c] * fy + near1[c] * fy + far0[c] * gy + near0[c] * gy);
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
const ResamplingKernels resampling = {AnyMissing,   BilinearRow,   BicubicRow, MissingTaps,
                                      BlendTwoRows, BlendFourRows, MarkMissing};

}  // namespace qv::kernels::QV_KERNEL_ISA
