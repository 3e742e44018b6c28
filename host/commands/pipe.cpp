// qv3d pipe: steps in a row on one file or many, without files in between. And a command for each step that
// makes another map, which writes it.
#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "pipeline/batch.h"
#include "pipeline/pipeline.h"
#include "units.h"

namespace qv3d {
namespace {

struct PipeOptions {
  ImportOptions import;
  std::vector<std::string> arguments;  ///< the files, and the steps at last
  bool list = false, csv = false, jsonLines = false;
};

/// One file that went through all steps.
struct PipeResult {
  LoadedMap loaded;
  PipeState state;
};

/// Both as they were before: the steps level and fill do it when they are told to.
ImportOptions ImportOf(const PipeOptions& options, const std::filesystem::path& file) {
  ImportOptions import = options.import;
  import.file = file;
  import.level = import.fill = false;
  return import;
}

PipeResult RunFile(const PipeOptions& options, const Pipeline& pipeline, const std::filesystem::path& file,
                   OutputGuard& guard, Progress& progress) {
  PipeResult result;
  result.loaded = LoadHeightMap(ImportOf(options, file), progress);
  pipeline.Check(result.loaded.map, options.import.unit);
  pipeline.ClaimOutputs(file, guard);
  result.state.map = result.loaded.map;
  result.state.unit = options.import.unit;
  result.state.file = file;
  pipeline.Run(result.state, progress);
  progress.Finish();
  return result;
}

Json ResultsOf(const PipeState& state) {
  Json json = Json::object();
  for (const ResultValue& value : state.results) json[value.name] = value.value;
  return json;
}

void RunMany(const PipeOptions& options, const Pipeline& pipeline,
             const std::vector<std::filesystem::path>& files, OutputGuard& guard) {
  const bool lines = options.jsonLines || options.import.json;
  BatchTable table(lines ? TableFormat::kJsonLines : TableFormat::kCsv);
  Progress progress(options.import.quiet);
  for (const std::filesystem::path& file : files) {
    table.Add(RowOf(file, [&](BatchRow& row) {
      const PipeResult result = RunFile(options, pipeline, file, guard, progress);
      row.columns = ColumnsOf(result.loaded.map, result.loaded.missing, options.import.unit);
      row.columns.update(ResultsOf(result.state));
    }));
  }
  progress.Finish();
  RequireOk(table);
}

std::string TextOf(const ResultValue& value, const std::string& unit) {
  if (value.value.is_null()) return "-";
  const double number = value.value.get<double>();
  return value.isLength ? FormatLength(number, HandyUnit(unit, number)) : fmt::format("{:.6g}", number);
}

void PrintText(const PipeOptions& options, const Pipeline& pipeline, const PipeResult& result) {
  const HeightMap &in = result.loaded.map, &out = result.state.map;
  const std::string& unit = options.import.unit;
  fmt::print("{}: {} x {} samples, {:.4g} x {:.4g} {} apart, {} missing ({:.2f} %)\n",
             result.state.file.string(), in.width, in.height, in.SpacingX(), in.SpacingY(), UnitName(unit),
             result.loaded.missing, 100 * result.loaded.MissingShare());
  int number = 0;
  for (const std::string& text : pipeline.Texts()) fmt::print("{:>3}  {}\n", ++number, text);
  if (out.width != in.width || out.height != in.height) {
    fmt::print("became {} x {} samples, {:.4g} x {:.4g} {} apart\n", out.width, out.height, out.SpacingX(),
               out.SpacingY(), UnitName(unit));
  }
  for (const ResultValue& value : result.state.results) {
    fmt::print("{:<24} {:>14}\n", value.name, TextOf(value, unit));
  }
  for (const std::string& file : result.state.written) fmt::print("wrote {}\n", file);
}

void PrintJson(const PipeOptions& options, const Pipeline& pipeline, const PipeResult& result) {
  Json json = JsonOfSource(ImportOf(options, result.state.file), result.loaded);
  const HeightMap& out = result.state.map;
  json["steps"] = pipeline.Texts();
  json["result"] = {{"width", out.width},
                    {"height", out.height},
                    {"spacingX", out.SpacingX()},
                    {"spacingY", out.SpacingY()},
                    {"firstX", out.x0},
                    {"firstY", out.y0},
                    {"missingSamples", CountMissing(out)}};
  json["results"] = ResultsOf(result.state);
  json["written"] = result.state.written;
  fmt::print("{}\n", json.dump(2));
}

void RunPipe(const PipeOptions& options) {
  if (options.list) {
    fmt::print("{}", ListOfSteps());
    return;
  }
  if (options.arguments.size() < 2) {
    throw Failure(ExitCode::kUsage, "give one file or more, and the steps as one word in quotes",
                  "As in: qv3d pipe map.csv 'level | gaussian 0.8mm | stats'");
  }
  const std::vector<std::filesystem::path> files =
      ExpandPatterns({options.arguments.begin(), options.arguments.end() - 1});
  const bool many = files.size() > 1;
  const Pipeline pipeline(options.arguments.back(), many);
  OutputGuard guard;
  for (const std::filesystem::path& file : files) guard.Protect(file);
  if (many || options.csv || options.jsonLines) {
    RunMany(options, pipeline, files, guard);
    return;
  }
  Progress progress(options.import.quiet);
  const PipeResult result = RunFile(options, pipeline, files.front(), guard, progress);
  options.import.json ? PrintJson(options, pipeline, result) : PrintText(options, pipeline, result);
}

struct StepOptions : PipeOptions {
  std::string step;
  std::vector<std::string> parameters;
  std::vector<std::string> outputs;
  bool fill = false;
};

/// The step as the pipeline that reads a file and writes others.
std::string StepsOf(const StepOptions& options) {
  std::string text = options.step;
  for (const std::string& parameter : options.parameters) text += " " + parameter;
  if (text.find_first_of("|\"") != std::string::npos) {
    throw Failure(ExitCode::kUsage, fmt::format("{}: this is more than one step", text),
                  "qv3d pipe does steps in a row.");
  }
  if (options.fill) text = fmt::format("fill | {} | unfill", text);
  for (const std::string& output : options.outputs) text += fmt::format(" | write \"{}\"", output);
  return text;
}

void RunStep(const StepOptions& options) {
  PipeOptions pipe = options;
  pipe.arguments = {options.import.file.string(), StepsOf(options)};
  RunPipe(pipe);
}

void AddStep(CLI::App& app, Invocation& invocation, const StepKind& kind, bool needsEverySample) {
  CLI::App& command = *app.add_subcommand(kind.name, kind.help)->group("Single steps of qv3d pipe");
  const auto options = std::make_shared<StepOptions>();
  options->step = kind.name;
  AddSurfaceOptions(command, options->import);
  command.remove_option(command.get_option("--fill"));
  if (*kind.parameters != '\0') {
    command
        .add_option(kind.parameters, options->parameters,
                    "As in a pipeline, with units: 0.8mm, 20um, 5samples; without, in the unit of the file")
        ->type_name("");
  }
  if (needsEverySample) {
    command
        .add_flag("--fill", options->fill,
                  "Fill missing samples from around before it, and put the holes back afterwards")
        ->group("Height map");
  }
  command
      .add_option("-o,--output", options->outputs,
                  GridOutputs("The map to write, may be given several times"))
      ->required()
      ->allow_extra_args(false);
  OnCommand<StepOptions>(command, invocation, options, RunStep);
}

}  // namespace

void AddSteps(CLI::App& app, Invocation& invocation) {
  std::vector<StepKind> shapes, filters;
  AddShapeSteps(shapes);
  AddFilterSteps(filters);
  for (const StepKind& kind : shapes) {
    // Resampling is a command of its own, and which samples to make missing no file alone can tell.
    const std::string name = kind.name;
    if (name != "resample" && name != "unfill") AddStep(app, invocation, kind, false);
  }
  for (const StepKind& kind : filters) AddStep(app, invocation, kind, true);
}

void AddPipe(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("pipe", "Do steps in a row, on one file or on many, in memory");
  const auto options = std::make_shared<PipeOptions>();
  command
      .add_option("FILES STEPS", options->arguments,
                  "Meshes or height maps, or patterns of their names in quotes; then the steps, as in\n"
                  "'level | fill | gaussian 0.8mm | stats | write {stem}_waviness.csv'")
      ->type_name("");
  command.add_flag("--list", options->list, "List all steps");
  CLI::Option* const csv =
      command.add_flag("--csv", options->csv, "A table of comma-separated values (default of several files)");
  command.add_flag("--jsonl", options->jsonLines, "A table of JSON lines, a row as soon as it is there")
      ->excludes(csv);
  AddImportOptions(command, options->import);
  AddReadingOptions(command, options->import);
  // A step does it.
  command.remove_option(command.get_option("--fill"));
  command.footer(fmt::format(
      "Steps, separated by |:\n{}"
      "Lengths are numbers with a unit (m, mm, um, nm, in, samples), or without in the unit of the file.\n"
      "Steps and their parameters are checked before any work is done. A file that cannot be read is a row "
      "of\n"
      "the table with its message; the exit status is the worst of all files.",
      ListOfSteps()));
  OnCommand(command, invocation, options, RunPipe);
}

}  // namespace qv3d
