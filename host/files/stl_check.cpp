#include "files/stl_check.h"

#include <fmt/format.h>

namespace qv3d {
namespace {

void JudgeBinary(StlCheck& check) {
  const StlScan& scan = check.scan;
  if (!scan.headerComplete) {
    check.Add(Severity::kError, scan.fileBytes == 0 ? "empty" : "truncated-header",
              scan.fileBytes == 0
                  ? std::string("The file is empty.")
                  : fmt::format("The file is {} bytes long; the header of a binary STL file alone takes 84.",
                                scan.fileBytes),
              "Export or copy it again.", ExitCode::kCorrupt, false);
    return;
  }
  if (scan.saysSolid) {
    check.Add(Severity::kError, "misleading-header",
              "The file is binary, but its header starts with \"solid\" and so it would be read as text.",
              "--repair reads a copy with a neutral header.", ExitCode::kCorrupt, true);
  }
  if (scan.announced > scan.recordsPresent) {
    check.Add(Severity::kError, "too-short",
              fmt::format("The header announces {} triangles, but the file ends after {}.", scan.announced,
                          scan.recordsPresent),
              scan.recordsPresent > 0
                  ? "Copy it again, or use --repair to go on with the triangles that are there."
                  : "Export or copy it again.",
              ExitCode::kCorrupt, scan.recordsPresent > 0);
  } else if (scan.announced == 0 && scan.recordsPresent > 0) {
    check.Add(Severity::kError, "zero-count",
              fmt::format("The header announces no triangles, but there is room for {} after it.",
                          scan.recordsPresent),
              "--repair takes all of them.", ExitCode::kCorrupt, true);
  } else if (const std::uint64_t used = 84 + 50 * std::uint64_t{scan.announced}; used < scan.fileBytes) {
    check.Add(Severity::kWarning, "trailing-bytes",
              fmt::format("{} bytes follow the {} announced triangles and are ignored.",
                          scan.fileBytes - used, scan.announced),
              "If parts of the mesh are missing, export it again.", ExitCode::kOk, false);
  }
}

void JudgeAscii(StlCheck& check) {
  const StlScan& scan = check.scan;
  if (scan.badVertices > 0) {
    check.Add(
        Severity::kError, "bad-vertex",
        fmt::format(
            "{} vertices are not followed by three numbers, the first on line {}; everything after it would "
            "be lost.",
            scan.badVertices, scan.firstBadVertexLine),
        "--repair leaves out the facets concerned and keeps the others.", ExitCode::kCorrupt, true);
  }
  if (scan.decimalCommas > 0) {
    check.Add(Severity::kError, "decimal-comma",
              fmt::format("{} vertices are written with a decimal comma; STL files use a point.",
                          scan.decimalCommas),
              "--repair reads the commas as points.", ExitCode::kCorrupt, true);
  }
  if (scan.unfinishedFacet) {
    check.Add(Severity::kError, "unfinished-facet", "The file ends inside a facet: it has been cut off.",
              "Copy it again, or use --repair to go on with the facets that are whole.", ExitCode::kCorrupt,
              true);
  }
  if (scan.oddFacets > 0) {
    check.Add(Severity::kWarning, "odd-facets",
              fmt::format("{} facets have not exactly three vertices and are left out.", scan.oddFacets),
              "Export the mesh as triangles.", ExitCode::kOk, false);
  }
}

}  // namespace

StlCheck CheckStl(std::string_view bytes) {
  StlCheck check;
  check.heightlessArea = kSmallestDoubledArea;
  check.scan = ScanStl(bytes, [&check](const Triangle& t) { check.Measure(t); });
  const bool isBinary = check.scan.format == StlFormat::kBinary;
  check.format = isBinary ? "binary STL" : "ASCII STL";
  check.fileBytes = bytes.size();
  if (isBinary) check.announcedTriangles = check.scan.announced;
  if (isBinary) {
    JudgeBinary(check);
  } else {
    JudgeAscii(check);
  }
  JudgeTriangles(check, check.Usable(), "triangles");
  return check;
}

}  // namespace qv3d
