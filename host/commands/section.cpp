// qv3d section: a profile of a surface.
#include "analysis/section.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <limits>
#include <map>

#include "commands/options.h"
#include "files/whole_file.h"
#include "plots/section_plot.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr double kNotGiven = std::numeric_limits<double>::quiet_NaN();

struct SectionOptions {
  ImportOptions import;
  int row = -1, column = -1;
  double x = kNotGiven, y = kNotGiven;
  int band = 1;
  BandMode mode = BandMode::kMean;
  std::vector<std::filesystem::path> outputs;
  int width = 1600;
  int height = 700;
};

const std::map<std::string, BandMode> kModes{
    {"mean", BandMode::kMean}, {"highest", BandMode::kHighest}, {"lowest", BandMode::kLowest}};

SectionRequest RequestOf(const SectionOptions& options, const HeightMap& map) {
  SectionRequest request;
  request.alongX = options.row >= 0 || !std::isnan(options.y);
  request.band = options.band;
  request.mode = options.mode;
  const double at = request.alongX ? options.y : options.x;
  request.line = std::isnan(at) ? std::max(options.row, options.column) : LineAt(map, request.alongX, at);
  RequireInside(map, request);
  return request;
}

/// Where the section lies, in words.
std::string Place(const SectionOptions& options, const HeightMap& map, const SectionRequest& request) {
  const double first = request.alongX ? map.y0 : map.x0;
  const double spacing = request.alongX ? map.SpacingY() : map.SpacingX();
  const double extent = std::max(map.xSize, map.ySize);
  std::string text = fmt::format(
      "{} {:.6g}, {} = {}", request.alongX ? "row" : "column", request.line, request.alongX ? "y" : "x",
      FormatLength(first + request.line * spacing, HandyUnit(options.import.unit, extent)));
  if (request.band > 1) {
    const auto* const mode = std::find_if(kModes.begin(), kModes.end(), [&](const auto& m) {
                               return m.second == request.mode;
                             })->first.c_str();
    text += fmt::format(", {} of {} {}", mode, request.band, request.alongX ? "rows" : "columns");
  }
  return text;
}

Plot PlotOf(const SectionOptions& options, const HeightMap& map, const SectionRequest& request,
            const Profile& profile) {
  Plot plot = SectionPlot(map, request.alongX, profile, options.import.unit);
  plot.title = fmt::format("{}: section", options.import.file.filename().string());
  plot.subtitle = Place(options, map, request);
  plot.width = options.width;
  plot.height = options.height;
  return plot;
}

std::string CsvOf(const SectionOptions& options, const SectionRequest& request, const Profile& profile) {
  std::string text =
      fmt::format("# {0} / {1}, height / {1}\n", request.alongX ? "x" : "y", options.import.unit);
  for (std::size_t k = 0; k < profile.heights.size(); ++k) {
    const float h = profile.heights[k];
    fmt::format_to(std::back_inserter(text), "{:.9g},{}\n", profile.positions[k],
                   IsMissing(h) ? std::string("nan") : fmt::format("{}", h));
  }
  return text;
}

void PrintJson(const SectionOptions& options, const LoadedMap& loaded, const SectionRequest& request,
               const Profile& profile, const ProfileStatistics& s) {
  const HeightMap& map = loaded.map;
  Json json = JsonOfSource(options.import, loaded);
  json["section"] = {{"along", request.alongX ? "x" : "y"},
                     {"line", request.line},
                     {"at", request.alongX ? map.y0 + request.line * map.SpacingY()
                                           : map.x0 + request.line * map.SpacingX()},
                     {"band", request.band},
                     {"samples", profile.heights.size()},
                     {"missing", std::count_if(profile.heights.begin(), profile.heights.end(), IsMissing)}};
  json["statistics"] = {{"Pa", ShortNumber(s.pa)},  {"Pq", ShortNumber(s.pq)}, {"Pp", ShortNumber(s.pp)},
                        {"Pv", ShortNumber(s.pv)},  {"Pt", ShortNumber(s.pt)}, {"Psk", ShortNumber(s.psk)},
                        {"Pku", ShortNumber(s.pku)}};
  json["written"] = Json::array();
  for (const std::filesystem::path& output : options.outputs) json["written"].push_back(output.string());
  fmt::print("{}\n", json.dump(2));
}

