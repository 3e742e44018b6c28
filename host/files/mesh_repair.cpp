#include "files/mesh_repair.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "files/ply_repair.h"
#include "files/stl_repair.h"
#include "files/whole_file.h"

namespace qv3d {
namespace {

/// Refinement divides triangles further, so they are brought well above the limit.
constexpr double kComfortableFactor = 100;
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

double ScaleFor(const MeshCheck& check) {
  double scale = 1;
  const double extent = std::max({check.bounds.Extent(0), check.bounds.Extent(1), check.bounds.Extent(2)});
  while (check.smallestDoubledArea * scale * scale < kComfortableFactor * check.heightlessArea &&
         2 * scale * extent <= kLargestScaledExtent) {
    scale *= 2;
  }
  return scale;
}

void ScaleUp(RepairedMesh& mesh, const MeshCheck& check) {
  mesh.scale = ScaleFor(check);
  for (Triangle& t : mesh.triangles) {
    for (float& v : t) v = static_cast<float>(v * mesh.scale);
  }
  mesh.actions.push_back(
      fmt::format("made the mesh {} times larger for the import; all results are scaled back", mesh.scale));
}

std::string Complaint(const std::filesystem::path& path, const MeshCheck& check) {
  std::string text;
  for (const Finding& finding : check.findings) {
    if (finding.severity != Severity::kError) continue;
    text += fmt::format("{}{}: {}", text.empty() ? "" : "\n", path.string(), finding.what);
  }
  return text;
}

[[noreturn]] void Refuse(const std::filesystem::path& path, const MeshCheck& check, const Finding& error) {
  throw Failure(error.code, Complaint(path, check), error.advice);
}

/// Refuses a file with an error that --repair was not asked to mend or cannot.
void RequireOrder(const std::filesystem::path& path, const MeshCheck& check, bool repair) {
  for (const Finding& finding : check.findings) {
    if (finding.severity == Severity::kError && !(repair && finding.repairable)) {
      Refuse(path, check, finding);
    }
  }
}

void TakeCopy(RepairedMesh&& mended, PreparedMesh& prepared) {
  if (mended.actions.empty()) return;
  prepared.copy = TemporaryFile::Create();
  if (prepared.format == MeshFormat::kPly) {
    WriteBinaryPly(prepared.copy.path(), mended.triangles);
  } else {
    WriteBinaryStl(prepared.copy.path(), mended.triangles, "binary STL, mended copy");
  }
  prepared.path = prepared.copy.path();
  prepared.scale = mended.scale;
  prepared.triangles = mended.triangles.size();
  prepared.actions = std::move(mended.actions);
}

/// `mend` gives the mended triangles of the check that was made.
template <class Check, class Mend>
void Prepare(const Check& check, const PrepareOptions& options, Mend mend, PreparedMesh& prepared) {
  prepared.check = check;
  prepared.triangles = ExpectedTriangles(check);
  RequireOrder(prepared.path, check, options.repair);
  if (options.repair) TakeCopy(mend(check), prepared);
}

}  // namespace

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

void MendTriangles(RepairedMesh& mesh, const MeshCheck& check) {
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
}

MeshCheck CheckMesh(MeshFormat format, std::string_view bytes) {
  if (format == MeshFormat::kPly) return CheckPly(ReadPly(bytes));
  return CheckStl(bytes);
}

MeshContent ReadMeshContent(MeshFormat format, std::string_view bytes) {
  MeshContent content;
  const auto take = [&content](const Triangle& t) { content.triangles.push_back(t); };
  if (format == MeshFormat::kPly) {
    const PlyFile file = ReadPly(bytes);
    content.check = CheckPly(file);
    ForEachTriangle(file, take);
  } else {
    const StlCheck check = CheckStl(bytes);
    content.check = check;
    ScanStl(bytes, take, check.scan.announced == 0);
  }
  return content;
}

std::uint64_t ExpectedTriangles(const MeshCheck& check) {
  return check.faces.value_or(check.triangles);
}

PreparedMesh PrepareMesh(const std::filesystem::path& path, const PrepareOptions& options) {
  PreparedMesh prepared;
  prepared.path = path;
  prepared.format = FormatByName(path);
  if (!options.check) return prepared;
  const std::string bytes = ReadWholeFile(path);
  prepared.format = RequireMesh(path, bytes);
  if (prepared.format == MeshFormat::kPly) {
    const PlyFile file = ReadPly(bytes);
    const auto mend = [&file](const PlyCheck& check) { return RepairPly(file, check); };
    Prepare(CheckPly(file), options, mend, prepared);
  } else {
    const auto mend = [&bytes](const StlCheck& check) { return RepairStl(bytes, check); };
    Prepare(CheckStl(bytes), options, mend, prepared);
  }
  return prepared;
}

}  // namespace qv3d
