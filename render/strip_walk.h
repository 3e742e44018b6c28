// The walks over a grid that draw it as strips, one per pair of rows: which samples come in which order, and
// where a strip begins and ends. What happens to them is the sink's business:
//   sink.Begin()              a strip begins
//   sink.Vertex(column, row)  the strip goes on to this sample
//   sink.End()                the strip ends
// Sizes and steps are at least 1. No counter passes the size of the grid, so huge steps do not overflow.
#pragma once

#include <cstddef>

namespace qv::render {

/// Calls pair(lower row, upper row) for every pair of visited rows, without the closing pair. Returns the row
/// that the walk stopped at: the lower one of the closing pair.
template <class Pair>
std::ptrdiff_t ForEachRowPair(std::ptrdiff_t height, std::ptrdiff_t rowStep, Pair pair) {
  std::ptrdiff_t row = 0;
  for (; row < height - rowStep; row += rowStep) pair(row, row + rowStep);
  return row;
}

/// As ForEachRowPair, then the closing pair, which reaches the last row where the steps do not. Where they
/// do, it joins the last row to itself; kept, so that the sequence of strips does not depend on divisibility.
template <class Pair>
void ForEachRowPairAndClosing(std::ptrdiff_t height, std::ptrdiff_t rowStep, Pair pair) {
  const std::ptrdiff_t row = ForEachRowPair(height, rowStep, pair);
  pair(row, height - 1);
}

/// Visits every step-th column short of the last step, and then the last column. So with a width of 6 and a
/// step of 2 the columns are 0, 2 and 5.
template <class Visit>
inline void ForEachColumn(std::ptrdiff_t width, std::ptrdiff_t step, Visit visit) {
  for (std::ptrdiff_t column = 0; column < width - step; column += step) visit(column);
  visit(width - 1);
}

/// One strip along every visited row.
template <class Sink>
void WalkRows(std::ptrdiff_t width, std::ptrdiff_t height, std::ptrdiff_t colStep, std::ptrdiff_t rowStep,
              Sink& sink) {
  ForEachColumn(height, rowStep, [&](std::ptrdiff_t row) {
    sink.Begin();
    ForEachColumn(width, colStep, [&](std::ptrdiff_t column) { sink.Vertex(column, row); });
    sink.End();
  });
}

/// One strip along every visited column.
template <class Sink>
void WalkColumns(std::ptrdiff_t width, std::ptrdiff_t height, std::ptrdiff_t colStep, std::ptrdiff_t rowStep,
                 Sink& sink) {
  ForEachColumn(width, colStep, [&](std::ptrdiff_t column) {
    sink.Begin();
    ForEachColumn(height, rowStep, [&](std::ptrdiff_t row) { sink.Vertex(column, row); });
    sink.End();
  });
}

/// One strip through all samples of two rows, upper row first.
template <class Sink>
void WalkStrip(std::ptrdiff_t width, std::ptrdiff_t step, std::ptrdiff_t lower, std::ptrdiff_t upper,
               Sink& sink) {
  sink.Begin();
  ForEachColumn(width, step, [&](std::ptrdiff_t column) {
    sink.Vertex(column, upper);
    sink.Vertex(column, lower);
  });
  sink.End();
}

/// The strips of two rows around missing samples, lower row first. Every triangle with three good corners is
/// drawn and none touches a missing sample: a lone good sample ends a strip with the half cell before the
/// hole; the same sample, doubled, begins a strip with the half cell behind it.
template <class IsMissing, class Sink>
void WalkStripAroundHoles(std::ptrdiff_t width, std::ptrdiff_t step, std::ptrdiff_t lower,
                          std::ptrdiff_t upper, IsMissing isMissing, Sink& sink) {
  bool broken = false;
  bool lowerBefore = false, upperBefore = false;  // good at the column visited before
  std::ptrdiff_t before = 0;
  const auto resume = [&] {
    sink.Begin();
    if (lowerBefore == upperBefore) return;
    sink.Vertex(before, lowerBefore ? lower : upper);
    sink.Vertex(before, lowerBefore ? lower : upper);
  };
  sink.Begin();
  ForEachColumn(width, step, [&](std::ptrdiff_t column) {
    const bool lowerGood = !isMissing(column, lower), upperGood = !isMissing(column, upper);
    if (lowerGood && upperGood) {
      if (broken) resume();
      broken = false;
      sink.Vertex(column, lower);
      sink.Vertex(column, upper);
    } else if (!broken) {
      if (lowerGood || upperGood) sink.Vertex(column, lowerGood ? lower : upper);
      sink.End();
      broken = true;
    }
    before = column;
    lowerBefore = lowerGood;
    upperBefore = upperGood;
  });
  if (!broken) sink.End();
}

}  // namespace qv::render
