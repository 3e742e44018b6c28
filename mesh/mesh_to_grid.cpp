#include "mesh/mesh_to_grid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/diagnostics.h"
#include "core/samples.h"
#include "mesh/cell_grid.h"
#include "mesh/grid_sampling.h"
#include "mesh/split_long_edges.h"

namespace qv::mesh {
namespace {

using diagnostics::Print;

/// About 200 triangles per cell, up to a limit.
int QuadtreeResolution(int triangleCount) {
  constexpr double kMostCells = 80;
  return TruncateToInt(std::min(std::sqrt(0.005 * triangleCount), kMostCells));
}

/// Edges that are shorter than a cell span two cells at most.
double MaximumEdgeLength(const CellGrid& cells) {
  return 0.95 * std::min(cells.x.CellSize(), cells.y.CellSize());
}

[[noreturn]] void EndForBadCell() {
  Print("Bad cell index - shouldn't happen\n");
  diagnostics::EndProcess();
}

double LargestCoordinate(const MeshBounds& bounds) {
  double largest = 0;
  for (int axis = 0; axis < 2; ++axis) {
    largest = std::max(largest, std::abs(static_cast<double>(bounds.minimum[axis])));
    largest = std::max(largest, std::abs(static_cast<double>(bounds.maximum[axis])));
  }
  return largest;
}

Refinement Refine(GrowingArray<Triangle>& triangles, const MeshBounds& bounds, const CellGrid& cells,
                  bool verbose) {
  // Without triangles there is one pass, which finds nothing, whatever the cells are.
  if (triangles.empty()) return SplitLongEdges(triangles, HUGE_VAL, 0, verbose);
  // Without cells every index is a bad one, and without an extent the refinement would not end.
  const auto isExtent = [](double extent) { return extent > 0 && std::isfinite(extent); };
  if (cells.x.resolution < 1 || !isExtent(cells.x.extent) || !isExtent(cells.y.extent))
    return Refinement::kNotFinite;
  return SplitLongEdges(triangles, MaximumEdgeLength(cells), LargestCoordinate(bounds), verbose);
}

/// The rectangle of samples. Its ends are floats, and so are the positions between them.
SampleGrid PlaceGrid(const GridRequest& request, const MeshBounds& bounds, double nudge) {
  const auto x0 = static_cast<float>((static_cast<double>(bounds.minimum[0]) + request.xOffset) + nudge);
  const auto y0 = static_cast<float>((static_cast<double>(bounds.minimum[1]) + request.yOffset) + nudge);
  const auto x1 = static_cast<float>((static_cast<double>(x0) + request.xSize) - 2 * nudge);
  const auto y1 = static_cast<float>((static_cast<double>(y0) + request.ySize) - 2 * nudge);
  SampleGrid grid{request.nx, request.ny, x0, y0, 0, 0, request.heights, 0};
  grid.xLength = static_cast<double>(x1) - x0;
  grid.yLength = static_cast<double>(y1) - y0;
  grid.pitch = static_cast<std::ptrdiff_t>(request.nx) + 1;
  return grid;
}

std::ptrdiff_t FillWithMissing(const GridRequest& request) {
  if (request.nx < 0 || request.ny < 0) return 0;
  const std::ptrdiff_t count =
      (static_cast<std::ptrdiff_t>(request.nx) + 1) * (static_cast<std::ptrdiff_t>(request.ny) + 1);
  std::fill_n(request.heights, count, kBadSampleFloat);
  return count;
}

}  // namespace

unsigned ConvertMeshToGrid(const MeshConversion& conversion, GrowingArray<Triangle>& triangles,
                           int sizingCount, const MeshBounds& bounds, const GridRequest& request,
                           bool verbose) {
  const int resolution = QuadtreeResolution(sizingCount);
  if (verbose) Print("Using a quadtree resolution of %d\n", resolution);
  const CellGrid cells(bounds, resolution);
  if (verbose) Print("Maximum edge length will be %g\n", MaximumEdgeLength(cells));

  switch (Refine(triangles, bounds, cells, verbose)) {
    case Refinement::kDone:
      break;
    case Refinement::kOutOfMemory:
      return 1;
    case Refinement::kNotFinite:
      EndForBadCell();
  }
  const bool reports = verbose && conversion.reportsCounts;
  if (reports) Print("Triangle splitting resulted in %d triangles\n", static_cast<int>(triangles.size()));

  // A position on an axis without intervals is not defined; neither is one among no cells.
  const bool canSample = request.nx > 0 && request.ny > 0 && !triangles.empty();
  const std::ptrdiff_t missing =
      canSample ? SampleTriangles(triangles.data(), triangles.size(), cells,
                                  PlaceGrid(request, bounds, conversion.nudge), conversion.degenerateArea)
                : FillWithMissing(request);
  if (missing < 0) return 1;
  if (reports) Print("There were %d missing mesh vertices\n", static_cast<int>(missing));
  return 0;
}

}  // namespace qv::mesh
