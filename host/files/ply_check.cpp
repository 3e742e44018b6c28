#include "files/ply_check.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace qv3d {
namespace {

constexpr const char* kExportAgain = "Export or copy it again.";
constexpr const char* kUsePoints = "qv3d points2grid FILE makes a height map of the vertices alone.";

/// An error that --repair mends as long as any triangles are left. `advice` says so; `mended` is what it will
/// have done.
void AddMendable(PlyCheck& check, const char* id, std::string what, std::string advice, ExitCode code,
                 std::string mended) {
  const bool mendable = check.Usable() > 0;
  check.Add(Severity::kError, id, std::move(what), mendable ? std::move(advice) : kExportAgain, code,
            mendable);
  if (mendable) check.mended.push_back(std::move(mended));
}

void JudgeHeader(const PlyFile& file, PlyCheck& check) {
  if (file.carriageReturns > 0) {
    AddMendable(
        check, "carriage-returns",
        fmt::format("{} lines of the header end in a carriage return (as on Windows or old Macs), which "
                    "the format does not allow and the import does not take.",
                    file.carriageReturns),
        "--repair reads a copy with plain lines.", ExitCode::kCorrupt,
        "replaced the header, whose lines ended in carriage returns");
  }
  if (!file.formatWhole) {
    AddMendable(
        check, "odd-format", "The line \"format\" of the header has not exactly a format and a version.",
        "--repair reads a copy with a new header.", ExitCode::kCorrupt, "replaced the line \"format\"");
  }
}

std::string UnknownTypeOf(const PlyFile& file) {
  for (const PlyElement& element : file.elements) {
    for (const PlyProperty& p : element.properties) {
      const bool isKnown =
          p.type != PlyType::kNone && (p.kind == PlyKind::kScalar || p.countType != PlyType::kNone);
      if (!isKnown && element.announced > 0) {
        return fmt::format("The property \"{}\" of \"{}\" has a type that the format does not know.", p.name,
                           element.name);
      }
    }
  }
  return {};
}

void JudgeTypes(const PlyFile& file, PlyCheck& check) {
  std::string what = UnknownTypeOf(file);
  if (what.empty()) return;
  if (file.encoding == PlyEncoding::kAscii) {
    AddMendable(check, "unknown-type", std::move(what), "--repair reads the numbers as they are written.",
                ExitCode::kCorrupt, "read the numbers of a type that does not exist as they are written");
  } else {
    check.Add(Severity::kError, "unknown-type", std::move(what),
              "Its size is not known, so nothing behind it can be read: export the mesh again.",
              ExitCode::kCorrupt, false);
  }
}

/// The first element of which records are missing; those behind it are not there either.
void JudgeLength(const PlyFile& file, PlyCheck& check) {
  const auto cut = std::find_if(file.elements.begin(), file.elements.end(),
                                [](const PlyElement& e) { return e.present < e.announced; });
  if (cut == file.elements.end() || check.FirstError() != nullptr) return;
  AddMendable(check, "too-short",
              fmt::format("The header announces {} records of \"{}\", but the file ends after {}.",
                          cut->announced, cut->name, cut->present),
              "Copy it again, or use --repair to go on with the faces that are there.", ExitCode::kCorrupt,
              fmt::format("set the count of \"{}\" from {} to the {} that are there", cut->name,
                          cut->announced, cut->present));
}

void JudgeWords(const PlyFile& file, PlyCheck& check) {
  if (file.badWords > 0) {
    AddMendable(check, "bad-number",
                fmt::format("{} numbers of vertices and faces are missing or are none, the first on line {}.",
                            file.badWords, file.firstBadLine),
                "--repair leaves out the faces concerned and keeps the others.", ExitCode::kCorrupt,
                "left out the faces with numbers that are none");
  }
  if (file.decimalCommas > 0) {
    AddMendable(check, "decimal-comma",
                fmt::format("{} numbers are written with a decimal comma; PLY files use a point.",
                            file.decimalCommas),
                "--repair reads the commas as points.", ExitCode::kCorrupt, "read decimal commas as points");
  }
  if (file.notWhole > 0) {
    AddMendable(
        check, "not-whole",
        fmt::format("{} numbers have decimals or an exponent though the header declares a type of whole "
                    "numbers, by which they would be cut.",
                    file.notWhole),
        "--repair reads the numbers as they are written.", ExitCode::kCorrupt,
        "read the numbers as they are written, not by their declared type");
  }
  if (file.blankLines > 0) {
    AddMendable(check, "blank-lines",
                fmt::format("{} blank lines stand among the vertices and faces; each would be read as one.",
                            file.blankLines),
                "--repair passes over them.", ExitCode::kCorrupt, "passed over blank lines");
  }
}

void JudgeCornerList(const PlyFile& file, PlyCheck& check) {
  const PlyElement* const face = file.Element("face");
  if (face == nullptr || face->announced == 0) {
    const bool strips = file.Element("tristrips") != nullptr;
    check.Add(Severity::kError, "no-faces",
              fmt::format("The file has {} vertices and no faces: it is {}.", file.vertices.size(),
                          strips ? "a mesh of triangle strips" : "a cloud of points"),
              strips ? std::string("Export the mesh as triangles.") : std::string(kUsePoints),
              ExitCode::kNotComputable, false);
  } else if (file.CornerList() == nullptr) {
    check.Add(
        Severity::kError, "no-corner-list",
        fmt::format("The faces have no list \"{}\": which vertices they join is not known.", kPlyCorners),
        kUsePoints, ExitCode::kNotComputable, false);
  } else if (file.CornerList()->name != kPlyCorners) {
    AddMendable(check, "corner-list-name",
                fmt::format("The list of the faces' corners is called \"{}\"; the import knows only \"{}\".",
                            file.CornerList()->name, kPlyCorners),
                "--repair reads a copy with the other name.", ExitCode::kNotComputable,
                fmt::format("took the list \"{}\" for \"{}\"", file.CornerList()->name, kPlyCorners));
  }
}

void JudgeFaces(const PlyFaces& faces, PlyCheck& check) {
  if (faces.polygons > 0) {
    AddMendable(check, "polygons",
                fmt::format("{} of {} faces have more than three corners, of which the import takes only the "
                            "first three.",
                            faces.polygons, *check.faces),
                "--repair divides them into triangles around their first corners; or export the mesh as "
                "triangles.",
                ExitCode::kNotComputable,
                fmt::format("divided {} faces of more than three corners into triangles", faces.polygons));
  }
  if (faces.badIndex > 0) {
    AddMendable(check, "bad-index",
                fmt::format("{} of {} faces have a corner that is none of the vertices.", faces.badIndex,
                            *check.faces),
                "--repair leaves them out.", ExitCode::kCorrupt,
                fmt::format("left out {} faces with a corner that is none of the vertices", faces.badIndex));
  }
  if (faces.incomplete > 0) {
    check.Add(Severity::kWarning, "odd-faces",
              fmt::format("{} faces have fewer than three corners and are left out.", faces.incomplete),
              "Export the mesh as triangles.", ExitCode::kOk, false);
  }
}

/// A vertex that no face uses counts for the import's box, which ends the process where it is not finite.
void JudgeUnusedVertices(const PlyFile& file, PlyCheck& check) {
  if (check.nonFinite > 0) return;
  const auto count = std::count_if(file.vertices.begin(), file.vertices.end(), [](const auto& v) {
    return !std::all_of(v.begin(), v.end(), [](double c) { return std::isfinite(static_cast<float>(c)); });
  });
  if (count == 0) return;
  AddMendable(
      check, "non-finite-vertices",
      fmt::format("{} vertices that no face uses have a coordinate that is not a finite number.", count),
      "--repair leaves them out.", ExitCode::kCorrupt,
      fmt::format("left out {} vertices with coordinates that are not finite", count));
}

const char* NameOf(PlyEncoding encoding) {
  return encoding == PlyEncoding::kAscii                ? "ASCII PLY"
         : encoding == PlyEncoding::kBinaryLittleEndian ? "binary PLY"
                                                        : "binary PLY (big-endian)";
}

}  // namespace

