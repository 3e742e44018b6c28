// Profiles over a band of lines: one result per lane, the samples of a lane taken in order.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

QV_INLINE Floats Choose(const Ints& mask, const Floats& yes, const Floats& no) {
  return reinterpret_cast<Floats>((reinterpret_cast<Ints>(yes) & mask) |
                                  (reinterpret_cast<Ints>(no) & ~mask));
}

/// A search that replaces only by strictly greater (smaller) samples.
struct Maximum {
  Floats best = Floats{} - kStart;
  QV_INLINE void Take(Maximum* self, const Floats& z) {
    self->best = Choose(Used(z) & (z > self->best), z, self->best);
  }
  QV_INLINE Floats Result(const Maximum& self) { return self.best; }
};
struct Minimum {
  Floats best = Floats{} + kStart;
  QV_INLINE void Take(Minimum* self, const Floats& z) {
    self->best = Choose(Used(z) & (z < self->best), z, self->best);
  }
  QV_INLINE Floats Result(const Minimum& self) { return self.best; }
};
/// A sum in single precision; 0/0 where nothing was used.
struct Mean {
  Floats sum = {};
  Ints count = {};
  QV_INLINE void Take(Mean* self, const Floats& z) {
    const Ints used = Used(z);
    self->sum = Choose(used, self->sum + z, self->sum);
    self->count -= used;
  }
  QV_INLINE Floats Result(const Mean& self) { return self.sum / __builtin_convertvector(self.count, Floats); }
};

/// Columns whose results are gathered at a time, and rows that are taken at a time.
inline constexpr std::ptrdiff_t kChunk = 1024, kRows = 8;

template <class Reduction>
QV_INLINE void TakeRows(Reduction* reductions, const float* first, std::ptrdiff_t rows, std::ptrdiff_t stride,
                        std::ptrdiff_t count) {
  for (std::ptrdiff_t c = 0; c < count; c += kLanes) {
    Reduction reduction = reductions[c / kLanes];
    for (std::ptrdiff_t r = 0; r < rows; ++r) {
      const float* from = first + r * stride + c;
      Reduction::Take(&reduction, count - c >= kLanes ? Load(from) : LoadTail(from, count - c));
    }
    reductions[c / kLanes] = reduction;
  }
}

template <class Reduction>
void BandOfRows(const float* first, std::ptrdiff_t rows, std::ptrdiff_t stride, std::ptrdiff_t count,
                float* out) {
  for (std::ptrdiff_t begin = 0; begin < count; begin += kChunk) {
    const std::ptrdiff_t columns = count - begin < kChunk ? count - begin : kChunk;
    Reduction reductions[kChunk / kLanes];
    std::ptrdiff_t r = 0;
    for (; r + kRows <= rows; r += kRows)
      TakeRows(reductions, first + r * stride + begin, kRows, stride, columns);
    if (r < rows) TakeRows(reductions, first + r * stride + begin, rows - r, stride, columns);
    for (std::ptrdiff_t c = 0; c < columns; c += kLanes) {
      const Floats result = Reduction::Result(reductions[c / kLanes]);
      const std::ptrdiff_t used = columns - c < kLanes ? columns - c : kLanes;
      __builtin_memcpy(out + begin + c, &result, static_cast<std::size_t>(used) * sizeof(float));
    }
  }
}

/// Sixteen rows in the lanes; where there are fewer, the last one several times.
template <class Reduction>
void BandOfColumns(const float* first, std::ptrdiff_t columns, std::ptrdiff_t stride, std::ptrdiff_t count,
                   float* out) {
  for (std::ptrdiff_t begin = 0; begin < count; begin += kLanes) {
    const std::ptrdiff_t used = count - begin < kLanes ? count - begin : kLanes;
    const float* row[kLanes];
    for (std::ptrdiff_t lane = 0; lane < kLanes; ++lane) {
      row[lane] = first + (begin + (lane < used ? lane : used - 1)) * stride;
    }
    Reduction reduction;
    for (std::ptrdiff_t c = 0; c < columns; ++c) {
      float z[kLanes];
      for (std::ptrdiff_t lane = 0; lane < kLanes; ++lane) z[lane] = row[lane][c];
      Reduction::Take(&reduction, Load(z));
    }
    const Floats result = Reduction::Result(reduction);
    __builtin_memcpy(out + begin, &result, static_cast<std::size_t>(used) * sizeof(float));
  }
}

}  // namespace

extern const BandKernels bands;
const BandKernels bands = {
    {BandOfRows<Maximum>, BandOfRows<Mean>, BandOfRows<Minimum>},
    {BandOfColumns<Maximum>, BandOfColumns<Mean>, BandOfColumns<Minimum>},
};

}  // namespace qv::kernels::QV_KERNEL_ISA
