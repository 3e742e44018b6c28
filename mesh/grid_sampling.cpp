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
// (|D| + 3 E) / w of the edge of width w, measured in y. To E comes what products of doubles lose that are
// too small for all their digits, and where the cells are so small or large that more could be lost, no
// candidate is left out.
#include "mesh/grid_sampling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/samples.h"
#include "mesh/grid_axis.h"

namespace qv::mesh {
namespace {

/// What is known of a triangle before samples are looked at.
template <class Real>
struct Footprint {
  Real xLow, xHigh, yLow, yHigh;
  double width, height;  ///< of the bounding box
  double area;           ///< magnitude of the doubled area
  double error;          ///< bound of the error of a side test
};

template <class Real>
class Sampler {
 public:
  using Triangle = TriangleOf<Real>;
  using Vertex = VertexOf<Real>;

  Sampler(const CellGrid& cells, const SampleGrid& grid, double degenerateArea)
      : cells_(cells),
        grid_(grid),
        xReach_(3 * cells.x.CellSize()),
        yReach_(3 * cells.y.CellSize()),
        degenerateArea_(degenerateArea),
        isBounded_(IsBounded(cells.x) && IsBounded(cells.y)) {}

  bool Prepare() {
    if (!columns_.Place(grid_.x0, grid_.xLength, grid_.nx, cells_.x)) return false;
    if (!rows_.Place(grid_.y0, grid_.yLength, grid_.ny, cells_.y)) return false;
    const std::size_t count = columns_.size() * rows_.size();
    if (count / columns_.size() != rows_.size()) return false;
    if (done_.Extend(count) == nullptr) return false;
    std::fill(done_.begin(), done_.end(), State::kMissing);
    for (std::ptrdiff_t row = 0; row <= grid_.ny; ++row) {
      std::fill_n(grid_.heights + row * grid_.pitch, columns_.size(), kBadSampleFloat);
    }
    missing_ = static_cast<std::ptrdiff_t>(count);
    return true;
  }

