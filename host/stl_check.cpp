#include "stl_check.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

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

void Measure(const Triangle& t, StlCheck& check) {
  if (!std::all_of(t.begin(), t.end(), [](float v) { return std::isfinite(v); })) {
    ++check.nonFinite;
    return;
  }
  for (std::size_t i = 0; i < 9; ++i) {
    check.bounds.min[i % 3] = std::min(check.bounds.min[i % 3], double{t[i]});
    check.bounds.max[i % 3] = std::max(check.bounds.max[i % 3], double{t[i]});
  }
  const double area = std::abs(DoubledArea(t));
  check.projectedArea += area / 2;
  if (!(area > kUprightShare * LongestEdgeSquared(t))) {
    ++check.upright;
    return;
  }
  if (check.smallestDoubledArea == 0 || area < check.smallestDoubledArea) check.smallestDoubledArea = area;
  if (area <= kSmallestDoubledArea) ++check.tiny;
}

void Add(StlCheck& check, Severity severity, const char* id, std::string what, std::string advice,
         ExitCode code, bool repairable) {
  check.findings.push_back({severity, id, std::move(what), std::move(advice), code, repairable});
}

void JudgeBinary(StlCheck& check) {
  const StlScan& scan = check.scan;
  if (!scan.headerComplete) {
    Add(check, Severity::kError, scan.fileBytes == 0 ? "empty" : "truncated-header",
        scan.fileBytes == 0
            ? std::string("The file is empty.")
            : fmt::format("The file is {} bytes long; the header of a binary STL file alone takes 84.",
                          scan.fileBytes),
        "Export or copy it again.", ExitCode::kCorrupt, false);
    return;
  }
  if (scan.saysSolid) {
    Add(check, Severity::kError, "misleading-header",
        "The file is binary, but its header starts with \"solid\" and so it would be read as text.",
        "--repair reads a copy with a neutral header.", ExitCode::kCorrupt, true);
  }
  if (scan.announced > scan.recordsPresent) {
    Add(check, Severity::kError, "too-short",
        fmt::format("The header announces {} triangles, but the file ends after {}.", scan.announced,
                    scan.recordsPresent),
        scan.recordsPresent > 0 ? "Copy it again, or use --repair to go on with the triangles that are there."
                                : "Export or copy it again.",
        ExitCode::kCorrupt, scan.recordsPresent > 0);
  } else if (scan.announced == 0 && scan.recordsPresent > 0) {
    Add(check, Severity::kError, "zero-count",
        fmt::format("The header announces no triangles, but there is room for {} after it.",
                    scan.recordsPresent),
        "--repair takes all of them.", ExitCode::kCorrupt, true);
  } else if (const std::uint64_t used = 84 + 50 * std::uint64_t{scan.announced}; used < scan.fileBytes) {
    Add(check, Severity::kWarning, "trailing-bytes",
        fmt::format("{} bytes follow the {} announced triangles and are ignored.", scan.fileBytes - used,
                    scan.announced),
        "If parts of the mesh are missing, export it again.", ExitCode::kOk, false);
  }
}

void JudgeAscii(StlCheck& check) {
  const StlScan& scan = check.scan;
  if (scan.badVertices > 0) {
    Add(check, Severity::kError, "bad-vertex",
        fmt::format(
            "{} vertices are not followed by three numbers, the first on line {}; everything after it would "
            "be lost.",
            scan.badVertices, scan.firstBadVertexLine),
        "--repair leaves out the facets concerned and keeps the others.", ExitCode::kCorrupt, true);
  }
  if (scan.decimalCommas > 0) {
    Add(check, Severity::kError, "decimal-comma",
        fmt::format("{} vertices are written with a decimal comma; STL files use a point.",
                    scan.decimalCommas),
        "--repair reads the commas as points.", ExitCode::kCorrupt, true);
  }
  if (scan.unfinishedFacet) {
    Add(check, Severity::kError, "unfinished-facet", "The file ends inside a facet: it has been cut off.",
        "Copy it again, or use --repair to go on with the facets that are whole.", ExitCode::kCorrupt, true);
  }
  if (scan.oddFacets > 0) {
    Add(check, Severity::kWarning, "odd-facets",
        fmt::format("{} facets have not exactly three vertices and are left out.", scan.oddFacets),
        "Export the mesh as triangles.", ExitCode::kOk, false);
  }
}

