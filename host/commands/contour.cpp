// qv3d contour: lines of equal height.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "analysis/contour_map.h"
#include "commands/options.h"
#include "files/contour_files.h"
#include "files/whole_file.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct ContourOptions {
  ImportOptions import;
  PictureOptions picture;
  GlBackend backend = GlBackend::kAutomatic;
  int levels = 10;
  std::vector<double> heights;
  std::vector<std::filesystem::path> outputs;
  bool perspective = false;
};

/// The heights asked for, or round ones between the lowest and the highest.
std::vector<float> HeightsOf(const ContourOptions& options, const HeightMap& map) {
  std::vector<float> heights(options.heights.begin(), options.heights.end());
  if (!heights.empty()) {
    std::sort(heights.begin(), heights.end());
    heights.erase(std::unique(heights.begin(), heights.end()), heights.end());
    return heights;
  }
  const std::vector<double> round = RoundHeights(HeightRange(map), options.import.unit, options.levels);
  return {round.begin(), round.end()};
}

ContourSheet SheetOf(const ContourOptions& options, const HeightMap& map) {
  ContourSheet sheet{options.import.file.filename().string(),
                     options.import.unit,
                     map.x0,
                     map.x0 + map.xSize,
                     map.y0,
                     map.y0 + map.ySize,
                     {}};
  for (const float height : HeightsOf(options, map)) sheet.levels.push_back(ContoursAt(map, height));
  return sheet;
}

bool WritePicture(const ContourOptions& options, const std::filesystem::path& path, const HeightMap& map,
                  const ContourSheet& sheet) {
  PictureOptions wanted = options.picture;
  wanted.style = options.perspective ? Style::kTexture : Style::kMap;
  wanted.unit = options.import.unit;
  wanted.title = fmt::format("{}: contour lines", sheet.title);
  for (const ContourLevel& level : sheet.levels) wanted.contourHeights.push_back(level.height);
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const Picture picture = DrawPicture(*context, map, wanted);
  WritePng(path, picture.image);
  return picture.hasText;
}

void RequireContourFormats(const ContourOptions& options) {
  for (const std::filesystem::path& output : options.outputs)
    RequireExtension(output, {".svg", ".dxf", ".csv", ".png"});
  RequireSeparate(options.import.file, options.outputs);
}

/// False where a picture is without text.
bool Write(const ContourOptions& options, const std::filesystem::path& path, const HeightMap& map,
           const ContourSheet& sheet) {
  const std::string extension = path.extension().string();
  if (extension == ".png") return WritePicture(options, path, map, sheet);
  WriteWholeFile(path, extension == ".svg"   ? ContourSvg(sheet)
                       : extension == ".dxf" ? ContourDxf(sheet)
                                             : ContourCsv(sheet));
  return true;
}

struct LevelFacts {
  std::size_t lines = 0, closed = 0;
  double length = 0;
};

LevelFacts FactsOf(const ContourLevel& level) {
  LevelFacts facts;
  for (const ContourLine& line : level.lines) {
    ++facts.lines;
    facts.closed += line.closed ? 1 : 0;
    facts.length += LengthOf(line);
  }
  return facts;
}

void PrintJson(const ContourOptions& options, const LoadedMap& loaded, const ContourSheet& sheet) {
  Json json = JsonOfSource(options.import, loaded);
  json["levels"] = Json::array();
  for (const ContourLevel& level : sheet.levels) {
    const LevelFacts facts = FactsOf(level);
    json["levels"].push_back({{"height", ShortNumber(level.height)},
                              {"segments", level.segments.size() / 4},
                              {"lines", facts.lines},
                              {"closed", facts.closed},
                              {"length", facts.length}});
  }
  json["written"] = Json::array();
  for (const std::filesystem::path& output : options.outputs) json["written"].push_back(output.string());
  fmt::print("{}\n", json.dump(2));
}

void PrintText(const ContourOptions& options, const HeightMap& map, const ContourSheet& sheet) {
  float most = 0;
  for (const ContourLevel& level : sheet.levels) most = std::max(most, std::abs(level.height));
  const Unit height = HandyUnit(options.import.unit, most);
  const Unit length = HandyUnit(options.import.unit, std::max(map.xSize, map.ySize));
  fmt::print("{:>14} {:>8} {:>8} {:>14}\n", "height", "lines", "closed", "length");
  for (const ContourLevel& level : sheet.levels) {
    const LevelFacts facts = FactsOf(level);
    fmt::print("{:>14} {:>8} {:>8} {:>14}\n", FormatLength(level.height, height), facts.lines, facts.closed,
               FormatLength(facts.length, length));
  }
  for (const std::filesystem::path& output : options.outputs) fmt::print("wrote {}\n", output.string());
}

void RunContour(const ContourOptions& options) {
  RequireContourFormats(options);
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  progress.Phase("drawing the contour lines");
  const ContourSheet sheet = SheetOf(options, loaded.map);
  bool hasText = true;
  for (const std::filesystem::path& output : options.outputs) {
    hasText = Write(options, output, loaded.map, sheet) && hasText;
    progress.Tick();
  }
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    PrintJson(options, loaded, sheet);
  } else {
    PrintText(options, loaded.map, sheet);
  }
}

}  // namespace

void AddContour(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("contour", "Draw lines of equal height, for pictures and for CAD");
  const auto options = std::make_shared<ContourOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  CLI::Option* const levels =
      command.add_option("--levels", options->levels, "About so many lines, at round heights")
          ->capture_default_str()
          ->check(CLI::Range(1, 1000));
  command
      .add_option("--at", options->heights,
                  "Lines at these heights, as in -0.1,0,0.1, in the unit of the file")
      ->delimiter(',')
      ->excludes(levels);
  command.add_option("-o,--output", options->outputs,
                     "What to write: .svg or .dxf (joined lines by level, in the unit of the file), .csv "
                     "(segments) or .png (the lines over the map); may be given several times");
  command.add_flag("--perspective", options->perspective,
                   "In the picture draw the surface in space, not its map");
  AddSizeOption(command, options->picture);
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunContour);
}

}  // namespace qv3d
