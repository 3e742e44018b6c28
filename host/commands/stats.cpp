// qv3d stats: the height statistics of a surface.
#include <fmt/format.h>

#include "commands/options.h"
#include "import/load.h"
#include "pipeline/batch.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

void PrintText(const ImportOptions& options, const LoadedMap& loaded, const Statistics& statistics) {
  const HeightMap& m = loaded.map;
  fmt::print("{}{}\n", options.file.string(),
             loaded.fromMesh ? fmt::format(": {} triangles", loaded.mesh.triangles) : std::string());
  fmt::print("grid        {} x {} samples, {:.4g} x {:.4g} {} apart\n", m.width, m.height, m.SpacingX(),
             m.SpacingY(), UnitName(options.unit));
  fmt::print("missing     {} samples ({:.2f} %){}\n", loaded.missing, 100 * loaded.MissingShare(),
             options.fill && loaded.missing > 0 ? ", filled with the lowest height" : "");
  fmt::print("levelled    {}\n",
             options.level ? fmt::format("by a plane that rises {:.4g} in x and {:.4g} in y per length",
                                         loaded.plane.a, loaded.plane.b)
                           : std::string("no"));
  for (const TableRow& row : RowsOf(statistics, options.unit)) {
    fmt::print("{:<17} {:>12}  {}\n", row.name, row.value, row.meaning);
  }
}

struct StatsOptions {
  ImportOptions import;
  std::vector<std::string> more;  ///< files
  bool jsonLines = false;
};

void MeasureMany(const StatsOptions& options, const std::vector<std::filesystem::path>& files) {
  const bool lines = options.jsonLines || options.import.json;
  BatchTable table(lines ? TableFormat::kJsonLines : TableFormat::kCsv);
  Progress progress(options.import.quiet);
  for (const std::filesystem::path& file : files) {
    table.Add(RowOf(file, [&](BatchRow& row) {
      ImportOptions import = options.import;
      import.file = file;
      const LoadedMap loaded = LoadHeightMap(import, progress);
      row.columns = ColumnsOf(loaded.map, loaded.missing, import.unit);
      row.columns.update(JsonOf(Measure(loaded.map)));
      progress.Finish();
    }));
  }
  RequireOk(table);
}

void MeasureOne(const ImportOptions& options) {
  Progress progress(options.quiet);
  const LoadedMap loaded = LoadHeightMap(options, progress);
  progress.Phase("measuring");
  const Statistics statistics = Measure(loaded.map);
  progress.Finish();
  if (!options.json) {
    PrintText(options, loaded, statistics);
    return;
  }
  Json json = JsonOfSource(options, loaded);
  json["plane"] = {{"slopeX", loaded.plane.a}, {"slopeY", loaded.plane.b}};
  json["statistics"] = JsonOf(statistics);
  fmt::print("{}\n", json.dump(2));
}

void RunStats(const StatsOptions& options) {
  std::vector<std::string> names{options.import.file.string()};
  names.insert(names.end(), options.more.begin(), options.more.end());
  const std::vector<std::filesystem::path> files = ExpandPatterns(names);
  if (files.size() > 1 || options.jsonLines) {
    MeasureMany(options, files);
    return;
  }
  ImportOptions import = options.import;
  import.file = files.front();
  MeasureOne(import);
}

}  // namespace

void AddStats(CLI::App& app, Invocation& invocation) {
  CLI::App& command =
      *app.add_subcommand("stats", "Measure a surface: Sa, Sq, Sp, Sv, Sz, Ssk, Sku, ten-point height");
  const auto options = std::make_shared<StatsOptions>();
  AddSurfaceOptions(command, options->import);
  command.add_option(
      "MORE", options->more,
      "More files, or patterns of their names in quotes: one table, comma-separated, a row for each");
  command.add_flag("--jsonl", options->jsonLines, "The table as JSON lines");
  AddLevelOption(command, options->import);
  OnCommand(command, invocation, options, RunStats);
}

}  // namespace qv3d
