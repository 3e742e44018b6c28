#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "exports/QV_3D.h"
#include "filters/scratch.h"
#include "kernels/kernels.h"

// Both resamplers interpolate each input row along x once, keep the last few such rows, and blend them along
// y.

namespace qv::filters {

namespace {

struct Sizes {
  std::ptrdiff_t outNx, outNy, inNx, inNy;
};

bool Positive(const Sizes& s) {
  return s.outNx > 0 && s.outNy > 0 && s.inNx > 0 && s.inNy > 0;
}

void CopyConsecutive(const Sizes& s, const float* in, float* out) {
  std::memcpy(out, in, static_cast<std::size_t>(s.inNx) * static_cast<std::size_t>(s.inNy) * sizeof(float));
}

/// Input samples per output sample of the bilinear resampler. Enlarging takes a smaller step than the sizes
/// suggest: kept, callers rely on the mapping.
double BilinearStep(std::ptrdiff_t inSize, std::ptrdiff_t outSize) {
  const double in = static_cast<double>(inSize), out = static_cast<double>(outSize);
  return inSize < outSize ? (in - in / out) / out : in / out;
}

std::ptrdiff_t Clamp(std::ptrdiff_t i, std::ptrdiff_t size) {
  return std::clamp<std::ptrdiff_t>(i, 0, size - 1);
}

/// Asks for a row before it is needed: rows begin on new pages, where the processor does not look ahead
/// itself.
template <int kForWriting>
void Prefetch(const float* row, std::ptrdiff_t count) {
  constexpr std::ptrdiff_t kLine = 16;
  for (std::ptrdiff_t i = 0; i < count; i += kLine) __builtin_prefetch(row + i, kForWriting);
}

/// Memory for kTaps taps per output column, for kRows input rows brought to the output columns, with kValues
/// values of type T per column, and for their masks of missing samples.
template <class T, int kTaps, int kRows, int kValues>
class RowStore {
  static constexpr std::ptrdiff_t kFilledUpTo = 16;

 public:
  RowStore(const Sizes& sizes)
      : columns_(sizes.outNx),
        pitch_((sizes.outNx + kFilledUpTo - 1) / kFilledUpTo * kFilledUpTo),
        indices_(Count(kTaps)),
        weights_(Count(kTaps)),
        values_(Count(kRows * kValues)),
        masks_(Count(kRows)) {
    taps_.columns = columns_;
    taps_.pitch = pitch_;
    taps_.rowLength = sizes.inNx;
    for (int q = 0; q < kTaps; ++q) {
      taps_.index[q] = Index(q);
      taps_.weight[q] = Weight(q);
    }
    std::fill(held_, held_ + kRows, -1);
  }

  explicit operator bool() const { return indices_ && weights_ && values_ && masks_; }
  std::int32_t* Index(int q) { return indices_.get() + q * pitch_; }
  double* Weight(int q) { return weights_.get() + q * pitch_; }
  const kernels::ColumnTaps& Taps() const { return taps_; }

  /// Repeats the last column's taps, which kernels read in groups.
  void FillUp() {
    for (int q = 0; q < kTaps; ++q) {
      std::fill(Index(q) + columns_, Index(q) + pitch_, Index(q)[columns_ - 1]);
      std::fill(Weight(q) + columns_, Weight(q) + pitch_, 0.0);
    }
  }

  /// Makes input row `row` available. Rows that are needed together lie within kRows of each other, so each
  /// has a slot of its own.
  template <class Interpolate>
  void Need(std::ptrdiff_t row, const float* samples, const float* next, Interpolate interpolate) {
    const std::ptrdiff_t slot = row % kRows;
    if (held_[slot] == row) return;
    held_[slot] = row;
    if (next != nullptr) Prefetch<0>(next, taps_.rowLength);
    interpolate(samples, taps_, Values(row));
    holes_[slot] = kernels::Active().resampling.anyMissing(samples, taps_.rowLength);
    if (holes_[slot]) kernels::Active().resampling.missingTaps(samples, taps_, kTaps, Mask(row));
  }
  T* Values(std::ptrdiff_t row) { return values_.get() + row % kRows * kValues * pitch_; }

