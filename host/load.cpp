#include "load.h"

#include <cstdio>
#include <fmt/format.h>

namespace qv3d {

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
  // The plane is fitted to what was measured; only then are holes filled.
  if (options.level) loaded.plane = Level(loaded.map);
  if (options.fill) FillMissing(loaded.map);
  return loaded;
}

}  // namespace qv3d
