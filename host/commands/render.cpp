// qv3d render: a picture of a surface, compared with an earlier one if there is one.
#include <fmt/format.h>

#include "commands/view_options.h"
#include "failure.h"
#include "import/load.h"
#include "plots/image_compare.h"
#include "report.h"

namespace qv3d {
namespace {

/// Above which differences from the reference a picture counts as another one.
struct Tolerance {
  double mean = 1;
  int largest = 255;
};

struct RenderOptions {
  ImportOptions import;
  PictureOptions picture;
  std::filesystem::path output;
  std::filesystem::path reference;  ///< empty for none
  Tolerance tolerance;
  GlBackend backend = GlBackend::kAutomatic;
};

std::filesystem::path DifferencePath(const std::filesystem::path& output) {
  std::filesystem::path path = output;
  return path.replace_filename(output.stem().string() + ".difference.png");
}

ImageDifference CompareWithReference(const RenderOptions& options, const Image& picture,
                                     const Image& reference) {
  if (picture.width() != reference.width() || picture.height() != reference.height()) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("{}: {} x {} pixels, the picture has {} x {}", options.reference.string(),
                              reference.width(), reference.height(), picture.width(), picture.height()),
                  "Give the --size of the reference.");
  }
  ImageDifference difference = Compare(picture, reference);
  WritePng(DifferencePath(options.output), difference.picture);
  return difference;
}

bool IsWithin(const ImageDifference& difference, const Tolerance& tolerance) {
  return difference.mean <= tolerance.mean && difference.largest <= tolerance.largest;
}

Json JsonOf(const RenderOptions& options, const ImageDifference& difference) {
  return {{"file", options.reference.string()},
          {"meanDifference", difference.mean},
          {"maxDifference", difference.largest},
          {"within", IsWithin(difference, options.tolerance)},
          {"difference", DifferencePath(options.output).string()}};
}

void PrintResult(const RenderOptions& options, const LoadedMap& loaded, const Picture& picture,
                 const char* context, const std::optional<ImageDifference>& difference) {
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["picture"] = {{"file", options.output.string()},  {"width", picture.image.width()},
                       {"height", picture.image.height()}, {"style", FactsOf(options.picture.style).name},
                       {"zScale", picture.zScale},         {"context", context}};
    if (difference) json["reference"] = JsonOf(options, *difference);
    fmt::print("{}\n", json.dump(2));
    return;
  }
  fmt::print("wrote {} ({} x {} pixels, heights {}x)\n", options.output.string(), picture.image.width(),
             picture.image.height(), fmt::format("{:g}", picture.zScale));
  if (difference) {
    fmt::print("against {}: mean difference {:.4f}, max {} (of 255); see {}\n", options.reference.string(),
               difference->mean, difference->largest, DifferencePath(options.output).string());
  }
}

void RunRender(const RenderOptions& options) {
  RequireExtension(options.output, {".png"});
  RequireSeparate(options.import.file, {options.output});
  // Read before anything is written: it may be the file that will be.
  std::optional<Image> reference;
  if (!options.reference.empty()) reference = ReadPng(options.reference);
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
  std::optional<ImageDifference> difference;
  if (reference) difference = CompareWithReference(options, picture.image, *reference);
  progress.Finish();
  if (!picture.hasText && !wanted.bare) fmt::print(stderr, kNoTextWarning);
  PrintResult(options, loaded, picture, context->Name(), difference);
  if (difference && !IsWithin(*difference, options.tolerance)) {
    throw Failure(ExitCode::kNotComputable,
                  "the picture differs from the reference by more than the threshold", {}, Printed::kAlready);
  }
}

void AddReferenceOptions(CLI::App& command, RenderOptions& options) {
  CLI::Option* const reference =
      command
          .add_option("--reference", options.reference,
                      "Compare with an earlier picture; writes OUTPUT.difference.png beside the picture")
          ->type_name("PNG")
          ->group("Comparison");
  command
      .add_option_function<std::vector<double>>(
          "--threshold",
          [&options](const std::vector<double>& t) {
            options.tolerance.mean = t.front();
            if (t.size() > 1) options.tolerance.largest = static_cast<int>(t.back());
          },
          "Exit with 4 when the mean difference (0 to 255, default 1) is above this, or, with two numbers, "
          "the "
          "difference of any pixel above the second")
      ->delimiter(',')
      ->expected(1, 2)
      ->check(CLI::Range(0.0, 255.0))
      ->type_name("MEAN[,MAX]")
      ->needs(reference)
      ->group("Comparison");
}

}  // namespace

void AddRender(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("render", "Draw a surface as a PNG picture");
  const auto options = std::make_shared<RenderOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.add_option("-o,--output", options->output, "The picture to write")->required();
  AddSizeOption(command, options->picture);
  AddViewOptions(command, options->picture);
  command.add_option("--title", options->picture.title, "Title (default: the file's name)")->group("Picture");
  AddReferenceOptions(command, *options);
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunRender);
}

}  // namespace qv3d
