// The table of formats.
#include <algorithm>
#include <fmt/format.h>

#include "files/mesh_file.h"
#include "formats/readers.h"

namespace qv3d {
namespace {

constexpr Origin kTop = Origin::kTop, kBottom = Origin::kBottom;

std::string_view ExtensionOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || name.find('/', dot) != std::string_view::npos ? std::string_view()
                                                                                        : name.substr(dot);
}

bool HasExtension(const GridFormat& format, std::string_view name) {
  return std::any_of(format.extensions.begin(), format.extensions.end(), [name](std::string_view extension) {
    return EqualsIgnoringCase(ExtensionOf(name), extension);
  });
}

/// Meshes keep their names, whatever their first bytes look like.
bool IsNamedMesh(std::string_view name) {
  for (const std::string_view extension : {".stl", ".stla", ".stlb", ".ply"}) {
    if (EqualsIgnoringCase(ExtensionOf(name), extension)) return true;
  }
  return false;
}

template <class Wanted>
const GridFormat* Find(Wanted wanted) {
  const std::vector<GridFormat>& all = AllGridFormats();
  const auto found = std::find_if(all.begin(), all.end(), wanted);
  return found == all.end() ? nullptr : &*found;
}

}  // namespace

const std::vector<GridFormat>& AllGridFormats() {
  static const std::vector<GridFormat> kFormats{
      {"csv", "rows of numbers", {".csv", ".txt"}, nullptr, ReadTextMatrix, WriteTextMatrix, kBottom},
      {"xyz", "points on a grid", {".xyz"}, nullptr, ReadXyz, WriteXyz, kBottom, true},
      {"sdf", "SDF (ISO 25178-71), binary", {".sdf"}, IsSdf, ReadSdf, WriteSdf, kBottom},
      {"sdf-ascii", "SDF (ISO 25178-71), text", {".sdf"}, IsSdf, ReadSdf, WriteAsciiSdf, kBottom},
      {"x3p", "X3P (ISO 25178-72)", {".x3p"}, IsX3p, ReadX3p, WriteX3p, kBottom},
      {"gsf", "GSF, simple field", {".gsf"}, IsGsf, ReadGsf, WriteGsf, kTop},
      {"bcr", "BCR and BCRF", {".bcr", ".bcrf"}, IsBcr, ReadBcr, nullptr, kBottom},
      {"al3d", "AL3D", {".al3d"}, IsAl3d, ReadAl3d, nullptr, kTop},
      {"tiff", "TIFF, 32-bit floats", {".tif", ".tiff"}, IsTiff, ReadTiff, WriteFloatTiff, kTop},
      {"tiff16", "TIFF, 16-bit grey levels", {".tif", ".tiff"}, IsTiff, ReadTiff, WriteGreyTiff, kTop},
      {"png", "PNG, 16-bit grey levels", {".png"}, IsPng, ReadGreyPng, WriteGreyPng, kTop},
      {"stl", "STL, a closed body", {".stl"}, nullptr, nullptr, WriteSolidStl, kBottom, true},
      {"ply", "PLY, a closed body", {".ply"}, nullptr, nullptr, WriteSolidPly, kBottom, true},
      {"ply-turned",
       "PLY, a closed body whose height is x",
       {".ply"},
       nullptr,
       nullptr,
       WriteTurnedPly,
       kBottom,
       true},
  };
  return kFormats;
}

const GridFormat* FindReadable(std::string_view name, std::string_view firstBytes) {
  if (IsNamedMesh(name)) return nullptr;
  const GridFormat* const byContent = Find([firstBytes](const GridFormat& format) {
    return format.read != nullptr && format.isOne != nullptr && format.isOne(firstBytes);
  });
  if (byContent != nullptr) return byContent;
  return Find(
      [name](const GridFormat& format) { return format.read != nullptr && HasExtension(format, name); });
}

const GridFormat* FindWritable(std::string_view name) {
  return Find(
      [name](const GridFormat& format) { return format.write != nullptr && HasExtension(format, name); });
}

const GridFormat* FindById(std::string_view id) {
  return Find([id](const GridFormat& format) { return format.id == id; });
}

std::string ExtensionsOf(bool written) {
  std::vector<std::string_view> all;
  for (const GridFormat& format : AllGridFormats()) {
    if (written ? format.write == nullptr : format.read == nullptr) continue;
    for (const std::string_view extension : format.extensions) {
      if (std::find(all.begin(), all.end(), extension) == all.end()) all.push_back(extension);
    }
  }
  return fmt::format("{} or {}", fmt::join(all.begin(), all.end() - 1, ", "), all.back());
}

}  // namespace qv3d
