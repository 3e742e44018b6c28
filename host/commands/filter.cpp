// qv3d filter: a surface split into a smooth part and what is left.
#include <fmt/format.h>

#include "analysis/hole_fill.h"
#include "analysis/surface_filter.h"
#include "commands/options.h"
#include "formats/grid_file.h"
#include "import/load.h"
#include "plots/map_sheet.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct FilterOptions {
  ImportOptions import;
  FilterRequest request;
  std::filesystem::path output, residual, picture;
  PictureOptions size;  ///< width 0: to suit
  GlBackend backend = GlBackend::kAutomatic;
};

struct Split {
  LoadedMap loaded;
  FilteredMap result;
  Statistics input, filtered, residual;
};

Split LoadAndFilter(const FilterOptions& options, Progress& progress) {
  ImportOptions import = options.import;
  import.fill = false;  // filled here, from around
  Split split;
  split.loaded = LoadHeightMap(import, progress);
  HeightMap map = split.loaded.map;
  if (options.import.fill) FillFromAround(map);
  CheckRequestFor(options.request, map, options.import.unit);
  progress.Phase("filtering");
  split.result = ApplyFilter(options.request, map, split.loaded.map);
  split.input = Measure(split.result.input);
  split.filtered = Measure(split.result.filtered);
  split.residual = Measure(split.result.residual);
  return split;
}

/// Writes what was asked for and returns the files.
Json WriteAll(const FilterOptions& options, const FilteredMap& result, Progress& progress) {
  progress.Phase("writing the grids");
  Json written = Json::array({options.output.string()});
  WriteGrid(options.output, result.filtered, options.import.unit);
  if (!options.residual.empty()) {
    WriteGrid(options.residual, result.residual, options.import.unit);
    written.push_back(options.residual.string());
  }
  if (options.picture.empty()) return written;
  progress.Phase("drawing");
  const std::pair<int, int> size = options.size.width > 0 ? std::pair(options.size.width, options.size.height)
                                                          : SheetSize(3, result.input);
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const Picture sheet =
      DrawMapSheet(*context,
                   {{&result.input, options.import.file.filename().string()},
                    {&result.filtered, DescribeFilter(options.request, options.import.unit)},
                    {&result.residual, "residual: input − filtered"}},
                   size.first, size.second, options.import.unit);
  WritePng(options.picture, sheet.image);
  written.push_back(options.picture.string());
  if (!sheet.hasText) fmt::print(stderr, kNoTextWarning);
  return written;
}

Json JsonOfFilter(const FilterRequest& request) {
  Json json = {{"name", TraitsOf(request.kind).name}};
  const FilterParameter parameter = TraitsOf(request.kind).parameter;
  if (parameter == FilterParameter::kSamples) json["size"] = request.size;
  if (parameter == FilterParameter::kLength) {
    json[request.kind == FilterKind::kCircle ? "radius" : "cutoff"] = request.length;
  }
  return json;
}

void PrintJson(const FilterOptions& options, const Split& split, const Json& written) {
  const FilteredMap& result = split.result;
  Json json = JsonOfSource(options.import, split.loaded);
  json["filter"] = JsonOfFilter(options.request);
  json["cropped"] = {{"x", result.croppedX}, {"y", result.croppedY}};
  json["result"] = {{"width", result.filtered.width},
                    {"height", result.filtered.height},
                    {"missingSamples", CountMissing(result.filtered)}};
  json["statistics"] = {{"input", JsonOf(split.input)},
                        {"filtered", JsonOf(split.filtered)},
                        {"residual", JsonOf(split.residual)}};
  json["written"] = written;
  fmt::print("{}\n", json.dump(2));
}

