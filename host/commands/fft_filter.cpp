// qv3d fft-filter: splits a surface by wavelength.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <map>

#include "analysis/frequency_filter.h"
#include "commands/options.h"
#include "failure.h"
#include "formats/grid_file.h"
#include "import/whole_map.h"
#include "plots/field_picture.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct FftFilterOptions {
  ImportOptions import;
  bool lowPass = false, highPass = false;
  FrequencyFilter filter;
  std::vector<std::filesystem::path> outputs;
  std::filesystem::path picture;
  int width = 2000;
  int height = 680;
};

const std::map<std::string, FrequencyFilterKind> kKinds{{"gaussian", FrequencyFilterKind::kGaussian},
                                                        {"butterworth", FrequencyFilterKind::kButterworth},
                                                        {"ideal", FrequencyFilterKind::kIdeal}};

/// Along which axes the cutoff is not the one asked for by more than this is told.
constexpr double kUnequalSpacing = 0.01;

/// The colours span all but this share of the samples at either end.
constexpr double kOutliers = 0.002;

const char* NameOf(FrequencyFilterKind kind) {
  for (const auto& [name, known] : kKinds) {
    if (known == kind) return name.c_str();
  }
  return "";
}

Field FieldOf(const char* name, const HeightMap& map, const std::string& fileUnit, const Unit& height) {
  const auto [low, high] = HeightRange(map, kOutliers);
  const Unit length = HandyUnit(fileUnit, std::max(map.xSize, map.ySize));
  Field field;
  field.name = name;
  field.columns = map.width;
  field.rows = map.height;
  field.values = map.heights;
  for (float& value : field.values) {
    if (!IsMissing(value)) value = static_cast<float>(value * height.factor);
  }
  field.left = (map.x0 - map.SpacingX() / 2) * length.factor;
  field.right = field.left + map.width * map.SpacingX() * length.factor;
  field.bottom = (map.y0 - map.SpacingY() / 2) * length.factor;
  field.top = field.bottom + map.height * map.SpacingY() * length.factor;
  field.xName = fmt::format("x / {}", length.name);
  field.yName = fmt::format("y / {}", length.name);
  field.valueName = fmt::format("height / {}", height.name);
  field.low = low * height.factor;
  field.high = high * height.factor;
  return field;
}

/// Input, filtered surface and what the filter took away.
struct Result {
  HeightMap input, filtered, residual;
  Cutoffs cutoffs;
};

Result Filter(const FftFilterOptions& options, const FrequencyFilter& filter, Progress& progress,
              LoadedMap& loaded) {
  WholeMap whole = LoadWholeMap(options.import, progress);
  progress.Phase("filtering");
  Result result{whole.loaded.map, whole.loaded.map, whole.loaded.map, {}};
  FrequencyFiltered filtered = FilterByFrequency(whole.loaded.map, filter);
  result.cutoffs = filtered.cutoffs;
  result.filtered.heights = std::move(filtered.heights);
  for (std::size_t k = 0; k < result.residual.heights.size(); ++k) {
    result.residual.heights[k] -= result.filtered.heights[k];
  }
  for (HeightMap* const map : {&result.input, &result.filtered, &result.residual})
    RestoreMissing(whole, map->heights);
  loaded = std::move(whole.loaded);
  return result;
}

bool WritePicture(const FftFilterOptions& options, const FrequencyFilter& filter, const Result& result) {
  const std::string& unit = options.import.unit;
  const bool low = filter.pass == Pass::kLow;
  FieldPicture picture;
  picture.title =
      fmt::format("{}: {}-pass filter", options.import.file.filename().string(), low ? "low" : "high");
  picture.subtitle =
      fmt::format("{}, cutoff {}: {} waves stay", NameOf(filter.kind),
                  FormatLength(filter.cutoff, HandyUnit(unit, filter.cutoff)), low ? "long" : "short");
  const auto [least, most] = HeightRange(result.input, kOutliers);
  const Unit height = HandyUnit(unit, std::max(std::abs(least), std::abs(most)));
  picture.fields = {FieldOf("input", result.input, unit, height),
                    FieldOf("filtered", result.filtered, unit, height),
                    FieldOf("residual", result.residual, unit, height)};
  picture.width = options.width;
  picture.height = options.height;
  return WriteFields(options.picture, picture);
}

