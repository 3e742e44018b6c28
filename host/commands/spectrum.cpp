// qv3d spectrum: which waves a surface is made of.
#include "analysis/spectrum.h"

#include <fmt/format.h>
#include <iterator>

#include "commands/options.h"
#include "files/whole_file.h"
#include "import/whole_map.h"
#include "plots/plot.h"
#include "plots/spectrum_picture.h"
#include "report.h"

namespace qv3d {
namespace {

struct SpectrumOptions {
  ImportOptions import;
  std::filesystem::path picture, csv, plot;
  double decades = 4;
  int width = 1600;
  int height = 1000;
};

std::string TitleOf(const SpectrumOptions& options, const char* what) {
  return fmt::format("{}: {}", options.import.file.filename().string(), what);
}

bool WritePicture(const SpectrumOptions& options, const Spectrum& s, const std::optional<Wave>& wave,
                  const SpectrumUnits& units) {
  FieldPicture picture = PictureOf(s, wave, units, options.decades);
  picture.title = TitleOf(options, "spectrum");
  picture.width = options.width;
  picture.height = options.height;
  return WriteFields(options.picture, picture);
}

void WriteCsv(const SpectrumOptions& options, const std::vector<RadialTerm>& rings) {
  const std::string& unit = options.import.unit;
  std::string text =
      fmt::format("# frequency / (1/{0}), wavelength / {0}, mean amplitude / {0}, terms\n", unit);
  for (const RadialTerm& ring : rings) {
    fmt::format_to(std::back_inserter(text), "{:.9g},{:.9g},{:.9g},{}\n", ring.frequency, 1 / ring.frequency,
                   ring.amplitude, ring.terms);
  }
  WriteWholeFile(options.csv, text);
}

bool WriteRadialPlot(const SpectrumOptions& options, const std::vector<RadialTerm>& rings,
                     const SpectrumUnits& units) {
  Plot plot;
  plot.title = TitleOf(options, "radial spectrum");
  plot.subtitle = "Amplitudes of the waves, mean over all directions";
  plot.x = {fmt::format("frequency / (1/{})", units.length.name), true};
  plot.y = {fmt::format("amplitude / {}", units.amplitude.name), true};
  Curve curve;
  for (const RadialTerm& ring : rings) {
    curve.x.push_back(ring.frequency / units.length.factor);
    curve.y.push_back(ring.amplitude * units.amplitude.factor);
  }
  plot.curves.push_back(std::move(curve));
  plot.width = options.width;
  plot.height = options.height;
  return WritePlot(options.plot, plot);
}

Json JsonOf(const SpectrumOptions& options, const LoadedMap& loaded, const Spectrum& s,
            const std::optional<Wave>& wave, const std::vector<std::filesystem::path>& written) {
  Json json = JsonOfSource(options.import, loaded);
  json["spectrum"] = {{"columns", s.columns},
                      {"rows", s.rows},
                      {"stepX", s.stepX},
                      {"stepY", s.stepY},
                      {"highestX", s.columns * s.stepX / 2},
                      {"highestY", s.rows * s.stepY / 2}};
  json["dominant"] = nullptr;
  if (wave) {
    json["dominant"] = {
        {"wavelength", wave->wavelength}, {"direction", wave->direction}, {"amplitude", wave->amplitude}};
  }
  json["written"] = Json::array();
  for (const std::filesystem::path& path : written) json["written"].push_back(path.string());
  return json;
}

void RunSpectrum(const SpectrumOptions& options) {
  RequireExtension(options.picture, {".png"});
  RequireExtension(options.csv, {".csv"});
  RequireExtension(options.plot, {".png", ".svg"});
  RequireSeparate(options.import.file, {options.picture, options.csv, options.plot});
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadWholeMap(options.import, progress).loaded;
  progress.Phase("transforming");
  const Spectrum spectrum = AmplitudesOf(loaded.map);
  const std::optional<Wave> wave = DominantWave(spectrum, loaded.map);
  const std::vector<RadialTerm> rings = RadialAverage(spectrum);
  const SpectrumUnits units(options.import.unit, loaded.map, spectrum);
  progress.Phase("writing");
  bool hasText = true;
  std::vector<std::filesystem::path> written;
  if (!options.picture.empty()) {
    hasText = WritePicture(options, spectrum, wave, units);
    written.push_back(options.picture);
  }
  if (!options.csv.empty()) {
    WriteCsv(options, rings);
    written.push_back(options.csv);
  }
  if (!options.plot.empty()) {
    hasText = WriteRadialPlot(options, rings, units) && hasText;
    written.push_back(options.plot);
  }
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    fmt::print("{}\n", JsonOf(options, loaded, spectrum, wave, written).dump(2));
    return;
  }
  fmt::print("dominant wave  {}\n", wave ? TextOf(*wave, units) : "none: the surface is flat");
  for (const std::filesystem::path& path : written) fmt::print("wrote {}\n", path.string());
}

}  // namespace

void AddSpectrum(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand(
      "spectrum", "Show the waves that a surface is made of, and name the one of the greatest amplitude");
  const auto options = std::make_shared<SpectrumOptions>();
  AddSurfaceOptions(command, options->import);
  AddLevelOption(command, options->import);
  command.add_option(
      "-o,--output", options->picture,
      "Picture to write (.png): amplitudes in decades, by frequency in x and y (cycles per unit)");
  command.add_option("--csv", options->csv,
                     "Mean amplitudes by frequency to write (.csv), in the unit of the file");
  command.add_option("--plot", options->plot, "The same as a plot (.png or .svg)");
  command.add_option("--decades", options->decades, "Decades of amplitude that the colours span")
      ->capture_default_str()
      ->check(CLI::Range(0.1, 30.0));
  AddSizeOption(command, options->width, options->height);
  OnCommand(command, invocation, options, RunSpectrum);
}

}  // namespace qv3d
