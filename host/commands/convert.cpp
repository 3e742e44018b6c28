// qv3d convert: a height map in another format.
#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct ConvertOptions {
  ImportOptions import;
  GridWriting writing;
  std::vector<std::filesystem::path> outputs;
};

void CheckFiles(const ConvertOptions& options) {
  if (!IsGridFile(options.import.file)) {
    throw Failure(
        ExitCode::kUsage,
        fmt::format("{}: convert takes height maps ({})", options.import.file.string(), ExtensionsOf(false)),
        "qv3d mesh2grid turns a mesh into a height map.");
  }
  if (options.writing.format == nullptr) {
    RequireGridOutputs(options.import.file, options.outputs);
  } else {
    RequireSeparate(options.import.file, options.outputs);
  }
}

void Print(const ConvertOptions& options, const LoadedMap& loaded) {
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["written"] = Json::array();
    for (const std::filesystem::path& output : options.outputs) json["written"].push_back(output.string());
    fmt::print("{}\n", json.dump(2));
    return;
  }
  const HeightMap& m = loaded.map;
  fmt::print("{} x {} samples, {:.6g} x {:.6g} {} apart, {:.2f} % missing\n", m.width, m.height, m.SpacingX(),
             m.SpacingY(), UnitName(options.import.unit), 100 * loaded.MissingShare());
  for (const std::filesystem::path& output : options.outputs) fmt::print("wrote {}\n", output.string());
}

void RunConvert(const ConvertOptions& options) {
  CheckFiles(options);
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  progress.Phase("writing the grid");
  GridWriting writing = options.writing;
  writing.provenance = loaded.file.provenance;
  for (const std::filesystem::path& output : options.outputs) {
    WriteGrid(output, loaded.map, options.import.unit, writing);
    progress.Tick();
  }
  progress.Finish();
  Print(options, loaded);
}

void AddFormatOption(CLI::App& command, GridWriting& writing) {
  std::vector<std::string> ids;
  for (const GridFormat& format : AllGridFormats()) {
    if (format.write != nullptr) ids.emplace_back(format.id);
  }
  command
      .add_option_function<std::string>(
          "--format", [&writing](const std::string& id) { writing.format = FindById(id); },
          "Format to write, whatever the output's extension")
      ->check(CLI::IsMember(ids));
}

}  // namespace

void AddConvert(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("convert", "Write a height map in another file format");
  const auto options = std::make_shared<ConvertOptions>();
  ImportOptions& import = options->import;
  import.level = false;
  AddPlainFileOptions(command, import, fmt::format("A height map ({})", ExtensionsOf(false)));
  command.get_option("--unit")->description(
      "Unit of the output, and of the input's numbers where it names none: m, mm, um, nm or in");
  AddReadingOptions(command, import);
  command.add_option("--spacing", import.grid.spacing, "Distance of the samples, whatever the file says")
      ->check(CLI::PositiveNumber)
      ->group("Height map");
  AddFormatOption(command, options->writing);
  AddOriginOption(command, "--output-origin", options->writing.origin,
                  "Where the first row of the output is to lie (default: see docs/formats.md)");
  command
      .add_option("-o,--output", options->outputs, GridOutputs("What to write, may be given several times"))
      ->required();
  OnCommand(command, invocation, options, RunConvert);
}

}  // namespace qv3d
