// qv3d report: one page about a surface.
#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "files/whole_file.h"
#include "surface_report.h"

namespace qv3d {
namespace {

struct ReportOptions {
  ImportOptions import;
  std::filesystem::path output;
  std::string steps = "level";
  std::string title;
  GlBackend backend = GlBackend::kAutomatic;
};

void RunReport(const ReportOptions& options) {
  RequireExtension(options.output, {".html"});
  const Pipeline pipeline(options.steps, false);
  ImportOptions import = options.import;
  import.level = import.fill = false;  // steps do it
  Progress progress(import.quiet);
  const LoadedMap loaded = LoadHeightMap(import, progress);
  pipeline.Check(loaded.map, import.unit);
  OutputGuard guard;
  guard.Protect(import.file);
  guard.Claim(options.output);
  pipeline.ClaimOutputs(import.file, guard);
  PipeState state;
  state.map = loaded.map;
  state.unit = import.unit;
  state.file = import.file;
  pipeline.Run(state, progress);
  std::string withoutOpenGl;
  const HtmlReport report =
      ContentsOf({import, loaded, pipeline, state, options.title}, options.backend, progress, withoutOpenGl);
  WriteWholeFile(options.output, HtmlOf(report));
  progress.Finish();
  if (!withoutOpenGl.empty()) {
    fmt::print(stderr, "qv3d: warning: the view in space and the maps were not drawn: {}\n", withoutOpenGl);
  }
  std::vector<std::string> written = state.written;
  written.push_back(options.output.string());
  if (import.json) {
    Json json = JsonOfSource(import, loaded);
    json["steps"] = pipeline.Texts();
    json["statistics"] = JsonOf(Measure(state.map));
    json["pictures"] = report.pictures.size();
    json["written"] = written;
    fmt::print("{}\n", json.dump(2));
    return;
  }
  for (const std::string& file : written) fmt::print("wrote {}\n", file);
}

}  // namespace

void AddReport(CLI::App& app, Invocation& invocation) {
  CLI::App& command =
      *app.add_subcommand("report", "Write one page about a surface: numbers, pictures, what was done");
  const auto options = std::make_shared<ReportOptions>();
  AddSurfaceOptions(command, options->import);
  // A step does it.
  command.remove_option(command.get_option("--fill"));
  command.add_option("-o,--output", options->output, "The page to write (.html); the pictures are inside it")
      ->required();
  command
      .add_option("--steps", options->steps,
                  "What is done before, as qv3d pipe takes it: 'level | gaussian 0.8mm residual'")
      ->capture_default_str()
      ->type_name("STEPS");
  command.add_option("--title", options->title, "Title (default: the file's name)");
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunReport);
}

}  // namespace qv3d
