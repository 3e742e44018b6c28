#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "mesh/cell_grid.h"
#include "mesh/growing_array.h"

namespace qv::mesh {

/// The positions of the samples along one side of a grid, in ascending order, and the cells that they lie in.
/// Samples outside every cell are left out of each range that is handed out.
class GridAxis {
 public:
  static constexpr int kMostCells = 80;

  /// `intervals` + 1 samples from `first` to `last`, which may lie below `first`. False when memory runs out.
  [[nodiscard]] bool Place(float first, float last, int intervals, const CellAxis& cells);

  std::size_t size() const { return positions_.size(); }
  float operator[](std::ptrdiff_t k) const { return positions_[static_cast<std::size_t>(k)]; }

  /// The grid's own number of the k-th sample in ascending order.
  std::ptrdiff_t GridIndex(std::ptrdiff_t k) const { return origin_ + k * direction_; }

  /// Samples of the cells low..high, which exist: CellBegin(low) up to but without CellBegin(high + 1).
  std::ptrdiff_t CellBegin(int cell) const { return cellBegin_[cell]; }
  int CellOf(std::ptrdiff_t k) const { return cells_.IndexOf((*this)[k]); }
  const CellAxis& cells() const { return cells_; }

  /// The samples that lie in any cell.
  std::ptrdiff_t begin() const { return cellBegin_[0]; }
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
      return std::clamp(static_cast<std::ptrdiff_t>(std::min(std::max(value, 0.0), guessLimit_)), begin(),
                        end_);
    };
    return {index(first), index(last)};
  }

  /// The first sample in a cell that is not below `position`, or end().
  std::ptrdiff_t FirstFrom(double position) const {
    const double guess = (position - guessOrigin_) * guessScale_;
    std::ptrdiff_t k = !(guess > 0) ? 0 : guess < guessLimit_ ? static_cast<std::ptrdiff_t>(guess) + 1 : end_;
    k = std::clamp(k, begin(), end_);
    // The guess is right or off by one, unless positions repeat because floats have no more digits.
    for (int step = 0; step < 4; ++step) {
      if (k < end_ && (*this)[k] < position) {
        ++k;
      } else if (k > begin() && (*this)[k - 1] >= position) {
        --k;
      } else {
        return k;
      }
    }
    const float* all = positions_.data();
    return std::lower_bound(all + begin(), all + end_, position) - all;
  }

 private:
  /// How far from where they would be without rounding samples may lie, in intervals, to be found by
  /// arithmetic.
  static constexpr double kMostUneven = 0.01;

  void FindCells();
  bool IsEven() const;

  GrowingArray<float> positions_;
  CellAxis cells_{};
  std::ptrdiff_t cellBegin_[kMostCells + 1] = {};
  std::ptrdiff_t end_ = 0;
  std::ptrdiff_t origin_ = 0;
  std::ptrdiff_t direction_ = 1;
  double guessOrigin_ = 0;
  double guessScale_ = 0;
  double guessLimit_ = 0;
  bool isEven_ = false;
};

}  // namespace qv::mesh
