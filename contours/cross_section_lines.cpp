#include <cmath>
#include <cstddef>

#include <GL/glew.h>

#include "contours/triangle_cut.h"
#include "exports/QV_3D.h"

namespace qv::contours {

namespace {

/// The vertices whose edges from the first to the two others are cut.
struct Cut {
  int result;
  int apex, first, second;  ///< apex -1: no segment
};

constexpr Cut Nothing(int result) {
  return {result, -1, 0, 0};
}

/// The order of the cases matters: a triangle that touches the plane fits several.
Cut Classify(double s0, double s1, double s2) {
  if (s0 >= 0 && s1 >= 0 && s2 >= 0) return Nothing(0);
  if (s0 > 0 && s1 < 0 && s2 < 0) return {4, 0, 2, 1};
  if (s0 <= 0 && s1 <= 0 && s2 <= 0) return Nothing(3);
  if (s1 > 0 && s0 < 0 && s2 < 0) return {4, 1, 2, 0};
  if (s2 > 0 && s0 < 0 && s1 < 0) return {4, 2, 0, 1};
  if (s0 < 0 && s1 >= 0 && s2 >= 0) return {3, 0, 1, 2};
  if (s1 < 0 && s0 >= 0 && s2 >= 0) return {3, 1, 0, 2};
  if (s2 < 0 && s0 > 0 && s1 > 0) return {3, 2, 1, 0};
  return Nothing(-1);
}

void EdgePoint(const double* a, const double* b, double sA, double sB, double* point) {
  for (int k = 0; k < 3; ++k) point[k] = a[k] - (b[k] - a[k]) * sA / (sB - sA);
}

}  // namespace

Plane PlaneThrough(const double* normal, const double* point) {
  const double length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
  return {{normal[0] / length, normal[1] / length, normal[2] / length},
          -(normal[0] * point[0] + normal[1] * point[1] + normal[2] * point[2])};
}

int CutTriangle(const Plane& plane, const double* triangle, double segment[6], bool* drawn) {
  double s[3];
  for (int v = 0; v < 3; ++v) {
    const double* p = triangle + 3 * v;
    s[v] = plane.unit[0] * p[0] + plane.unit[1] * p[1] + plane.unit[2] * p[2] + plane.offset;
  }
  const Cut cut = Classify(s[0], s[1], s[2]);
  *drawn = cut.apex >= 0;
  if (*drawn) {
    const double* apex = triangle + 3 * cut.apex;
    EdgePoint(apex, triangle + 3 * cut.first, s[cut.apex], s[cut.first], segment);
    EdgePoint(apex, triangle + 3 * cut.second, s[cut.apex], s[cut.second], segment + 3);
  }
  return cut.result;
}

}  // namespace qv::contours

unsigned QV_CALL ComputeCrossSectionLines(const double* triangles, const double* normal, const double* point,
                                          int count) {
  if (count < 1) return 0;
  const qv::contours::Plane plane = qv::contours::PlaneThrough(normal, point);
  for (std::ptrdiff_t t = 0; t < count; ++t) {
    double segment[6];
    bool drawn = false;
    qv::contours::CutTriangle(plane, triangles + 9 * t, segment, &drawn);
    if (!drawn) continue;
    glBegin(GL_LINES);
    glVertex3d(segment[0], segment[1], segment[2]);
    glVertex3d(segment[3], segment[4], segment[5]);
    glEnd();
  }
  return 0;
}
