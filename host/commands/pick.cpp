// qv3d pick: which sample lies under a pixel of a picture.
#include "drawing/pick.h"

#include <fmt/format.h>

#include "commands/view_options.h"
#include "failure.h"
#include "import/load.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct PickOptions {
  ImportOptions import;
  PictureOptions picture;
  int x = 0, y = 0;
  GlBackend backend = GlBackend::kAutomatic;
};

void Print(const PickOptions& options, const LoadedMap& loaded, const PickedSample& sample) {
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["pixel"] = {options.x, options.y};
    json["sample"] = {{"column", sample.column},
                      {"row", sample.row},
                      {"x", sample.x},
                      {"y", sample.y},
                      {"height", ShortNumber(sample.height)},
                      {"exactly", sample.exactly}};
    fmt::print("{}\n", json.dump(2));
    return;
  }
  const std::string unit = UnitName(options.import.unit);
  fmt::print("pixel       {}, {}{}\n", options.x, options.y,
             sample.exactly ? "" : " (beside the surface; the nearest sample)");
  fmt::print("sample      column {}, row {}\n", sample.column, sample.row);
  fmt::print("position    x {:.6g}, y {:.6g} {}\n", sample.x, sample.y, unit);
  fmt::print("height      {}{}\n", FormatLength(sample.height, HandyUnit(options.import.unit, sample.height)),
             options.import.level ? " above the mean plane" : "");
}

void RunPick(const PickOptions& options) {
  if (options.x >= options.picture.width || options.y >= options.picture.height) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("the pixel {}, {} lies outside of a picture of {} x {}", options.x, options.y,
                              options.picture.width, options.picture.height),
                  "Give the --size of the picture.");
  }
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  progress.Phase("looking under the pixel");
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const std::optional<PickedSample> sample =
      PickSample(*context, loaded.map, options.picture, options.x, options.y);
  progress.Finish();
  if (!sample) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("no part of the surface lies under the pixel {}, {}", options.x, options.y),
                  "Give the view options and the --size with which the picture was drawn.");
  }
  Print(options, loaded, *sample);
}

}  // namespace

void AddPick(CLI::App& app, Invocation& invocation) {
  CLI::App& command =
      *app.add_subcommand("pick", "Tell which sample lies under a pixel of a picture that render draws");
  const auto options = std::make_shared<PickOptions>();
  AddSurfaceOptions(command, options->import);
  command.add_option("X", options->x, "Column of the pixel, from the left")
      ->required()
      ->check(CLI::NonNegativeNumber);
  command.add_option("Y", options->y, "Row of the pixel, from the top")
      ->required()
      ->check(CLI::NonNegativeNumber);
  AddLevelOption(command, options->import);
  AddSizeOption(command, options->picture);
  AddViewOptions(command, options->picture);
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunPick);
}

}  // namespace qv3d
