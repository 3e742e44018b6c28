#pragma once

#include <cstddef>

#include "mesh/triangle_geometry.h"

namespace qv::mesh {

/// The bounding box of a mesh. It starts inside out, at fixed values, and only strictly smaller or larger
/// coordinates move a side: of equal ones (-0 and 0) the first stays, NaNs are passed over, and a mesh wholly
/// beyond a start value keeps it as a side. Callers rely on the start values.
struct MeshBounds {
  float minimum[3] = {1e10F, 1e10F, 1e10F};
  float maximum[3] = {-1e10F, -1e10F, -1e10F};

  void Widen(const Vertex* vertices, std::size_t count);
  void Widen(const Triangle* triangles, std::size_t count) {
    Widen(reinterpret_cast<const Vertex*>(triangles), 3 * count);
  }

  /// Copies triangles that begin every `pitch` bytes, and widens by them on the way. Four bytes behind the
  /// last one are read too.
  void WidenCopying(const char* from, std::size_t pitch, Triangle* to, std::size_t count);
};

}  // namespace qv::mesh
