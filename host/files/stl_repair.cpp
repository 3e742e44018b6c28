#include "files/stl_repair.h"

#include <fmt/format.h>

namespace qv3d {
namespace {

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

}  // namespace

RepairedMesh RepairStl(std::string_view bytes, const StlCheck& check) {
  RepairedMesh mesh;
  const bool trustSize = check.scan.announced == 0;
  ScanStl(
      bytes, [&mesh](const Triangle& t) { mesh.triangles.push_back(t); }, trustSize);
  ReportStructure(check, mesh);
  MendTriangles(mesh, check);
  return mesh;
}

}  // namespace qv3d
