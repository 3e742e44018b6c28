#include "mesh/grid_axis.h"

#include <cmath>

namespace qv::mesh {

bool GridAxis::Place(float first, float last, int intervals, const CellAxis& cells) {
  cells_ = cells;
  const std::size_t count = static_cast<std::size_t>(intervals) + 1;
  if (positions_.Extend(count) == nullptr) return false;
  const bool descending = last < first;
  direction_ = descending ? -1 : 1;
  origin_ = descending ? intervals : 0;
  const double length = static_cast<double>(last) - first;
  for (std::size_t k = 0; k < count; ++k) {
    const auto index = static_cast<double>(GridIndex(static_cast<std::ptrdiff_t>(k)));
    positions_[k] = static_cast<float>(first + length * index / intervals);
  }
  guessOrigin_ = positions_[0];
  guessScale_ = length == 0 ? 0.0 : intervals / std::abs(length);
  guessLimit_ = static_cast<double>(count);
  isEven_ = IsEven();
  // An end that is not finite leaves no sample in a cell (and perhaps no order among them).
  if (std::isfinite(first) && std::isfinite(last)) FindCells();
  return true;
}

bool GridAxis::IsEven() const {
  for (std::size_t k = 0; k < positions_.size(); ++k) {
    const double found = (positions_[k] - guessOrigin_) * guessScale_;
    if (!(std::abs(found - static_cast<double>(k)) <= kMostUneven)) return false;
  }
  return true;
}

/// Positions ascend and so do their cells: each cell has a run of samples, perhaps an empty one.
void GridAxis::FindCells() {
  const auto firstWhere = [this](auto isBehind) {
    const auto isBefore = [&](float position) { return !isBehind(cells_.Quotient(position)); };
    return std::partition_point(positions_.begin(), positions_.end(), isBefore) - positions_.begin();
  };
  const int resolution = cells_.resolution;
  cellBegin_[0] = firstWhere([](double quotient) { return quotient > -1; });
  for (int cell = 1; cell < resolution; ++cell) {
    cellBegin_[cell] = firstWhere([cell](double quotient) { return quotient >= cell; });
  }
  end_ = firstWhere([resolution](double quotient) { return quotient >= resolution + 1; });
  cellBegin_[resolution] = end_;
}

}  // namespace qv::mesh
