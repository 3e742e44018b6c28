#include <cstddef>

#include "core/kept_memory.h"
#include "core/samples.h"
#include "exports/QV_3D.h"

namespace {

/// The module's vertex list. SetVertices sets the count; nothing sets the pointer, and nothing frees either.
/// The pointer is volatile so that reading through it really faults instead of being reasoned away.
struct VertexList {
  int count = 0;
  const QV_VertexRecord* volatile vertices = nullptr;
};

VertexList vertexList;

void Widen(float value, float* maximum, float* minimum) {
  if (value > *maximum) *maximum = value;
  if (value < *minimum) *minimum = value;
}

}  // namespace

int QV_CALL SetVertices(int count, const QV_VertexRecord* records) {
  vertexList.count = count;
  if (records != nullptr) qv::KeepBlock(count, sizeof *records);
  return count;
}

unsigned QV_CALL ComputeExtremes(float* maximumX, float* minimumX, float* maximumY, float* minimumY,
                                 float* maximumZ, float* minimumZ) {
  *maximumX = *maximumY = *maximumZ = -qv::kSearchStart;
  *minimumX = *minimumY = *minimumZ = qv::kSearchStart;
  for (std::ptrdiff_t i = 0; i < vertexList.count; ++i) {
    const volatile QV_VertexRecord* vertex = vertexList.vertices + i;
    Widen(vertex->x, maximumX, minimumX);
    Widen(vertex->y, maximumY, minimumY);
    Widen(vertex->z, maximumZ, minimumZ);
  }
  return 0;
}
