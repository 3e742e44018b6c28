#include "mesh/grid_axis.h"

#include <cmath>

namespace qv::mesh {

template <class Real>
bool GridAxisOf<Real>::Place(double first, double length, int intervals, const CellAxis& cells) {
  cells_ = cells;
  const std::size_t count = static_cast<std::size_t>(intervals) + 1;
  if (positions_.Extend(count) == nullptr) return false;
  const bool descending = length < 0;
  direction_ = descending ? -1 : 1;
  origin_ = descending ? intervals : 0;
  for (std::size_t k = 0; k < count; ++k) {
    const auto index = static_cast<double>(GridIndex(static_cast<std::ptrdiff_t>(k)));
    positions_[k] = static_cast<Real>(first + length * index / intervals);
  }
  guessOrigin_ = positions_[0];
  guessScale_ = length == 0 ? 0.0 : intervals / std::abs(length);
  guessLimit_ = static_cast<double>(count);
  isEven_ = IsEven();
  // An end that is not finite leaves no sample in a cell (and perhaps no order among them).
  return !std::isfinite(first) || !std::isfinite(length) || FindCells();
}

template <class Real>
bool GridAxisOf<Real>::IsEven() const {
  for (std::size_t k = 0; k < positions_.size(); ++k) {
    const double found = (positions_[k] - guessOrigin_) * guessScale_;
    if (!(std::abs(found - static_cast<double>(k)) <= kMostUneven)) return false;
  }
  return true;
}

/// Positions ascend, and so do their cells.
template <class Real>
bool GridAxisOf<Real>::FindCells() {
  if (cellOf_.Extend(positions_.size()) == nullptr) return false;
  const auto firstWhere = [this](auto isBehind) {
    const auto isBefore = [&](Real position) { return !isBehind(cells_.Quotient(position)); };
    return std::partition_point(positions_.begin(), positions_.end(), isBefore) - positions_.begin();
  };
  const double limit = static_cast<double>(cells_.resolution) + 1;
  begin_ = firstWhere([](double quotient) { return quotient > -1; });
  end_ = firstWhere([limit](double quotient) { return quotient >= limit; });
  for (std::ptrdiff_t k = begin_; k < end_; ++k) {
    cellOf_[static_cast<std::size_t>(k)] = cells_.IndexOf((*this)[k]);
  }
  return true;
}

template class GridAxisOf<float>;
template class GridAxisOf<double>;

}  // namespace qv::mesh
