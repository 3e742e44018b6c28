// qv3d demo: the whole way on a built-in part, from the mesh to the report.
#include <fmt/format.h>
#include <system_error>

#include "commands/options.h"
#include "failure.h"
#include "files/stl_file.h"
#include "files/whole_file.h"
#include "import/load.h"
#include "import/sample_part.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

struct DemoOptions {
  std::filesystem::path folder = "qv3d-demo";
  ChildLimits limits;
  GlBackend backend = GlBackend::kAutomatic;
  bool json = false;
  bool quiet = false;
};

constexpr const char* kUnit = "mm";
constexpr const char* kMeshFile = "sample_part.stl";

struct View {
  const char* file;
  const char* title;
  const char* caption;
  Style style;
  ViewAngles angles;
};

constexpr View kViews[] = {
    {"surface.png",
     "Levelled surface",
     "Heights above the fitted plane, coloured by height; the scale of heights is exaggerated as stated.",
     Style::kTexture,
     {-28, 40, 1}},
    {"side_light.png",
     "Texture in side light",
     "The same surface in light that grazes it: the turning marks, the dimples and the rim of the hole stand "
     "out.",
     Style::kSideLight,
     {-20, 58, 1}},
    {"map.png", "Height map", "Seen from above. Grey samples were not measured.", Style::kMap, {}},
};

ImportOptions ImportOf(const DemoOptions& options) {
  ImportOptions import;
  import.file = options.folder / kMeshFile;
  import.limits = options.limits;
  import.unit = kUnit;
  // One sample per cell of the mesh.
  import.grid.nx = import.grid.ny = SamplePart().cells;
  import.quiet = options.quiet;
  return import;
}

std::vector<ReportPicture> DrawViews(const DemoOptions& options, const HeightMap& map, Progress& progress) {
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  std::vector<ReportPicture> pictures;
  bool hasText = true;
  for (const View& view : kViews) {
    progress.Phase(fmt::format("drawing {}", view.file));
    PictureOptions wanted;
    wanted.style = view.style;
    wanted.angles = view.angles;
    wanted.title = fmt::format("Sample part: {}", view.title);
    wanted.unit = kUnit;
    const Picture picture = DrawPicture(*context, map, wanted);
    hasText = picture.hasText;
    pictures.push_back({view.title, view.caption, view.file, EncodePng(picture.image)});
    WriteWholeFile(options.folder / view.file, pictures.back().bytes);
    progress.Tick();
  }
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  return pictures;
}

std::vector<TableRow> FactsOf(const LoadedMap& loaded) {
  const HeightMap& m = loaded.map;
  const Bounds& b = loaded.mesh.bounds;
  return {{"Mesh", fmt::format("{} triangles", loaded.mesh.triangles), ""},
          {"Extent", fmt::format("{:.4g} × {:.4g} × {:.4g} mm", b.Extent(0), b.Extent(1), b.Extent(2)), ""},
          {"Height map", fmt::format("{} × {} samples", m.width, m.height), ""},
          {"Sample spacing", fmt::format("{:.4g} × {:.4g} µm", 1000 * m.SpacingX(), 1000 * m.SpacingY()), ""},
          {"Missing samples", fmt::format("{} ({:.2f} %)", loaded.missing, 100 * loaded.MissingShare()), ""},
          {"Tilt in x, removed", fmt::format("{:.3f} µm/mm", 1000 * loaded.plane.a), ""},
          {"Tilt in y, removed", fmt::format("{:.3f} µm/mm", 1000 * loaded.plane.b), ""},
          {"Import", fmt::format("{:.2f} s", loaded.mesh.seconds), ""}};
}