void JudgePlyVertices(const PlyFile& file, PlyCheck& check) {
  const auto refuse = [&check](const char* id, std::string what) {
    check.Add(Severity::kError, id, std::move(what), kExportAgain, ExitCode::kCorrupt, false);
  };
  if (!file.headerComplete) return refuse("truncated-header", "The header has no \"end_header\".");
  if (!file.formatKnown) {
    return refuse("unknown-format", file.format.empty()
                                        ? std::string("The header does not say which format the file is in.")
                                        : fmt::format("The format \"{}\" does not exist.", file.format));
  }
  const PlyElement* const vertex = file.Element("vertex");
  if (vertex == nullptr || vertex->announced == 0) return refuse("no-vertices", "The file has no vertices.");
  for (const char* name : {"x", "y", "z"}) {
    if (vertex->Find(name, PlyKind::kScalar) == nullptr)
      return refuse("missing-coordinate", fmt::format("The vertices have no property \"{}\".", name));
  }
}

PlyCheck CheckPly(const PlyFile& file) {
  PlyCheck check;
  check.format = NameOf(file.encoding);
  check.fileBytes = file.fileBytes;
  check.heightlessArea = kSmallestPlyDoubledArea;
  JudgePlyVertices(file, check);
  if (check.FirstError() != nullptr) return check;
  const PlyFaces faces = ForEachTriangle(file, [&check](const Triangle& t) { check.Measure(t); });
  check.vertices = file.vertices.size();
  check.faces = file.faceEnds.size();
  JudgeTypes(file, check);
  JudgeLength(file, check);
  JudgeHeader(file, check);
  JudgeWords(file, check);
  JudgeCornerList(file, check);
  if (file.CornerList() != nullptr) JudgeFaces(faces, check);
  JudgeUnusedVertices(file, check);
  JudgeTriangles(check, *check.faces, "faces");
  return check;
}

}  // namespace qv3d
