// Contour segments of one row of cells.
//
// Most cells of a surface lie wholly above or wholly below the level: all five signs are equal then, which
// makes no segment. A scan with vectors finds the others. Of those nearly all have no vertex exactly on the
// level; what they emit follows from the five signs by a table of sides, without a branch per triangle.
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

/// What a cell emits whose vertices all lie off the level; bit k is set where vertex k lies above.
struct Pattern {
  int count;
  Ends segments[4];
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
      const int cell = kCases[sign(m)][sign(0)][sign(After(m))];
      if (cell != 0) pattern.segments[pattern.count++] = EndsOf(cell, m, After(m));
    }
  }
  return patterns;
}
inline constexpr Patterns kPatterns = AllPatterns();

// ---------------------------------------------------------------------------------------------------------------
// One cell

using Pair = double __attribute__((vector_size(16)));
using Quad = double __attribute__((vector_size(32)));
QV_INLINE Quad Both(const Pair& low, const Pair& high) {
  return __builtin_shufflevector(low, high, 0, 1, 2, 3);
}

/// Float cells round what they keep to float: relative heights, the centre and differences of heights.
template <class Real>
struct Vectors;
template <>
struct Vectors<float> {
  using Four = float __attribute__((vector_size(16)));
  QV_INLINE Quad Rounded(const Quad& v) {
    return __builtin_convertvector(__builtin_convertvector(v, Four), Quad);
  }
};
template <>
struct Vectors<double> {
  using Four = Quad;
  QV_INLINE Quad Rounded(const Quad& v) { return v; }
};

template <class Real>
struct Row {
  const Real* lower;
  const Real* upper;
  const Real* x;
  Real y0, y1, level;
};

/// The vertices: 0 the centre, 1 to 4 the corners (i, j), (i+1, j), (i+1, j+1), (i, j+1). Heights are
/// relative to the level and stored twice, beside x and y.
template <class Real>
struct Cell {
  Pair place[5];
  Pair height[5];
  int above = 0, below = 0;  ///< bits by vertex

  QV_INLINE void Set(Cell* cell, int vertex, Real x, Real y, Real h) {
    cell->place[vertex] = Pair{x, y};
    cell->height[vertex] = Pair{h, h};
    cell->above |= (h > 0 ? 1 : 0) << vertex;
    cell->below |= (h < 0 ? 1 : 0) << vertex;
  }
};

QV_INLINE bool IsHole(float sample) {
  std::int32_t bits;
  __builtin_memcpy(&bits, &sample, sizeof bits);
  return bits == static_cast<std::int32_t>(0xD01502F9);
}
/// Double samples are never missing: contours run around the sentinel as around any height. Kept.
QV_INLINE bool IsHole(double /*sample*/) {
  return false;
}

template <class Real>
QV_INLINE Real Relative(Real height, Real level) {
  return static_cast<Real>(static_cast<double>(height) - static_cast<double>(level));
}
template <class Real>
QV_INLINE Real Middle(Real a, Real b) {
  return static_cast<Real>(0.5 * (static_cast<double>(a) + static_cast<double>(b)));
}

template <class Real>
QV_INLINE void SetCell(const Row<Real>& row, std::ptrdiff_t i, Cell<Real>* cell) {
  const Real h4 = Relative(row.upper[i], row.level), h3 = Relative(row.upper[i + 1], row.level),
             h2 = Relative(row.lower[i + 1], row.level), h1 = Relative(row.lower[i], row.level);
  const double sum =
      static_cast<double>(h4) + static_cast<double>(h3) + static_cast<double>(h2) + static_cast<double>(h1);
  const Real x0 = row.x[i], x1 = row.x[i + 1];
  Cell<Real>::Set(cell, 4, x0, row.y1, h4);
  Cell<Real>::Set(cell, 3, x1, row.y1, h3);
  Cell<Real>::Set(cell, 2, x1, row.y0, h2);
  Cell<Real>::Set(cell, 1, x0, row.y0, h1);
  Cell<Real>::Set(cell, 0, Middle(x0, x1), Middle(row.y0, row.y1), static_cast<Real>(0.25 * sum));
}

/// Crossings of two sides: x1, y1, x2, y2.
template <class Real>
QV_INLINE Quad Crossings(const Cell<Real>& cell, const Ends& ends) {
  const Quad hp = Both(cell.height[ends.first.p], cell.height[ends.second.p]);
  const Quad hq = Both(cell.height[ends.first.q], cell.height[ends.second.q]);
  const Quad p = Both(cell.place[ends.first.p], cell.place[ends.second.p]);
  const Quad q = Both(cell.place[ends.first.q], cell.place[ends.second.q]);
  return (hq * p - hp * q) / Vectors<Real>::Rounded(hq - hp);
}

