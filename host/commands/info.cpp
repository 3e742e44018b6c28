// qv3d info: what a mesh file holds, and what stands in the way of measuring it.
#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "import/load.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

/// Only what keeps the file from being read is an error here; that it cannot be converted is just reported.
const Finding* FirstReadingError(const MeshCheck& check) {
  for (const Finding& finding : check.findings) {
    if (finding.severity == Severity::kError && finding.code == ExitCode::kCorrupt) return &finding;
  }
  return nullptr;
}

void PrintText(const ImportOptions& options, const MeshCheck& check, const MeshFacts* mesh) {
  fmt::print("{}: {}, {} bytes\n", options.file.string(), check.format, check.fileBytes);
  if (check.vertices) fmt::print("vertices    {}\n", *check.vertices);
  if (check.faces) fmt::print("faces       {}\n", *check.faces);
  fmt::print("triangles   {}{}\n", check.triangles,
             check.announcedTriangles.value_or(check.triangles) != check.triangles
                 ? fmt::format(" of {} announced", *check.announcedTriangles)
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
  const MeshFormat format = RequireMesh(options.file, bytes);
  const MeshCheck check = CheckMesh(format, bytes);
  const Finding* const error = FirstReadingError(check);
  MeshFacts mesh;
  if (error == nullptr) {
    PreparedMesh prepared;
    prepared.path = options.file;
    prepared.format = format;
    prepared.triangles = ExpectedTriangles(check);
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
  AddFileOptions(command, *options, "An STL or PLY file, binary or ASCII");
  OnCommand(command, invocation, options, RunInfo);
}

}  // namespace qv3d
