// The subcommands of qv3d. Each function declares one: its options and, when it was given, what is to be run.
#pragma once

#include <functional>
#include <vector>

namespace CLI {
class App;
}

namespace qv3d {

/// What the command line asked for.
struct Invocation {
  std::function<void()> run;  ///< throws Failure or returns
  bool json = false;          ///< whether results, and failures, are printed as JSON
};

void AddDemo(CLI::App& app, Invocation& invocation);
void AddFilter(CLI::App& app, Invocation& invocation);
void AddInfo(CLI::App& app, Invocation& invocation);
void AddStats(CLI::App& app, Invocation& invocation);
void AddConvert(CLI::App& app, Invocation& invocation);
void AddMesh2Grid(CLI::App& app, Invocation& invocation);
void AddPoints2Grid(CLI::App& app, Invocation& invocation);
void AddRender(CLI::App& app, Invocation& invocation);
void AddSpectrum(CLI::App& app, Invocation& invocation);
void AddAutocorrelate(CLI::App& app, Invocation& invocation);
void AddFftFilter(CLI::App& app, Invocation& invocation);
void AddContour(CLI::App& app, Invocation& invocation);
void AddSection(CLI::App& app, Invocation& invocation);
void AddCut(CLI::App& app, Invocation& invocation);
void AddPick(CLI::App& app, Invocation& invocation);
void AddGallery(CLI::App& app, Invocation& invocation);
void AddResample(CLI::App& app, Invocation& invocation);
void AddRoundness(CLI::App& app, Invocation& invocation);
void AddPipe(CLI::App& app, Invocation& invocation);
/// A command for each step of a pipeline that makes another map.
void AddSteps(CLI::App& app, Invocation& invocation);
void AddReport(CLI::App& app, Invocation& invocation);
void AddSelftest(CLI::App& app, Invocation& invocation);

using AddCommand = void (*)(CLI::App& app, Invocation& invocation);

/// What the program can do.
struct Program {
  const char* description;
  const char* firstCommand;          ///< to start with
  std::vector<AddCommand> commands;  ///< in the order of the help
};

/// On Linux everything, on Windows what needs no other libraries.
const Program& ThisProgram();

}  // namespace qv3d
