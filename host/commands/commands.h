// The subcommands of qv3d: their options, and the functions that carry them out. Each throws Failure or
// returns.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "child_process.h"
#include "offscreen.h"
#include "picture.h"
#include "safe_import.h"

namespace qv3d {

/// What all commands that read a mesh have in common.
struct ImportOptions {
  std::filesystem::path file;
  PrepareOptions prepare;
  ChildLimits limits;
  GridRequest grid;
  std::string unit = "mm";
  bool fill = false;
  bool level = true;
  bool json = false;
  bool quiet = false;
};

struct Mesh2GridOptions {
  ImportOptions import;
  std::vector<std::filesystem::path> outputs;
};

struct RenderOptions {
  ImportOptions import;
  PictureOptions picture;
  std::filesystem::path output;
  GlBackend backend = GlBackend::kAutomatic;
};

struct DemoOptions {
  std::filesystem::path folder = "qv3d-demo";
  ChildLimits limits;
  GlBackend backend = GlBackend::kAutomatic;
  bool json = false;
  bool quiet = false;
};

void RunInfo(const ImportOptions& options);
void RunStats(const ImportOptions& options);
void RunMesh2Grid(const Mesh2GridOptions& options);
void RunRender(const RenderOptions& options);
void RunDemo(const DemoOptions& options);

}  // namespace qv3d
