// The triangles are drawn in index order, and a sample that has its height is passed over: the same as
// searching each sample's cell for the first triangle that contains it, without a list per cell.
//
// Whether a sample belongs to a triangle is always decided by PointInTriangle and the cells. What is done
// here is to name few candidates but never too few, also where the side tests are decided by rounding:
//
// With w, h the extents of a triangle and W, H bounds of a candidate's distance from its vertices (its cell
// is among theirs), a side test is off by at most E = 2^-51 (H w + W h). The three exact values add up to the
// doubled area D. So where the computed signs agree, none of the exact values is beyond |D| + 3 E in
// magnitude, and none is more than E on the wrong side. If |D| >= 2^20 E, the sample lies within 2^-19 of the
// extents around the bounding box. Otherwise the triangle is as good as a line, and the sample lies within
// (|D| + 3 E) / w of the edge of width w, measured in y.
#include "mesh/grid_sampling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/samples.h"
#include "mesh/grid_axis.h"

namespace qv::mesh {
namespace {

/// What is known of a triangle before samples are looked at.
struct Footprint {
  float xLow, xHigh, yLow, yHigh;
  double width, height;  ///< of the bounding box
  double area;           ///< magnitude of the doubled area
  double error;          ///< bound of the error of a side test
};

class Sampler {
 public:
  Sampler(const CellGrid& cells, double degenerateArea, float* heights)
      : cells_(cells),
        xReach_(3 * cells.x.CellSize()),
        yReach_(3 * cells.y.CellSize()),
        degenerateArea_(degenerateArea),
        heights_(heights) {}

  bool Prepare(const SampleGrid& grid) {
    if (!columns_.Place(grid.x0, grid.x1, grid.nx, cells_.x)) return false;
    if (!rows_.Place(grid.y0, grid.y1, grid.ny, cells_.y)) return false;
    const std::size_t count = columns_.size() * rows_.size();
    if (count / columns_.size() != rows_.size()) return false;
    if (done_.Extend(count) == nullptr) return false;
    std::fill(done_.begin(), done_.end(), std::uint8_t{0});
    std::fill_n(heights_, count, kBadSampleFloat);
    missing_ = static_cast<std::ptrdiff_t>(count);
    return true;
  }

  void Draw(const Triangle& t) {
    const Footprint f = FootprintOf(t);
    if (f.area >= 0x1p20 * f.error && f.area > 0) {
      DrawBox(t, f);
    } else if (f.width == 0 && f.height == 0) {
      DrawPoint(t);
    } else if (f.width >= f.height) {
      DrawLine<false>(t, f);
    } else {
      DrawLine<true>(t, f);
    }
  }

  std::ptrdiff_t missing() const { return missing_; }

 private:
  Footprint FootprintOf(const Triangle& t) const {
    Footprint f;
    f.xLow = std::min(t.a.x, std::min(t.b.x, t.c.x));
    f.xHigh = std::max(t.a.x, std::max(t.b.x, t.c.x));
    f.yLow = std::min(t.a.y, std::min(t.b.y, t.c.y));
    f.yHigh = std::max(t.a.y, std::max(t.b.y, t.c.y));
    f.width = static_cast<double>(f.xHigh) - f.xLow;
    f.height = static_cast<double>(f.yHigh) - f.yLow;
    const double bx = static_cast<double>(t.b.x) - t.a.x, by = static_cast<double>(t.b.y) - t.a.y;
    const double cx = static_cast<double>(t.c.x) - t.a.x, cy = static_cast<double>(t.c.y) - t.a.y;
    f.area = std::abs(bx * cy - by * cx);
    // The vertices' cells reach up to a cell beyond them, the outermost cells up to two.
    f.error = 0x1p-51 * ((f.height + yReach_) * f.width + (f.width + xReach_) * f.height);
    return f;
  }

  /// An ordinary triangle: the samples of its bounding box.
  void DrawBox(const Triangle& t, const Footprint& f) {
    constexpr double kMargin = 0x1p-17;
    const double xMargin = kMargin * f.width, yMargin = kMargin * f.height;
    const GridAxis::Range columns = columns_.Between(f.xLow - xMargin, f.xHigh + xMargin);
    const GridAxis::Range rows = rows_.Between(f.yLow - yMargin, f.yHigh + yMargin);
    for (std::ptrdiff_t row = rows.begin; row < rows.end; ++row) {
      for (std::ptrdiff_t column = columns.begin; column < columns.end; ++column) {
        // Both, and then one branch.
        const int isNew = static_cast<int>(!IsDone(column, row)) & static_cast<int>(Contains(t, column, row));
        if (isNew != 0 && (IsInBox(f, column, row) || IsInCells(f, column, row))) Give(t, column, row);
      }
    }
  }

