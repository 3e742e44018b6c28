#include "import/safe_import.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <limits>
#include <new>

namespace qv3d {
namespace {

constexpr int kDefaultLongSide = 512;
constexpr int kLargestSide = 65536;

/// How the child ends where it is not the library that ends it.
enum ChildStatus {
  kChildDone = 0,
  kChildBadGrid = 41,
  kChildNoMemory = 42,
  kChildCannotReport = 43,
  kChildRefused = 44
};

/// What the child sends: one of these after reading, then one of the next, then the heights.
struct ParsedRecord {
  float min[3], max[3];
  int triangles;
};
struct GridRecord {
  GridPlan plan;
};

/// False where the library refuses the file without ending the process.
bool Parse(const PreparedMesh& mesh, ParsedRecord& r) {
  const std::string path = mesh.path.string();
  if (mesh.format == MeshFormat::kStl) {
    return ParseSTLFile(path.c_str(), &r.min[0], &r.max[0], &r.min[1], &r.max[1], &r.min[2], &r.max[2],
                        &r.triangles) == 0;
  }
  int vertices = 0;
  return ParsePLYFile(path.c_str(), &r.min[0], &r.max[0], &r.min[1], &r.max[1], &r.min[2], &r.max[2],
                      &vertices, &r.triangles) == 0;
}

/// The child's work. Heights are converted in the (scaled) unit of the prepared file.
int ParseAndConvert(const Reporter& report, const PreparedMesh& mesh, const GridRequest& request) try {
  ParsedRecord parsed{};
  if (!Parse(mesh, parsed)) return kChildRefused;
  if (!report(&parsed, sizeof parsed)) return kChildCannotReport;
  GridRequest scaled = request;
  scaled.spacing *= mesh.scale;
  const GridRecord grid{
      PlanGrid(double{parsed.max[0]} - parsed.min[0], double{parsed.max[1]} - parsed.min[1], scaled)};
  const GridPlan& plan = grid.plan;
  std::vector<float> heights(static_cast<std::size_t>(plan.nx) * static_cast<std::size_t>(plan.ny));
  // The library counts intervals, one fewer than samples.
  const auto convert = mesh.format == MeshFormat::kPly ? ConvertPLYFile : ConvertSTLFile;
  const unsigned status =
      convert(plan.nx - 1, plan.ny - 1, static_cast<float>(plan.xOffset), static_cast<float>(plan.yOffset),
              static_cast<float>(plan.xSize), static_cast<float>(plan.ySize), heights.data());
  if (status != 0) return kChildNoMemory;
  const bool sent = report(&grid, sizeof grid) && report(heights.data(), heights.size() * sizeof(float));
  return sent ? kChildDone : kChildCannotReport;
} catch (const std::bad_alloc&) {
  return kChildNoMemory;
} catch (const Failure& failure) {
  fmt::print(stderr, "{}\n", failure.what());
  return kChildBadGrid;
}

int ParseOnly(const Reporter& report, const PreparedMesh& mesh) {
  ParsedRecord parsed{};
  if (!Parse(mesh, parsed)) return kChildRefused;
  mesh.format == MeshFormat::kPly ? CleanUpPLY() : CleanUpSTL();
  return report(&parsed, sizeof parsed) ? kChildDone : kChildCannotReport;
}

/// While the file is read its size tells how much is left; how long the conversion takes is not known before.
class ImportProgress {
 public:
  ImportProgress(const PreparedMesh& mesh, Progress& progress) : progress_(progress) {
    std::error_code ignored;
    const auto bytes = std::filesystem::file_size(mesh.path, ignored);
    if (!ignored) fileBytes_ = static_cast<double>(bytes);
  }