  void Draw(const Triangle& t) {
    const Footprint<Real> f = FootprintOf(t);
    if (!isBounded_) {
      DrawCells(t, f);
    } else if (f.area >= 0x1p20 * f.error && f.area > 0) {
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
  enum class State : std::uint8_t {
    kMissing,
    kDone,
    kCellDone,  ///< at the first sample of a cell: so are all others of the cell
  };

  /// Whether the products of lengths that occur neither overflow nor lose all digits.
  static bool IsBounded(const CellAxis& cells) { return cells.extent > 0x1p-300 && cells.extent < 0x1p300; }

  Footprint<Real> FootprintOf(const Triangle& t) const {
    Footprint<Real> f;
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
    // Products of floats are exact.
    if (sizeof(Real) == sizeof(double)) f.error += 0x1p-1070;
    return f;
  }

  /// An ordinary triangle: the samples of its bounding box.
  void DrawBox(const Triangle& t, const Footprint<Real>& f) {
    constexpr double kMargin = 0x1p-17;
    const double xMargin = kMargin * f.width, yMargin = kMargin * f.height;
    const auto columns = columns_.Between(f.xLow - xMargin, f.xHigh + xMargin);
    const auto rows = rows_.Between(f.yLow - yMargin, f.yHigh + yMargin);
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
  void DrawLine(const Triangle& t, const Footprint<Real>& f) {
    const auto along = [](const Vertex& v) { return kExchanged ? v.y : v.x; };
    const auto across = [](const Vertex& v) { return kExchanged ? v.x : v.y; };
    const GridAxisOf<Real>& alongAxis = kExchanged ? rows_ : columns_;
    const GridAxisOf<Real>& acrossAxis = kExchanged ? columns_ : rows_;
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
    const CellSamples samples = SamplesOf(t.a.x, t.a.x, t.a.y, t.a.y);
    if (samples.xBegin == samples.xEnd || samples.yBegin == samples.yEnd) return;
    State& first = done_[SampleIndex(samples.xBegin, samples.yBegin)];
    if (first == State::kCellDone) return;
    GiveWhereContained(t, samples);
    first = State::kCellDone;
  }

  /// Any triangle, without leaving anything out.
  void DrawCells(const Triangle& t, const Footprint<Real>& f) {
    GiveWhereContained(t, SamplesOf(f.xLow, f.xHigh, f.yLow, f.yHigh));
  }

  struct CellSamples {
    std::ptrdiff_t xBegin, xEnd, yBegin, yEnd;
  };

  /// Those in the cells between these positions, which lie in cells.
  CellSamples SamplesOf(Real xLow, Real xHigh, Real yLow, Real yHigh) const {
    return {columns_.CellBegin(cells_.x.IndexOf(xLow)), columns_.CellBegin(cells_.x.IndexOf(xHigh) + 1),
            rows_.CellBegin(cells_.y.IndexOf(yLow)), rows_.CellBegin(cells_.y.IndexOf(yHigh) + 1)};
  }

  void GiveWhereContained(const Triangle& t, const CellSamples& samples) {
    for (std::ptrdiff_t row = samples.yBegin; row < samples.yEnd; ++row) {
      for (std::ptrdiff_t column = samples.xBegin; column < samples.xEnd; ++column) {
        if (!IsDone(column, row) && Contains(t, column, row)) Give(t, column, row);
      }
    }
  }

  std::size_t SampleIndex(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return static_cast<std::size_t>(rows_.GridIndex(row)) * columns_.size() +
           static_cast<std::size_t>(columns_.GridIndex(column));
  }
  bool IsDone(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return done_[SampleIndex(column, row)] != State::kMissing;
  }

  bool Contains(const Triangle& t, std::ptrdiff_t column, std::ptrdiff_t row) const {
    return PointInTriangle({columns_[column], rows_[row]}, t);
  }
  bool IsInBox(const Footprint<Real>& f, std::ptrdiff_t column, std::ptrdiff_t row) const {
    return columns_[column] >= f.xLow && columns_[column] <= f.xHigh && rows_[row] >= f.yLow &&
           rows_[row] <= f.yHigh;
  }
  bool IsInCells(const Footprint<Real>& f, std::ptrdiff_t column, std::ptrdiff_t row) const {
    const int x = columns_.CellOf(column), y = rows_.CellOf(row);
    return x >= cells_.x.IndexOf(f.xLow) && x <= cells_.x.IndexOf(f.xHigh) && y >= cells_.y.IndexOf(f.yLow) &&
           y <= cells_.y.IndexOf(f.yHigh);
  }

  void Give(const Triangle& t, std::ptrdiff_t column, std::ptrdiff_t row) {
    grid_.heights[rows_.GridIndex(row) * grid_.pitch + columns_.GridIndex(column)] =
        static_cast<float>(PlaneHeightAt({columns_[column], rows_[row]}, t, degenerateArea_));
    done_[SampleIndex(column, row)] = State::kDone;
    --missing_;
  }

  const CellGrid& cells_;
  const SampleGrid& grid_;
  const double xReach_, yReach_;  ///< three cells
  const double degenerateArea_;
  const bool isBounded_;
  GridAxisOf<Real> columns_, rows_;
  GrowingArray<State> done_;
  std::ptrdiff_t missing_ = 0;
};

}  // namespace

template <class Real>
std::ptrdiff_t SampleTriangles(const TriangleOf<Real>* triangles, std::size_t count, const CellGrid& cells,
                               const SampleGrid& grid, double degenerateArea) {
  Sampler<Real> sampler(cells, grid, degenerateArea);
  if (!sampler.Prepare()) return -1;
  for (std::size_t i = 0; i < count; ++i) sampler.Draw(triangles[i]);
  return sampler.missing();
}

template std::ptrdiff_t SampleTriangles(const TriangleOf<float>*, std::size_t, const CellGrid&,
                                        const SampleGrid&, double);
template std::ptrdiff_t SampleTriangles(const TriangleOf<double>*, std::size_t, const CellGrid&,
                                        const SampleGrid&, double);

}  // namespace qv::mesh