void JudgeMesh(StlCheck& check) {
  const std::uint64_t usable = check.scan.triangles - check.nonFinite;
  if (check.scan.triangles == 0) {
    // Where the file's structure explains it, that has been said already.
    if (check.FirstError() == nullptr) {
      Add(check, Severity::kError, "no-triangles", "The file holds no triangles.", "Export it again.",
          ExitCode::kCorrupt, false);
    }
    return;
  }
  if (check.nonFinite > 0) {
    Add(check, Severity::kError, "non-finite",
        fmt::format("{} of {} triangles have a coordinate that is not a finite number.", check.nonFinite,
                    check.scan.triangles),
        usable > 0 ? "--repair leaves them out." : "Export the mesh again.", ExitCode::kCorrupt, usable > 0);
  }
  for (int axis = 0; axis < 2 && usable > 0; ++axis) {
    if (check.bounds.Extent(axis) > 0) continue;
    Add(check, Severity::kError, "no-extent",
        fmt::format("The mesh has no extent in {}: seen from above it covers no area.",
                    axis == 0 ? 'x' : 'y'),
        "Turn the part so that the surface to be measured faces +z.", ExitCode::kNotComputable, false);
  }
  if (usable > 0 && usable < kFewestTriangles) {
    Add(check, Severity::kError, "few-triangles",
        fmt::format("The mesh has {} triangles; the conversion to a height map needs at least {}.", usable,
                    kFewestTriangles),
        "--repair divides every triangle in four until there are enough; the shape stays the same.",
        ExitCode::kNotComputable, true);
  }
  if (check.tiny > 0) {
    Add(check, Severity::kWarning, "tiny-triangles",
        fmt::format("{} of {} triangles ({:.3g} %) are so small in x and y that their heights come out as 0.",
                    check.tiny, check.scan.triangles,
                    100.0 * static_cast<double>(check.tiny) / static_cast<double>(check.scan.triangles)),
        "--repair scales the mesh up for the import and the results back down; or export it in a smaller "
        "unit.",
        ExitCode::kOk, true);
  }
  const double box = check.bounds.Extent(0) * check.bounds.Extent(1);
  if (box > 0 && check.projectedArea > kOverlap * box) {
    Add(check, Severity::kNote, "overlap",
        fmt::format(
            "The mesh covers its area {:.2g} times seen from above (a closed part, for instance); where "
            "triangles lie above each other, the first in the file gives the height.",
            check.projectedArea / box),
        "Cut the surface of interest out of the part before exporting it.", ExitCode::kOk, false);
  }
}

std::string_view NameOfOtherFormat(std::string_view bytes) {
  const auto starts = [bytes](std::string_view magic) { return bytes.substr(0, magic.size()) == magic; };
  if (starts("ply\n") || starts("ply\r")) return "a PLY file";
  if (starts("PK\x03\x04")) return "a ZIP archive (X3P and 3MF files are such)";
  if (starts("glTF")) return "a glTF file";
  if (starts("\x89PNG")) return "a PNG picture";
  if (starts("ISO-10303-21")) return "a STEP file";
  return {};
}

}  // namespace

const Finding* StlCheck::FirstError() const {
  const auto found = std::find_if(findings.begin(), findings.end(),
                                  [](const Finding& f) { return f.severity == Severity::kError; });
  return found == findings.end() ? nullptr : &*found;
}

StlCheck CheckStl(std::string_view bytes) {
  StlCheck check;
  check.scan = ScanStl(bytes, [&check](const Triangle& t) { Measure(t, check); });
  if (check.scan.format == StlFormat::kBinary) {
    JudgeBinary(check);
  } else {
    JudgeAscii(check);
  }
  JudgeMesh(check);
  return check;
}

void RequireStl(const std::filesystem::path& path, std::string_view bytes) {
  const std::string_view other = NameOfOtherFormat(bytes);
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const bool namedStl = extension == ".stl" || extension == ".stla" || extension == ".stlb";
  if (other.empty() && (namedStl || LooksLikeStl(bytes))) return;
  const std::string what = other.empty() ? "the format of this file is not supported yet"
                                         : fmt::format("this is {}, which is not supported yet", other);
  throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", path.string(), what),
                "Export the mesh as STL (binary or ASCII).");
}

}  // namespace qv3d
