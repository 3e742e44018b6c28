// qv3d info: what a file of a mesh or a height map holds, and what stands in the way of measuring it.
#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "files/whole_file.h"
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

void PrintGridText(const ImportOptions& options, const GridContent& content, std::uintmax_t bytes) {
  const HeightMap& map = content.map;
  const FileGrid& file = content.file;
  const std::string unit = UnitName(options.unit);
  const auto [low, high] = HeightRange(map);
  const std::size_t missing = CountMissing(map);
  fmt::print("{}: {}, {} bytes\n", options.file.string(), file.kind, bytes);
  fmt::print("samples     {} x {}, {:.6g} x {:.6g} {} apart{}\n", map.width, map.height, map.SpacingX(),
             map.SpacingY(), unit, file.StatesSpacing() ? "" : " (the file does not say)");
  fmt::print("x           {:g} to {:g} {}\n", map.x0, map.x0 + map.xSize, unit);
  fmt::print("y           {:g} to {:g} {}\n", map.y0, map.y0 + map.ySize, unit);
  if (missing < map.heights.size()) {
    fmt::print("heights     {:g} to {:g} {}{}\n", low, high, unit,
               file.heightMetres > 0 || options.zScale ? "" : " (the file names no unit)");
  }
  fmt::print("missing     {} samples ({:.2f} %)\n", missing,
             100 * static_cast<double>(missing) / static_cast<double>(map.heights.size()));
  fmt::print("first row   {}\n", NameOf(content.origin));
  for (const auto& [key, text] : file.provenance) fmt::print("{:<11} {}\n", key, text);
}

void PrintGridJson(const ImportOptions& options, const GridContent& content, std::uintmax_t bytes) {
  LoadedMap loaded;
  loaded.map = content.map;
  loaded.missing = CountMissing(content.map);
  const auto [low, high] = HeightRange(content.map);
  const Json json = {
      {"file", options.file.string()},
      {"unit", options.unit},
      {"format", {{"id", content.format->id}, {"kind", content.file.kind}}},
      {"bytes", bytes},
      {"grid", JsonOfGrid(loaded)},
      {"heights", loaded.missing < loaded.map.heights.size() ? Json{ShortNumber(low), ShortNumber(high)}
                                                             : Json(nullptr)},
      {"firstRow", NameOf(content.origin)},
      {"stated",
       {{"spacing", content.file.StatesSpacing()},
        {"lateralUnit", content.file.lateralMetres > 0},
        {"heightUnit", content.file.heightMetres > 0}}},
      {"provenance", content.file.provenance},
      {"remarks", content.file.remarks}};
  // What a file tells need not be UTF-8.
  fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

void RunGridInfo(const ImportOptions& options, Progress& progress) {
  progress.Phase("reading the height map");
  const GridReading reading = ReadingOf(options);
  const GridContent content = ReadGridContent(options.file, reading);
  progress.Finish();
  PrintRemarks(options.file, content, reading);
  const std::uintmax_t bytes = std::filesystem::file_size(options.file);
  options.json ? PrintGridJson(options, content, bytes) : PrintGridText(options, content, bytes);
}

void RunInfo(const ImportOptions& options) {
  Progress progress(options.quiet);
  if (IsGridFile(options.file)) return RunGridInfo(options, progress);
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
  CLI::App& command = *app.add_subcommand("info", "Tell what a file holds and whether it is in order");
  const auto options = std::make_shared<ImportOptions>();
  AddFileOptions(
      command, *options,
      fmt::format("A mesh (STL or PLY, binary or ASCII) or a height map ({})", ExtensionsOf(false)));
  AddReadingOptions(command, *options);
  command.add_option("--spacing", options->grid.spacing, "Distance of the samples, whatever the file says")
      ->check(CLI::PositiveNumber)
      ->group("Height map");
  OnCommand(command, invocation, options, RunInfo);
}

}  // namespace qv3d
