// Radix-2 transforms of sixteen lines side by side, one line per lane.
//
// Every lane does what FFT1D of spectral/fft.cpp does, operation by operation, and rounds to float after
// every stage. Only the order of the butterflies of a stage differs, which no result shows: small blocks are
// finished first, while the nearest cache holds them, and two stages are done per visit with the rounding
// between them in registers.
//
// In the first two stages, and where the factor is 1, products are exact and the sum of two floats comes out
// the same whether it is rounded once or first to double: there single precision does, with twice the lanes.
#include "kernels/kernels.h"
#include "kernels/lanes.h"
#include "kernels/wide.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

// Lines of a square that is transposed at once.
inline constexpr int kSquare = 2 * kWide;
using Strip = float __attribute__((vector_size(4 * kSquare)));

/// Position i of the sixteen lines lies at work + i * kPitch: their real parts, then their imaginary parts.
inline constexpr std::ptrdiff_t kPitch = 2 * kLanes;

// ---------------------------------------------------------------------------------------------------------------
// One butterfly

struct Single {
  Floats re, im;
};
QV_INLINE Single LoadSingle(const float* line) {
  return {Load(line), Load(line + kLanes)};
}
QV_INLINE void StoreSingle(float* line, const Single& z) {
  Store(line, z.re);
  Store(line + kLanes, z.im);
}

/// The butterfly with a factor of 1, i or -i. Products with zero stay in: they carry NaNs and the signs of
/// zeros.
QV_INLINE void ExactButterfly(Single* a, Single* b, float u1, float u2) {
  const Floats t1 = u1 * b->re - u2 * b->im, t2 = u1 * b->im + u2 * b->re;
  *b = {a->re - t1, a->im - t2};
  *a = {a->re + t1, a->im + t2};
}

struct Double {
  Wide re, im;
};

QV_INLINE Wide LoadWide(const float* from) {
  Narrow v;
  __builtin_memcpy(&v, from, sizeof v);
  return __builtin_convertvector(v, Wide);
}
QV_INLINE Double LoadDouble(const float* line) {
  return {LoadWide(line), LoadWide(line + kLanes)};
}
QV_INLINE Narrow Rounded(const Wide& v) {
  return __builtin_convertvector(v, Narrow);
}
QV_INLINE void RoundToFloat(Double* z) {
  *z = {__builtin_convertvector(Rounded(z->re), Wide), __builtin_convertvector(Rounded(z->im), Wide)};
}

/// Both results still to be rounded to float.
QV_INLINE void Butterfly(Double* a, Double* b, const double* u) {
  const Wide u1 = u[0] - Wide{}, u2 = u[1] - Wide{};
  const Wide t1 = u1 * b->re - u2 * b->im, t2 = u1 * b->im + u2 * b->re;
  *b = {a->re - t1, a->im - t2};
  *a = {a->re + t1, a->im + t2};
}

// ---------------------------------------------------------------------------------------------------------------
// Where lines come from and go to

/// Sixteen neighbouring columns of the grid, read in bit-reversed order and written in order.
struct ColumnsOfGrid {
  const FftLine& plan;
  float* const* real;
  float* const* imaginary;
  std::ptrdiff_t column;

  QV_INLINE Single Read(const float* /*work*/, std::ptrdiff_t position, const ColumnsOfGrid& self) {
    const std::ptrdiff_t row = self.plan.order[position];
    return {Load(self.real[row] + self.column), Load(self.imaginary[row] + self.column)};
  }
  QV_INLINE void Write(float* /*work*/, std::ptrdiff_t position, int lane, const Narrow& re, const Narrow& im,
                       const ColumnsOfGrid& self) {
    const Narrow scaledRe = re * self.plan.scale, scaledIm = im * self.plan.scale;
    if (lane == 0) {
      // The next columns, which are read in an order that no processor foresees.
      __builtin_prefetch(self.real[position] + self.column + kLanes);
      __builtin_prefetch(self.imaginary[position] + self.column + kLanes);
    }
    __builtin_memcpy(self.real[position] + self.column + lane, &scaledRe, sizeof re);
    __builtin_memcpy(self.imaginary[position] + self.column + lane, &scaledIm, sizeof im);
  }
};

/// Lines that were put into the work memory in bit-reversed order.
struct WorkMemory {
  const FftLine& plan;

  QV_INLINE Single Read(const float* work, std::ptrdiff_t position, const WorkMemory& /*self*/) {
    return LoadSingle(work + position * kPitch);
  }
  QV_INLINE void Write(float* work, std::ptrdiff_t position, int lane, const Narrow& re, const Narrow& im,
                       const WorkMemory& self) {
    const Narrow scaledRe = re * self.plan.scale, scaledIm = im * self.plan.scale;
    __builtin_memcpy(work + position * kPitch + lane, &scaledRe, sizeof re);
    __builtin_memcpy(work + position * kPitch + kLanes + lane, &scaledIm, sizeof im);
  }
};

