// The command line: what may be said, and which command it calls.
#pragma once

#include "failure.h"

namespace qv3d {

/// Parses the arguments and runs the command. Prints help, usage errors and failures itself.
ExitCode RunCommandLine(int argc, char** argv);

}  // namespace qv3d
