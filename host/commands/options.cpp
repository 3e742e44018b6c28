#include "commands/options.h"

#include <cstdio>
#include <fmt/format.h>
#include <map>

#include "failure.h"
#include "files/output_guard.h"
#include "units.h"

namespace qv3d {
namespace {

const std::map<std::string, Origin> kOrigins{{"top", Origin::kTop}, {"bottom", Origin::kBottom}};

std::string CheckUnit(const std::string& unit) {
  return IsKnownUnit(unit) ? std::string() : "the unit must be m, mm, um, nm or in";
}

void AddGridOptions(CLI::App& command, ImportOptions& options) {
  command
      .add_flag(
          "--repair", options.prepare.repair,
          "Mend what can be mended in a temporary copy: misleading header, wrong count, faces of more than "
          "three corners, too few or too small triangles, coordinates that are not finite")
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

void ParseSize(const std::string& text, int& width, int& height) {
  char rest = 0;
  if (std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &rest) != 2 || width < 64 || height < 64 ||
      width > 8192 || height > 8192) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("--size {}: give width and height as in 1600x1000, 64 to 8192", text));
  }
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

void AddUnitOption(CLI::App& command, std::string& unit) {
  command.add_option("--unit", unit, "Unit of the file's numbers: m, mm, um, nm or in")
      ->capture_default_str()
      ->check(CheckUnit);
}

void AddFileAndUnit(CLI::App& command, std::filesystem::path& file, std::string& unit,
                    const std::string& what) {
  command.add_option("FILE", file, what)->required();
  AddUnitOption(command, unit);
}

void AddPlainFileOptions(CLI::App& command, ImportOptions& options, const std::string& what) {
  AddFileAndUnit(command, options.file, options.unit, what);
  AddOutputOptions(command, options.json, options.quiet);
}

void AddFileOptions(CLI::App& command, ImportOptions& options, const std::string& what) {
  AddPlainFileOptions(command, options, what);
  AddLimits(command, options.limits);
}

void AddImportOptions(CLI::App& command, ImportOptions& options) {
  AddUnitOption(command, options.unit);
  AddOutputOptions(command, options.json, options.quiet);
  AddLimits(command, options.limits);
  AddGridOptions(command, options);
}

void AddSurfaceOptions(CLI::App& command, ImportOptions& options) {
  AddFileOptions(
      command, options,
      fmt::format("A mesh (STL or PLY, binary or ASCII) or a height map ({})", ExtensionsOf(false)));
  AddGridOptions(command, options);
  AddReadingOptions(command, options);
}

void AddOriginOption(CLI::App& command, const char* name, std::optional<Origin>& origin, const char* what) {
  command
      .add_option_function<std::string>(
          name, [&origin](const std::string& word) { origin = kOrigins.at(word); }, what)
      ->check(CLI::IsMember(kOrigins))
      ->type_name("top|bottom")
      ->group("Height map");
}

void AddReadingOptions(CLI::App& command, ImportOptions& options) {
  AddOriginOption(command, "--origin", options.origin,
                  "Where the first row of the file lies, +y upwards (default: see docs/formats.md)");
  command
      .add_option(
          "--height-scale", options.zScale,
          "Height that a 1 in the file stands for, whatever the file says (pictures: of one grey level)")
      ->check(CLI::TypeValidator<double>())
      ->group("Height map");
  command.add_option("--height-offset", options.zOffset, "Height to add to all")->group("Height map");
}

std::string GridOutputs(const char* what) {
  return fmt::format("{}: a file that ends in {}", what, ExtensionsOf(true));
}

void AddLevelOption(CLI::App& command, ImportOptions& options) {
  command.add_flag("!--no-level", options.level, "Keep the heights as they are: no plane is subtracted")
      ->group("Height map");
}

void AddSizeOption(CLI::App& command, PictureOptions& picture) {
  AddSizeOption(command, picture.width, picture.height);
}

void AddSizeOption(CLI::App& command, int& width, int& height) {
  command
      .add_option_function<std::string>(
          "--size", [&width, &height](const std::string& text) { ParseSize(text, width, height); },
          fmt::format("Width and height in pixels (default: {}x{})", width, height))
      ->type_name("WxH");
}

void RequireSeparate(const std::filesystem::path& input, const Paths& outputs) {
  OutputGuard guard;
  guard.Protect(input);
  for (const std::filesystem::path& output : outputs) {
    if (!output.empty()) guard.Claim(output);
  }
}

void RequireGridOutputs(const std::filesystem::path& input, const Paths& outputs) {
  for (const std::filesystem::path& output : outputs) RequireGridFormat(output);
  RequireSeparate(input, outputs);
}

void RequireExtension(const std::filesystem::path& path, std::initializer_list<const char*> extensions) {
  const std::string extension = path.extension().string();
  std::string list;
  for (const char* wanted : extensions) {
    if (path.empty() || extension == wanted) return;
    list += fmt::format("{}{}", list.empty() ? "" : " or ", wanted);
  }
  throw Failure(ExitCode::kUsage, fmt::format("{}: the output must end in {}", path.string(), list));
}

}  // namespace qv3d
