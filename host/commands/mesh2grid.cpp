// qv3d mesh2grid: a mesh as a height map in a file.
#include <fmt/format.h>

#include "commands/options.h"
#include "formats/grid_file.h"
#include "import/load.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct Mesh2GridOptions {
  ImportOptions import;
  std::vector<std::filesystem::path> outputs;
};

void RunMesh2Grid(const Mesh2GridOptions& options) {
  std::vector<std::filesystem::path> outputs = options.outputs;
  if (outputs.empty()) outputs.push_back(options.import.file.stem().string() + ".csv");
  RequireGridOutputs(options.import.file, outputs);
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  progress.Phase("writing the grid");
  Json written = Json::array();
  for (const std::filesystem::path& output : outputs) {
    WriteGrid(output, loaded.map, options.import.unit);
    written.push_back(output.string());
    progress.Tick();
  }
  progress.Finish();
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["written"] = written;
    fmt::print("{}\n", json.dump(2));
    return;
  }
  const HeightMap& m = loaded.map;
  fmt::print("{} x {} samples, {:.4g} x {:.4g} {} apart, {:.2f} % missing\n", m.width, m.height, m.SpacingX(),
             m.SpacingY(), UnitName(options.import.unit), 100 * loaded.MissingShare());
  for (const std::filesystem::path& output : outputs) fmt::print("wrote {}\n", output.string());
}

}  // namespace

void AddMesh2Grid(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("mesh2grid", "Write a mesh as a height map");
  const auto options = std::make_shared<Mesh2GridOptions>();
  ImportOptions& import = options->import;
  AddSurfaceOptions(command, import);
  import.level = false;
  command.add_flag("--level,!--no-level", import.level, "Subtract the least-squares plane")
      ->group("Height map");
  command.add_option(
      "-o,--output", options->outputs,
      GridOutputs("What to write, may be given several times (default: FILE's name with .csv, here)"));
  OnCommand(command, invocation, options, RunMesh2Grid);
}

}  // namespace qv3d
