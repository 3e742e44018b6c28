#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "mesh/cell_grid.h"
#include "mesh/growing_array.h"

namespace qv::mesh {

/// The positions of the samples along one side of a grid, rounded to Real, in ascending order, and the cells
/// that they lie in. Samples outside every cell are left out of each range that is handed out.
template <class Real>
class GridAxisOf {
 public:
  /// `intervals` + 1 samples from `first` over `length`, which may be negative. False when memory runs out.
  [[nodiscard]] bool Place(double first, double length, int intervals, const CellAxis& cells);

  std::size_t size() const { return positions_.size(); }
  Real operator[](std::ptrdiff_t k) const { return positions_[static_cast<std::size_t>(k)]; }

  /// The grid's own number of the k-th sample in ascending order.
  std::ptrdiff_t GridIndex(std::ptrdiff_t k) const { return origin_ + k * direction_; }

  /// Samples of the cells low..high, which exist: CellBegin(low) up to but without CellBegin(high + 1).
  std::ptrdiff_t CellBegin(int cell) const {
    const std::ptrdiff_t guess = FirstFrom(cells_.minimum + cell * cells_.CellSize());
    return FirstNot([&](std::ptrdiff_t k) { return CellOf(k) < cell; }, guess);
  }
  /// The cell of a sample from begin() to end().
  int CellOf(std::ptrdiff_t k) const { return cellOf_[static_cast<std::size_t>(k)]; }
  const CellAxis& cells() const { return cells_; }

  /// The samples that lie in any cell.
  std::ptrdiff_t begin() const { return begin_; }
  std::ptrdiff_t end() const { return end_; }

  struct Range {
    std::ptrdiff_t begin, end;
  };

  /// A range with all samples in cells from `low` to `high`, and perhaps another at either end.
  Range Between(double low, double high) const {
    if (!isEven_)
      return {FirstFrom(low), FirstFrom(std::nextafter(high, std::numeric_limits<double>::infinity()))};
    // Without a branch: how many samples lie between two positions surprises the processor every time.
    const double first = (low - guessOrigin_) * guessScale_ + (1 - 2 * kMostUneven);
    const double last = (high - guessOrigin_) * guessScale_ + (1 + 2 * kMostUneven);
    const auto index = [this](double value) {
      return std::clamp(static_cast<std::ptrdiff_t>(std::min(std::max(value, 0.0), guessLimit_)), begin_,
                        end_);
    };
    return {index(first), index(last)};
  }

  /// The first sample in a cell that is not below `position`, or end().
  std::ptrdiff_t FirstFrom(double position) const {
    const double guess = (position - guessOrigin_) * guessScale_;
    const std::ptrdiff_t k = !(guess > 0)          ? 0
                             : guess < guessLimit_ ? static_cast<std::ptrdiff_t>(guess) + 1
                                                   : end_;
    return FirstNot([&](std::ptrdiff_t i) { return (*this)[i] < position; }, k);
  }

 private:
  /// How far from where they would be without rounding samples may lie, in intervals, to be found by
  /// arithmetic.
  static constexpr double kMostUneven = 0.01;

  /// The first sample in a cell that is not before, or end(). The guess is right or off by one, unless
  /// positions repeat because they have no more digits.
  template <class IsBefore>
  std::ptrdiff_t FirstNot(IsBefore isBefore, std::ptrdiff_t guess) const {
    std::ptrdiff_t k = std::clamp(guess, begin_, end_);
    for (int step = 0; step < 4; ++step) {
      if (k < end_ && isBefore(k)) {
        ++k;
      } else if (k > begin_ && !isBefore(k - 1)) {
        --k;
      } else {
        return k;
      }
    }
    std::ptrdiff_t low = begin_, high = end_;
    while (low < high) {
      const std::ptrdiff_t middle = low + (high - low) / 2;
      if (isBefore(middle)) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

  bool FindCells();
  bool IsEven() const;

  GrowingArray<Real> positions_;
  GrowingArray<int> cellOf_;
  CellAxis cells_{};
  std::ptrdiff_t begin_ = 0;
  std::ptrdiff_t end_ = 0;
  std::ptrdiff_t origin_ = 0;
  std::ptrdiff_t direction_ = 1;
  double guessOrigin_ = 0;
  double guessScale_ = 0;
  double guessLimit_ = 0;
  bool isEven_ = false;
};

/// Of the grids over meshes from files.
using GridAxis = GridAxisOf<float>;

}  // namespace qv::mesh
