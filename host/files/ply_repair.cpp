#include "files/ply_repair.h"

namespace qv3d {

RepairedMesh RepairPly(const PlyFile& file, const PlyCheck& check) {
  RepairedMesh mesh;
  mesh.actions = check.mended;
  ForEachTriangle(file, [&mesh](const Triangle& t) { mesh.triangles.push_back(t); });
  MendTriangles(mesh, check);
  return mesh;
}

}  // namespace qv3d