  /// A triangle that is a line or nearly so, along x (or, exchanged, along y): the samples within a hair of
  /// the line, in all the cells of its vertices, also beyond its ends.
  template <bool kExchanged>
  void DrawLine(const Triangle& t, const Footprint& f) {
    const auto along = [](const Vertex& v) { return kExchanged ? v.y : v.x; };
    const auto across = [](const Vertex& v) { return kExchanged ? v.x : v.y; };
    const GridAxis& alongAxis = kExchanged ? rows_ : columns_;
    const GridAxis& acrossAxis = kExchanged ? columns_ : rows_;
    const Vertex* low = &t.a;
    const Vertex* high = &t.a;
    for (const Vertex* v : {&t.b, &t.c}) {
      if (along(*v) < along(*low)) low = v;
      if (along(*v) > along(*high)) high = v;
    }
    const double start = across(*low);
    const double length = static_cast<double>(along(*high)) - along(*low);
    const double slope = (across(*high) - start) / length;
    const double halfWidth =
        (f.area + 8 * f.error) / length + 0x1p-48 * (std::abs(start) + xReach_ + yReach_ + length);

    const CellAxis& acrossCells = acrossAxis.cells();
    const std::ptrdiff_t acrossBegin =
        acrossAxis.CellBegin(acrossCells.IndexOf(kExchanged ? f.xLow : f.yLow));
    const std::ptrdiff_t acrossEnd =
        acrossAxis.CellBegin(acrossCells.IndexOf(kExchanged ? f.xHigh : f.yHigh) + 1);
    const std::ptrdiff_t end = alongAxis.CellBegin(alongAxis.cells().IndexOf(along(*high)) + 1);
    for (std::ptrdiff_t i = alongAxis.CellBegin(alongAxis.cells().IndexOf(along(*low))); i < end; ++i) {
      const double middle = start + (static_cast<double>(alongAxis[i]) - along(*low)) * slope;
      std::ptrdiff_t k = std::max(acrossBegin, acrossAxis.FirstFrom(middle - halfWidth));
      for (; k < acrossEnd && acrossAxis[k] <= middle + halfWidth; ++k) {
        const std::ptrdiff_t column = kExchanged ? k : i, row = kExchanged ? i : k;
        if (!IsDone(column, row) && Contains(t, column, row)) Give(t, column, row);
      }
    }
  }

  /// A triangle without extent: every side test gives 0 everywhere, so it takes what is left of its cell.
  void DrawPoint(const Triangle& t) {
    const int x = cells_.x.IndexOf(t.a.x), y = cells_.y.IndexOf(t.a.y);
    bool& isFull = fullCells_[x][y];
    if (isFull) return;
    isFull = true;
    for (std::ptrdiff_t row = rows_.CellBegin(y); row < rows_.CellBegin(y + 1); ++row) {
      for (std::ptrdiff_t column = columns_.CellBegin(x); column < columns_.CellBegin(x + 1); ++column) {
        if (!IsDone(column, row)) Give(t, column, row);
      }
    }
  }

  std::size_t SampleIndex(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return static_cast<std::size_t>(rows_.GridIndex(row)) * columns_.size() +
           static_cast<std::size_t>(columns_.GridIndex(column));
  }
  bool IsDone(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return done_[SampleIndex(column, row)] != 0;
  }

  bool Contains(const Triangle& t, std::ptrdiff_t column, std::ptrdiff_t row) const {
    return PointInTriangle({columns_[column], rows_[row]}, t);
  }
  bool IsInBox(const Footprint& f, std::ptrdiff_t column, std::ptrdiff_t row) const {
    return columns_[column] >= f.xLow && columns_[column] <= f.xHigh && rows_[row] >= f.yLow &&
           rows_[row] <= f.yHigh;
  }
  bool IsInCells(const Footprint& f, std::ptrdiff_t column, std::ptrdiff_t row) const {
    const int x = columns_.CellOf(column), y = rows_.CellOf(row);
    return x >= cells_.x.IndexOf(f.xLow) && x <= cells_.x.IndexOf(f.xHigh) && y >= cells_.y.IndexOf(f.yLow) &&
           y <= cells_.y.IndexOf(f.yHigh);
  }

  void Give(const Triangle& t, std::ptrdiff_t column, std::ptrdiff_t row) {
    const std::size_t index = SampleIndex(column, row);
    heights_[index] = static_cast<float>(PlaneHeightAt({columns_[column], rows_[row]}, t, degenerateArea_));
    done_[index] = 1;
    --missing_;
  }

  const CellGrid& cells_;
  const double xReach_, yReach_;  ///< three cells
  const double degenerateArea_;
  float* const heights_;
  GridAxis columns_, rows_;
  GrowingArray<std::uint8_t> done_;
  bool fullCells_[GridAxis::kMostCells][GridAxis::kMostCells] = {};
  std::ptrdiff_t missing_ = 0;
};

}  // namespace

std::ptrdiff_t SampleTriangles(const GrowingArray<Triangle>& triangles, const CellGrid& cells,
                               const SampleGrid& grid, double degenerateArea, float* heights) {
  Sampler sampler(cells, degenerateArea, heights);
  if (!sampler.Prepare(grid)) return -1;
  for (const Triangle& t : triangles) sampler.Draw(t);
  return sampler.missing();
}

}  // namespace qv::mesh
