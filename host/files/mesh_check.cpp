#include "files/mesh_check.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "files/ply_file.h"
#include "files/stl_file.h"

namespace qv3d {
namespace {

/// A triangle whose area is this small a part of its longest edge squared stands upright: scaling would not
/// help.
constexpr double kUprightShare = 1e-6;
/// A mesh that covers its own x-y box more often than this folds over itself.
constexpr double kOverlap = 1.25;

double LongestEdgeSquared(const Triangle& t) {
  double longest = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t a = 3 * i, b = 3 * ((i + 1) % 3);
    longest = std::max(longest, std::pow(double{t[a]} - t[b], 2) + std::pow(double{t[a + 1]} - t[b + 1], 2));
  }
  return longest;
}

std::string_view NameOfOtherFormat(std::string_view bytes) {
  const auto starts = [bytes](std::string_view magic) { return bytes.substr(0, magic.size()) == magic; };
  if (starts("PK\x03\x04")) return "a ZIP archive (X3P and 3MF files are such)";
  if (starts("glTF")) return "a glTF file";
  if (starts("\x89PNG")) return "a PNG picture";
  if (starts("ISO-10303-21")) return "a STEP file";
  return {};
}

std::string LowerExtension(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return extension;
}

}  // namespace

const Finding* MeshCheck::FirstError() const {
  const auto found = std::find_if(findings.begin(), findings.end(),
                                  [](const Finding& f) { return f.severity == Severity::kError; });
  return found == findings.end() ? nullptr : &*found;
}

void MeshCheck::Add(Severity severity, const char* id, std::string what, std::string advice, ExitCode code,
                    bool repairable) {
  findings.push_back({severity, id, std::move(what), std::move(advice), code, repairable});
}

void MeshCheck::Measure(const Triangle& t) {
  ++triangles;
  if (!std::all_of(t.begin(), t.end(), [](float v) { return std::isfinite(v); })) {
    ++nonFinite;
    return;
  }
  for (std::size_t i = 0; i < 9; ++i) {
    bounds.min[i % 3] = std::min(bounds.min[i % 3], double{t[i]});
    bounds.max[i % 3] = std::max(bounds.max[i % 3], double{t[i]});
  }
  const double area = std::abs(DoubledArea(t));
  projectedArea += area / 2;
  if (!(area > kUprightShare * LongestEdgeSquared(t))) {
    ++upright;
    return;
  }
  if (smallestDoubledArea == 0 || area < smallestDoubledArea) smallestDoubledArea = area;
  if (area <= heightlessArea) ++tiny;
}

void JudgeTriangles(MeshCheck& check, std::uint64_t counted, const char* noun) {
  const std::uint64_t usable = check.Usable();
  if (check.triangles == 0) {
    // Where the file's structure explains it, that has been said already.
    if (check.FirstError() == nullptr) {
      check.Add(Severity::kError, "no-triangles", "The file holds no triangles.", "Export it again.",
                ExitCode::kCorrupt, false);
    }
    return;
  }
  if (check.nonFinite > 0) {
    check.Add(Severity::kError, "non-finite",
              fmt::format("{} of {} triangles have a coordinate that is not a finite number.",
                          check.nonFinite, check.triangles),
              usable > 0 ? "--repair leaves them out." : "Export the mesh again.", ExitCode::kCorrupt,
              usable > 0);
  }
  for (int axis = 0; axis < 2 && usable > 0; ++axis) {
    if (check.bounds.Extent(axis) > 0) continue;
    check.Add(Severity::kError, "no-extent",
              fmt::format("The mesh has no extent in {}: seen from above it covers no area.",
                          axis == 0 ? 'x' : 'y'),
              "Turn the part so that the surface to be measured faces +z.", ExitCode::kNotComputable, false);
  }
  if (usable > 0 && counted < kFewestTriangles) {
    check.Add(Severity::kError, "few-triangles",
              fmt::format("The mesh has {} {}; the conversion to a height map needs at least {}.", counted,
                          noun, kFewestTriangles),
              "--repair divides every triangle in four until there are enough; the shape stays the same.",
              ExitCode::kNotComputable, true);
  }
  if (check.tiny > 0) {
    check.Add(
        Severity::kWarning, "tiny-triangles",
        fmt::format("{} of {} triangles ({:.3g} %) are so small in x and y that their heights come out as 0.",
                    check.tiny, check.triangles,
                    100.0 * static_cast<double>(check.tiny) / static_cast<double>(check.triangles)),
        "--repair scales the mesh up for the import and the results back down; or export it in a smaller "
        "unit.",
        ExitCode::kOk, true);
  }
  const double box = check.bounds.Extent(0) * check.bounds.Extent(1);
  if (box > 0 && check.projectedArea > kOverlap * box) {
    check.Add(
        Severity::kNote, "overlap",
        fmt::format(
            "The mesh covers its area {:.2g} times seen from above (a closed part, for instance); where "
            "triangles lie above each other, the first in the file gives the height.",
            check.projectedArea / box),
        "Cut the surface of interest out of the part before exporting it.", ExitCode::kOk, false);
  }
}

MeshFormat FormatByName(const std::filesystem::path& path) {
  return LowerExtension(path) == ".ply" ? MeshFormat::kPly : MeshFormat::kStl;
}

MeshFormat RequireMesh(const std::filesystem::path& path, std::string_view bytes) {
  if (LooksLikePly(bytes)) return MeshFormat::kPly;
  const std::string_view other = NameOfOtherFormat(bytes);
  const std::string extension = LowerExtension(path);
  const bool namedStl = extension == ".stl" || extension == ".stla" || extension == ".stlb";
  if (other.empty() && (namedStl || LooksLikeStl(bytes))) return MeshFormat::kStl;
  const std::string what = !other.empty() ? fmt::format("this is {}, which is not supported yet", other)
                           : extension == ".ply" ? "this is no PLY file: its first line is not \"ply\""
                                                 : "the format of this file is not supported yet";
  throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", path.string(), what),
                "Export the mesh as STL or PLY (binary or ASCII).");
}

}  // namespace qv3d
