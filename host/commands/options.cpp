#include "commands/options.h"

#include <cstdio>
#include <fmt/format.h>
#include <map>

#include "failure.h"
#include "units.h"

namespace qv3d {
namespace {

const std::map<std::string, GlBackend> kBackends{
    {"auto", GlBackend::kAutomatic}, {"egl", GlBackend::kEgl}, {"glx", GlBackend::kGlx}};

std::string CheckUnit(const std::string& unit) {
  return IsKnownUnit(unit) ? std::string() : "the unit must be m, mm, um, nm or in";
}

void AddGridOptions(CLI::App& command, ImportOptions& options) {
  command
      .add_flag(
          "--repair", options.prepare.repair,
          "Mend what can be mended in a temporary copy: misleading header, wrong count, too few or too small "
          "triangles, coordinates that are not finite")
      ->group("Import");
  // For tests of what happens when the library ends the process.
  command.add_flag("!--no-check", options.prepare.check)->group("");
  CLI::Option* const nx =
      command.add_option("--nx", options.grid.nx, "Samples along x (default: 512 along the longer side)")
          ->check(CLI::Range(2, 65536))
          ->group("Height map");
  CLI::Option* const ny = command.add_option("--ny", options.grid.ny, "Samples along y")
                              ->check(CLI::Range(2, 65536))
                              ->group("Height map");
  command.add_option("--spacing", options.grid.spacing, "Distance of the samples, in the unit of the file")
      ->check(CLI::PositiveNumber)
      ->excludes(nx)
      ->excludes(ny)
      ->group("Height map");
  command
      .add_flag("--fill", options.fill, "Give missing samples the lowest height (default: they stay missing)")
      ->group("Height map");
}

void ParseSize(const std::string& text, PictureOptions& picture) {
  char rest = 0;
  int width = 0, height = 0;
  if (std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &rest) != 2 || width < 64 || height < 64 ||
      width > 8192 || height > 8192) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("--size {}: give width and height as in 1600x1000, 64 to 8192", text));
  }
  picture.width = width;
  picture.height = height;
}

}  // namespace

void AddLimits(CLI::App& command, ChildLimits& limits) {
  command.add_option("--timeout", limits.timeoutSeconds, "Give the import up after this many seconds")
      ->capture_default_str()
      ->check(CLI::PositiveNumber)
      ->group("Import");
  command.add_option("--memory-limit", limits.memoryMiB, "Let the import use at most this many MiB")
      ->capture_default_str()
      ->check(CLI::Range(std::size_t{1}, std::size_t{1} << 24))
      ->group("Import");
}

void AddOutputOptions(CLI::App& command, bool& json, bool& quiet) {
  command.add_flag("--json", json, "Print the results as JSON");
  command.add_flag("-q,--quiet", quiet, "No progress on the standard error stream");
}

void AddPlainFileOptions(CLI::App& command, ImportOptions& options, const char* what) {
  command.add_option("FILE", options.file, what)->required();
  command.add_option("--unit", options.unit, "Unit of the file's numbers: m, mm, um, nm or in")
      ->capture_default_str()
      ->check(CheckUnit);
  AddOutputOptions(command, options.json, options.quiet);
}

void AddFileOptions(CLI::App& command, ImportOptions& options, const char* what) {
  AddPlainFileOptions(command, options, what);
  AddLimits(command, options.limits);
}

void AddSurfaceOptions(CLI::App& command, ImportOptions& options) {
  AddFileOptions(command, options,
                 "A mesh (STL, binary or ASCII) or a height map (.csv, .txt: rows of heights)");
  AddGridOptions(command, options);
}

void AddLevelOption(CLI::App& command, ImportOptions& options) {
  command.add_flag("!--no-level", options.level, "Keep the heights as they are: no plane is subtracted")
      ->group("Height map");
}

void AddBackend(CLI::App& command, GlBackend& backend) {
  command.add_option("--gl", backend)->transform(CLI::CheckedTransformer(kBackends))->group("");
}

void AddSizeOption(CLI::App& command, PictureOptions& picture) {
  command
      .add_option_function<std::string>(
          "--size", [&picture](const std::string& text) { ParseSize(text, picture); },
          "Width and height in pixels (default: 1600x1000)")
      ->type_name("WxH");
}

}  // namespace qv3d