/// Between sweeps, unscaled.
struct StoreToWork {
  QV_INLINE void Write(float* work, std::ptrdiff_t position, int lane, const Narrow& re, const Narrow& im,
                       const StoreToWork& /*self*/) {
    __builtin_memcpy(work + position * kPitch + lane, &re, sizeof re);
    __builtin_memcpy(work + position * kPitch + kLanes + lane, &im, sizeof im);
  }
};

// ---------------------------------------------------------------------------------------------------------------
// The stages of one block

/// Factors of a stage, 1-based: 2^(stage-1) pairs.
QV_INLINE const double* Factors(const FftLine& plan, int stage) {
  return plan.factors + 2 * ((std::ptrdiff_t{1} << (stage - 1)) - 1);
}

/// The third stage of eight positions, without its butterfly of factor 1.
QV_INLINE void ThirdStage(const FftLine& plan, float* block) {
  const double* u = Factors(plan, 3);
  for (int j = 1; j < 4; ++j) {
    float *const lower = block + j * kPitch, *const upper = lower + 4 * kPitch;
    for (int lane = 0; lane < kLanes; lane += kWide) {
      Double a = LoadDouble(lower + lane), b = LoadDouble(upper + lane);
      Butterfly(&a, &b, u + 2 * j);
      StoreToWork::Write(lower, 0, lane, Rounded(a.re), Rounded(a.im), {});
      StoreToWork::Write(upper, 0, lane, Rounded(b.re), Rounded(b.im), {});
    }
  }
}

/// The first kStages <= 3 stages of 2^kStages positions from `base` on.
template <int kStages, class Source>
QV_INLINE void FirstStages(const Source& source, float* work, std::ptrdiff_t base) {
  constexpr int kCount = 1 << kStages;
  Single z[kCount];
  for (int i = 0; i < kCount; ++i) z[i] = Source::Read(work, base + i, source);
  if constexpr (kStages >= 1) {
    for (int i = 0; i < kCount; i += 2) ExactButterfly(&z[i], &z[i + 1], 1, 0);
  }
  if constexpr (kStages >= 2) {
    const auto sign = static_cast<float>(Factors(source.plan, 2)[3]);
    for (int i = 0; i < kCount; i += 4) {
      ExactButterfly(&z[i], &z[i + 2], 1, 0);
      ExactButterfly(&z[i + 1], &z[i + 3], 0, sign);
    }
  }
  if constexpr (kStages >= 3) ExactButterfly(&z[0], &z[4], 1, 0);
  for (int i = 0; i < kCount; ++i) StoreSingle(work + (base + i) * kPitch, z[i]);
  if constexpr (kStages >= 3) ThirdStage(source.plan, work + base * kPitch);
}

template <class Source>
QV_INLINE void Leaf(const Source& source, float* work, std::ptrdiff_t base, int stages) {
  if (stages == 3) FirstStages<3>(source, work, base);
  if (stages == 2) FirstStages<2>(source, work, base);
  if (stages == 1) FirstStages<1>(source, work, base);
  if (stages == 0) FirstStages<0>(source, work, base);
}

/// The last two stages of the 2^stages positions of a block.
template <class Sink>
QV_INLINE void LastTwoStages(const FftLine& plan, float* block, int stages, const Sink& sink) {
  const std::ptrdiff_t quarter = std::ptrdiff_t{1} << (stages - 2);
  const double *u = Factors(plan, stages - 1), *v = Factors(plan, stages);
  for (std::ptrdiff_t j = 0; j < quarter; ++j) {
    for (int lane = 0; lane < kLanes; lane += kWide) {
      Double z[4];
      for (int k = 0; k < 4; ++k) z[k] = LoadDouble(block + (j + k * quarter) * kPitch + lane);
      Butterfly(&z[0], &z[1], u + 2 * j);
      Butterfly(&z[2], &z[3], u + 2 * j);
      for (Double& each : z) RoundToFloat(&each);
      Butterfly(&z[0], &z[2], v + 2 * j);
      Butterfly(&z[1], &z[3], v + 2 * (j + quarter));
      for (int k = 0; k < 4; ++k) {
        Sink::Write(block, j + k * quarter, lane, Rounded(z[k].re), Rounded(z[k].im), sink);
      }
    }
  }
}

/// All stages of the 2^stages positions from `base` on, quarter by quarter.
template <class Source>
void Block(const Source& source, float* work, std::ptrdiff_t base, int stages) {
  if (stages <= 3) {
    Leaf(source, work, base, stages);
    return;
  }
  for (int k = 0; k < 4; ++k) Block(source, work, base + k * (std::ptrdiff_t{1} << (stages - 2)), stages - 2);
  LastTwoStages(source.plan, work + base * kPitch, stages, StoreToWork{});
}

