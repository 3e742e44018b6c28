// Contour segments of one row of cells.
//
// Most cells of a surface lie wholly above or wholly below the level: all five signs are equal then, which
// makes no segment. A scan with vectors finds the others, and eight of them at a time get the crossings of
// all their sides. Nearly all have no vertex exactly on the level; which crossings they emit follows from the
// five signs by a table, without a branch per triangle.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

// ---------------------------------------------------------------------------------------------------------------
// The cases of a triangle of the vertices m1, 0 (the centre) and m3

/// Indexed by the three signs, each plus 1.
inline constexpr unsigned char kCases[3][3][3] = {
    {{0, 0, 8}, {0, 2, 5}, {7, 6, 9}},
    {{0, 3, 4}, {1, 3, 1}, {4, 3, 0}},
    {{9, 6, 7}, {5, 2, 0}, {8, 0, 0}},
};

/// An end of a segment: the crossing of the side from p to q, or the vertex p where p equals q.
struct End {
  unsigned char p, q;
};
struct Ends {
  End first, second;
};

constexpr Ends EndsOf(int cell, unsigned char m1, unsigned char m3) {
  const End side12 = {m1, 0}, side23 = {0, m3}, side31 = {m3, m1};
  const End vertex1 = {m1, m1}, vertex2 = {0, 0}, vertex3 = {m3, m3};
  switch (cell) {
    case 1:
      return {vertex1, vertex2};
    case 2:
      return {vertex2, vertex3};
    case 3:
      return {vertex3, vertex1};
    case 4:
      return {vertex1, side23};
    case 5:
      return {vertex2, side31};
    case 6:
      return {vertex3, side12};
    case 7:
      return {side12, side23};
    case 8:
      return {side23, side31};
    default:
      return {side31, side12};
  }
}

constexpr unsigned char After(unsigned char corner) {
  return corner == 4 ? 1 : static_cast<unsigned char>(corner + 1);
}

/// The sides of the four triangles of a cell: those from the corners to the centre, then those between the
/// corners.
inline constexpr int kSides = 8;
inline constexpr End kSideEnds[kSides] = {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {1, 2}, {2, 3}, {3, 4}, {4, 1}};

constexpr unsigned char SideOf(End end) {
  for (unsigned char side = 0; side < kSides; ++side) {
    const End each = kSideEnds[side];
    if ((each.p == end.p && each.q == end.q) || (each.p == end.q && each.q == end.p)) return side;
  }
  return kSides;
}

/// What a cell emits whose vertices all lie off the level: segments between crossings of these sides; bit k
/// of its index is set where vertex k lies above.
struct Pattern {
  int count;
  unsigned char sides[4][2];
};
struct Patterns {
  Pattern of[32];
};
constexpr Patterns AllPatterns() {
  Patterns patterns = {};
  for (int bits = 0; bits < 32; ++bits) {
    const auto sign = [&](int vertex) { return (bits >> vertex & 1) != 0 ? 2 : 0; };
    Pattern& pattern = patterns.of[bits];
    for (unsigned char m = 1; m <= 4; ++m) {
      const int number = kCases[sign(m)][sign(0)][sign(After(m))];
      if (number == 0) continue;
      const Ends ends = EndsOf(number, m, After(m));
      pattern.sides[pattern.count][0] = SideOf(ends.first);
      pattern.sides[pattern.count++][1] = SideOf(ends.second);
    }
  }
  return patterns;
}
inline constexpr Patterns kPatterns = AllPatterns();

// ---------------------------------------------------------------------------------------------------------------
// One cell, with the care that a vertex on the level needs. The vertices: 0 the centre, 1 to 4 the corners
// (i, j), (i+1, j), (i+1, j+1), (i, j+1).

template <class Real>
struct Row {
  const Real* lower;
  const Real* upper;
  const Real* x;
  Real y0, y1, level;
};

/// Float cells round what they keep to float: relative heights, the centre and differences of heights.
template <class Real>
struct Cell {
  Real x[5], y[5], height[5];

  Real Crossing(const End& end, const Real* at) const {
    const Real hp = height[end.p], hq = height[end.q], difference = hq - hp;
    return static_cast<Real>((static_cast<double>(hq) * static_cast<double>(at[end.p]) -
                              static_cast<double>(hp) * static_cast<double>(at[end.q])) /
                             static_cast<double>(difference));
  }
  void Put(const End& end, Real* point) const {
    point[0] = end.p == end.q ? x[end.p] : Crossing(end, x);
    point[1] = end.p == end.q ? y[end.p] : Crossing(end, y);
  }
  /// 0, 1 or 2. That of a NaN is the level's.
  int Sign(int vertex) const {
    return 1 + static_cast<int>(height[vertex] > 0) - static_cast<int>(height[vertex] < 0);
  }
};