void PrintText(const SectionOptions& options, const LoadedMap& loaded, const SectionRequest& request,
               const ProfileStatistics& s) {
  const Unit unit = HandyUnit(options.import.unit, s.pt);
  fmt::print("{}\n", Place(options, loaded.map, request));
  const std::pair<const char*, std::pair<float, const char*>> rows[] = {
      {"Pa", {s.pa, "arithmetic mean (Ra of the unfiltered profile)"}},
      {"Pq", {s.pq, "root mean square (Rq of the unfiltered profile)"}},
      {"Pp", {s.pp, "highest peak above the mean"}},
      {"Pv", {s.pv, "deepest valley below the mean"}},
      {"Pt", {s.pt, "highest peak to deepest valley (Rt of the unfiltered profile)"}}};
  for (const auto& [name, row] : rows)
    fmt::print("{:<5} {:>12}  {}\n", name, FormatLength(row.first, unit), row.second);
  fmt::print("{:<5} {:>12}  skewness\n{:<5} {:>12}  kurtosis\n", "Psk", FormatNumber(s.psk), "Pku",
             FormatNumber(s.pku));
  for (const std::filesystem::path& output : options.outputs) fmt::print("wrote {}\n", output.string());
}

void RunSection(const SectionOptions& options) {
  for (const std::filesystem::path& output : options.outputs)
    RequireExtension(output, {".csv", ".svg", ".png"});
  RequireSeparate(options.import.file, options.outputs);
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  const SectionRequest request = RequestOf(options, loaded.map);
  const Profile profile = ProfileOf(loaded.map, request);
  const ProfileStatistics statistics = MeasureProfile(profile);
  progress.Phase("writing");
  bool hasText = true;
  for (const std::filesystem::path& output : options.outputs) {
    if (output.extension() == ".csv") {
      WriteWholeFile(output, CsvOf(options, request, profile));
    } else {
      hasText = WritePlot(output, PlotOf(options, loaded.map, request, profile)) && hasText;
    }
  }
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    PrintJson(options, loaded, request, profile, statistics);
  } else {
    PrintText(options, loaded, request, statistics);
  }
}

void AddPlaceOptions(CLI::App& command, SectionOptions& options) {
  CLI::Option_group* const place = command.add_option_group("Place", "Where to cut, one of these");
  place->add_option("--row", options.row, "Row, from 0 at the lowest y")->check(CLI::NonNegativeNumber);
  place->add_option("--column", options.column, "Column, from 0 at the lowest x")
      ->check(CLI::NonNegativeNumber);
  place->add_option("--y", options.y,
                    "Along x at this y, in the unit of the file; between two rows interpolated");
  place->add_option("--x", options.x, "Along y at this x");
  place->require_option(1);
  command.add_option("--band", options.band, "Take so many rows or columns together")
      ->capture_default_str()
      ->check(CLI::Range(1, 65536));
  command.add_option("--of-band", options.mode, "The mean (default), highest or lowest of a band")
      ->transform(CLI::CheckedTransformer(kModes))
      ->type_name("WHICH");
}

}  // namespace

void AddSection(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("section", "Take and measure a profile of a surface");
  const auto options = std::make_shared<SectionOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  AddPlaceOptions(command, *options);
  command.add_option(
      "-o,--output", options->outputs,
      "What to write: .csv (position and height, in the unit of the file), .png or .svg (a plot); "
      "may be given several times");
  AddSizeOption(command, options->width, options->height);
  OnCommand(command, invocation, options, RunSection);
}

}  // namespace qv3d