void PrintText(const FilterOptions& options, const Split& split, const Json& written) {
  const FilteredMap& result = split.result;
  fmt::print("{}: {}\n", options.import.file.string(), DescribeFilter(options.request, options.import.unit));
  fmt::print("grid        {} x {} samples", result.filtered.width, result.filtered.height);
  if (result.croppedX + result.croppedY > 0) {
    fmt::print(", of {} x {}: without {} at either end of the rows and {} of the columns",
               split.loaded.map.width, split.loaded.map.height, result.croppedX, result.croppedY);
  }
  fmt::print("\n{}levelled    {}\n",
             split.loaded.missing == 0
                 ? std::string()
                 : fmt::format("missing     {} samples ({:.2f} %){}\n", split.loaded.missing,
                               100 * split.loaded.MissingShare(),
                               options.import.fill ? ", filled for the filter and put back" : ""),
             options.import.level ? "yes" : "no");
  const std::string& unit = options.import.unit;
  const std::vector<TableRow> input = RowsOf(split.input, unit), filtered = RowsOf(split.filtered, unit),
                              residual = RowsOf(split.residual, unit);
  fmt::print("{:<11} {:>12} {:>12} {:>12}\n", "", "input", "filtered", "residual");
  // Without the ten-point height, whose remark has no room here.
  for (std::size_t i = 0; i + 1 < input.size(); ++i) {
    fmt::print("{:<11} {:>12} {:>12} {:>12}  {}\n", input[i].name, input[i].value, filtered[i].value,
               residual[i].value, input[i].meaning);
  }
  for (const Json& file : written) fmt::print("wrote {}\n", file.get<std::string>());
}

void RunFilter(const FilterOptions& options) {
  CheckRequest(options.request);
  Paths grids{options.output};
  if (!options.residual.empty()) grids.push_back(options.residual);
  RequireGridOutputs(options.import.file, grids);
  RequireExtension(options.picture, {".png"});
  Progress progress(options.import.quiet);
  const Split split = LoadAndFilter(options, progress);
  const Json written = WriteAll(options, split.result, progress);
  progress.Finish();
  if (options.import.json) {
    PrintJson(options, split, written);
  } else {
    PrintText(options, split, written);
  }
}

void AddFilterChoice(CLI::App& command, FilterRequest& request) {
  CLI::App& group = *command.add_option_group("Filter", "One of these");
  for (const FilterTraits& traits : AllFilters()) {
    const std::string name = fmt::format("--{}", traits.name);
    const FilterKind kind = traits.kind;
    if (traits.parameter == FilterParameter::kNone) {
      group.add_flag_callback(
          name, [&request, kind] { request.kind = kind; }, traits.what);
    } else if (traits.parameter == FilterParameter::kSamples) {
      group
          .add_option_function<int>(
              name,
              [&request, kind](int size) {
                request.kind = kind;
                request.size = size;
              },
              traits.what)
          ->type_name("N");
    } else {
      group
          .add_option_function<double>(
              name,
              [&request, kind](double length) {
                request.kind = kind;
                request.length = length;
              },
              fmt::format("{}; in the unit of the file", traits.what))
          ->type_name(traits.kind == FilterKind::kCircle ? "RADIUS" : "CUTOFF");
    }
  }
  group.require_option(1);
}

}  // namespace

void AddFilter(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("filter", "Split a surface into a smooth part and a residual");
  const auto options = std::make_shared<FilterOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.get_option("--fill")->description(
      "Fill missing samples with the mean of what lies around them for the filter, and put the holes back "
      "afterwards (default: they stay missing; median, rank, gaussian, spline and circle then refuse)");
  AddFilterChoice(command, options->request);
  command.add_flag("--keep-edges", options->request.keepEdges,
                   "Keep the edges that the Gaussian filter spoils: there heights fall off");
  command.add_option("-o,--output", options->output, GridOutputs("The filtered grid"))->required();
  command.add_option("--residual", options->residual, "Also write the residual, input minus filtered");
  command.add_option("--picture", options->picture,
                     "Also draw input, filtered and residual side by side (PNG)");
  options->size.width = 0;
  AddSizeOption(command, options->size);
  command.get_option("--size")->description("Width and height of the picture in pixels (default: to suit)");
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunFilter);
}

}  // namespace qv3d
