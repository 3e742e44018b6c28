// The built-in checks, all of them.
#pragma once

#include <filesystem>
#include <vector>

#include "drawing/offscreen.h"
#include "progress.h"
#include "selftest/check.h"

namespace qv3d {

struct SelftestRequest {
  bool draw = true;
  GlBackend backend = GlBackend::kAutomatic;
};

/// Runs every family on the gauges. A family that fails for another reason than its numbers counts as failed,
/// with the reason.
Checks RunChecks(const Gauges& gauges, const SelftestRequest& request, Progress& progress);

/// Spoils a gauge, so that checks of it must fail; false where there is none of the name.
bool Disturb(Gauges& gauges, const std::string& name);

/// Writes every gauge into a folder, the height maps as SDF, and returns the files.
std::vector<std::filesystem::path> WriteGauges(const std::filesystem::path& folder, const Gauges& gauges);

}  // namespace qv3d
