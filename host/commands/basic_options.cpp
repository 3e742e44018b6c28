#include "commands/basic_options.h"

#include <map>
#include <string>

namespace qv3d {

void AddOutputOptions(CLI::App& command, bool& json, bool& quiet) {
  command.add_flag("--json", json, "Print the results as JSON");
  command.add_flag("-q,--quiet", quiet, "No progress on the standard error stream");
}

void AddBackend(CLI::App& command, GlBackend& backend) {
  std::map<std::string, GlBackend> names{{"auto", GlBackend::kAutomatic}};
  for (const GlWay& way : GlWays()) names.emplace(way.name, way.backend);
  command.add_option("--gl", backend)->transform(CLI::CheckedTransformer(names))->group("");
}

}  // namespace qv3d
