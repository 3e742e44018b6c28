// qv3d points2grid: scattered points as a height map in a file.
#include <fmt/format.h>

#include "commands/options.h"
#include "formats/grid_file.h"
#include "import/points.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct Points2GridOptions {
  std::filesystem::path file;
  std::vector<std::filesystem::path> outputs;
  std::string unit = "mm";
  int nx = 0, ny = 0;
  double spacing = 0;
  double power = 2;
  double smoothing = 0;
  bool triangles = false;
  double longestSide = 0;
  bool json = false;
  bool quiet = false;
};

PointCloud ReadCloud(const Points2GridOptions& options, Progress& progress) {
  progress.Phase("reading the points");
  PointCloud cloud = ReadPoints(options.file);
  if (cloud.notFinite > 0) {
    fmt::print(stderr, "qv3d: warning: {} points with a coordinate that is not a number were left out\n",
               cloud.notFinite);
  }
  if (cloud.points.empty()) {
    throw Failure(ExitCode::kNotComputable, fmt::format("{}: no points", options.file.string()));
  }
  return cloud;
}

void Report(const Points2GridOptions& options, const PointCloud& cloud, const HeightMap& map) {
  const std::size_t missing = CountMissing(map);
  const double share = static_cast<double>(missing) / static_cast<double>(map.heights.size());
  const std::string method = options.triangles ? std::string("triangles")
                                               : fmt::format("inverse distance, power {:g}, smoothing {:g}",
                                                             options.power, options.smoothing);
  if (options.json) {
    Json written = Json::array();
    for (const std::filesystem::path& output : options.outputs) written.push_back(output.string());
    const Json json = {{"file", options.file.string()},
                       {"unit", options.unit},
                       {"points", cloud.points.size()},
                       {"pointsNotFinite", cloud.notFinite},
                       {"method", method},
                       {"grid",
                        {{"width", map.width},
                         {"height", map.height},
                         {"spacingX", map.SpacingX()},
                         {"spacingY", map.SpacingY()},
                         {"firstX", map.x0},
                         {"firstY", map.y0},
                         {"missingSamples", missing},
                         {"missingShare", share}}},
                       {"written", written}};
    fmt::print("{}\n", json.dump(2));
    return;
  }
  fmt::print("{} points, {}\n", cloud.points.size(), method);
  fmt::print("{} x {} samples, {:.4g} x {:.4g} {} apart, {:.2f} % missing\n", map.width, map.height,
             map.SpacingX(), map.SpacingY(), UnitName(options.unit), 100 * share);
  for (const std::filesystem::path& output : options.outputs) fmt::print("wrote {}\n", output.string());
}

void RunPoints2Grid(const Points2GridOptions& given) {
  Points2GridOptions options = given;
  if (options.outputs.empty()) options.outputs.push_back(options.file.stem().string() + "-grid.csv");
  RequireGridOutputs(options.file, options.outputs);
  Progress progress(options.quiet);
  const PointCloud cloud = ReadCloud(options, progress);
  const NodeGrid grid = PlanNodes(cloud, options.nx, options.ny, options.spacing);
  progress.Phase("gridding");
  const HeightMap map =
      options.triangles
          ? GridByTriangles(cloud, DelaunayTriangles(cloud.points), grid, options.longestSide, progress)
          : GridByDistance(cloud, grid, options.power, options.smoothing, progress);
  progress.Phase("writing the grid");
  for (const std::filesystem::path& output : options.outputs) WriteGrid(output, map, options.unit);
  progress.Finish();
  Report(options, cloud, map);
}

void AddNodeOptions(CLI::App& command, Points2GridOptions& options) {
  CLI::Option* const nx =
      command.add_option("--nx", options.nx, "Nodes along x (default: by the number of points)")
          ->check(CLI::Range(2, 65536))
          ->group("Height map");
  CLI::Option* const ny = command.add_option("--ny", options.ny, "Nodes along y")
                              ->check(CLI::Range(2, 65536))
                              ->group("Height map");
  command.add_option("--spacing", options.spacing, "Distance of the nodes, about, in the unit of the file")
      ->check(CLI::PositiveNumber)
      ->excludes(nx)
      ->excludes(ny)
      ->group("Height map");
}

void AddMethodOptions(CLI::App& command, Points2GridOptions& options) {
  CLI::Option* const power =
      command.add_option("--power", options.power, "Inverse distance: a point weighs 1 / distance^power")
          ->capture_default_str()
          ->check(CLI::Range(0.0, 32.0))
          ->group("Method");
  CLI::Option* const smoothing =
      command
          .add_option(
              "--smoothing", options.smoothing,
              "Inverse distance: length, in the unit of the file, below which distances matter little")
          ->capture_default_str()
          ->check(CLI::NonNegativeNumber)
          ->group("Method");
  CLI::Option* const triangles = command
                                     .add_flag("--triangles", options.triangles,
                                               "Linear between the points, joined to Delaunay triangles")
                                     ->excludes(power)
                                     ->excludes(smoothing)
                                     ->group("Method");
  command
      .add_option("--longest-side", options.longestSide,
                  "Leave holes where points are farther apart than this")
      ->check(CLI::PositiveNumber)
      ->needs(triangles)
      ->group("Method");
}

}  // namespace

void AddPoints2Grid(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("points2grid", "Write scattered points as a height map");
  const auto options = std::make_shared<Points2GridOptions>();
  command
      .add_option(
          "FILE", options->file,
          "Points (.xyz, .csv, .txt: x, y and z on every line) or a PLY file, whose vertices are taken")
      ->required();
  AddUnitOption(command, options->unit);
  AddNodeOptions(command, *options);
  AddMethodOptions(command, *options);
  command.add_option("-o,--output", options->outputs,
                     GridOutputs("What to write, may be given several times (default: FILE-grid.csv, here)"));
  AddOutputOptions(command, options->json, options->quiet);
  OnCommand(command, invocation, options, RunPoints2Grid);
}

}  // namespace qv3d
