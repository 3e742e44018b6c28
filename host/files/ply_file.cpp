#include "files/ply_file.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fmt/format.h>

#include "files/ply_body.h"
#include "files/whole_file.h"

namespace qv3d {
namespace {

using Words = std::vector<std::string_view>;

Words SplitWords(std::string_view line) {
  Words words;
  for (std::size_t at = 0; (at = line.find_first_not_of(" \t", at)) < line.size();) {
    const std::size_t end = std::min(line.find_first_of(" \t", at), line.size());
    words.push_back(line.substr(at, end - at));
    at = end;
  }
  return words;
}

PlyType TypeOfName(std::string_view name) {
  constexpr std::string_view kNames[][2] = {{"int8", "char"},     {"int16", "short"},   {"int32", "int"},
                                            {"uint8", "uchar"},   {"uint16", "ushort"}, {"uint32", "uint"},
                                            {"float32", "float"}, {"float64", "double"}};
  for (int i = 0; i < 8; ++i) {
    if (name == kNames[i][0] || name == kNames[i][1]) return static_cast<PlyType>(i + 1);
  }
  return PlyType::kNone;
}

void TakeFormat(const Words& words, PlyFile& file) {
  constexpr std::string_view kNames[] = {"ascii", "binary_little_endian", "binary_big_endian"};
  file.format = words.size() > 1 ? words[1] : "";
  file.formatWhole = words.size() == 3;
  const auto* const found = std::find(std::begin(kNames), std::end(kNames), file.format);
  file.formatKnown = found != std::end(kNames);
  if (file.formatKnown) file.encoding = static_cast<PlyEncoding>(found - std::begin(kNames));
}

void TakeElement(const Words& words, PlyFile& file) {
  if (words.size() < 3) return;
  PlyElement& element = file.elements.emplace_back();
  element.name = words[1];
  double count = 0;
  bool hasComma = false;
  // No file has more records than a double can count.
  if (ParseForgivingly(words[2], count, hasComma) && count > 0)
    element.announced = static_cast<std::uint64_t>(std::min(count, 0x1p53));
}

void TakeProperty(const Words& words, PlyFile& file) {
  if (file.elements.empty() || words.size() < 3) return;
  PlyProperty property;
  if (words[1] == "list") {
    if (words.size() < 5) return;
    property = {std::string(words[4]), PlyKind::kList, TypeOfName(words[3]), TypeOfName(words[2])};
  } else if (words[1] == "string") {
    property = {std::string(words[2]), PlyKind::kString, PlyType::kInt8, PlyType::kInt8};
  } else {
    property = {std::string(words[2]), PlyKind::kScalar, TypeOfName(words[1]), PlyType::kNone};
  }
  file.elements.back().properties.push_back(std::move(property));
}

/// Lines end as the first one does.
char LineEnd(std::string_view bytes) {
  const std::size_t end = bytes.find_first_of("\r\n");
  if (end == std::string_view::npos) return '\n';
  const bool lone = bytes[end] == '\r' && (end + 1 == bytes.size() || bytes[end + 1] != '\n');
  return lone ? '\r' : '\n';
}

/// Returns where the body begins.
PlyBodyStart ReadHeader(std::string_view bytes, PlyFile& file) {
  PlyBodyStart body{0, 1, LineEnd(bytes)};
  while (body.at < bytes.size() && !file.headerComplete) {
    const std::size_t end = std::min(bytes.find(body.lineEnd, body.at), bytes.size());
    std::string_view line = bytes.substr(body.at, end - body.at);
    body.at = std::min(end + 1, bytes.size());
    ++body.line;
    const bool returns = (!line.empty() && line.back() == '\r') || body.lineEnd == '\r';
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const Words words = SplitWords(line);
    if (words.empty()) continue;
    if (words[0] != "comment" && words[0] != "obj_info") file.carriageReturns += returns;
    if (words[0] == "format") TakeFormat(words, file);
    if (words[0] == "element") TakeElement(words, file);
    if (words[0] == "property") TakeProperty(words, file);
    file.headerComplete = words[0] == "end_header";
  }
  return body;
}

/// In the axes of height maps.
void PutCorner(const std::array<double, 3>& vertex, float* corner) {
  corner[0] = static_cast<float>(vertex[1]);
  corner[1] = -static_cast<float>(vertex[2]);
  corner[2] = static_cast<float>(vertex[0]);
}

template <class T>
char* Put(T value, char* at) {
  static_assert(std::endian::native == std::endian::little);
  std::memcpy(at, &value, sizeof value);
  return at + sizeof value;
}

}  // namespace

const PlyProperty* PlyElement::Find(std::string_view property, PlyKind kind) const {
  const auto found = std::find_if(properties.begin(), properties.end(),
                                  [&](const PlyProperty& p) { return p.name == property && p.kind == kind; });
  return found == properties.end() ? nullptr : &*found;
}

const PlyElement* PlyFile::Element(std::string_view name) const {
  // Of several elements of a name the last one counts.
  const auto found = std::find_if(elements.rbegin(), elements.rend(),
                                  [name](const PlyElement& e) { return e.name == name; });
  return found == elements.rend() ? nullptr : &*found;
}

const PlyProperty* PlyFile::CornerList() const {
  const PlyElement* const face = Element("face");
  if (face == nullptr) return nullptr;
  const PlyProperty* const list = face->Find(kPlyCorners, PlyKind::kList);
  return list != nullptr ? list : face->Find(kPlyOtherCorners, PlyKind::kList);
}

bool LooksLikePly(std::string_view bytes) {
  if (bytes.substr(0, 3) != "ply") return false;
  const std::size_t next = bytes.find_first_not_of(" \t", 3);
  return next == std::string_view::npos || bytes[next] == '\n' || bytes[next] == '\r';
}

PlyFile ReadPly(std::string_view bytes) {
  PlyFile file;
  file.fileBytes = bytes.size();
  const PlyBodyStart body = ReadHeader(bytes, file);
  if (!file.headerComplete || !file.formatKnown) return file;
  if (file.encoding == PlyEncoding::kAscii) {
    ReadPlyText(bytes, body, file);
  } else {
    ReadPlyBinary(bytes, body, file);
  }
  return file;
}

PlyFaces ForEachTriangle(const PlyFile& file, const std::function<void(const Triangle&)>& visit) {
  PlyFaces faces;
  std::size_t begin = 0;
  for (const std::size_t end : file.faceEnds) {
    const std::uint32_t* const corner = file.corners.data() + begin;
    const std::size_t count = end - begin;
    begin = end;
    if (!std::all_of(corner, corner + count, [&](std::uint32_t c) { return c < file.vertices.size(); })) {
      ++faces.badIndex;
      continue;
    }
    faces.polygons += count > 3;
    faces.incomplete += count < 3;
    for (std::size_t k = 2; k < count; ++k) {
      Triangle t;
      // Wound the other way round, as the library does it.
      PutCorner(file.vertices[corner[0]], t.data());
      PutCorner(file.vertices[corner[k]], t.data() + 3);
      PutCorner(file.vertices[corner[k - 1]], t.data() + 6);
      visit(t);
    }
  }
  return faces;
}

void WriteBinaryPly(const std::filesystem::path& path, const std::vector<Triangle>& triangles) {
  const std::size_t count = triangles.size();
  std::string bytes = fmt::format(
      "ply\nformat binary_little_endian 1.0\ncomment mended copy\nelement vertex {}\nproperty float x\n"
      "property float y\nproperty float z\nelement face {}\nproperty list uchar int {}\nend_header\n",
      3 * count, count, kPlyCorners);
  const std::size_t header = bytes.size();
  bytes.resize(header + count * (9 * sizeof(float) + 1 + 3 * sizeof(std::int32_t)));
  char* at = bytes.data() + header;
  for (const Triangle& t : triangles) {
    for (const std::size_t c : {0U, 6U, 3U}) {
      for (const float coordinate : {t[c + 2], t[c], -t[c + 1]}) at = Put(coordinate, at);
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    at = Put(std::uint8_t{3}, at);
    for (std::size_t k = 0; k < 3; ++k) at = Put(static_cast<std::int32_t>(3 * i + k), at);
  }
  WriteWholeFile(path, bytes);
}

}  // namespace qv3d
