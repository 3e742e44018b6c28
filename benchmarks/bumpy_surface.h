// The mesh of the mesh benchmarks.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "exports/QV_3D.h"
#include "mesh/stl_reader.h"
#include "tests/support/random_grid.h"

namespace qv::benchmarks {

using Triangles = std::vector<mesh::Triangle>;

/// The vertices of a bumpy surface over the unit square, on an uneven lattice.
inline std::vector<mesh::Vertex> BumpyLattice(int columns, int rows) {
  test::Random random(7);
  std::vector<mesh::Vertex> lattice;
  for (int j = 0; j <= rows; ++j) {
    for (int i = 0; i <= columns; ++i) {
      const bool inside = i > 0 && i < columns && j > 0 && j < rows;
      const double x = (i + (inside ? random.Between(-0.3, 0.3) : 0)) / columns;
      const double y = (j + (inside ? random.Between(-0.3, 0.3) : 0)) / rows;
      const double z = 0.02 * std::sin(40 * x) * std::cos(25 * y) + 0.001 * random.Unit();
      lattice.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    }
  }
  return lattice;
}

/// The surface's 2 * columns * rows triangles.
inline Triangles BumpySurface(int columns, int rows) {
  const std::vector<mesh::Vertex> lattice = BumpyLattice(columns, rows);
  Triangles triangles;
  for (int j = 0; j < rows; ++j) {
    for (int i = 0; i < columns; ++i) {
      const mesh::Vertex* v = &lattice[static_cast<std::size_t>(j) * static_cast<std::size_t>(columns + 1) +
                                       static_cast<std::size_t>(i)];
      triangles.push_back({v[0], v[1], v[columns + 2]});
      triangles.push_back({v[0], v[columns + 2], v[columns + 1]});
    }
  }
  return triangles;
}

inline const Triangles& Million() {
  static const Triangles triangles = BumpySurface(1000, 500);
  return triangles;
}

/// What ParseSTLFile leaves behind.
inline void LoadMesh(const Triangles& triangles) {
  using mesh::stl;
  CleanUpSTL();
  mesh::Triangle* storage = stl.StlTriangles.Extend(triangles.size());
  if (storage == nullptr) std::abort();
  std::copy(triangles.begin(), triangles.end(), storage);
  stl.StlTriangleCount = static_cast<int>(triangles.size());
  stl.StlBounds = {};
  stl.StlBounds.Widen(storage, triangles.size());
}

}  // namespace qv::benchmarks