template <class Real>
Real Middle(Real a, Real b) {
  return static_cast<Real>(0.5 * (static_cast<double>(a) + static_cast<double>(b)));
}

template <class Real>
Cell<Real> CellAt(const Row<Real>& row, std::ptrdiff_t i) {
  const auto relative = [&](Real height) {
    return static_cast<Real>(static_cast<double>(height) - static_cast<double>(row.level));
  };
  const Real h4 = relative(row.upper[i]), h3 = relative(row.upper[i + 1]), h2 = relative(row.lower[i + 1]),
             h1 = relative(row.lower[i]);
  const double sum =
      static_cast<double>(h4) + static_cast<double>(h3) + static_cast<double>(h2) + static_cast<double>(h1);
  const Real x0 = row.x[i], x1 = row.x[i + 1];
  return {{Middle(x0, x1), x0, x1, x1, x0},
          {Middle(row.y0, row.y1), row.y0, row.y0, row.y1, row.y1},
          {static_cast<Real>(0.25 * sum), h1, h2, h3, h4}};
}

template <class Real>
[[gnu::noinline]] Real* EmitByTriangle(const Row<Real>& row, std::ptrdiff_t i, Real* segments) {
  const Cell<Real> cell = CellAt(row, i);
  for (unsigned char m = 1; m <= 4; ++m) {
    const int number = kCases[cell.Sign(m)][cell.Sign(0)][cell.Sign(After(m))];
    if (number == 0) continue;
    const Ends ends = EndsOf(number, m, After(m));
    cell.Put(ends.first, segments);
    cell.Put(ends.second, segments + 2);
    segments += 4;
  }
  return segments;
}

// ---------------------------------------------------------------------------------------------------------------
// Eight cells of a row, one per lane

inline constexpr int kBatch = 8;

template <class Real>
struct Batch;
template <>
struct Batch<float> {
  using Pairs = Floats;
  QV_INLINE Doubles Wide(const HalfFloats& v) { return __builtin_convertvector(v, Doubles); }
  QV_INLINE Doubles First(const Pairs& p) {
    return Wide(__builtin_shufflevector(p, p, 0, 2, 4, 6, 8, 10, 12, 14));
  }
  QV_INLINE Doubles Second(const Pairs& p) {
    return Wide(__builtin_shufflevector(p, p, 1, 3, 5, 7, 9, 11, 13, 15));
  }
  QV_INLINE Doubles Rounded(const Doubles& v) { return Wide(__builtin_convertvector(v, HalfFloats)); }
  QV_INLINE Pairs Joined(const Doubles& x, const Doubles& y) {
    return __builtin_shufflevector(__builtin_convertvector(x, HalfFloats),
                                   __builtin_convertvector(y, HalfFloats), 0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5,
                                   13, 6, 14, 7, 15);
  }
};
template <>
struct Batch<double> {
  struct Pairs {
    Doubles low, high;
  };
  QV_INLINE Doubles First(const Pairs& p) {
    return __builtin_shufflevector(p.low, p.high, 0, 2, 4, 6, 8, 10, 12, 14);
  }
  QV_INLINE Doubles Second(const Pairs& p) {
    return __builtin_shufflevector(p.low, p.high, 1, 3, 5, 7, 9, 11, 13, 15);
  }
  QV_INLINE Doubles Rounded(const Doubles& v) { return v; }
  QV_INLINE Pairs Joined(const Doubles& x, const Doubles& y) {
    return {__builtin_shufflevector(x, y, 0, 8, 1, 9, 2, 10, 3, 11),
            __builtin_shufflevector(x, y, 4, 12, 5, 13, 6, 14, 7, 15)};
  }
};

/// Two neighbours out of each cell's row: of the first sample of each cell and the one after it.
template <class Real>
QV_INLINE typename Batch<Real>::Pairs Neighbours(const Real* samples, const int* cells) {
  Real pairs[kBatch][2];
  for (int k = 0; k < kBatch; ++k) __builtin_memcpy(pairs[k], samples + cells[k], sizeof pairs[k]);
  typename Batch<Real>::Pairs v;
  __builtin_memcpy(&v, pairs, sizeof v);
  return v;
}

template <class Real>
struct Crossings {
  Real at[kSides][kBatch][2];    ///< x and y
  std::int64_t above[kBatch];    ///< bits by vertex
  std::int64_t inDoubt[kBatch];  ///< not 0 where a cell is to be done by itself
};