/// The whole transform; its last stages write to where the lines go.
template <class Lines>
QV_INLINE void Transform(const Lines& lines, float* work) {
  const int stages = lines.plan.stages;
  if (stages <= 3) {
    Leaf(lines, work, 0, stages);
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{1} << stages; ++i) {
      for (int lane = 0; lane < kLanes; lane += kWide) {
        Narrow re, im;
        __builtin_memcpy(&re, work + i * kPitch + lane, sizeof re);
        __builtin_memcpy(&im, work + i * kPitch + kLanes + lane, sizeof im);
        Lines::Write(work, i, lane, re, im, lines);
      }
    }
    return;
  }
  for (int k = 0; k < 4; ++k) Block(lines, work, k * (std::ptrdiff_t{1} << (stages - 2)), stages - 2);
  LastTwoStages(lines.plan, work, stages, lines);
}

void Columns(const FftLine& plan, float* const* real, float* const* imaginary, std::ptrdiff_t column,
             float* work) {
  Transform(ColumnsOfGrid{plan, real, imaginary, column}, work);
}

// ---------------------------------------------------------------------------------------------------------------
// Rows: the lines are transposed on their way in and out

#if defined(__AVX512F__)
#define QV_LOW 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23
#define QV_HIGH 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31
#elif defined(__AVX2__)
#define QV_LOW 0, 8, 1, 9, 2, 10, 3, 11
#define QV_HIGH 4, 12, 5, 13, 6, 14, 7, 15
#else
#define QV_LOW 0, 4, 1, 5
#define QV_HIGH 2, 6, 3, 7
#endif

/// Interleaving the halves of the list log2(kSquare) times transposes it.
QV_INLINE void Transpose(Strip (&rows)[kSquare]) {
  for (int round = 1; round < kSquare; round *= 2) {
    Strip next[kSquare];
    for (int i = 0; i < kSquare / 2; ++i) {
      next[2 * i] = __builtin_shufflevector(rows[i], rows[i + kSquare / 2], QV_LOW);
      next[2 * i + 1] = __builtin_shufflevector(rows[i], rows[i + kSquare / 2], QV_HIGH);
    }
    for (int i = 0; i < kSquare; ++i) rows[i] = next[i];
  }
}

/// kSquare columns of one part of the rows into the work memory.
QV_INLINE void SquareIn(const FftLine& plan, float* const* rows, std::ptrdiff_t column, float* work) {
  for (int lane = 0; lane < kLanes; lane += kSquare) {
    Strip square[kSquare];
    for (int i = 0; i < kSquare; ++i) __builtin_memcpy(&square[i], rows[lane + i] + column, sizeof(Strip));
    Transpose(square);
    for (int i = 0; i < kSquare; ++i) {
      __builtin_memcpy(work + plan.order[column + i] * kPitch + lane, &square[i], sizeof(Strip));
    }
  }
}

QV_INLINE void SquareOut(float* const* rows, std::ptrdiff_t column, const float* work) {
  for (int lane = 0; lane < kLanes; lane += kSquare) {
    Strip square[kSquare];
    for (int i = 0; i < kSquare; ++i) {
      __builtin_memcpy(&square[i], work + (column + i) * kPitch + lane, sizeof(Strip));
    }
    Transpose(square);
    for (int i = 0; i < kSquare; ++i) __builtin_memcpy(rows[lane + i] + column, &square[i], sizeof(Strip));
  }
}

void Rows(const FftLine& plan, float* const* real, float* const* imaginary, float* work) {
  const std::ptrdiff_t n = std::ptrdiff_t{1} << plan.stages;
  std::ptrdiff_t column = 0;
  for (; column + kSquare <= n; column += kSquare) {
    SquareIn(plan, real, column, work);
    SquareIn(plan, imaginary, column, work + kLanes);
  }
  for (; column < n; ++column) {
    for (int lane = 0; lane < kLanes; ++lane) {
      work[plan.order[column] * kPitch + lane] = real[lane][column];
      work[plan.order[column] * kPitch + kLanes + lane] = imaginary[lane][column];
    }
  }
  Transform(WorkMemory{plan}, work);
  for (column = 0; column + kSquare <= n; column += kSquare) {
    SquareOut(real, column, work);
    SquareOut(imaginary, column, work + kLanes);
  }
  for (; column < n; ++column) {
    for (int lane = 0; lane < kLanes; ++lane) {
      real[lane][column] = work[column * kPitch + lane];
      imaginary[lane][column] = work[column * kPitch + kLanes + lane];
    }
  }
}

}  // namespace

extern const FftKernels fft;
const FftKernels fft = {Columns, Rows};

}  // namespace qv::kernels::QV_KERNEL_ISA
