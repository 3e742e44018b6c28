// qv3d roundness: the deviations of a profile of one revolution from its least-squares circle.
#include <fmt/format.h>
#include <iterator>

#include "analysis/round_profile.h"
#include "commands/options.h"
#include "failure.h"
#include "files/whole_file.h"
#include "plots/plot.h"
#include "plots/polar_plot.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct RoundnessOptions {
  ImportOptions import;  ///< of which a profile has the file, its unit and how to print
  double cutoff = 50;
  RoundFilter filter = RoundFilter::kGaussian;
  std::filesystem::path output, csv;
  PictureOptions size;  ///< width 0: to suit
};

/// Both profiles as deviations from their own least-squares circles.
struct RoundResult {
  std::size_t samples = 0;
  MeanCircle circle;
  RoundProfile raw, filtered;
  Roundness ofRaw, ofFiltered;
};

const char* NameOf(RoundFilter filter) {
  switch (filter) {
    case RoundFilter::kGaussian:
      return "Gaussian";
    case RoundFilter::kTwoRc:
      return "2RC";
    case RoundFilter::kTwoRcPhaseCorrected:
      break;
  }
  return "phase-corrected 2RC";
}

RoundResult Evaluate(const RoundnessOptions& options) {
  const RoundProfile profile = ReadRoundProfile(options.import.file);
  CheckRoundCutoff(options.filter, options.cutoff, profile.values.size());
  RoundResult result;
  result.samples = profile.values.size();
  result.circle = FitCircle(profile);
  result.raw = DeviationsFrom(result.circle, profile);
  // The circle is left out of the filter, which would have to settle from it, and passes it unchanged.
  const RoundProfile smooth = FilterRound(options.filter, options.cutoff, result.raw);
  result.filtered = DeviationsFrom(FitCircle(smooth), smooth);
  result.ofRaw = MeasureRoundness(result.raw);
  result.ofFiltered = MeasureRoundness(result.filtered);
  return result;
}

PolarCurve CurveOf(const std::string& name, const RoundProfile& deviations, const Unit& unit) {
  PolarCurve curve{name, {}, {}};
  for (std::size_t i = 0; i < deviations.values.size(); ++i) {
    curve.degrees.push_back(deviations.AngleOf(i));
    curve.values.push_back(deviations.values[i] * unit.factor);
  }
  return curve;
}

void WritePicture(const RoundnessOptions& options, const RoundResult& result) {
  const Unit unit = HandyUnit(options.import.unit, result.ofRaw.t);
  PolarPlot plot;
  plot.title = options.import.file.filename().string();
  plot.subtitle =
      fmt::format("RONt {} (unfiltered {}), {} filter, {:g} UPR, least-squares circle, {} samples",
                  FormatLength(result.ofFiltered.t, unit), FormatLength(result.ofRaw.t, unit),
                  NameOf(options.filter), options.cutoff, result.samples);
  plot.valueName = fmt::format("deviation / {}", unit.name);
  plot.curves = {CurveOf("measured", result.raw, unit), CurveOf("filtered", result.filtered, unit)};
  if (options.size.width > 0) {
    plot.width = options.size.width;
    plot.height = options.size.height;
  }
  if (!WritePolarPlot(options.output, plot)) fmt::print(stderr, kNoTextWarning);
}

void WriteCsv(const RoundnessOptions& options, const RoundResult& result) {
  std::string text = fmt::format(
      "# angle in degrees, deviations from the least-squares circle in {}\n"
      "angle,measured,filtered\n",
      options.import.unit);
  for (std::size_t i = 0; i < result.samples; ++i) {
    fmt::format_to(std::back_inserter(text), "{:.9g},{:.9g},{:.9g}\n", result.raw.AngleOf(i),
                   result.raw.values[i], result.filtered.values[i]);
  }
  WriteWholeFile(options.csv, text);
}

Json JsonOf(const Roundness& roundness) {
  return {{"RONt", roundness.t}, {"RONp", roundness.p}, {"RONv", roundness.v}, {"RONq", roundness.q}};
}

