#pragma once

#include "core/samples.h"
#include "mesh/mesh_bounds.h"

namespace qv::mesh {

/// One direction of a square grid of cells, over a mesh's bounding box or a grid of samples. Triangles are
/// looked for only in the cells between those of their vertices, and the same index serves vertices and
/// samples.
struct CellAxis {
  double minimum;
  double extent;
  int resolution;

  /// The cell of a position; the far edge belongs to the last cell. Truncation puts up to one cell's width in
  /// front of the box into cell 0, and the division as much behind it into the last: both are kept. Anything
  /// else gives an index outside 0..resolution-1. Never decreases with x where the extent is positive.
  int IndexOf(double x) const {
    const int cell = TruncateToInt(Quotient(x));
    return cell == resolution ? resolution - 1 : cell;
  }
  /// The index before truncation.
  double Quotient(double x) const { return (x - minimum) * resolution / extent; }
  bool Has(int cell) const { return cell >= 0 && cell < resolution; }
  double CellSize() const { return extent / resolution; }
};

struct CellGrid {
  CellAxis x, y;

  CellGrid(const CellAxis& xAxis, const CellAxis& yAxis) : x(xAxis), y(yAxis) {}
  CellGrid(const MeshBounds& bounds, int resolution)
      : x(AxisOf(bounds, 0, resolution)), y(AxisOf(bounds, 1, resolution)) {}

 private:
  static CellAxis AxisOf(const MeshBounds& bounds, int axis, int resolution) {
    return {bounds.minimum[axis], static_cast<double>(bounds.maximum[axis]) - bounds.minimum[axis],
            resolution};
  }
};

}  // namespace qv::mesh
