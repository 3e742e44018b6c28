// Small STL files as bytes, for the tests of the host's checks.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "files/stl_file.h"

namespace qv3d {

/// A gently curved sheet of cells x cells squares, two triangles each, over [0, side] x [0, side].
inline std::vector<Triangle> Sheet(int cells, float side = 1) {
  std::vector<Triangle> mesh;
  const float d = side / static_cast<float>(cells);
  const auto z = [&](float x, float y) { return 0.1f * side * (x / side) * (y / side); };
  for (int j = 0; j < cells; ++j) {
    for (int i = 0; i < cells; ++i) {
      const float x = d * static_cast<float>(i), y = d * static_cast<float>(j);
      mesh.push_back({x, y, z(x, y), x + d, y, z(x + d, y), x, y + d, z(x, y + d)});
      mesh.push_back({x + d, y, z(x + d, y), x + d, y + d, z(x + d, y + d), x, y + d, z(x, y + d)});
    }
  }
  return mesh;
}

inline std::string BinaryStl(const std::vector<Triangle>& mesh, const std::string& header = "test",
                             std::int64_t announced = -1) {
  std::string bytes = header;
  bytes.resize(80, '\0');
  const auto count =
      static_cast<std::uint32_t>(announced < 0 ? static_cast<std::int64_t>(mesh.size()) : announced);
  bytes.append(reinterpret_cast<const char*>(&count), 4);
  for (const Triangle& t : mesh) {
    bytes.append(12, '\0');
    bytes.append(reinterpret_cast<const char*>(t.data()), sizeof t);
    bytes.append(2, '\0');
  }
  return bytes;
}

inline std::string AsciiStl(const std::vector<Triangle>& mesh) {
  std::string text = "solid test\n";
  for (const Triangle& t : mesh) {
    text += "facet normal 0 0 1\n outer loop\n";
    for (std::size_t v = 0; v < 3; ++v) {
      text += "  vertex " + std::to_string(t[3 * v]) + " " + std::to_string(t[3 * v + 1]) + " " +
              std::to_string(t[3 * v + 2]) + "\n";
    }
    text += " endloop\nendfacet\n";
  }
  return text + "endsolid test\n";
}

}  // namespace qv3d
