// qv3d render: a picture of a surface.
#include <fmt/format.h>
#include <map>

#include "commands/options.h"
#include "load.h"
#include "report.h"

namespace qv3d {
namespace {

struct RenderOptions {
  ImportOptions import;
  PictureOptions picture;
  std::filesystem::path output;
  GlBackend backend = GlBackend::kAutomatic;
};

const std::map<std::string, Style> kStyles{{"texture", Style::kTexture},
                                           {"sidelight", Style::kSideLight},
                                           {"normals", Style::kNormals},
                                           {"map", Style::kMap}};

void RunRender(const RenderOptions& options) {
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  PictureOptions wanted = options.picture;
  wanted.unit = options.import.unit;
  if (wanted.title.empty()) wanted.title = options.import.file.filename().string();
  progress.Phase("drawing");
  // Only now: the import's child process must not inherit a driver.
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const Picture picture = DrawPicture(*context, loaded.map, wanted);
  progress.Phase("writing the picture");
  WritePng(options.output, picture.image);
  progress.Finish();
  if (!picture.hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["picture"] = {{"file", options.output.string()},
                       {"width", picture.image.width()},
                       {"height", picture.image.height()},
                       {"zScale", picture.zScale},
                       {"context", context->Name()}};
    fmt::print("{}\n", json.dump(2));
  } else {
    fmt::print("wrote {} ({} x {} pixels, heights {}x)\n", options.output.string(), picture.image.width(),
               picture.image.height(), fmt::format("{:g}", picture.zScale));
  }
}

void AddViewOptions(CLI::App& command, PictureOptions& picture) {
  command
      .add_option("--azimuth", picture.angles.azimuth, "Where the viewer stands, degrees; 0 looks along +y")
      ->capture_default_str()
      ->check(CLI::Range(-360.0, 360.0))
      ->group("Picture");
  command.add_option("--elevation", picture.angles.elevation, "How high the viewer stands, degrees")
      ->capture_default_str()
      ->check(CLI::Range(5.0, 90.0))
      ->group("Picture");
  command.add_option("--zoom", picture.angles.zoom, "Larger than 1: nearer")
      ->capture_default_str()
      ->check(CLI::Range(0.05, 50.0))
      ->group("Picture");
  command
      .add_option("--z-scale", picture.zScale,
                  "Exaggeration of heights (default: chosen to suit, and stated)")
      ->check(CLI::PositiveNumber)
      ->group("Picture");
  command.add_option("--step", picture.step, "Draw every so many samples")
      ->capture_default_str()
      ->check(CLI::Range(1, 65536))
      ->group("Picture");
  command.add_option("--title", picture.title, "Title (default: the file's name)")->group("Picture");
}

}  // namespace

void AddRender(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("render", "Draw a surface as a PNG picture");
  const auto options = std::make_shared<RenderOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.add_option("-o,--output", options->output, "The picture to write")->required();
  AddSizeOption(command, options->picture);
  command
      .add_option("--style", options->picture.style,
                  "texture (coloured by height), sidelight, normals or map")
      ->transform(CLI::CheckedTransformer(kStyles))
      ->type_name("STYLE")
      ->group("Picture");
  AddViewOptions(command, options->picture);
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunRender);
}

}  // namespace qv3d
