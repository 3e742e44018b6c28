#include "drawing/mesh_cut.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include <GL/gl.h>

#include "drawing/scene.h"
#include "plots/style.h"

namespace qv3d {
namespace {

double Dot(const Point& a, const Point& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Point Cross(const Point& a, const Point& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Point Normalised(const Point& p) {
  const double length = std::sqrt(Dot(p, p));
  return {p[0] / length, p[1] / length, p[2] / length};
}

/// Sizes of the view in which the pieces are read back.
constexpr int kReadBack = 4096;
constexpr std::size_t kTrianglesAtOnce = 65536;
/// A line in the feedback buffer: a token and two corners of x, y and z.
constexpr std::size_t kFloatsPerLine = 7;

}  // namespace

CutPlane PlaneOf(double a, double b, double c, double d) {
  const double length = std::sqrt(a * a + b * b + c * c);
  CutPlane plane;
  plane.normal = {a / length, b / length, c / length};
  plane.offset = d / length;
  constexpr double kAcrossZ = 1 - 1e-9;
  const Point upwards = std::abs(plane.normal[2]) > kAcrossZ ? Point{0, 1, 0} : Point{0, 0, 1};
  plane.right = Normalised(Cross(upwards, plane.normal));
  plane.up = Cross(plane.normal, plane.right);
  return plane;
}

MeshCut::MeshCut(const std::vector<Triangle>& triangles, const CutPlane& plane) : plane_(plane) {
  Point low{HUGE_VAL, HUGE_VAL, HUGE_VAL}, high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  for (const Triangle& t : triangles) {
    for (std::size_t k = 0; k < t.size(); ++k) {
      low[k % 3] = std::min(low[k % 3], double{t[k]});
      high[k % 3] = std::max(high[k % 3], double{t[k]});
    }
  }
  for (std::size_t k = 0; k < 3; ++k) middle_[k] = (low[k] + high[k]) / 2;
  const Point half{high[0] - middle_[0], high[1] - middle_[1], high[2] - middle_[2]};
  reach_ = std::max(1e-30, 1.01 * std::sqrt(Dot(half, half)));
  corners_.reserve(9 * triangles.size());
  for (const Triangle& t : triangles) {
    for (std::size_t k = 0; k < t.size(); ++k) corners_.push_back(t[k] - middle_[k % 3]);
  }
}

/// The plane fills the view; the edges are coordinates around the middle of the mesh.
void MeshCut::Look(double left, double right, double bottom, double top) const {
  const Point &r = plane_.right, &u = plane_.up, &n = plane_.normal;
  const double view[16] = {r[0], u[0], n[0], 0, r[1], u[1], n[1], 0, r[2], u[2], n[2], 0, 0, 0, 0, 1};
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(left, right, bottom, top, -2 * reach_, 2 * reach_);
  glMatrixMode(GL_MODELVIEW);
  glLoadMatrixd(view);
}

void MeshCut::Send(std::size_t first, std::size_t count) const {
  const double distance = plane_.offset - Dot(plane_.normal, middle_);
  const Point& n = plane_.normal;
  const double point[3] = {n[0] * distance, n[1] * distance, n[2] * distance};
  ComputeCrossSectionLines(corners_.data() + 9 * first, n.data(), point, static_cast<int>(count));
}

std::vector<CutPiece> MeshCut::Pieces() const {
  const double x = Dot(plane_.right, middle_), y = Dot(plane_.up, middle_);
  glViewport(0, 0, kReadBack, kReadBack);
  Look(-reach_, reach_, -reach_, reach_);
  const auto across = [&](float at) { return (2.0 * at / kReadBack - 1) * reach_; };
  std::vector<float> buffer(kFloatsPerLine * kTrianglesAtOnce);
  std::vector<CutPiece> pieces;
  const std::size_t triangles = corners_.size() / 9;
  for (std::size_t first = 0; first < triangles; first += kTrianglesAtOnce) {
    glFeedbackBuffer(static_cast<GLsizei>(buffer.size()), GL_3D, buffer.data());
    glRenderMode(GL_FEEDBACK);
    Send(first, std::min(kTrianglesAtOnce, triangles - first));
    const auto used = static_cast<std::size_t>(std::max(0, glRenderMode(GL_RENDER)));
    for (std::size_t k = 0; k + kFloatsPerLine <= used; k += kFloatsPerLine) {
      pieces.push_back({across(buffer[k + 1]) + x, across(buffer[k + 2]) + y, across(buffer[k + 4]) + x,
                        across(buffer[k + 5]) + y});
    }
  }
  return pieces;
}

void MeshCut::Draw(double left, double right, double bottom, double top, float lineWidth) const {
  const double x = Dot(plane_.right, middle_), y = Dot(plane_.up, middle_);
  glClearColor(kBackground[0], kBackground[1], kBackground[2], 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  Look(left - x, right - x, bottom - y, top - y);
  glLineWidth(lineWidth);
  glColor3ub(kCurveColours[0][0], kCurveColours[0][1], kCurveColours[0][2]);
  const std::size_t triangles = corners_.size() / 9;
  for (std::size_t first = 0; first < triangles; first += kTrianglesAtOnce) {
    Send(first, std::min(kTrianglesAtOnce, triangles - first));
  }
  glFinish();
}

}  // namespace qv3d