  void operator()(const ChildState& child) const {
    const bool isReading = child.received.size() < sizeof(ParsedRecord);
    progress_.Phase(isReading ? "reading the mesh" : "converting to heights");
    if (isReading && fileBytes_ > 0 && child.bytesRead > 0) {
      progress_.Tick(std::min(1.0, static_cast<double>(child.bytesRead) / fileBytes_));
    } else {
      progress_.Tick();
    }
  }

 private:
  Progress& progress_;
  double fileBytes_ = 0;
};

template <typename Record>
Record Take(const std::string& bytes, std::size_t& at) {
  Record record;
  std::memcpy(&record, bytes.data() + at, sizeof record);
  at += sizeof record;
  return record;
}

[[noreturn]] void FailForMemory(const char* phase, const ChildLimits& limits) {
  throw Failure(ExitCode::kNotComputable,
                fmt::format("{} needs more than the allowed {} MiB of memory", phase, limits.memoryMiB),
                "Allow more with --memory-limit, or choose a coarser grid.");
}

[[noreturn]] void FailAsTheLibraryDid(const ChildOutcome& outcome) {
  const std::string& said = outcome.errors;
  const auto says = [&said](const char* text) { return said.find(text) != std::string::npos; };
  const std::string_view trimmed = std::string_view(said).substr(0, said.find_last_not_of('\n') + 1);
  const ExitCode code = says("Failed to open")                 ? ExitCode::kUnreadable
                        : says("Failed to read any triangles") ? ExitCode::kCorrupt
                                                               : ExitCode::kNotComputable;
  throw Failure(code, fmt::format("the import gave up: {}", trimmed.empty() ? "no reason given" : trimmed),
                "qv3d info FILE tells more about the file.");
}

/// Turns the ways in which the child can have ended into messages. `expected` is the number of triangles that
/// the program has counted in the file, or 0.
void RequireSuccess(const ChildOutcome& outcome, const ChildLimits& limits, std::uint64_t expected) {
  const bool parsed = outcome.output.size() >= sizeof(ParsedRecord);
  const char* const phase = parsed ? "converting the mesh" : "reading the file";
  if (outcome.end == ChildOutcome::End::kTimedOut) {
    throw Failure(
        ExitCode::kNotComputable,
        fmt::format("{} took longer than the allowed {:g} s and was stopped", phase, limits.timeoutSeconds),
        "Allow more with --timeout, or choose a coarser grid.");
  }
  if (outcome.end == ChildOutcome::End::kSignalled) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("{} was ended by signal {} ({})", phase, outcome.code, outcome.signal),
                  "If memory is short, choose a coarser grid; otherwise please report the file.");
  }
  if (outcome.code == kChildBadGrid) {
    throw Failure(ExitCode::kUsage, outcome.errors.substr(0, outcome.errors.find('\n')));
  }
  // The program has read the file itself: when the library finds less in it, memory ran out on the way.
  if (outcome.code == kChildNoMemory || (expected > 0 && !parsed)) FailForMemory(phase, limits);
  if (outcome.code == kChildRefused && outcome.errors.empty()) {
    throw Failure(ExitCode::kUnreadable, "the import could not open the file or does not take it for a mesh");
  }
  if (outcome.code != kChildDone) FailAsTheLibraryDid(outcome);
  std::size_t at = 0;
  if (Take<ParsedRecord>(outcome.output, at).triangles < static_cast<std::int64_t>(expected)) {
    FailForMemory("reading the file", limits);
  }
}

MeshFacts FactsOf(const ParsedRecord& parsed, double scale, const ChildOutcome& outcome) {
  MeshFacts facts;
  for (int axis = 0; axis < 3; ++axis) {
    facts.bounds.min[axis] = parsed.min[axis] / scale;
    facts.bounds.max[axis] = parsed.max[axis] / scale;
  }
  facts.triangles = parsed.triangles;
  facts.messages = outcome.errors;
  facts.seconds = outcome.seconds;
  return facts;
}

