#include "stl_repair.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <system_error>
#include <unistd.h>

namespace qv3d {
namespace {

/// Refinement divides triangles further, so they are brought well above the limit.
constexpr double kComfortableDoubledArea = 100 * kSmallestDoubledArea;
/// Beyond this the coordinates would lose themselves in a float's range.
constexpr double kLargestScaledExtent = 1e9;

bool IsFinite(const Triangle& t) {
  return std::all_of(t.begin(), t.end(), [](float v) { return std::isfinite(v); });
}

void DropNonFinite(RepairedMesh& mesh) {
  const auto bad = std::stable_partition(mesh.triangles.begin(), mesh.triangles.end(), IsFinite);
  const auto dropped = mesh.triangles.end() - bad;
  mesh.triangles.erase(bad, mesh.triangles.end());
  if (dropped > 0)
    mesh.actions.push_back(
        fmt::format("left out {} triangles with coordinates that are not finite", dropped));
}

double ScaleFor(const StlCheck& check) {
  double scale = 1;
  const double extent = std::max({check.bounds.Extent(0), check.bounds.Extent(1), check.bounds.Extent(2)});
  while (check.smallestDoubledArea * scale * scale < kComfortableDoubledArea &&
         2 * scale * extent <= kLargestScaledExtent) {
    scale *= 2;
  }
  return scale;
}

void ScaleUp(RepairedMesh& mesh, const StlCheck& check) {
  mesh.scale = ScaleFor(check);
  for (Triangle& t : mesh.triangles) {
    for (float& v : t) v = static_cast<float>(v * mesh.scale);
  }
  mesh.actions.push_back(
      fmt::format("made the mesh {} times larger for the import; all results are scaled back", mesh.scale));
}

void ReportStructure(const StlCheck& check, RepairedMesh& mesh) {
  const StlScan& scan = check.scan;
  if (scan.saysSolid) mesh.actions.push_back("replaced the header that starts with \"solid\"");
  if (scan.announced > scan.recordsPresent || (scan.announced == 0 && scan.recordsPresent > 0)) {
    mesh.actions.push_back(fmt::format("set the count from {} to the {} triangles that are there",
                                       scan.announced, scan.recordsPresent));
  }
  if (scan.badVertices > 0) mesh.actions.push_back("left out the facets with incomplete vertices");
  if (scan.decimalCommas > 0) mesh.actions.push_back("read decimal commas as points");
  if (scan.unfinishedFacet) mesh.actions.push_back("left out the unfinished last facet");
}

std::string Complaint(const std::filesystem::path& path, const StlCheck& check) {
  std::string text;
  for (const Finding& finding : check.findings) {
    if (finding.severity != Severity::kError) continue;
    text += fmt::format("{}{}: {}", text.empty() ? "" : "\n", path.string(), finding.what);
  }
  return text;
}

[[noreturn]] void Refuse(const std::filesystem::path& path, const StlCheck& check, const Finding& error) {
  throw Failure(error.code, Complaint(path, check), error.advice);
}

void Mend(const std::string& bytes, PreparedMesh& prepared) {
  RepairedMesh mended = RepairStl(bytes, prepared.check);
  if (mended.actions.empty()) return;
  prepared.copy = TemporaryFile::Create();
  WriteBinaryStl(prepared.copy.path(), mended.triangles, "binary STL, mended copy");
  prepared.path = prepared.copy.path();
  prepared.scale = mended.scale;
  prepared.triangles = mended.triangles.size();
  prepared.actions = std::move(mended.actions);
}

}  // namespace

TemporaryFile TemporaryFile::Create() {
  std::error_code error;
  std::string name = (std::filesystem::temp_directory_path(error) / "qv3d-XXXXXX").string();
  const int descriptor = error ? -1 : mkstemp(name.data());
  if (descriptor < 0) {
    throw Failure(ExitCode::kUnreadable, "cannot create a temporary copy of the mesh",
                  "Set TMPDIR to a folder with room for it.");
  }
  close(descriptor);
  TemporaryFile file;
  file.path_ = name;
  return file;
}

TemporaryFile::~TemporaryFile() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove(path_, ignored);
}

std::vector<Triangle> DivideInFour(const std::vector<Triangle>& triangles) {
  std::vector<Triangle> divided;
  divided.reserve(4 * triangles.size());
  for (const Triangle& t : triangles) {
    const auto middle = [&t](std::size_t a, std::size_t b) {
      std::array<float, 3> m;
      for (std::size_t i = 0; i < 3; ++i)
        m[i] = static_cast<float>((double{t[3 * a + i]} + t[3 * b + i]) / 2);
      return m;
    };
    const auto ab = middle(0, 1), bc = middle(1, 2), ca = middle(2, 0);
    divided.push_back({t[0], t[1], t[2], ab[0], ab[1], ab[2], ca[0], ca[1], ca[2]});
    divided.push_back({ab[0], ab[1], ab[2], t[3], t[4], t[5], bc[0], bc[1], bc[2]});
    divided.push_back({ca[0], ca[1], ca[2], bc[0], bc[1], bc[2], t[6], t[7], t[8]});
    divided.push_back({ab[0], ab[1], ab[2], bc[0], bc[1], bc[2], ca[0], ca[1], ca[2]});
  }
  return divided;
}

RepairedMesh RepairStl(std::string_view bytes, const StlCheck& check) {
  RepairedMesh mesh;
  const bool trustSize = check.scan.announced == 0;
  ScanStl(
      bytes, [&mesh](const Triangle& t) { mesh.triangles.push_back(t); }, trustSize);
  ReportStructure(check, mesh);
  DropNonFinite(mesh);
  const std::size_t before = mesh.triangles.size();
  while (!mesh.triangles.empty() && mesh.triangles.size() < kFewestTriangles) {
    mesh.triangles = DivideInFour(mesh.triangles);
  }
  if (mesh.triangles.size() != before) {
    mesh.actions.push_back(fmt::format("divided {} triangles into {}, without changing the shape", before,
                                       mesh.triangles.size()));
  }
  if (check.tiny > 0) ScaleUp(mesh, check);
  return mesh;
}

PreparedMesh PrepareMesh(const std::filesystem::path& path, const PrepareOptions& options) {
  PreparedMesh prepared;
  prepared.path = path;
  if (!options.check) return prepared;
  const std::string bytes = ReadWholeFile(path);
  RequireStl(path, bytes);
  prepared.check = CheckStl(bytes);
  prepared.triangles = prepared.check.scan.triangles;
  const std::vector<Finding>& findings = prepared.check.findings;
  for (const Finding& finding : findings) {
    if (finding.severity == Severity::kError && !(options.repair && finding.repairable)) {
      Refuse(path, prepared.check, finding);
    }
  }
  if (options.repair) Mend(bytes, prepared);
  return prepared;
}

}  // namespace qv3d