  /// Writes the sentinel wherever one of the rows used has a missing sample.
  void Mark(const std::ptrdiff_t (&rows)[kRows], float* out) {
    const std::uint32_t* masks[kRows];
    int count = 0;
    for (const std::ptrdiff_t row : rows) {
      if (holes_[row % kRows]) masks[count++] = Mask(row);
    }
    kernels::Active().resampling.markMissing(masks, count, columns_, out);
  }

 private:
  std::size_t Count(int perColumn) const { return static_cast<std::size_t>(pitch_) * perColumn; }
  std::uint32_t* Mask(std::ptrdiff_t row) { return masks_.get() + row % kRows * pitch_; }

  std::ptrdiff_t columns_;
  std::ptrdiff_t pitch_;
  Scratch<std::int32_t> indices_;
  Scratch<double> weights_;
  Scratch<T> values_;
  Scratch<std::uint32_t> masks_;
  kernels::ColumnTaps taps_ = {};
  std::ptrdiff_t held_[kRows];
  bool holes_[kRows] = {};
};

// ---- bilinear ----

using BilinearRows = RowStore<float, 2, 2, 2>;

void PrepareBilinear(BilinearRows& rows, const Sizes& s) {
  const double step = BilinearStep(s.inNx, s.outNx);
  for (std::ptrdiff_t c = 0; c < s.outNx; ++c) {
    const double x = static_cast<double>(c) * step;
    const auto i = static_cast<std::ptrdiff_t>(x);
    const double fx = x - static_cast<double>(i);  // not taken anew after clamping
    rows.Index(0)[c] = static_cast<std::int32_t>(Clamp(i, s.inNx));
    rows.Index(1)[c] = static_cast<std::int32_t>(Clamp(i + 1, s.inNx));
    rows.Weight(1)[c] = fx;
  }
  rows.FillUp();
}

void ResampleBilinear(BilinearRows& rows, const Sizes& s, const float* in, float* out,
                      std::ptrdiff_t inStride, std::ptrdiff_t outStride) {
  const kernels::ResamplingKernels& kernel = kernels::Active().resampling;
  const double step = BilinearStep(s.inNy, s.outNy);
  for (std::ptrdiff_t r = 0; r < s.outNy; ++r, out += outStride) {
    const double y = static_cast<double>(r) * step;
    const auto j = static_cast<std::ptrdiff_t>(y);
    const std::ptrdiff_t used[2] = {Clamp(j, s.inNy), Clamp(j + 1, s.inNy)};
    for (const std::ptrdiff_t row : used)
      rows.Need(row, in + row * inStride, row + 1 < s.inNy ? in + (row + 1) * inStride : nullptr,
                kernel.pickTwo);
    const float* const picked[2] = {rows.Values(used[0]), rows.Values(used[1])};
    kernel.blendTwoRows(picked, rows.Taps(), y - static_cast<double>(j), out);
    rows.Mark(used, out);
  }
}

// ---- bicubic ----

using BicubicRows = RowStore<double, 4, 4, 1>;

/// Cubic convolution with parameter -1, but for the last weight.
struct CubicWeights {
  explicit CubicWeights(double t)
      : weight{-(1 - t) * (1 - t) * t, 1 - 2 * t * t + t * t * t, (t + 1 - t * t) * t, t * t * (t - 1)} {}
  double weight[4];
};

/// The four indices around position x, whose integer part is i. The upper two are held back one position
/// earlier than they need to be: kept, callers rely on the values near the edge.
struct CubicIndices {
  CubicIndices(double x, std::ptrdiff_t i, std::ptrdiff_t size) {
    const auto end = static_cast<double>(size);
    index[0] = x < 1 ? 0 : i - 1;
    index[1] = x >= end - 1 ? size - 1 : i;
    index[2] = x >= end - 2 ? index[1] : i + 1;
    index[3] = x >= end - 3 ? index[2] : i + 2;
  }
  std::ptrdiff_t index[4];
};

void PrepareBicubic(BicubicRows& rows, const Sizes& s) {
  const double step = static_cast<double>(s.inNx) / static_cast<double>(s.outNx);
  for (std::ptrdiff_t c = 0; c < s.outNx; ++c) {
    const double x = std::clamp(static_cast<double>(c) * step, 0.0, static_cast<double>(s.inNx - 1));
    const auto i = static_cast<std::ptrdiff_t>(x);
    CubicWeights weights(x - static_cast<double>(i));
    // The horizontal kernel is asymmetric: its last weight is positive, so the four do not sum to 1. Kept:
    // callers rely on the values.
    weights.weight[3] = -weights.weight[3];
    const CubicIndices indices(x, i, s.inNx);
    for (int q = 0; q < 4; ++q) {
      rows.Index(q)[c] = static_cast<std::int32_t>(indices.index[q]);
      rows.Weight(q)[c] = weights.weight[q];
    }
  }
  rows.FillUp();
}

void ResampleCubic(BicubicRows& rows, const Sizes& s, const float* in, float* out, std::ptrdiff_t outStride) {
  const kernels::ResamplingKernels& kernel = kernels::Active().resampling;
  const double step = static_cast<double>(s.inNy) / static_cast<double>(s.outNy);
  for (std::ptrdiff_t r = 0; r < s.outNy; ++r, out += outStride) {
    const double y = static_cast<double>(r) * step;  // not clamped, unlike x
    const auto j = static_cast<std::ptrdiff_t>(y);
    const CubicWeights weights(y - static_cast<double>(j));
    const CubicIndices used(y, j, s.inNy);
    const double* values[4];
    for (int p = 0; p < 4; ++p) {
      const std::ptrdiff_t row = used.index[p];
      rows.Need(row, in + row * s.inNx, row + 1 < s.inNy ? in + (row + 1) * s.inNx : nullptr,
                kernel.bicubicRow);
      values[p] = rows.Values(row);
    }
    kernel.blendFourRows(values, weights.weight, s.outNx, out);
    rows.Mark(used.index, out);
  }
}

}  // namespace

}  // namespace qv::filters