HtmlReport ReportOf(const SamplePart& part, const LoadedMap& loaded, const Statistics& statistics,
                    std::vector<ReportPicture> pictures) {
  HtmlReport report;
  report.title = "Surface report: turned sample part";
  report.subtitle = fmt::format(
      "A {0:g} × {0:g} mm plate, face-turned with a feed of {1:g} mm, four ball dimples, one through hole of "
      "{2:g} mm. "
      "Made by <code>qv3d demo</code>.",
      part.side, part.feed, 2 * part.holeRadius);
  report.facts = FactsOf(loaded);
  report.statistics = RowsOf(statistics, kUnit);
  report.pictures = std::move(pictures);
  report.steps = {
      fmt::format(
          "The sample mesh was generated and written as a binary STL file, <code>{}</code>. It has no "
          "triangles over the hole.",
          kMeshFile),
      "The file was checked, then read and converted to a height map in a process of its own, so that a bad "
      "file "
      "cannot end the program.",
      "Samples over the hole have no triangle and stay <em>missing</em>: they take part in nothing that "
      "follows.",
      "The least-squares plane was subtracted, then the mean: heights are measured from the mean plane.",
      "The height statistics were computed over all samples that are there. No filter was applied, so they "
      "contain "
      "the plate's bow and the dimples as well as the roughness.",
      "Surface normals were computed from the exaggerated heights, and the pictures were drawn off-screen."};
  report.nextSteps = {"Measure a mesh of your own: <code>qv3d stats part.stl</code>",
                      "See what a file holds: <code>qv3d info part.stl</code>",
                      "Draw it from another side: <code>qv3d render part.stl -o part.png --style sidelight "
                      "--azimuth 40</code>",
                      "Take the heights elsewhere: <code>qv3d mesh2grid part.stl -o part.csv</code>",
                      "All options: <code>qv3d --help</code>"};
  return report;
}

Json JsonReport(const SamplePart& part, const LoadedMap& loaded, const Statistics& statistics,
                const std::vector<ReportPicture>& pictures) {
  Json json = {{"file", kMeshFile},
               {"unit", kUnit},
               {"part",
                {{"side", part.side},
                 {"feed", part.feed},
                 {"noseRadius", part.noseRadius},
                 {"bow", part.bow},
                 {"holeRadius", part.holeRadius},
                 {"noise", part.noise}}},
               {"mesh", JsonOf(loaded.mesh)},
               {"grid", JsonOfGrid(loaded)},
               {"filled", false},
               {"levelled", true},
               {"plane", {{"slopeX", loaded.plane.a}, {"slopeY", loaded.plane.b}}},
               {"statistics", JsonOf(statistics)},
               {"pictures", Json::array()}};
  for (const ReportPicture& picture : pictures) json["pictures"].push_back(picture.file);
  return json;
}

void MakeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) {
    throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", folder.string(), error.message()),
                  "Name another folder with -o.");
  }
}

void RunDemo(const DemoOptions& options) {
  const SamplePart part;
  const ImportOptions import = ImportOf(options);
  Progress progress(options.quiet);
  MakeFolder(options.folder);
  progress.Phase("making the sample part");
  WriteBinaryStl(import.file, MakeMesh(part), "QV_3D sample part, millimetres");
  const LoadedMap loaded = LoadHeightMap(import, progress);
  progress.Phase("measuring");
  const Statistics statistics = Measure(loaded.map);
  std::vector<ReportPicture> pictures = DrawViews(options, loaded.map, progress);
  progress.Phase("writing the report");
  const Json json = JsonReport(part, loaded, statistics, pictures);
  WriteWholeFile(options.folder / "report.json", json.dump(2) + "\n");
  WriteWholeFile(options.folder / "report.html",
                 HtmlOf(ReportOf(part, loaded, statistics, std::move(pictures))));
  progress.Finish();
  if (options.json) {
    fmt::print("{}\n", json.dump(2));
    return;
  }
  for (const TableRow& row : RowsOf(statistics, kUnit))
    fmt::print("{:<17} {:>12}  {}\n", row.name, row.value, row.meaning);
  fmt::print("missing           {:>12}  through hole\n",
             fmt::format("{:.2f} %", 100 * loaded.MissingShare()));
  fmt::print("\nwrote to {}:\n  {}\n", options.folder.string(), kMeshFile);
  for (const View& view : kViews) fmt::print("  {}\n", view.file);
  fmt::print("  report.json\n  report.html   <- open this one\n");
}

}  // namespace

void AddDemo(CLI::App& app, Invocation& invocation) {
  CLI::App& command =
      *app.add_subcommand("demo", "Measure and draw a built-in sample part and write a report");
  const auto options = std::make_shared<DemoOptions>();
  command.add_option("-o,--output", options->folder, "Folder for the mesh, the pictures and the report")
      ->capture_default_str();
  AddLimits(command, options->limits);
  AddOutputOptions(command, options->json, options->quiet);
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunDemo);
}

}  // namespace qv3d
