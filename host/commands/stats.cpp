// qv3d stats: the height statistics of a mesh.
#include <fmt/format.h>

#include "commands/commands.h"
#include "load.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

void PrintText(const ImportOptions& options, const LoadedMap& loaded, const Statistics& statistics) {
  const HeightMap& m = loaded.map;
  fmt::print("{}: {} triangles\n", options.file.string(), loaded.mesh.triangles);
  fmt::print("grid        {} x {} samples, {:.4g} x {:.4g} {} apart\n", m.width, m.height, m.SpacingX(),
             m.SpacingY(), UnitName(options.unit));
  fmt::print("missing     {} samples ({:.2f} %){}\n", loaded.missing, 100 * loaded.MissingShare(),
             options.fill && loaded.missing > 0 ? ", filled with the lowest height" : "");
  fmt::print("levelled    {}\n",
             options.level ? fmt::format("by a plane that rises {:.4g} in x and {:.4g} in y per length",
                                         loaded.plane.a, loaded.plane.b)
                           : std::string("no"));
  for (const TableRow& row : RowsOf(statistics, options.unit)) {
    fmt::print("{:<17} {:>12}  {}\n", row.name, row.value, row.meaning);
  }
}

}  // namespace

void RunStats(const ImportOptions& options) {
  Progress progress(options.quiet);
  const LoadedMap loaded = LoadHeightMap(options, progress);
  progress.Phase("measuring");
  const Statistics statistics = Measure(loaded.map);
  progress.Finish();
  if (!options.json) {
    PrintText(options, loaded, statistics);
    return;
  }
  const Json json = {
      {"file", options.file.string()},   {"unit", options.unit},
      {"mesh", JsonOf(loaded.mesh)},     {"mended", loaded.prepared.actions},
      {"grid", JsonOfGrid(loaded)},      {"filled", options.fill},
      {"levelled", options.level},       {"plane", {{"slopeX", loaded.plane.a}, {"slopeY", loaded.plane.b}}},
      {"statistics", JsonOf(statistics)}};
  fmt::print("{}\n", json.dump(2));
}

}  // namespace qv3d
