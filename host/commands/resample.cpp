// qv3d resample: a height map with another number of samples.
#include "analysis/resample.h"

#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "formats/grid_file.h"
#include "import/load.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct ResampleOptions {
  ImportOptions import;
  GridRequest wanted;
  bool bicubic = false;
  std::vector<std::filesystem::path> outputs;
};

void CheckFiles(const ResampleOptions& options) {
  if (!IsGridFile(options.import.file)) {
    throw Failure(
        ExitCode::kUsage,
        fmt::format("{}: resample takes height maps ({})", options.import.file.string(), ExtensionsOf(false)),
        "qv3d mesh2grid FILE --nx N turns a mesh into a height map of any size.");
  }
  RequireGridOutputs(options.import.file, options.outputs);
  if (options.wanted.nx == 0 && options.wanted.ny == 0 && options.wanted.spacing == 0) {
    throw Failure(ExitCode::kUsage, "give the new number of samples, --nx and --ny, or their --spacing");
  }
}

void Print(const ResampleOptions& options, const LoadedMap& loaded, const HeightMap& result) {
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["interpolation"] = options.bicubic ? "bicubic" : "bilinear";
    json["result"] = {{"width", result.width},
                      {"height", result.height},
                      {"spacingX", result.SpacingX()},
                      {"spacingY", result.SpacingY()},
                      {"missingSamples", CountMissing(result)}};
    json["written"] = Json::array();
    for (const std::filesystem::path& output : options.outputs) json["written"].push_back(output.string());
    fmt::print("{}\n", json.dump(2));
    return;
  }
  fmt::print("{} x {} samples became {} x {}, {:.6g} x {:.6g} {} apart, {} missing ({})\n", loaded.map.width,
             loaded.map.height, result.width, result.height, result.SpacingX(), result.SpacingY(),
             UnitName(options.import.unit), CountMissing(result), options.bicubic ? "bicubic" : "bilinear");
  for (const std::filesystem::path& output : options.outputs) fmt::print("wrote {}\n", output.string());
}

void RunResample(const ResampleOptions& options) {
  CheckFiles(options);
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  const auto [width, height] =
      PlanResampling(loaded.map, options.wanted.nx, options.wanted.ny, options.wanted.spacing);
  if (options.bicubic) fmt::print(stderr, "{}", BicubicWarning(loaded.map.width, width));
  progress.Phase("resampling");
  const HeightMap result = ResampleMap(loaded.map, width, height,
                                       options.bicubic ? Interpolation::kBicubic : Interpolation::kBilinear);
  progress.Phase("writing the grid");
  for (const std::filesystem::path& output : options.outputs) WriteGrid(output, result, options.import.unit);
  progress.Finish();
  Print(options, loaded, result);
}

}  // namespace

void AddResample(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("resample", "Give a height map another number of samples");
  const auto options = std::make_shared<ResampleOptions>();
  options->import.level = false;
  AddPlainFileOptions(command, options->import, fmt::format("A height map ({})", ExtensionsOf(false)));
  AddReadingOptions(command, options->import);
  CLI::Option* const nx =
      command.add_option("--nx", options->wanted.nx, "Samples along x")->check(CLI::Range(2, 65536));
  CLI::Option* const ny =
      command
          .add_option("--ny", options->wanted.ny, "Samples along y (default, also of --nx: in proportion)")
          ->check(CLI::Range(2, 65536));
  command
      .add_option("--spacing", options->wanted.spacing,
                  "About this distance of the samples, in the unit of the file")
      ->check(CLI::PositiveNumber)
      ->excludes(nx)
      ->excludes(ny);
  CLI::Option* const bicubic =
      command.add_flag("--bicubic", options->bicubic,
                       "Cubic convolution over 4 x 4 samples; errs between columns, see docs/filters.md");
  command
      .add_flag_callback(
          "--bilinear", [] {}, "Between the nearest 2 x 2 samples (default)")
      ->excludes(bicubic);
  command
      .add_option("-o,--output", options->outputs, GridOutputs("What to write, may be given several times"))
      ->required();
  OnCommand(command, invocation, options, RunResample);
}

}  // namespace qv3d