/// A cell is in doubt where a vertex lies on the level or is a NaN, and where a crossing is 0: the sign of
/// that zero depends on the direction of the side, which differs between the two triangles beside it.
template <class Real>
QV_INLINE void Cross(const Row<Real>& row, const int* cells, Crossings<Real>* found) {
  using B = Batch<Real>;
  const auto lower = Neighbours(row.lower, cells), upper = Neighbours(row.upper, cells),
             across = Neighbours(row.x, cells);
  const auto level = static_cast<double>(row.level);
  const Doubles h4 = B::Rounded(B::First(upper) - level), h3 = B::Rounded(B::Second(upper) - level),
                h2 = B::Rounded(B::Second(lower) - level), h1 = B::Rounded(B::First(lower) - level);
  const Doubles height[5] = {B::Rounded(0.25 * (h4 + h3 + h2 + h1)), h1, h2, h3, h4};
  const Doubles x0 = B::First(across), x1 = B::Second(across);
  const Doubles x[5] = {B::Rounded(0.5 * (x0 + x1)), x0, x1, x1, x0};
  const double y[5] = {static_cast<double>(Middle(row.y0, row.y1)), static_cast<double>(row.y0),
                       static_cast<double>(row.y0), static_cast<double>(row.y1), static_cast<double>(row.y1)};

  Longs above = {}, inDoubt = {};
  for (int vertex = 0; vertex < 5; ++vertex) {
    const Longs isAbove = height[vertex] > 0.0;
    above |= isAbove & (std::int64_t{1} << vertex);
    inDoubt |= ~(isAbove | (height[vertex] < 0.0));
  }
  for (int side = 0; side < kSides; ++side) {
    const int p = kSideEnds[side].p, q = kSideEnds[side].q;
    const Doubles difference = B::Rounded(height[q] - height[p]);
    const Doubles atX = (height[q] * x[p] - height[p] * x[q]) / difference,
                  atY = (height[q] * y[p] - height[p] * y[q]) / difference;
    inDoubt |= (atX == 0.0) | (atY == 0.0);
    const auto pairs = B::Joined(atX, atY);
    __builtin_memcpy(found->at[side], &pairs, sizeof pairs);
  }
  __builtin_memcpy(found->above, &above, sizeof above);
  __builtin_memcpy(found->inDoubt, &inDoubt, sizeof inDoubt);
}

QV_INLINE bool IsHole(float sample) {
  std::int32_t bits;
  __builtin_memcpy(&bits, &sample, sizeof bits);
  return bits == static_cast<std::int32_t>(0xD01502F9);
}
/// Double samples are never missing: contours run around the sentinel as around any height. Kept.
QV_INLINE bool IsHole(double /*sample*/) {
  return false;
}

/// The first `count` of the batch; all of `cells` are cells of the row.
template <class Real>
QV_INLINE Real* EmitBatch(const Row<Real>& row, const int* cells, int count, Real* segments) {
  Crossings<Real> found;
  Cross(row, cells, &found);
  for (int k = 0; k < count; ++k) {
    if (found.inDoubt[k] != 0) {
      segments = EmitByTriangle(row, cells[k], segments);
      continue;
    }
    const Pattern& pattern = kPatterns.of[found.above[k]];
    for (int s = 0; s < pattern.count; ++s, segments += 4) {
      __builtin_memcpy(segments, found.at[pattern.sides[s][0]][k], 2 * sizeof(Real));
      __builtin_memcpy(segments + 2, found.at[pattern.sides[s][1]][k], 2 * sizeof(Real));
    }
  }
  return segments;
}

/// Collects the cells of a row that may emit something.
template <class Real>
class Emitter {
 public:
  Emitter(const Row<Real>& row, Real* segments) : row_(row), segments_(segments) {}

  [[gnu::always_inline]] void Add(std::ptrdiff_t i) {
    if (IsHole(row_.lower[i]) || IsHole(row_.lower[i + 1]) || IsHole(row_.upper[i]) ||
        IsHole(row_.upper[i + 1])) {
      return;
    }
    cells_[count_++] = static_cast<int>(i);
    if (count_ == kBatch) Flush();
  }

  void Flush() {
    if (count_ == 0) return;
    for (int k = count_; k < kBatch; ++k) cells_[k] = cells_[0];
    segments_ = EmitBatch(row_, cells_, count_, segments_);
    count_ = 0;
  }

  Real* end() const { return segments_; }

 private:
  const Row<Real>& row_;
  Real* segments_;
  int cells_[kBatch];
  int count_ = 0;
};

// ---------------------------------------------------------------------------------------------------------------
// The scan

