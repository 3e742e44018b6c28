// qv3d info: what an STL file holds, and what stands in the way of measuring it.
#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "load.h"
#include "report.h"
#include "stl_check.h"
#include "units.h"

namespace qv3d {
namespace {

/// Only what keeps the file from being read is an error here; that it cannot be converted is just reported.
const Finding* FirstReadingError(const StlCheck& check) {
  for (const Finding& finding : check.findings) {
    if (finding.severity == Severity::kError && finding.code == ExitCode::kCorrupt) return &finding;
  }
  return nullptr;
}

void PrintText(const ImportOptions& options, const StlCheck& check, const MeshFacts* mesh) {
  const StlScan& scan = check.scan;
  fmt::print("{}: {} STL, {} bytes\n", options.file.string(),
             scan.format == StlFormat::kBinary ? "binary" : "ASCII", scan.fileBytes);
  fmt::print("triangles   {}{}\n", scan.triangles,
             scan.format == StlFormat::kBinary && scan.announced != scan.triangles
                 ? fmt::format(" of {} announced", scan.announced)
                 : "");
  if (mesh != nullptr) {
    for (int axis = 0; axis < 3; ++axis) {
      fmt::print("{}           {:g} to {:g} {} (extent {:g})\n", "xyz"[axis], mesh -> bounds.min[axis],
                 mesh->bounds.max[axis], UnitName(options.unit), mesh->bounds.Extent(axis));
    }
  }
  if (check.upright > 0) fmt::print("upright     {} triangles show no area from above\n", check.upright);
  for (const Finding& f : check.findings) {
    fmt::print("{}: {} {}\n",
               f.severity == Severity::kError     ? "problem"
               : f.severity == Severity::kWarning ? "warning"
                                                  : "note",
               f.what, f.advice);
  }
  if (check.findings.empty()) fmt::print("In order.\n");
}

void RunInfo(const ImportOptions& options) {
  Progress progress(options.quiet);
  progress.Phase("checking the file");
  const std::string bytes = ReadWholeFile(options.file);
  RequireStl(options.file, bytes);
  const StlCheck check = CheckStl(bytes);
  const Finding* const error = FirstReadingError(check);
  MeshFacts mesh;
  if (error == nullptr) {
    PreparedMesh prepared;
    prepared.path = options.file;
    prepared.triangles = check.scan.triangles;
    mesh = ProbeMesh(prepared, options.limits, progress);
  }
  progress.Finish();
  if (options.json) {
    Json json = {{"file", options.file.string()}, {"unit", options.unit}, {"check", JsonOf(check)}};
    if (error == nullptr) json["mesh"] = JsonOf(mesh);
    fmt::print("{}\n", json.dump(2));
  } else {
    PrintText(options, check, error == nullptr ? &mesh : nullptr);
  }
  if (error != nullptr) throw Failure(error->code, fmt::format("{}: not in order", options.file.string()));
}

}  // namespace

void AddInfo(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("info", "Tell what a mesh file holds and whether it is in order");
  const auto options = std::make_shared<ImportOptions>();
  AddFileOptions(command, *options, "An STL file, binary or ASCII");
  OnCommand(command, invocation, options, RunInfo);
}

}  // namespace qv3d
