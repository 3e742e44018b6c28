// The strips of two rows around missing samples as sample numbers: the walk of render/strip_walk.h in bits,
// sixteen columns at a time.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

constexpr std::int32_t kBadBits = static_cast<std::int32_t>(0xD01502F9U);
constexpr unsigned kAll = 0xFFFFU;

/// Which of sixteen samples are there. Missing by bit pattern: a NaN is a height.
QV_INLINE unsigned Good(const Floats& z) {
  return Bits(reinterpret_cast<Ints>(z) != kBadBits);
}

/// Whether the samples of sixteen columns and of the columns before them are there, a bit per column.
struct Columns {
  unsigned lower, upper, lowerBefore, upperBefore;

  unsigned Whole() const { return lower & upper; }
  unsigned WholeBefore() const { return lowerBefore & upperBefore; }
  /// What the strip takes: a whole column, or the lone sample that ends it.
  unsigned TakesLower() const { return lower & (upper | WholeBefore()); }
  unsigned TakesUpper() const { return upper & (lower | WholeBefore()); }
  unsigned Begins() const { return Whole() & ~WholeBefore(); }
  /// Where a strip begins with the lone sample of the column before, twice.
  unsigned Resumes() const { return Whole() & (lowerBefore ^ upperBefore); }
  /// How many numbers these columns give.
  unsigned CountIn(unsigned which) const {
    return static_cast<unsigned>(2 * __builtin_popcount(Resumes() & which) +
                                 __builtin_popcount(TakesLower() & which) +
                                 __builtin_popcount(TakesUpper() & which));
  }
};

constexpr Ints kHalves = {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7};

/// The numbers of eight whole columns.
QV_INLINE Ints FirstPairs(unsigned lower, unsigned upper) {
  std::int32_t pairs[kLanes];
  for (int i = 0; i < kLanes; ++i) pairs[i] = static_cast<std::int32_t>(i % 2 == 0 ? lower : upper);
  Ints v;
  __builtin_memcpy(&v, pairs, sizeof v);
  return v + kHalves;
}

QV_INLINE void AppendWhole(const Ints& pairs, std::ptrdiff_t column, IndexListEnd& end) {
  const Ints first = pairs + static_cast<std::int32_t>(column), second = first + kLanes / 2;
  __builtin_memcpy(end.index, &first, sizeof first);
  __builtin_memcpy(end.index + kLanes, &second, sizeof second);
  end.index += 2 * std::ptrdiff_t{kLanes};
}

/// Where in the list the strips begin that begin among these columns. The first is written whether there is
/// one or not: there is room for the end of the list.
QV_INLINE void AppendStarts(const Columns& columns, unsigned before, IndexListEnd& end) {
  unsigned begins = columns.Begins();
  *end.start = before + columns.CountIn((begins & -begins) - 1);
  end.start += begins != 0 ? 1 : 0;
  for (begins &= begins - 1; begins != 0; begins &= begins - 1) {
    *end.start++ = before + columns.CountIn((begins & -begins) - 1);
  }
}

#if defined(__AVX512F__)
constexpr Ints kColumns = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
constexpr Ints kColumnBits = {1, 1, 1, 1, 2, 2, 2, 2, 4, 4, 4, 4, 8, 8, 8, 8};
constexpr Ints kIsUpper = {0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1};
constexpr Ints kIsLone = {-1, -1, 0, 0, -1, -1, 0, 0, -1, -1, 0, 0, -1, -1, 0, 0};

/// One of these per column, for each of four columns.
QV_INLINE __m512i PerColumn(unsigned first, unsigned second, unsigned third, unsigned fourth) {
  return _mm512_maskz_broadcast_i32x4(static_cast<__mmask16>(kAll),
                                      _mm_setr_epi32(static_cast<int>(first), static_cast<int>(second),
                                                     static_cast<int>(third), static_cast<int>(fourth)));
}