template <class Real>
QV_INLINE void StoreSegment(Real* segment, const Quad& ends) {
  const auto four = __builtin_convertvector(ends, typename Vectors<Real>::Four);
  __builtin_memcpy(segment, &four, sizeof four);
}

template <class Real>
QV_INLINE Real* EmitByPattern(const Cell<Real>& cell, Real* segments) {
  const Pattern& pattern = kPatterns.of[cell.above];
  for (int k = 0; k < pattern.count; ++k, segments += 4) {
    StoreSegment(segments, Crossings(cell, pattern.segments[k]));
  }
  return segments;
}

/// Triangle by triangle: for cells with a vertex on the level, or a NaN, whose sign is 0.
template <class Real>
[[gnu::noinline]] Real* EmitByTriangle(const Cell<Real>& cell, Real* segments) {
  const auto sign = [&](int vertex) { return 1 + (cell.above >> vertex & 1) - (cell.below >> vertex & 1); };
  for (unsigned char m = 1; m <= 4; ++m) {
    const int number = kCases[sign(m)][sign(0)][sign(After(m))];
    if (number == 0) continue;
    const Ends ends = EndsOf(number, m, After(m));
    const Quad crossings = Crossings(cell, ends);
    const Quad vertices = Both(cell.place[ends.first.p], cell.place[ends.second.p]);
    const bool vertexFirst = ends.first.p == ends.first.q, vertexSecond = ends.second.p == ends.second.q;
    StoreSegment(segments,
                 Quad{vertexFirst ? vertices[0] : crossings[0], vertexFirst ? vertices[1] : crossings[1],
                      vertexSecond ? vertices[2] : crossings[2], vertexSecond ? vertices[3] : crossings[3]});
    segments += 4;
  }
  return segments;
}

template <class Real>
QV_INLINE Real* Emit(const Row<Real>& row, std::ptrdiff_t i, Real* segments) {
  if (IsHole(row.lower[i]) || IsHole(row.lower[i + 1]) || IsHole(row.upper[i]) || IsHole(row.upper[i + 1])) {
    return segments;
  }
  Cell<Real> cell;
  SetCell(row, i, &cell);
  if ((cell.above | cell.below) == 31) return EmitByPattern(cell, segments);
  return EmitByTriangle(cell, segments);
}

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

/// Flags, not 0 where the cell is not wholly on one side, of the kScan cells from i on.
template <class Real>
QV_INLINE void FlagCells(const Row<Real>& row, std::ptrdiff_t i, signed char* flags) {
  typename Scan<Real>::Samples a, b, c, d;
  __builtin_memcpy(&a, row.lower + i, sizeof a);
  __builtin_memcpy(&b, row.lower + i + 1, sizeof b);
  __builtin_memcpy(&c, row.upper + i, sizeof c);
  __builtin_memcpy(&d, row.upper + i + 1, sizeof d);
  const auto above = (a > row.level) & (b > row.level) & (c > row.level) & (d > row.level);
  const auto below = (a < row.level) & (b < row.level) & (c < row.level) & (d < row.level);
  const auto narrow = __builtin_convertvector(~(above | below), typename Scan<Real>::Flags);
  __builtin_memcpy(flags, &narrow, sizeof narrow);
}

/// Cells that are flagged at a time. A multiple of 16.
inline constexpr std::ptrdiff_t kChunk = 512;

template <class Real>
QV_INLINE Real* EmitFlagged(const Row<Real>& row, std::ptrdiff_t begin, const signed char* flags,
                            Real* segments) {
  for (std::ptrdiff_t k = 0; k < kChunk; k += 8) {
    std::uint64_t word;
    __builtin_memcpy(&word, flags + k, sizeof word);
    for (; word != 0;) {
      const int byte = __builtin_ctzll(word) / 8;
      segments = Emit(row, begin + k + byte, segments);
      word &= ~(std::uint64_t{0xFF} << (8 * byte));
    }
  }
  return segments;
}

template <class Real>
std::ptrdiff_t Segments(const Real* lower, const Real* upper, std::ptrdiff_t cells, const Real* x, Real y0,
                        Real y1, Real level, Real* segments) {
  const Row<Real> row = {lower, upper, x, y0, y1, level};
  Real* end = segments;
  std::ptrdiff_t begin = 0;
  for (; begin + kScan<Real> <= cells; begin += kChunk) {
    signed char flags[kChunk];
    std::ptrdiff_t k = 0;
    for (; k < kChunk && begin + k + kScan<Real> <= cells; k += kScan<Real>)
      FlagCells(row, begin + k, flags + k);
    if (k < kChunk) __builtin_memset(flags + k, 0, static_cast<std::size_t>(kChunk - k));
    end = EmitFlagged(row, begin, flags, end);
    if (k < kChunk) {
      begin += k;
      break;
    }
  }
  for (std::ptrdiff_t i = begin; i < cells; ++i) end = Emit(row, i, end);
  return (end - segments) / 4;
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
