// Any rank of windows of any size: a window is a set of ranks within a tile of the grid, one bit each, and
// moves by one column at a time. The cost per sample grows with the window's side, not with its area. Only
// for kernel files; everything here lives in the namespace of the instruction set.
#pragma once

#include "kernels/rank_keys.h"
#include "kernels/window_pass.h"

namespace qv::kernels::QV_KERNEL_ISA {

/// A set of numbers that knows where its element at one position is.
class RankSet {
 public:
  RankSet(std::uint64_t* words, std::ptrdiff_t wordCount, std::ptrdiff_t position)
      : words_(words), wordCount_(wordCount), position_(position) {}

  void Clear() {
    __builtin_memset(words_, 0, static_cast<std::size_t>(wordCount_) * sizeof(std::uint64_t));
    current_ = below_ = 0;
  }
  [[gnu::always_inline]] void Insert(std::uint32_t number) {
    words_[number >> 6U] |= std::uint64_t{1} << (number & 63U);
    below_ += static_cast<std::ptrdiff_t>(number >> 6U) < current_;
  }
  [[gnu::always_inline]] void Remove(std::uint32_t number) {
    words_[number >> 6U] &= ~(std::uint64_t{1} << (number & 63U));
    below_ -= static_cast<std::ptrdiff_t>(number >> 6U) < current_;
  }

  /// The number at the position, of more than that many.
  std::uint32_t Find() {
    while (below_ > position_) below_ -= CountAt(--current_);
    std::ptrdiff_t count = CountAt(current_);
    while (below_ + count <= position_) {
      below_ += count;
      count = CountAt(++current_);
    }
    std::uint64_t word = words_[current_];
    for (std::ptrdiff_t skip = position_ - below_; skip > 0; --skip) word &= word - 1;
    return static_cast<std::uint32_t>(current_ * 64 + __builtin_ctzll(word));
  }

 private:
  [[nodiscard]] std::ptrdiff_t CountAt(std::ptrdiff_t word) const {
    return __builtin_popcountll(words_[word]);
  }

  std::uint64_t* words_;
  std::ptrdiff_t wordCount_, position_;
  std::ptrdiff_t current_ = 0;  ///< the word looked at last
  std::ptrdiff_t below_ = 0;    ///< how many numbers lie in the words before it
};

/// Numbers the keys of a tile in ascending order, equal ones too.
template <class Key>
class TileRanks {
 public:
  explicit TileRanks(std::ptrdiff_t capacity) : records_(2 * capacity), sorted_(capacity), ranks_(capacity) {
    capacity_ = capacity;
  }
  [[nodiscard]] bool Ready() const {
    return records_.Data() != nullptr && sorted_.Data() != nullptr && ranks_.Data() != nullptr;
  }

  void Put(std::ptrdiff_t index, Key key) {
    records_.Data()[index] = {static_cast<Bits>(key) ^ kSign, static_cast<std::uint32_t>(index)};
  }

  /// Sorts by one digit after the other, from the lowest.
  void Sort(std::ptrdiff_t count) {
    CountDigits(count);
    Record *from = records_.Data(), *to = from + capacity_;
    for (int digit = 0; digit < kDigits; ++digit) {
      if (!StartDigit(digit, (from->bits >> (digit * kDigitBits)) & kDigitMask, count)) continue;
      std::uint32_t* next = places_[digit];
      for (std::ptrdiff_t i = 0; i < count; ++i) {
        to[next[(from[i].bits >> (digit * kDigitBits)) & kDigitMask]++] = from[i];
      }
      Record* swapped = from;
      from = to;
      to = swapped;
    }
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      sorted_.Data()[i] = static_cast<Key>(from[i].bits ^ kSign);
      ranks_.Data()[from[i].index] = static_cast<std::uint32_t>(i);
    }
  }

  [[nodiscard]] const std::uint32_t* Ranks() const { return ranks_.Data(); }
  [[nodiscard]] Key KeyAt(std::uint32_t rank) const { return sorted_.Data()[rank]; }

 private:
  template <std::size_t kSize, class Unused = void>
  struct BitsOf {
    using Type = std::uint64_t;
  };
  template <class Unused>
  struct BitsOf<4, Unused> {
    using Type = std::uint32_t;
  };
  using Bits = typename BitsOf<sizeof(Key)>::Type;
  struct Record {
    Bits bits;
    std::uint32_t index;
  };
  static constexpr Bits kSign = Bits{1} << (8 * sizeof(Key) - 1);
  static constexpr int kDigitBits = 11;
  static constexpr int kDigitValues = 1 << kDigitBits;
  static constexpr Bits kDigitMask = kDigitValues - 1;
  static constexpr int kDigits = (8 * static_cast<int>(sizeof(Key)) + kDigitBits - 1) / kDigitBits;

  void CountDigits(std::ptrdiff_t count) {
    __builtin_memset(places_, 0, sizeof places_);
    const Record* records = records_.Data();
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      for (int digit = 0; digit < kDigits; ++digit) {
        ++places_[digit][(records[i].bits >> (digit * kDigitBits)) & kDigitMask];
      }
    }
  }
  /// Turns counts into places. False where all the keys agree in the digit.
  bool StartDigit(int digit, Bits first, std::ptrdiff_t count) {
    std::uint32_t* places = places_[digit];
    if (static_cast<std::ptrdiff_t>(places[first]) == count) return false;
    std::uint32_t total = 0;
    for (int value = 0; value < kDigitValues; ++value) {
      const std::uint32_t here = places[value];
      places[value] = total;
      total += here;
    }
    return true;
  }

  std::ptrdiff_t capacity_;
  Scratch<Record> records_;
  Scratch<Key> sorted_;
  Scratch<std::uint32_t> ranks_;
  std::uint32_t places_[kDigits][kDigitValues];
};

