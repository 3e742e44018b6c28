// The bytes of STL files.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "mesh/triangle_geometry.h"

namespace qv::test {

using Triangles = std::vector<mesh::Triangle>;

template <class T>
void AppendBytes(std::string* bytes, const T& value) {
  char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof raw);
  bytes->append(raw, sizeof raw);
}

/// A binary file that announces `announced` triangles.
inline std::string BinaryStl(const Triangles& triangles, std::int32_t announced,
                             std::string header = "made for a test") {
  header.resize(80);
  AppendBytes(&header, announced);
  for (const mesh::Triangle& t : triangles) {
    const float normal[3] = {0.25F, -0.5F, 0.75F};
    AppendBytes(&header, normal);
    AppendBytes(&header, t);
    header.append("\x55\xAA", 2);
  }
  return header;
}
inline std::string BinaryStl(const Triangles& triangles) {
  return BinaryStl(triangles, static_cast<std::int32_t>(triangles.size()));
}

inline std::string VertexLine(const mesh::Vertex& v) {
  char line[128];
  std::snprintf(line, sizeof line, "      vertex %.9g %.9g %.9g\n", static_cast<double>(v.x),
                static_cast<double>(v.y), static_cast<double>(v.z));
  return line;
}

inline std::string FacetText(const mesh::Triangle& t) {
  return "  facet normal 0 0 1\n    outer loop\n" + VertexLine(t.a) + VertexLine(t.b) + VertexLine(t.c) +
         "    endloop\n  endfacet\n";
}

inline std::string AsciiStl(const Triangles& triangles) {
  std::string text = "solid part\n";
  for (const mesh::Triangle& t : triangles) text += FacetText(t);
  return text + "endsolid part\n";
}

}  // namespace qv::test
