// What every command is declared with, and the options that have nothing to do with surfaces.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

#include "commands/commands.h"
#include "drawing/offscreen.h"

namespace qv3d {

void AddOutputOptions(CLI::App& command, bool& json, bool& quiet);
void AddBackend(CLI::App& command, GlBackend& backend);

template <class Options>
bool WantsJson(const Options& options) {
  if constexpr (requires { options.import.json; }) {
    return options.import.json;
  } else {
    return options.json;
  }
}

/// Lets `run` be called with the options once they have been read.
template <class Options>
void OnCommand(CLI::App& command, Invocation& invocation, std::shared_ptr<Options> options,
               void (*run)(const Options&)) {
  command.callback([&invocation, options, run] {
    invocation.json = WantsJson(*options);
    invocation.run = [options, run] { run(*options); };
  });
}

}  // namespace qv3d
