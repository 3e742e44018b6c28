#include "command_line.h"

#include <CLI/CLI.hpp>
#include <QV_3D.h>
#include <exception>
#include <fmt/format.h>
#include <new>
#include <nlohmann/json.hpp>

#include "commands/commands.h"

namespace qv3d {
namespace {

constexpr const char* kDescription =
    "Measures and draws surfaces given as height maps or meshes.\n"
    "A mesh is converted to a height map (seen along z). Maps are levelled, measured and drawn; no display "
    "is "
    "needed.";

constexpr const char* kFooter =
    "Exit status: 0 done, 1 wrong usage, 2 a file cannot be read or written, 3 a file is corrupt,\n"
    "4 the result cannot be computed.\n"
    "Start with: qv3d demo";

ExitCode Report(const Failure& failure, bool json) {
  fmt::print(stderr, "qv3d: {}\n", failure.what());
  if (!failure.advice().empty()) fmt::print(stderr, "qv3d: {}\n", failure.advice());
  if (json && failure.code() != ExitCode::kUsage && failure.printed() == Printed::kNothing) {
    const nlohmann::ordered_json error = {{"error",
                                           {{"exitCode", static_cast<int>(failure.code())},
                                            {"message", failure.what()},
                                            {"advice", failure.advice()}}}};
    fmt::print("{}\n", error.dump(2));
  }
  return failure.code();
}

}  // namespace

ExitCode RunCommandLine(int argc, char** argv) {
  CLI::App app(kDescription, "qv3d");
  app.footer(kFooter);
  app.require_subcommand(1);
  app.set_version_flag("--version", fmt::format("qv3d {}.{}.{}", QV_3D_VERSION_MAJOR, QV_3D_VERSION_MINOR,
                                                QV_3D_VERSION_PATCH));
  Invocation invocation;
  AddDemo(app, invocation);
  AddInfo(app, invocation);
  AddStats(app, invocation);
  AddMesh2Grid(app, invocation);
  AddConvert(app, invocation);
  AddPoints2Grid(app, invocation);
  AddRender(app, invocation);
  AddSpectrum(app, invocation);
  AddAutocorrelate(app, invocation);
  AddFftFilter(app, invocation);
  AddFilter(app, invocation);
  AddPick(app, invocation);
  AddGallery(app, invocation);
  AddContour(app, invocation);
  AddSection(app, invocation);
  AddCut(app, invocation);
  AddRoundness(app, invocation);
  AddResample(app, invocation);
  AddPipe(app, invocation);
  AddReport(app, invocation);
  AddSelftest(app, invocation);
  AddSteps(app, invocation);
  try {
    app.parse(argc, argv);
    invocation.run();
    return ExitCode::kOk;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? ExitCode::kOk : ExitCode::kUsage;
  } catch (const Failure& failure) {
    return Report(failure, invocation.json);
  } catch (const std::bad_alloc&) {
    return Report({ExitCode::kNotComputable, "out of memory", "Choose a coarser grid."}, invocation.json);
  } catch (const std::exception& error) {
    return Report({ExitCode::kNotComputable, error.what()}, invocation.json);
  }
}

}  // namespace qv3d