HeightMap MapOf(const GridPlan& plan, const MeshFacts& mesh, double scale, const char* heights) {
  HeightMap map;
  map.width = plan.nx;
  map.height = plan.ny;
  map.x0 = mesh.bounds.min[0] + plan.xOffset / scale;
  map.y0 = mesh.bounds.min[1] + plan.yOffset / scale;
  map.xSize = static_cast<float>(plan.xSize / scale);
  map.ySize = static_cast<float>(plan.ySize / scale);
  map.heights.resize(static_cast<std::size_t>(plan.nx) * static_cast<std::size_t>(plan.ny));
  std::memcpy(map.heights.data(), heights, map.heights.size() * sizeof(float));
  if (scale != 1) ScaleArrayFloats(map.heights.data(), map.Count(), 1 / scale);
  return map;
}

}  // namespace

GridPlan PlanGrid(double extentX, double extentY, const GridRequest& request) {
  if (!(extentX > 0) || !(extentY > 0)) {
    // The conversion says itself what it thinks of such a mesh.
    return {2, 2, 0, 0, extentX, extentY};
  }
  double dx = request.spacing, dy = request.spacing;
  double nx = request.nx, ny = request.ny;
  if (request.spacing > 0) {
    nx = std::floor(extentX / dx + 1e-9);
    ny = std::floor(extentY / dy + 1e-9);
  } else {
    if (nx == 0 && ny == 0) (extentX >= extentY ? nx : ny) = kDefaultLongSide;
    if (nx == 0) nx = std::max(2.0, std::round(extentX / (extentY / ny)));
    if (ny == 0) ny = std::max(2.0, std::round(extentY / (extentX / nx)));
    dx = extentX / nx;
    dy = extentY / ny;
  }
  if (nx < 2 || ny < 2) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("the mesh extends {:g} x {:g}: a spacing of {:g} leaves fewer than 2 samples",
                              extentX, extentY, request.spacing));
  }
  if (nx > kLargestSide || ny > kLargestSide || nx * ny > std::numeric_limits<int>::max()) {
    throw Failure(ExitCode::kUsage, fmt::format("a grid of {:.0f} x {:.0f} samples is too large", nx, ny));
  }
  GridPlan plan;
  plan.nx = static_cast<int>(nx);
  plan.ny = static_cast<int>(ny);
  plan.xSize = (nx - 1) * dx;
  plan.ySize = (ny - 1) * dy;
  // Half a cell away from the rim: samples on it would hit or miss the outermost triangles by chance.
  plan.xOffset = (extentX - plan.xSize) / 2;
  plan.yOffset = (extentY - plan.ySize) / 2;
  return plan;
}

MeshFacts ProbeMesh(const PreparedMesh& mesh, const ChildLimits& limits, Progress& progress) {
  const ChildOutcome outcome = RunInChild(
      limits, [&](const Reporter& report) { return ParseOnly(report, mesh); },
      ImportProgress(mesh, progress));
  progress.Finish();
  RequireSuccess(outcome, limits, mesh.triangles);
  std::size_t at = 0;
  return FactsOf(Take<ParsedRecord>(outcome.output, at), mesh.scale, outcome);
}

ImportedMap ImportMesh(const PreparedMesh& mesh, const GridRequest& request, const ChildLimits& limits,
                       Progress& progress) {
  const ChildOutcome outcome = RunInChild(
      limits, [&](const Reporter& report) { return ParseAndConvert(report, mesh, request); },
      ImportProgress(mesh, progress));
  progress.Finish();
  RequireSuccess(outcome, limits, mesh.triangles);
  std::size_t at = 0;
  ImportedMap imported;
  imported.mesh = FactsOf(Take<ParsedRecord>(outcome.output, at), mesh.scale, outcome);
  const GridPlan plan = Take<GridRecord>(outcome.output, at).plan;
  imported.map = MapOf(plan, imported.mesh, mesh.scale, outcome.output.data() + at);
  return imported;
}

}  // namespace qv3d