/// Walks the windows of one tile after the other.
template <class T>
class RankTiles {
 public:
  using Key = typename RankKey<T>::Key;

  RankTiles(const RankWindow& ranked, const T* in)
      : ranked_(ranked),
        in_(in),
        side_(2 * ranked.window.half + 1),
        columns_(ranked.window.nx - side_ + 1),
        rows_(ranked.window.ny - side_ + 1),
        // Twice as wide as the window at least, so that neighbouring tiles share little.
        tileWidth_(Min(columns_, Max(96, side_))),
        tileHeight_(Min(rows_, Max(96, side_))),
        pitch_(tileHeight_ + side_ - 1),
        capacity_(pitch_ * (tileWidth_ + side_ - 1)),
        tile_(capacity_),
        words_(capacity_ / 64 + 2),
        set_(words_.Data(), capacity_ / 64 + 1, ranked.rank) {}

  [[nodiscard]] bool Ready() const { return tile_.Ready() && words_.Data() != nullptr; }

  /// Calls emit(row, column, key) for every window.
  template <class Emit>
  void Run(Emit emit) {
    for (std::ptrdiff_t y = 0; y < rows_; y += tileHeight_) {
      for (std::ptrdiff_t x = 0; x < columns_; x += tileWidth_) RunTile(x, y, emit);
    }
  }

 private:
  template <class Emit>
  void RunTile(std::ptrdiff_t x, std::ptrdiff_t y, Emit emit) {
    const std::ptrdiff_t width = Min(tileWidth_, columns_ - x), height = Min(tileHeight_, rows_ - y);
    Load(x, y, width + side_ - 1, height + side_ - 1);
    set_.Clear();
    for (std::ptrdiff_t i = 0; i < side_; ++i) InsertColumn(i, 0);
    if (ranked_.oneMore) set_.Insert(ExtraAt(0, 0));
    std::ptrdiff_t column = 0, step = 1;
    for (std::ptrdiff_t row = 0;; ++row) {
      for (std::ptrdiff_t i = 0;; ++i) {
        emit(y + row, x + column, tile_.KeyAt(set_.Find()));
        if (i == width - 1) break;
        MoveAcross(column, row, step);
        column += step;
      }
      if (row == height - 1) return;
      MoveDown(column, row);
      step = -step;  // back along the next row: no window is filled anew
    }
  }

  /// Ranks lie column by column.
  void Load(std::ptrdiff_t x, std::ptrdiff_t y, std::ptrdiff_t width, std::ptrdiff_t height) {
    pitch_ = height;
    for (std::ptrdiff_t r = 0; r < height; ++r) {
      const T* from = in_ + (y + r) * ranked_.window.nx + x;
      for (std::ptrdiff_t c = 0; c < width; ++c) tile_.Put(c * pitch_ + r, RankKey<T>::Of(from[c]));
    }
    tile_.Sort(width * height);
  }

  [[nodiscard]] std::uint32_t RankAt(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return tile_.Ranks()[column * pitch_ + row];
  }
  [[nodiscard]] std::uint32_t ExtraAt(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return RankAt(column, row + ranked_.fullRows);
  }
  void InsertColumn(std::ptrdiff_t column, std::ptrdiff_t row) {
    const std::uint32_t* ranks = tile_.Ranks() + column * pitch_ + row;
    for (std::ptrdiff_t i = 0; i < ranked_.fullRows; ++i) set_.Insert(ranks[i]);
  }
  void RemoveColumn(std::ptrdiff_t column, std::ptrdiff_t row) {
    const std::uint32_t* ranks = tile_.Ranks() + column * pitch_ + row;
    for (std::ptrdiff_t i = 0; i < ranked_.fullRows; ++i) set_.Remove(ranks[i]);
  }
  void MoveAcross(std::ptrdiff_t column, std::ptrdiff_t row, std::ptrdiff_t step) {
    if (ranked_.oneMore) set_.Remove(ExtraAt(column, row));
    RemoveColumn(step > 0 ? column : column + side_ - 1, row);
    InsertColumn(step > 0 ? column + side_ : column - 1, row);
    if (ranked_.oneMore) set_.Insert(ExtraAt(column + step, row));
  }
  void MoveDown(std::ptrdiff_t column, std::ptrdiff_t row) {
    if (ranked_.oneMore) set_.Remove(ExtraAt(column, row));
    for (std::ptrdiff_t i = 0; i < side_; ++i) set_.Remove(RankAt(column + i, row));
    for (std::ptrdiff_t i = 0; i < side_; ++i) set_.Insert(RankAt(column + i, row + ranked_.fullRows));
    if (ranked_.oneMore) set_.Insert(ExtraAt(column, row + 1));
  }

  const RankWindow& ranked_;
  const T* in_;
  std::ptrdiff_t side_, columns_, rows_, tileWidth_, tileHeight_, pitch_, capacity_;
  TileRanks<Key> tile_;
  Scratch<std::uint64_t> words_;
  RankSet set_;
};

}  // namespace qv::kernels::QV_KERNEL_ISA
