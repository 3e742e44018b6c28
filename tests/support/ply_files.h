// The bytes of PLY files.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "mesh/ply/header.h"
#include "mesh/triangle_geometry.h"

namespace qv::test {

inline constexpr ply::FileKind kPlyKinds[] = {ply::FileKind::kAscii, ply::FileKind::kBinaryBigEndian,
                                              ply::FileKind::kBinaryLittleEndian};

inline const char* PlyKindName(ply::FileKind kind) {
  switch (kind) {
    case ply::FileKind::kAscii:
      return "ascii";
    case ply::FileKind::kBinaryBigEndian:
      return "binary_big_endian";
    default:
      return "binary_little_endian";
  }
}

/// Writes a file value by value, in any encoding.
class PlyWriter {
 public:
  explicit PlyWriter(ply::FileKind kind) : kind_(kind) {
    Line("ply");
    Line(std::string("format ") + PlyKindName(kind) + " 1.0");
  }

  PlyWriter& Line(const std::string& text) {
    bytes_ += text + "\n";
    return *this;
  }

  PlyWriter& Value(ply::Type type, double value) {
    if (kind_ == ply::FileKind::kAscii) {
      char text[64];
      std::snprintf(text, sizeof text, type == ply::Type::kFloat32 ? "%.9g" : "%.17g", value);
      return Word(text);
    }
    char raw[8];
    ply::StoreValue(value, type, raw);
    if (kind_ == ply::FileKind::kBinaryBigEndian) std::reverse(raw, raw + ply::BytesOf(type));
    bytes_.append(raw, ply::BytesOf(type));
    return *this;
  }

  /// A string property; in binary files its length is one byte.
  PlyWriter& String(const std::string& text) {
    if (kind_ == ply::FileKind::kAscii) return Word('"' + text + '"');
    bytes_ += static_cast<char>(text.size());
    bytes_ += text;
    return *this;
  }

  PlyWriter& EndRecord() {
    if (kind_ == ply::FileKind::kAscii) bytes_ += '\n';
    isLineStart_ = true;
    return *this;
  }

  ply::FileKind kind() const { return kind_; }
  const std::string& bytes() const { return bytes_; }

 private:
  PlyWriter& Word(const std::string& word) {
    if (!isLineStart_) bytes_ += ' ';
    isLineStart_ = false;
    bytes_ += word;
    return *this;
  }

  ply::FileKind kind_;
  std::string bytes_;
  bool isLineStart_ = true;
};

using PlyFaces = std::vector<std::vector<int>>;

/// The usual file: float coordinates, uchar counts, int indices. The vertices stand in it as they are given.
inline std::string PlyMesh(ply::FileKind kind, const std::vector<mesh::Vertex>& vertices,
                           const PlyFaces& faces) {
  PlyWriter file(kind);
  file.Line("comment made for a test");
  file.Line("element vertex " + std::to_string(vertices.size()));
  file.Line("property float x").Line("property float y").Line("property float z");
  file.Line("element face " + std::to_string(faces.size()));
  file.Line("property list uchar int vertex_indices").Line("end_header");
  for (const mesh::Vertex& v : vertices) {
    for (const float coordinate : {v.x, v.y, v.z}) file.Value(ply::Type::kFloat32, coordinate);
    file.EndRecord();
  }
  for (const std::vector<int>& face : faces) {
    file.Value(ply::Type::kUint8, static_cast<double>(face.size()));
    for (const int corner : face) file.Value(ply::Type::kInt32, corner);
    file.EndRecord();
  }
  return file.bytes();
}

}  // namespace qv::test