/// Four numbers that a column might give, four columns at a time: the lone sample before it twice, its lower
/// one, its upper one.
QV_INLINE void AppendNumbers(const Columns& columns, unsigned lower, unsigned upper, IndexListEnd& end) {
  const auto rowsApart = static_cast<std::int32_t>(upper - lower);
  const unsigned resumes = columns.Resumes(), upperLone = ~columns.lowerBefore;
  const __m512i taken = PerColumn(resumes, resumes, columns.TakesLower(), columns.TakesUpper());
  const __m512i fromUpper = PerColumn(upperLone, upperLone, 0, 0);
  Ints numbers = kColumns + static_cast<std::int32_t>(lower) + (kIsUpper & rowsApart) + kIsLone;
  Ints bits = kColumnBits;
  for (int part = 0; part < 4; ++part) {
    const auto column = reinterpret_cast<__m512i>(bits), plain = reinterpret_cast<__m512i>(numbers);
    const __mmask16 mask = _mm512_test_epi32_mask(taken, column);
    const __m512i placed = _mm512_mask_add_epi32(plain, _mm512_test_epi32_mask(fromUpper, column), plain,
                                                 _mm512_set1_epi32(rowsApart));
    const int count = __builtin_popcount(mask);
    _mm512_mask_storeu_epi32(end.index, static_cast<__mmask16>((1U << count) - 1),
                             _mm512_maskz_compress_epi32(mask, placed));
    end.index += count;
    numbers += 4;
    bits <<= 4;
  }
}
#else
/// Without a branch per column, which holes would make a guess of. Writes every number that a column might
/// give, and goes on behind those that it does: so not into the list itself, which may end here.
QV_INLINE void AppendNumbers(const Columns& columns, unsigned lower, unsigned upper, IndexListEnd& end) {
  unsigned numbers[4 * kLanes];
  unsigned count = 0;
  const unsigned takesLower = columns.TakesLower(), takesUpper = columns.TakesUpper(),
                 resumes = columns.Resumes();
  for (unsigned i = 0; i < kLanes; ++i) {
    const unsigned lone = (columns.lowerBefore >> i & 1U) != 0 ? lower : upper;
    numbers[count] = numbers[count + 1] = lone + i - 1;
    count += 2 * (resumes >> i & 1U);
    numbers[count] = lower + i;
    count += takesLower >> i & 1U;
    numbers[count] = upper + i;
    count += takesUpper >> i & 1U;
  }
  __builtin_memcpy(end.index, numbers, count * sizeof(unsigned));
  end.index += count;
}
#endif

IndexListEnd Append(const StripRows& rows, const unsigned* list, IndexListEnd end) {
  const Ints pairs = FirstPairs(rows.lowerNumber, rows.upperNumber);
  *end.start++ = static_cast<unsigned>(end.index - list);
  unsigned lowerBefore = 1, upperBefore = 1;  // the strip has begun
  for (std::ptrdiff_t column = 0; column < rows.width; column += kLanes) {
    const std::ptrdiff_t left = rows.width - column;
    const bool full = left >= kLanes;
    const unsigned lower = Good(full ? Load(rows.lower + column) : LoadTail(rows.lower + column, left));
    const unsigned upper = Good(full ? Load(rows.upper + column) : LoadTail(rows.upper + column, left));
    const Columns columns = {lower, upper, (lower << 1 | lowerBefore) & kAll,
                             (upper << 1 | upperBefore) & kAll};
    lowerBefore = lower >> (kLanes - 1);
    upperBefore = upper >> (kLanes - 1);
    if ((columns.Whole() & columns.WholeBefore()) == kAll) {
      AppendWhole(pairs, column, end);
    } else if ((columns.TakesLower() | columns.TakesUpper()) != 0) {
      const auto first = static_cast<unsigned>(column);
      AppendStarts(columns, static_cast<unsigned>(end.index - list), end);
      AppendNumbers(columns, rows.lowerNumber + first, rows.upperNumber + first, end);
    }
  }
  return end;
}

}  // namespace

extern const StripIndexKernels stripIndices;
const StripIndexKernels stripIndices = {Append};

}  // namespace qv::kernels::QV_KERNEL_ISA
