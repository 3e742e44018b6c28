#include "command_line.h"

#include <CLI/CLI.hpp>
#include <QV_3D.h>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <functional>
#include <map>
#include <new>
#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr const char* kDescription =
    "Measures and draws surfaces given as meshes.\n"
    "A mesh is converted to a height map (seen along z), levelled, measured and drawn; no display is needed.";

constexpr const char* kFooter =
    "Exit status: 0 done, 1 wrong usage, 2 a file cannot be read or written, 3 a file is corrupt,\n"
    "4 the result cannot be computed.\n"
    "Start with: qv3d demo";

const std::map<std::string, Style> kStyles{{"texture", Style::kTexture},
                                           {"sidelight", Style::kSideLight},
                                           {"normals", Style::kNormals},
                                           {"map", Style::kMap}};

const std::map<std::string, GlBackend> kBackends{
    {"auto", GlBackend::kAutomatic}, {"egl", GlBackend::kEgl}, {"glx", GlBackend::kGlx}};

struct Options {
  ImportOptions info, stats;
  Mesh2GridOptions mesh2grid;
  RenderOptions render;
  DemoOptions demo;
  std::string size;
  std::function<void()> run;
  bool json = false;
};

std::string CheckUnit(const std::string& unit) {
  return IsKnownUnit(unit) ? std::string() : "the unit must be m, mm, um, nm or in";
}

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

