// qv3d gallery: a sheet of all styles of drawing.
#include "drawing/gallery.h"

#include <fmt/format.h>

#include "commands/view_options.h"
#include "import/load.h"
#include "report.h"

namespace qv3d {
namespace {

struct GalleryOptions {
  ImportOptions import;
  PictureOptions sheet;
  std::filesystem::path output;
  GlBackend backend = GlBackend::kAutomatic;
};

void RunGallery(const GalleryOptions& options) {
  RequireExtension(options.output, {".png"});
  RequireSeparate(options.import.file, {options.output});
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  PictureOptions wanted = options.sheet;
  wanted.unit = options.import.unit;
  if (wanted.title.empty()) wanted.title = options.import.file.filename().string();
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const Picture sheet = DrawGallery(*context, loaded.map, wanted, progress);
  WritePng(options.output, sheet.image);
  progress.Finish();
  if (!sheet.hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["sheet"] = {{"file", options.output.string()},
                     {"width", sheet.image.width()},
                     {"height", sheet.image.height()},
                     {"styles", Json::array()}};
    for (const StyleFacts& facts : AllStyles()) json["sheet"]["styles"].push_back(facts.name);
    fmt::print("{}\n", json.dump(2));
  } else {
    fmt::print("wrote {} ({} styles)\n", options.output.string(), AllStyles().size());
  }
}

}  // namespace

void AddGallery(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("gallery", "Draw a labelled sheet of all styles that render knows");
  const auto options = std::make_shared<GalleryOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.add_option("-o,--output", options->output, "The sheet to write, a PNG picture")->required();
  AddSizeOption(command, options->sheet);
  AddCameraOptions(command, options->sheet);
  command.add_option("--title", options->sheet.title, "Title (default: the file's name)")->group("Picture");
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunGallery);
}

}  // namespace qv3d
