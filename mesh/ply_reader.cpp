#include "mesh/ply_reader.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

#include "exports/QV_3D.h"
#include "mesh/ply/ply_file.h"

namespace qv::mesh {

PlyModule ply;

namespace {

using qv::ply::ListPlace;
using qv::ply::PlyFile;
using qv::ply::ReportAllocation;
using qv::ply::Type;

bool ReadVertices(PlyFile& file, int element) {
  file.RequestScalar(element, "x", Type::kFloat32, offsetof(Vertex, x));
  file.RequestScalar(element, "y", Type::kFloat32, offsetof(Vertex, y));
  file.RequestScalar(element, "z", Type::kFloat32, offsetof(Vertex, z));
  ply.PlyVertexCount = file.Element(element)->recordCount;
  return file.ReadElement(element, &ply.PlyVertices);
}

bool ReadFaces(PlyFile& file, int element) {
  constexpr ListPlace kCorners = {.type = Type::kInt32,
                                  .offset = offsetof(PlyFace, vertexIndices),
                                  .room = 3,
                                  .countType = Type::kUint8,
                                  .countOffset = offsetof(PlyFace, vertexCount)};
  file.RequestList(element, "vertex_indices", kCorners);
  ply.PlyFaceCount = file.Element(element)->recordCount;
  return file.ReadElement(element, &ply.PlyFaces);
}

bool SetAside(PlyFile& file, int element) {
  return file.KeepOthers(element) && file.PassElement(element);
}

bool ReadElements(PlyFile& file) {
  for (int i = 0; i < file.elementCount(); ++i) {
    const std::string& name = file.Element(i)->name;
    const bool isRead = name == "vertex" ? ReadVertices(file, i)
                        : name == "face" ? ReadFaces(file, i)
                                         : SetAside(file, i);
    if (!isRead) return false;
  }
  return true;
}

/// The records that a binary file announces and does not have are zero. They are added only now, once for
/// each array, however often the header declares the element.
template <class Record>
bool AddMissing(GrowingArray<Record>& records, int count) {
  const std::size_t missing = static_cast<std::size_t>(count) - records.size();
  Record* added = records.Extend(missing);
  if (added == nullptr && missing > 0) {
    ReportAllocation();
    return false;
  }
  if (missing > 0) std::memset(static_cast<void*>(added), 0, missing * sizeof(Record));
  return true;
}

bool ReadPLY(const char* fileName) {
  std::FILE* file = std::fopen(fileName, "rb");
  if (file == nullptr) return false;
  const std::unique_ptr<PlyFile> opened = PlyFile::Open(file);
  return opened != nullptr && ReadElements(*opened) && AddMissing(ply.PlyVertices, ply.PlyVertexCount) &&
         AddMissing(ply.PlyFaces, ply.PlyFaceCount);
}

/// From the file's axes to those of height maps.
void TransformVertices() {
  for (Vertex& v : ply.PlyVertices) v = {v.y, -v.z, v.x};
}

/// Unlike that of an STL mesh, the box begins at the first vertex: if that is no number, neither is the box.
MeshBounds BoundsOfVertices() {
  const Vertex& first = ply.PlyVertices[0];
  MeshBounds bounds = {{first.x, first.y, first.z}, {first.x, first.y, first.z}};
  bounds.Widen(ply.PlyVertices.data(), ply.PlyVertices.size());
  return bounds;
}

}  // namespace
}  // namespace qv::mesh

unsigned QV_CALL ParsePLYFile(const char* fileName, float* minX, float* maxX, float* minY, float* maxY,
                              float* minZ, float* maxZ, int* vertexCount, int* faceCount) {
  using namespace qv::mesh;

  CleanUpPLY();
  ply.PlyVertexCount = ply.PlyFaceCount = 0;
  bool isRead = false;
  try {
    isRead = ReadPLY(fileName);
  } catch (const std::bad_alloc&) {
    ReportAllocation();
  }
  if (!isRead || ply.PlyVertices.empty()) {
    CleanUpPLY();
    return 1;
  }
  TransformVertices();
  ply.PlyBounds = BoundsOfVertices();

  const MeshBounds& bounds = ply.PlyBounds;
  *minX = bounds.minimum[0];
  *maxX = bounds.maximum[0];
  *minY = bounds.minimum[1];
  *maxY = bounds.maximum[1];
  *minZ = bounds.minimum[2];
  *maxZ = bounds.maximum[2];
  *vertexCount = ply.PlyVertexCount;
  *faceCount = ply.PlyFaceCount;
  return 0;
}

unsigned QV_CALL CleanUpPLY(void) {
  qv::mesh::ply.PlyVertices = {};
  qv::mesh::ply.PlyFaces = {};
  return 0;
}