template <class Real>
inline constexpr int kScan = 64 / sizeof(Real);
template <class Real>
struct Scan;
template <>
struct Scan<float> {
  using Samples = Floats;
  using Flags = signed char __attribute__((vector_size(16)));
};
template <>
struct Scan<double> {
  using Samples = Doubles;
  using Flags = signed char __attribute__((vector_size(8)));
};

/// Cells that are looked at together, one per bit of a word.
inline constexpr int kWord = 64;
/// Cells that are scanned at a time.
inline constexpr std::ptrdiff_t kChunk = 8 * kWord;

/// On which side of the level the two samples of a column lie: 1 where both are above, 2 where both are
/// below.
template <class Real>
QV_INLINE void ColumnSides(const Row<Real>& row, std::ptrdiff_t begin, std::ptrdiff_t count,
                           signed char* sides) {
  std::ptrdiff_t k = 0;
  for (; k + kScan<Real> <= count; k += kScan<Real>) {
    typename Scan<Real>::Samples lower, upper;
    __builtin_memcpy(&lower, row.lower + begin + k, sizeof lower);
    __builtin_memcpy(&upper, row.upper + begin + k, sizeof upper);
    const auto above = (lower > row.level) & (upper > row.level);
    const auto below = (lower < row.level) & (upper < row.level);
    const auto narrow = __builtin_convertvector((above & 1) | (below & 2), typename Scan<Real>::Flags);
    __builtin_memcpy(sides + k, &narrow, sizeof narrow);
  }
  for (; k < count; ++k) {
    const Real lower = row.lower[begin + k], upper = row.upper[begin + k];
    sides[k] = lower > row.level && upper > row.level ? 1 : lower < row.level && upper < row.level ? 2 : 0;
  }
}

/// A bit for each cell between two columns of which not all samples lie on the same side.
QV_INLINE std::uint64_t MixedCells(const signed char* sides) {
  Bytes left, right;
  __builtin_memcpy(&left, sides, sizeof left);
  __builtin_memcpy(&right, sides + 1, sizeof right);
  return SignBits((left & right) == 0);
}

template <class Real>
std::ptrdiff_t Segments(const Real* lower, const Real* upper, std::ptrdiff_t cells, const Real* x, Real y0,
                        Real y1, Real level, Real* segments) {
  const Row<Real> row = {lower, upper, x, y0, y1, level};
  Emitter<Real> emitter(row, segments);
  for (std::ptrdiff_t begin = 0; begin < cells; begin += kChunk) {
    const std::ptrdiff_t count = cells - begin < kChunk ? cells - begin : kChunk;
    signed char sides[kChunk + kWord] = {};
    ColumnSides(row, begin, count + 1, sides);
    for (std::ptrdiff_t k = 0; k < count; k += kWord) {
      std::uint64_t mixed = MixedCells(sides + k);
      if (count - k < kWord) mixed &= (std::uint64_t{1} << (count - k)) - 1;
      for (; mixed != 0; mixed &= mixed - 1) {
        emitter.Add(begin + k + __builtin_ctzll(mixed));
      }
    }
  }
  emitter.Flush();
  return (emitter.end() - segments) / 4;
}

/// Vectors that are compared before the scan may stop.
inline constexpr std::ptrdiff_t kUntilTest = 16;

template <class Real>
QV_INLINE bool AllBeyond(const Real* row, std::ptrdiff_t count, Real level, bool above) {
  using Samples = typename Scan<Real>::Samples;
  std::ptrdiff_t i = 0;
  for (; i + kUntilTest * kScan<Real> <= count; i += kUntilTest * kScan<Real>) {
    auto good = Samples{} == Samples{};
    for (std::ptrdiff_t k = 0; k < kUntilTest; ++k) {
      Samples z;
      __builtin_memcpy(&z, row + i + k * kScan<Real>, sizeof z);
      good &= above ? z > level : z < level;
    }
    std::int64_t words[sizeof good / sizeof(std::int64_t)], all = -1;
    __builtin_memcpy(words, &good, sizeof words);
    for (const std::int64_t word : words) all &= word;
    if (all != -1) return false;
  }
  for (; i < count; ++i) {
    if (!(above ? row[i] > level : row[i] < level)) return false;
  }
  return true;
}

template <class Real>
int Side(const Real* row, std::ptrdiff_t count, Real level) {
  if (row[0] > level) return AllBeyond(row, count, level, true) ? 1 : 0;
  return AllBeyond(row, count, level, false) ? -1 : 0;
}

}  // namespace

extern const ContourKernels contours;
const ContourKernels contours = {Segments<double>, Segments<float>, Side<double>, Side<float>};

}  // namespace qv::kernels::QV_KERNEL_ISA
