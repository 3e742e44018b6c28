#include "import/load.h"

#include <cstdio>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {
namespace {

void ReadMesh(const ImportOptions& options, LoadedMap& loaded, Progress& progress) {
  progress.Phase("checking the file");
  loaded.prepared = PrepareMesh(options.file, options.prepare);
  ImportedMap imported = ImportMesh(loaded.prepared, options.grid, options.limits, progress);
  loaded.mesh = std::move(imported.mesh);
  loaded.map = std::move(imported.map);
  loaded.missing = CountMissing(loaded.map);
  PrintRemarks(loaded.prepared, loaded.mesh.messages);
  if (loaded.missing == loaded.map.heights.size()) {
    throw Failure(ExitCode::kNotComputable, "every sample is missing: no triangle lies over the grid",
                  "qv3d info FILE tells more about the mesh.");
  }
}

void ReadMap(const ImportOptions& options, LoadedMap& loaded, Progress& progress) {
  if (options.grid.nx != 0 || options.grid.ny != 0) {
    throw Failure(ExitCode::kUsage, "--nx and --ny are for meshes: a height map has its samples already",
                  "qv3d resample changes their number.");
  }
  progress.Phase("reading the height map");
  const GridReading reading = ReadingOf(options);
  GridContent content = ReadGridContent(options.file, reading);
  PrintRemarks(options.file, content, reading);
  loaded.map = std::move(content.map);
  loaded.file = std::move(content.file);
  loaded.origin = content.origin;
  loaded.missing = CountMissing(loaded.map);
  if (loaded.missing == loaded.map.heights.size()) {
    throw Failure(ExitCode::kNotComputable, "every sample of the height map is missing");
  }
}

}  // namespace

GridReading ReadingOf(const ImportOptions& options) {
  return {options.unit, options.grid.spacing, options.origin, options.zScale, options.zOffset};
}

void PrintRemarks(const PreparedMesh& prepared, const std::string& libraryMessages) {
  const bool mended = !prepared.actions.empty();
  for (const Finding& finding : prepared.check.findings) {
    if (finding.severity == Severity::kError || (mended && finding.repairable)) continue;
    fmt::print(stderr, "qv3d: {}: {} {}\n", finding.severity == Severity::kNote ? "note" : "warning",
               finding.what, finding.advice);
  }
  for (const std::string& action : prepared.actions) fmt::print(stderr, "qv3d: mended: {}\n", action);
  if (!libraryMessages.empty()) fmt::print(stderr, "qv3d: warning: the import said: {}", libraryMessages);
}

LoadedMap LoadHeightMap(const ImportOptions& options, Progress& progress) {
  LoadedMap loaded;
  loaded.fromMesh = !IsGridFile(options.file);
  if (loaded.fromMesh) {
    ReadMesh(options, loaded, progress);
  } else {
    ReadMap(options, loaded, progress);
  }
  // The plane is fitted to what was measured; only then are holes filled.
  if (options.level) loaded.plane = Level(loaded.map);
  if (options.fill) FillMissing(loaded.map);
  return loaded;
}

}  // namespace qv3d
