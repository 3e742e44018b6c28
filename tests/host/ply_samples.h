// Small PLY files as bytes, for the tests of the host's checks.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace qv3d {

struct PlySample {
  std::string encoding = "ascii";
  std::string corners = "vertex_indices";
  std::string coordinate = "float";
  std::vector<std::array<float, 3>> vertices;
  std::vector<std::vector<std::int32_t>> faces;
};

/// A gently curved sheet of cells x cells squares over the file's y and z; x is the height. With `quads` a
/// face for each square, otherwise two.
inline PlySample PlySheet(int cells, float side = 1, bool quads = false) {
  PlySample sample;
  const auto count = static_cast<float>(cells);
  for (int j = 0; j <= cells; ++j) {
    for (int i = 0; i <= cells; ++i) {
      const float u = static_cast<float>(i) / count, v = static_cast<float>(j) / count;
      sample.vertices.push_back({0.1f * side * u * v, side * u, side * v});
    }
  }
  for (int j = 0; j < cells; ++j) {
    for (int i = 0; i < cells; ++i) {
      const std::int32_t a = j * (cells + 1) + i, b = a + 1, c = a + cells + 1, d = c + 1;
      if (quads) {
        sample.faces.push_back({a, b, d, c});
      } else {
        sample.faces.push_back({a, b, d});
        sample.faces.push_back({a, d, c});
      }
    }
  }
  return sample;
}

inline std::string PlyHeaderOf(const PlySample& s) {
  return "ply\nformat " + s.encoding + " 1.0\ncomment a test\nelement vertex " +
         std::to_string(s.vertices.size()) + "\nproperty " + s.coordinate + " x\nproperty " + s.coordinate +
         " y\nproperty " + s.coordinate + " z\nelement face " + std::to_string(s.faces.size()) +
         "\nproperty list uchar int " + s.corners + "\nend_header\n";
}

inline std::string TextPly(const PlySample& s) {
  std::string text = PlyHeaderOf(s);
  for (const auto& v : s.vertices) {
    text += std::to_string(v[0]) + " " + std::to_string(v[1]) + " " + std::to_string(v[2]) + "\n";
  }
  for (const auto& face : s.faces) {
    text += std::to_string(face.size());
    for (const std::int32_t corner : face) text.append(" ").append(std::to_string(corner));
    text += "\n";
  }
  return text;
}

/// Little-endian, or big-endian where `reversed`.
inline std::string BinaryPly(PlySample s, bool reversed = false) {
  s.encoding = reversed ? "binary_big_endian" : "binary_little_endian";
  std::string bytes = PlyHeaderOf(s);
  const auto put = [&](auto value) {
    std::string raw(sizeof value, '\0');
    std::memcpy(raw.data(), &value, sizeof value);
    if (reversed) std::reverse(raw.begin(), raw.end());
    bytes += raw;
  };
  for (const auto& v : s.vertices) {
    for (const float coordinate : v) put(coordinate);
  }
  for (const auto& face : s.faces) {
    put(static_cast<std::uint8_t>(face.size()));
    for (const std::int32_t corner : face) put(corner);
  }
  return bytes;
}

inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace qv3d
