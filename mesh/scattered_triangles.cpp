// Heights of scattered triangles on a grid. Triangles are filed under all cells that their bounding boxes
// touch, so the cells decide about faults and about triangles without area, and nothing else.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "core/diagnostics.h"
#include "core/samples.h"
#include "exports/QV_3D.h"
#include "mesh/cell_grid.h"
#include "mesh/grid_sampling.h"
#include "mesh/growing_array.h"
#include "mesh/triangle_geometry.h"

namespace qv::mesh {
namespace {

using WideTriangle = TriangleOf<double>;

/// One direction of the nodes and of the cells over them. A grid that runs towards smaller positions is
/// mirrored, nodes, cells and triangles: changes of sign are exact, so nothing else comes out differently.
class NodeAxis {
 public:
  NodeAxis(double first, double spacing, int nodes, int cells) {
    const double extent = (static_cast<double>(nodes) - 1) * spacing;
    isMirrored_ = extent < 0;
    cells_ = {Mirrored(first), std::abs(extent), cells};
    const double last = cells_.minimum + cells_.extent;
    if (!HasCellOf(Mirrored(last)) || !HasCellOf(first)) return;
    low_ = std::min(first, Mirrored(last));
    high_ = std::max(first, Mirrored(last));
  }

  const CellAxis& cells() const { return cells_; }
  bool isMirrored() const { return isMirrored_; }
  double Mirrored(double position) const { return isMirrored_ ? -position : position; }

  bool HasCellOf(double position) const { return cells_.Has(cells_.IndexOf(Mirrored(position))); }
  /// True only where there is a cell: cells never decrease between two positions that have one.
  bool IsBetweenEnds(double position) const { return position >= low_ && position <= high_; }

 private:
  CellAxis cells_{};
  bool isMirrored_ = false;
  double low_ = std::numeric_limits<double>::infinity();
  double high_ = -std::numeric_limits<double>::infinity();
};

struct NodeGrid {
  NodeAxis x, y;

  bool HasCellOf(const VertexOf<double>& v) const { return x.HasCellOf(v.x) && y.HasCellOf(v.y); }
  int IsBetweenEnds(const VertexOf<double>& v) const {
    return static_cast<int>(x.IsBetweenEnds(v.x)) & static_cast<int>(y.IsBetweenEnds(v.y));
  }
  bool HasCellsOf(const WideTriangle& t) const {
    if ((IsBetweenEnds(t.a) & IsBetweenEnds(t.b) & IsBetweenEnds(t.c)) != 0) return true;
    return HasCellOf(t.a) && HasCellOf(t.b) && HasCellOf(t.c);
  }
  bool isMirrored() const { return x.isMirrored() || y.isMirrored(); }
};

bool HaveCells(const NodeGrid& nodes, const WideTriangle* triangles, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (!nodes.HasCellsOf(triangles[i])) return false;
  }
  return true;
}

bool Mirror(const NodeGrid& nodes, const WideTriangle* triangles, std::size_t count,
            GrowingArray<WideTriangle>* mirrored) {
  WideTriangle* copy = mirrored->Extend(count);
  if (copy == nullptr) return false;
  std::copy_n(triangles, count, copy);
  for (WideTriangle& t : *mirrored) {
    for (VertexOf<double>* v : {&t.a, &t.b, &t.c}) {
      v->x = nodes.x.Mirrored(v->x);
      v->y = nodes.y.Mirrored(v->y);
    }
  }
  return true;
}

void FillWithMissing(float* out, int nx, int ny) {
  if (nx < 1 || ny < 1) return;
  std::fill_n(out, static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny), kBadSampleFloat);
}

/// Of triangles that have cells. 1 when memory runs out.
int SampleNodes(const NodeGrid& nodes, const WideTriangle* triangles, std::size_t count, float* out, int nx,
                int ny) {
  constexpr double kDegenerateArea = 1e-9;
  GrowingArray<WideTriangle> mirrored;
  if (nodes.isMirrored()) {
    if (!Mirror(nodes, triangles, count, &mirrored)) return 1;
    triangles = mirrored.data();
  }
  const CellGrid cells(nodes.x.cells(), nodes.y.cells());
  // The row of the first nodes comes last.
  const std::ptrdiff_t pitch = nx;
  const SampleGrid grid = {nx - 1,
                           ny - 1,
                           cells.x.minimum,
                           cells.y.minimum,
                           cells.x.extent,
                           cells.y.extent,
                           out + (static_cast<std::ptrdiff_t>(ny) - 1) * pitch,
                           -pitch};
  return SampleTriangles(triangles, count, cells, grid, kDegenerateArea) < 0 ? 1 : 0;
}

}  // namespace
}  // namespace qv::mesh

int QV_CALL LinearInterpolationOfTriangles(const double* triangles, int count, float* out, int nx, int ny,
                                           double dx, double dy, double x0, double y0, int cells) {
  using namespace qv::mesh;
  if (count < 1) {
    FillWithMissing(out, nx, ny);
    return 0;
  }
  const auto* first = reinterpret_cast<const WideTriangle*>(triangles);
  const NodeGrid nodes = {NodeAxis(x0, dx, nx, std::max(cells, 0)), NodeAxis(y0, dy, ny, std::max(cells, 0))};
  if (!HaveCells(nodes, first, static_cast<std::size_t>(count))) {
    qv::diagnostics::Print("Bad cell index - shouldn't happen\n");
    return -1;
  }
  if (nx < 1 || ny < 1) return 0;
  return SampleNodes(nodes, first, static_cast<std::size_t>(count), out, nx, ny);
}