int QV_CALL Resample(int outNx, int outNy, int inNx, int inNy, const float* in, float* out, int inStride,
                     int outStride) {
  using namespace qv::filters;
  const Sizes sizes{outNx, outNy, inNx, inNy};
  if (in == nullptr || out == nullptr || in == out || !Positive(sizes)) return 0;
  if (inStride < inNx || outStride < outNx) return 0;
  if (outNx == inNx && outNy == inNy && inStride == outStride) {
    CopyConsecutive(sizes, in, out);  // the strides are not applied: callers rely on it
    return 1;
  }
  BilinearRows rows(sizes);
  if (!rows) return 0;
  PrepareBilinear(rows, sizes);
  ResampleBilinear(rows, sizes, in, out, inStride, outStride);
  return 1;
}

int QV_CALL ResampleBicubic(int outNx, int outNy, int inNx, int inNy, const float* in, float* out, int,
                            int outStride) {
  using namespace qv::filters;
  const Sizes sizes{outNx, outNy, inNx, inNy};
  if (in == nullptr || out == nullptr || in == out || !Positive(sizes)) return 0;
  if (outNx == inNx && outNy == inNy) {
    CopyConsecutive(sizes, in, out);
    return 1;
  }
  BicubicRows rows(sizes);
  if (!rows) return 0;
  PrepareBicubic(rows, sizes);
  ResampleCubic(rows, sizes, in, out, outStride);
  return 1;
}
