// qv3d mesh2grid: a mesh as a height map in a file.
#include <fmt/format.h>

#include "commands/commands.h"
#include "grid_file.h"
#include "load.h"
#include "report.h"
#include "units.h"

namespace qv3d {

void RunMesh2Grid(const Mesh2GridOptions& options) {
  std::vector<std::filesystem::path> outputs = options.outputs;
  if (outputs.empty()) outputs.push_back(options.import.file.stem().string() + ".csv");
  for (const std::filesystem::path& output : outputs) RequireGridFormat(output);
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  progress.Phase("writing the grid");
  Json written = Json::array();
  for (const std::filesystem::path& output : outputs) {
    WriteGrid(output, loaded.map);
    written.push_back(output.string());
    progress.Tick();
  }
  progress.Finish();
  if (options.import.json) {
    const Json json = {{"file", options.import.file.string()}, {"unit", options.import.unit},
                       {"mesh", JsonOf(loaded.mesh)},          {"mended", loaded.prepared.actions},
                       {"grid", JsonOfGrid(loaded)},           {"filled", options.import.fill},
                       {"levelled", options.import.level},     {"written", written}};
    fmt::print("{}\n", json.dump(2));
    return;
  }
  const HeightMap& m = loaded.map;
  fmt::print("{} x {} samples, {:.4g} x {:.4g} {} apart, {:.2f} % missing\n", m.width, m.height, m.SpacingX(),
             m.SpacingY(), UnitName(options.import.unit), 100 * loaded.MissingShare());
  for (const std::filesystem::path& output : outputs) fmt::print("wrote {}\n", output.string());
}

}  // namespace qv3d
