// Scattered points, and how they become a height map.
#pragma once

#include <array>
#include <filesystem>
#include <vector>

#include "analysis/height_map.h"
#include "files/mesh_check.h"
#include "progress.h"

namespace qv3d {

using MeasuredPoint = std::array<double, 3>;  ///< x, y, z

struct PointCloud {
  std::vector<MeasuredPoint> points;
  Bounds bounds;
  std::size_t notFinite = 0;  ///< left out
};

/// Reads lines of x, y and z; further numbers of a line are passed over. Of a PLY file, the vertices in its
/// own axes. Throws Failure (unreadable, corrupt).
PointCloud ReadPoints(const std::filesystem::path& path);

/// The grid of a cloud.
struct NodeGrid {
  int nx = 0, ny = 0;  ///< nodes; the outer ones lie on the rim of the points' extent
};

/// Throws Failure (usage) where the points have no extent or the grid would be too large. With `spacing`
/// nodes are about so far apart; with nothing at all the longer side gets as many nodes as there are points
/// along it.
NodeGrid PlanNodes(const PointCloud& cloud, int nx, int ny, double spacing);

/// The mean of all points, weighted by 1 / sqrt(distance² + smoothing²) ^ power. Every node gets a height.
HeightMap GridByDistance(const PointCloud& cloud, const NodeGrid& grid, double power, double smoothing,
                         Progress& progress);

/// The numbers of a triangle's corners.
using PointTriangle = std::array<int, 3>;

/// Linear between the corners of triangles; missing outside. Those with a side longer than `longestSide` in
/// x-y are holes (0: none is). Throws Failure (not computable) where no triangle covers a part of the grid.
HeightMap GridByTriangles(const PointCloud& cloud, const std::vector<PointTriangle>& triangles,
                          const NodeGrid& grid, double longestSide, Progress& progress);

/// The Delaunay triangles of the points' x and y, which cover their convex hull. Throws Failure (not
/// computable) where there are none.
std::vector<PointTriangle> DelaunayTriangles(const std::vector<MeasuredPoint>& points);

}  // namespace qv3d
