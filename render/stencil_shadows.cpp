// Shadow volumes: which triangles of a grid are neighbours, the volumes that silhouette edges cast away from
// a light, and the two-sided stencil operations that count them.
#include <cstddef>
#include <cstdint>

#include <GL/glew.h>

#include "core/samples.h"
#include "exports/QV_3D.h"

namespace {

/// Planes and lit flags are the host's.
void Connect(QV_ShadowTriangle& triangle, const unsigned (&vertex)[3], const int (&neighbour)[3]) {
  for (int edge = 0; edge < 3; ++edge) {
    triangle.vertex[edge] = vertex[edge];
    triangle.neighbour[edge] = neighbour[edge];
  }
}

/// The two triangles of a cell: the one below the diagonal from its first to its last sample, then the one
/// above.
struct ShadowCells {
  QV_ShadowTriangle* triangles;
  int width, height;

  void Cell(int column, int row) const {
    const std::int64_t index = std::int64_t{row} * (width - 1) + column;
    const int t = static_cast<int>(2 * index);
    const unsigned w = static_cast<unsigned>(width);
    const unsigned k = static_cast<unsigned>(row) * w + static_cast<unsigned>(column);
    const int below = row > 0 ? t - 2 * width + 3 : -1, right = column < width - 2 ? t + 3 : -1;
    const int above = row < height - 2 ? t + 2 * width - 2 : -1, left = column > 0 ? t - 2 : -1;
    Connect(triangles[2 * index], {k, k + 1, k + w + 1}, {below, right, t + 1});
    Connect(triangles[2 * index + 1], {k, k + w + 1, k + w}, {t, above, left});
  }
};

/// A volume ends where the vector from the light has grown by this factor: finite, kept.
constexpr float kExtrusion = 1.7320508F;

struct Light {
  float x, y, z;

  void Extrude(const float* p) const {
    glVertex3f(p[0], p[1], p[2]);
    glVertex3f(p[0] + (p[0] - x) * kExtrusion, p[1] + (p[1] - y) * kExtrusion,
               p[2] + (p[2] - z) * kExtrusion);
  }

  void CastFromEdge(const float* p, const float* q) const {
    if (qv::IsMissing(p[2]) || qv::IsMissing(q[2])) return;
    glBegin(GL_TRIANGLE_STRIP);
    Extrude(p);
    Extrude(q);
    glEnd();
  }
};

}  // namespace

int QV_CALL CreateShadowStructure(QV_ShadowStructure* s, int /*unused*/, int width, int height) {
  const auto rows = static_cast<int>(std::int64_t{height} - 1);
  if (height < 2) return rows;
  const ShadowCells cells = {s->triangles, width, height};
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < std::int64_t{width} - 1; ++column) cells.Cell(column, row);
  }
  return rows;
}

int QV_CALL DoShadowPass(const float* light, int triangleCount, const float* vertices,
                         const unsigned* triangles) {
  if (triangleCount < 1) return triangleCount;
  const Light source = {light[0], light[1], light[2]};
  const auto* records = reinterpret_cast<const QV_ShadowTriangle*>(triangles);
  for (std::ptrdiff_t t = 0; t < triangleCount; ++t) {
    const QV_ShadowTriangle& triangle = records[t];
    if (triangle.lit == 0) continue;
    for (int edge = 0; edge < 3; ++edge) {
      const int neighbour = triangle.neighbour[edge];
      if (neighbour < 0 || records[neighbour].lit != 0) continue;
      source.CastFromEdge(vertices + 3 * std::size_t{triangle.vertex[edge]},
                          vertices + 3 * std::size_t{triangle.vertex[(edge + 1) % 3]});
    }
  }
  return 0;
}

void QV_CALL SetActiveStencilFace(unsigned face) {
  if (glActiveStencilFaceEXT != nullptr) glActiveStencilFaceEXT(face);
}

/// Counts the volumes in front of what is drawn: a front face adds one, a back face takes one away.
void QV_CALL SetupATIStencilShadows() {
  if (glStencilOpSeparateATI == nullptr || glStencilFuncSeparateATI == nullptr) return;
  glStencilOpSeparateATI(GL_BACK, GL_KEEP, GL_KEEP, GL_DECR_WRAP_EXT);
  glStencilOpSeparateATI(GL_FRONT, GL_KEEP, GL_KEEP, GL_INCR_WRAP_EXT);
  glStencilFuncSeparateATI(GL_ALWAYS, GL_ALWAYS, 0, ~0U);
}