void PrintJson(const RoundnessOptions& options, const RoundResult& result) {
  const Json json = {
      {"file", options.import.file.string()},
      {"unit", options.import.unit},
      {"samples", result.samples},
      {"filter", {{"name", NameOf(options.filter)}, {"cutoffUpr", options.cutoff}}},
      {"circle", {{"radius", result.circle.radius}, {"x", result.circle.x}, {"y", result.circle.y}}},
      {"filtered", JsonOf(result.ofFiltered)},
      {"unfiltered", JsonOf(result.ofRaw)},
      {"written", options.csv.empty() ? Json::array({options.output.string()})
                                      : Json::array({options.output.string(), options.csv.string()})}};
  fmt::print("{}\n", json.dump(2));
}

void PrintText(const RoundnessOptions& options, const RoundResult& result) {
  const Unit unit = HandyUnit(options.import.unit, result.ofRaw.t);
  fmt::print("{}: {} samples over one revolution, {} filter, {:g} UPR\n", options.import.file.string(),
             result.samples, NameOf(options.filter), options.cutoff);
  fmt::print("least-squares circle: radius {:.9g} {}, middle at ({}, {})\n", result.circle.radius,
             UnitName(options.import.unit), FormatLength(result.circle.x, unit),
             FormatLength(result.circle.y, unit));
  const auto row = [&](const char* name, double filtered, double raw, const char* meaning) {
    fmt::print("{:<6} {:>12} {:>12}  {}\n", name, FormatLength(filtered, unit), FormatLength(raw, unit),
               meaning);
  };
  fmt::print("{:<6} {:>12} {:>12}\n", "", "filtered", "unfiltered");
  row("RONt", result.ofFiltered.t, result.ofRaw.t, "roundness deviation, peak to valley");
  row("RONp", result.ofFiltered.p, result.ofRaw.p, "highest peak");
  row("RONv", result.ofFiltered.v, result.ofRaw.v, "deepest valley");
  row("RONq", result.ofFiltered.q, result.ofRaw.q, "root mean square");
  fmt::print("wrote {}\n", options.output.string());
  if (!options.csv.empty()) fmt::print("wrote {}\n", options.csv.string());
}

void RunRoundness(const RoundnessOptions& options) {
  if (!IsPlotFile(options.output)) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("{}: the plot must end in .png or .svg", options.output.string()));
  }
  RequireSeparate(options.import.file, {options.output, options.csv});
  const RoundResult result = Evaluate(options);
  constexpr double kSettled = 4;
  if (options.filter != RoundFilter::kGaussian && options.cutoff < kSettled) {
    fmt::print(
        stderr,
        "qv3d: warning: with a cut-off below {:g} UPR this filter has not settled when the profile begins.\n",
        kSettled);
  }
  WritePicture(options, result);
  if (!options.csv.empty()) WriteCsv(options, result);
  if (options.import.json) {
    PrintJson(options, result);
  } else {
    PrintText(options, result);
  }
}

}  // namespace

void AddRoundness(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand(
      "roundness", "Filter and plot a profile of one revolution, with its roundness deviation");
  const auto options = std::make_shared<RoundnessOptions>();
  AddPlainFileOptions(command, options->import,
                      "A profile: lines of a radius or deviation each, or of an angle in degrees and one");
  command.add_option("--cutoff", options->cutoff, "Cut-off of the filter in undulations per revolution")
      ->capture_default_str()
      ->type_name("UPR");
  const auto filter = [&](const char* name, RoundFilter value, const char* what) {
    return command.add_flag_callback(
        name, [options = options.get(), value] { options->filter = value; }, what);
  };
  CLI::Option* const gaussian =
      filter("--gaussian", RoundFilter::kGaussian, "Gaussian filter, 50 % at the cut-off (default)");
  CLI::Option* const rc =
      filter("--2rc", RoundFilter::kTwoRc, "Two RC stages, 75 % at the cut-off; the profile lags");
  filter("--2rc-phase-corrected", RoundFilter::kTwoRcPhaseCorrected,
         "An RC stage forwards and one backwards, 75 % at the cut-off; no lag")
      ->excludes(gaussian)
      ->excludes(rc);
  rc->excludes(gaussian);
  command.add_option("-o,--output", options->output, "The polar plot to write: .png or .svg")->required();
  command.add_option("--csv", options->csv, "Also write angle, measured and filtered deviation");
  options->size.width = 0;
  AddSizeOption(command, options->size);
  command.get_option("--size")->description("Width and height of the plot in pixels (default: 1100x1200)");
  OnCommand(command, invocation, options, RunRoundness);
}

}  // namespace qv3d