void AddFileOptions(CLI::App& command, ImportOptions& options) {
  command.add_option("FILE", options.file, "An STL file, binary or ASCII")->required();
  command.add_option("--unit", options.unit, "Unit of the file's numbers: m, mm, um, nm or in")
      ->capture_default_str()
      ->check(CheckUnit);
  AddLimits(command, options.limits);
  AddOutputOptions(command, options.json, options.quiet);
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

void AddLevelOption(CLI::App& command, ImportOptions& options) {
  command.add_flag("!--no-level", options.level, "Keep the heights as they are: no plane is subtracted")
      ->group("Height map");
}

void AddBackend(CLI::App& command, GlBackend& backend) {
  command.add_option("--gl", backend)->transform(CLI::CheckedTransformer(kBackends))->group("");
}

void ParseSize(const std::string& text, PictureOptions& picture) {
  if (text.empty()) return;
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

void AddInfo(CLI::App& app, Options& o) {
  CLI::App& command = *app.add_subcommand("info", "Tell what a mesh file holds and whether it is in order");
  AddFileOptions(command, o.info);
  command.callback([&o] {
    o.json = o.info.json;
    o.run = [&o] { RunInfo(o.info); };
  });
}

void AddStats(CLI::App& app, Options& o) {
  CLI::App& command =
      *app.add_subcommand("stats", "Measure a mesh: Sa, Sq, Sp, Sv, Sz, Ssk, Sku, ten-point height");
  AddFileOptions(command, o.stats);
  AddGridOptions(command, o.stats);
  AddLevelOption(command, o.stats);
  command.callback([&o] {
    o.json = o.stats.json;
    o.run = [&o] { RunStats(o.stats); };
  });
}

void AddMesh2Grid(CLI::App& app, Options& o) {
  ImportOptions& import = o.mesh2grid.import;
  CLI::App& command = *app.add_subcommand("mesh2grid", "Write a mesh as a height map");
  AddFileOptions(command, import);
  AddGridOptions(command, import);
  import.level = false;
  command.add_flag("--level,!--no-level", import.level, "Subtract the least-squares plane")
      ->group("Height map");
  command.add_option(
      "-o,--output", o.mesh2grid.outputs,
      "What to write: .csv (rows of heights), .xyz (points) or .png (grey levels); may be given several "
      "times (default: FILE's name with .csv, here)");
  command.callback([&o] {
    o.json = o.mesh2grid.import.json;
    o.run = [&o] { RunMesh2Grid(o.mesh2grid); };
  });
}

void AddRender(CLI::App& app, Options& o) {
  RenderOptions& r = o.render;
  CLI::App& command = *app.add_subcommand("render", "Draw a mesh as a PNG picture");
  AddFileOptions(command, r.import);
  AddGridOptions(command, r.import);
  AddLevelOption(command, r.import);
  command.add_option("-o,--output", r.output, "The picture to write")->required();
  command.add_option("--size", o.size, "Width and height in pixels (default: 1600x1000)")->type_name("WxH");
  command.add_option("--style", r.picture.style, "texture (coloured by height), sidelight, normals or map")
      ->transform(CLI::CheckedTransformer(kStyles))
      ->type_name("STYLE")
      ->group("Picture");
  command
      .add_option("--azimuth", r.picture.angles.azimuth, "Where the viewer stands, degrees; 0 looks along +y")
      ->capture_default_str()
      ->check(CLI::Range(-360.0, 360.0))
      ->group("Picture");
  command.add_option("--elevation", r.picture.angles.elevation, "How high the viewer stands, degrees")
      ->capture_default_str()
      ->check(CLI::Range(5.0, 90.0))
      ->group("Picture");
  command.add_option("--zoom", r.picture.angles.zoom, "Larger than 1: nearer")
      ->capture_default_str()
      ->check(CLI::Range(0.05, 50.0))
      ->group("Picture");
  command
      .add_option("--z-scale", r.picture.zScale,
                  "Exaggeration of heights (default: chosen to suit, and stated)")
      ->check(CLI::PositiveNumber)
      ->group("Picture");
  command.add_option("--step", r.picture.step, "Draw every so many samples")
      ->capture_default_str()
      ->check(CLI::Range(1, 65536))
      ->group("Picture");
  command.add_option("--title", r.picture.title, "Title (default: the file's name)")->group("Picture");
  AddBackend(command, r.backend);
  command.callback([&o] {
    ParseSize(o.size, o.render.picture);
    o.json = o.render.import.json;
    o.run = [&o] { RunRender(o.render); };
  });
}

void AddDemo(CLI::App& app, Options& o) {
  CLI::App& command =
      *app.add_subcommand("demo", "Measure and draw a built-in sample part and write a report");
  command.add_option("-o,--output", o.demo.folder, "Folder for the mesh, the pictures and the report")
      ->capture_default_str();
  AddLimits(command, o.demo.limits);
  AddOutputOptions(command, o.demo.json, o.demo.quiet);
  AddBackend(command, o.demo.backend);
  command.callback([&o] {
    o.json = o.demo.json;
    o.run = [&o] { RunDemo(o.demo); };
  });
}

ExitCode Report(const Failure& failure, bool json) {
  fmt::print(stderr, "qv3d: {}\n", failure.what());
  if (!failure.advice().empty()) fmt::print(stderr, "qv3d: {}\n", failure.advice());
  if (json && failure.code() != ExitCode::kUsage) {
    const nlohmann::ordered_json error = {{"error",
                                           {{"exitCode", static_cast<int>(failure.code())},
                                            {"message", failure.what()},
                                            {"advice", failure.advice()}}}};
    fmt::print("{}\n", error.dump(2));
  }
  return failure.code();
}

}  // namespace

ExitCode RunCommandLine(int argc, char** argv) {
  CLI::App app(kDescription, "qv3d");
  app.footer(kFooter);
  app.require_subcommand(1);
  app.set_version_flag("--version", fmt::format("qv3d {}.{}.{}", QV_3D_VERSION_MAJOR, QV_3D_VERSION_MINOR,
                                                QV_3D_VERSION_PATCH));
  Options options;
  AddDemo(app, options);
  AddInfo(app, options);
  AddStats(app, options);
  AddMesh2Grid(app, options);
  AddRender(app, options);
  try {
    app.parse(argc, argv);
    options.run();
    return ExitCode::kOk;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? ExitCode::kOk : ExitCode::kUsage;
  } catch (const Failure& failure) {
    return Report(failure, options.json);
  } catch (const std::bad_alloc&) {
    return Report({ExitCode::kNotComputable, "out of memory", "Choose a coarser grid."}, options.json);
  } catch (const std::exception& error) {
    return Report({ExitCode::kNotComputable, error.what()}, options.json);
  }
}

}  // namespace qv3d
