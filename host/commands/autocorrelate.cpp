// qv3d autocorrelate: how like itself a surface is at a distance.
#include <fmt/format.h>

#include "analysis/correlation.h"
#include "commands/options.h"
#include "formats/grid_file.h"
#include "import/whole_map.h"
#include "plots/field_picture.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct AutocorrelateOptions {
  ImportOptions import;
  std::filesystem::path picture, csv;
  double threshold = kCorrelationThreshold;
  int width = 1600;
  int height = 1000;
};

Field FieldOf(const HeightMap& correlation, const Unit& unit) {
  Field field;
  field.columns = correlation.width;
  field.rows = correlation.height;
  field.values = correlation.heights;
  // A value stands for the cell around it.
  const double x = correlation.SpacingX() * unit.factor, y = correlation.SpacingY() * unit.factor;
  field.left = -correlation.width * x / 2;
  field.right = -field.left;
  field.bottom = -correlation.height * y / 2;
  field.top = -field.bottom;
  field.xName = fmt::format("lag in x / {}", unit.name);
  field.yName = fmt::format("lag in y / {}", unit.name);
  field.valueName = "correlation";
  field.low = std::min(HeightRange(correlation).first, 0.0f);
  field.high = 1;
  return field;
}

bool WritePicture(const AutocorrelateOptions& options, const HeightMap& correlation) {
  FieldPicture picture;
  picture.title = fmt::format("{}: autocorrelation", options.import.file.filename().string());
  picture.subtitle = "Mean product of heights at a distance, over the mean square height";
  picture.fields.push_back(FieldOf(correlation, HandyUnit(options.import.unit, correlation.xSize)));
  picture.width = options.width;
  picture.height = options.height;
  return WriteFields(options.picture, picture);
}

Json JsonOf(const CorrelationLength& length, double threshold) {
  const auto known = [](double number, bool isKnown) { return isKnown ? Json(number) : Json(nullptr); };
  const bool fast = length.fastest > 0, slow = length.slowest > 0;
  return {{"threshold", threshold},
          {"fastest", known(length.fastest, fast)},
          {"fastestDirection", known(length.fastestDirection, fast)},
          {"slowest", known(length.slowest, slow)},
          {"slowestDirection", known(length.slowestDirection, slow)},
          {"aspect", known(slow ? length.fastest / length.slowest : 0, slow)}};
}

void PrintText(const AutocorrelateOptions& options, const CorrelationLength& length) {
  const Unit unit = HandyUnit(options.import.unit, length.fastest);
  if (length.fastest == 0) {
    fmt::print("no direction falls to {:g} within half the surface\n", options.threshold);
    return;
  }
  const bool isStandard = options.threshold == kCorrelationThreshold;
  fmt::print("{:<8} {:>12}  fastest decay to {:g}, along {:.1f}° from x\n", isStandard ? "Sal" : "fastest",
             FormatLength(length.fastest, unit), options.threshold, length.fastestDirection);
  if (length.slowest == 0) {
    fmt::print("{:<8} {:>12}  some direction does not decay within half the surface\n",
               isStandard ? "Str" : "aspect", "-");
    return;
  }
  fmt::print("{:<8} {:>12.3f}  fastest over slowest decay ({} along {:.1f}°)\n",
             isStandard ? "Str" : "aspect", length.fastest / length.slowest,
             FormatLength(length.slowest, unit), length.slowestDirection);
}

void RunAutocorrelate(const AutocorrelateOptions& options) {
  RequireExtension(options.picture, {".png"});
  RequireExtension(options.csv, {".csv"});
  RequireSeparate(options.import.file, {options.picture, options.csv});
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadWholeMap(options.import, progress).loaded;
  progress.Phase("correlating");
  const HeightMap correlation = AutocorrelationOf(loaded.map);
  const CorrelationLength length = LengthOfCorrelation(correlation, options.threshold);
  progress.Phase("writing");
  Json written = Json::array();
  bool hasText = true;
  if (!options.picture.empty()) {
    hasText = WritePicture(options, correlation);
    written.push_back(options.picture.string());
  }
  if (!options.csv.empty()) {
    WriteGridOfNumbers(options.csv, correlation, options.import.unit);
    written.push_back(options.csv.string());
  }
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    Json json = JsonOfSource(options.import, loaded);
    json["decay"] = JsonOf(length, options.threshold);
    json["written"] = written;
    fmt::print("{}\n", json.dump(2));
    return;
  }
  PrintText(options, length);
  for (const Json& path : written) fmt::print("wrote {}\n", path.get<std::string>());
}

}  // namespace

void AddAutocorrelate(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand(
      "autocorrelate", "Show how like itself a surface is at a distance, and measure Sal and Str");
  const auto options = std::make_shared<AutocorrelateOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.add_option("-o,--output", options->picture,
                     "Picture to write (.png): correlation by lag in x and y");
  command.add_option("--csv", options->csv,
                     "Correlations to write (.csv): 1 in the middle, lags up to half the surface");
  command
      .add_option("--threshold", options->threshold,
                  "Correlation to which the decay is measured; 0.2 for Sal")
      ->capture_default_str()
      ->check(CLI::Range(0.01, 0.99));
  AddSizeOption(command, options->width, options->height);
  OnCommand(command, invocation, options, RunAutocorrelate);
}

}  // namespace qv3d