void WarnOfCutoffs(const FftFilterOptions& options, const Cutoffs& cutoffs) {
  if (std::abs(cutoffs.x / cutoffs.y - 1) <= kUnequalSpacing) return;
  fmt::print(stderr,
             "qv3d: warning: the samples are not equally far apart in x and y: the cutoff is {:.4g} in x and "
             "{:.4g} in y ({})\n",
             cutoffs.x, cutoffs.y, UnitName(options.import.unit));
}

Json JsonOf(const FftFilterOptions& options, const FrequencyFilter& filter, const Result& result,
            const LoadedMap& loaded) {
  Json json = JsonOfSource(options.import, loaded);
  json["filter"] = {{"pass", filter.pass == Pass::kLow ? "low" : "high"},
                    {"kind", NameOf(filter.kind)},
                    {"cutoff", filter.cutoff},
                    {"cutoffX", result.cutoffs.x},
                    {"cutoffY", result.cutoffs.y},
                    {"cutoffDiagonal", result.cutoffs.diagonal}};
  json["filtered"] = qv3d::JsonOf(Measure(result.filtered));
  json["residual"] = qv3d::JsonOf(Measure(result.residual));
  json["written"] = Json::array();
  for (const std::filesystem::path& path : options.outputs) json["written"].push_back(path.string());
  if (!options.picture.empty()) json["written"].push_back(options.picture.string());
  return json;
}

void RunFftFilter(const FftFilterOptions& options) {
  if (options.lowPass == options.highPass) throw Failure(ExitCode::kUsage, "say --low-pass or --high-pass");
  FrequencyFilter filter = options.filter;
  filter.pass = options.lowPass ? Pass::kLow : Pass::kHigh;
  RequireGridOutputs(options.import.file, options.outputs);
  RequireExtension(options.picture, {".png"});
  Progress progress(options.import.quiet);
  LoadedMap loaded;
  const Result result = Filter(options, filter, progress, loaded);
  progress.Phase("writing");
  for (const std::filesystem::path& output : options.outputs) {
    WriteGrid(output, result.filtered, options.import.unit);
  }
  const bool hasText = options.picture.empty() || WritePicture(options, filter, result);
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  WarnOfCutoffs(options, result.cutoffs);
  if (options.import.json) {
    fmt::print("{}\n", JsonOf(options, filter, result, loaded).dump(2));
    return;
  }
  const auto height = [&](const HeightMap& map) {
    const Statistics s = Measure(map);
    return FormatLength(s.sq, HandyUnit(options.import.unit, s.sq));
  };
  fmt::print("Sq {} before, {} filtered, {} taken away\n", height(result.input), height(result.filtered),
             height(result.residual));
  if (filter.kind == FrequencyFilterKind::kIdeal) {
    fmt::print("cutoff {:.4g} {} along x and y, {:.4g} along the diagonals\n", filter.cutoff,
               UnitName(options.import.unit), result.cutoffs.diagonal);
  }
  for (const std::filesystem::path& path : options.outputs) fmt::print("wrote {}\n", path.string());
  if (!options.picture.empty()) fmt::print("wrote {}\n", options.picture.string());
}

}  // namespace

void AddFftFilter(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("fft-filter", "Keep the long or the short waves of a surface");
  const auto options = std::make_shared<FftFilterOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.add_flag("--low-pass", options->lowPass, "Keep the long waves: form and waviness");
  command.add_flag("--high-pass", options->highPass, "Keep the short waves: roughness");
  command
      .add_option("--cutoff", options->filter.cutoff,
                  "Wavelength that keeps half its amplitude, in the unit of the file")
      ->required()
      ->check(CLI::PositiveNumber);
  command
      .add_option(
          "--kind", options->filter.kind,
          "gaussian (default), butterworth (first order) or ideal (all or nothing; the cutoff holds along x "
          "and y, oblique waves are cut from longer wavelengths on, which are stated)")
      ->transform(CLI::CheckedTransformer(kKinds))
      ->type_name("KIND");
  command.add_option("-o,--output", options->outputs,
                     GridOutputs("The filtered surface, may be given several times"));
  command.add_option("--picture", options->picture,
                     "Picture to write (.png): input, filtered surface and residual side by side");
  AddSizeOption(command, options->width, options->height);
  command.footer("Within about a cutoff of the rim the surface beyond it counts as flat.");
  OnCommand(command, invocation, options, RunFftFilter);
}

}  // namespace qv3d
