#include "selftest/selftest.h"

#include <QV_3D.h>
#include <exception>
#include <fmt/format.h>
#include <iterator>
#include <new>
#include <system_error>

#include "failure.h"
#include "files/ply_file.h"
#include "files/stl_file.h"
#include "files/whole_file.h"
#include "formats/readers.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

struct Family {
  const char* name;
  void (*check)(const Gauges& gauges, Checks& checks);
};

constexpr Family kFamilies[] = {
    {"height statistics", CheckStatistics},
    {"normalisation and conversion", CheckConversions},
    {"plane fit and cropping", CheckPlanes},
    {"neighbourhood filters", CheckWindows},
    {"Gaussian, spline and circle", CheckProfileFilters},
    {"roundness", CheckRoundness},
    {"resampling", CheckResampling},
    {"spectra", CheckSpectra},
    {"contours and sections", CheckContours},
    {"mesh import", CheckMeshImport},
    {"gridding", CheckGridding},
    {"surface normals", CheckNormals},
    {"points, index lists, shadow structure", CheckSurfaceLists},
    {"occlusion, checkerboard", CheckOcclusion},
};

template <class Run>
void Guarded(Checks& checks, Run run) {
  try {
    run();
  } catch (const std::bad_alloc&) {
    checks.Fail("out of memory");
  } catch (const std::exception& error) {
    checks.Fail(error.what());
  }
}

std::string ProfileText(const RoundProfile& profile) {
  std::string text = "# radius / um, at equal angles over one revolution\n";
  for (const double value : profile.values) fmt::format_to(std::back_inserter(text), "{:.12g}\n", value);
  return text;
}

/// Every fifth sample is gone, and what is left rises along both axes, faster and faster.
void DisturbMap(HeightMap& map) {
  std::size_t k = 0;
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column, ++k) {
      const double rise = 0.5 + 0.01 * column * column + 0.02 * row * row;
      map.heights[k] =
          static_cast<float>((column + 2 * row) % 5 == 3 ? QV_BAD_SAMPLE : map.heights[k] + rise);
    }
  }
}

/// Walls, which shade what lies between them.
void DisturbPlane(HeightMap& map) {
  for (std::size_t k = 0; k < map.heights.size(); k += 5) map.heights[k] += 50;
}

/// Every fifth cell is gone, and the others are higher.
void DisturbMesh(std::vector<Triangle>& mesh) {
  std::vector<Triangle> left;
  for (std::size_t k = 0; k < mesh.size(); ++k) {
    if (k / 2 % 5 == 0) continue;
    left.push_back(mesh[k]);
    for (const std::size_t z : {2, 5, 8}) left.back()[z] *= 1.1f;
  }
  mesh = left;
}

void DisturbProfile(RoundProfile& profile) {
  for (double& value : profile.values) value += 0.5 * (value - LobesGauge::kRadius) + 1;
}

}  // namespace

Checks RunChecks(const Gauges& gauges, const SelftestRequest& request, Progress& progress) {
  Checks checks;
  for (const Family& family : kFamilies) {
    progress.Phase(family.name);
    checks.Begin(family.name);
    Guarded(checks, [&] { family.check(gauges, checks); });
  }
  // Last: the imports' child processes must not inherit a driver.
  progress.Phase("drawing");
  checks.Begin("drawing");
  if (request.draw) {
    Guarded(checks, [&] { CheckDrawing(gauges, checks, request.backend); });
  } else {
    checks.Skip("not asked for (--no-gl)");
  }
  progress.Finish();
  return checks;
}

bool Disturb(Gauges& gauges, const std::string& name) {
  for (const auto& [known, map] : MapsOf(gauges)) {
    if (name != known) continue;
    map == &gauges.flat ? DisturbPlane(*map) : DisturbMap(*map);
    if (map == &gauges.cap) DisturbMesh(gauges.mesh);
    return true;
  }
  if (name != "lobes") return false;
  DisturbProfile(gauges.lobes);
  return true;
}

std::vector<std::filesystem::path> WriteGauges(const std::filesystem::path& folder, const Gauges& gauges) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) {
    throw Failure(ExitCode::kUnreadable, fmt::format("{}: {}", folder.string(), error.message()),
                  "Name another folder.");
  }
  std::vector<std::filesystem::path> files;
  Gauges copy = gauges;
  for (const auto& [name, map] : MapsOf(copy)) {
    files.push_back(folder / fmt::format("{}.sdf", name));
    WriteWholeFile(files.back(), WriteSdf({*map, kGaugeUnit}));
  }
  files.push_back(folder / "lobes.txt");
  WriteWholeFile(files.back(), ProfileText(gauges.lobes));
  files.push_back(folder / "cap.stl");
  WriteBinaryStl(files.back(), gauges.mesh, "QV_3D sphere cap, micrometres");
  files.push_back(folder / "cap.ply");
  WriteBinaryPly(files.back(), gauges.mesh);
  return files;
}

}  // namespace qv3d
