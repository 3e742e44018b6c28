// The outline in which a plane cuts a mesh, drawn by the library.
#pragma once

#include <array>
#include <vector>

#include "drawing/camera.h"
#include "drawing/offscreen.h"
#include "files/mesh_file.h"

namespace qv3d {

/// The points with normal * point = offset, and two directions in it. All three have length 1.
struct CutPlane {
  Point normal, right, up;
  double offset;
};

/// The points with a*x + b*y + c*z = d, seen against (a, b, c), z upwards; a plane across z is seen with y
/// upwards.
CutPlane PlaneOf(double a, double b, double c, double d);

/// One straight piece of the outline, in the directions of the plane.
struct CutPiece {
  double x1, y1, x2, y2;
};

class MeshCut {
 public:
  /// A context must be current for all that follows.
  MeshCut(const std::vector<Triangle>& triangles, const CutPlane& plane);

  /// The pieces as OpenGL got them; a framebuffer must be bound.
  std::vector<CutPiece> Pieces() const;

  /// Draws the outline into the bound framebuffer, whose edges have these coordinates.
  void Draw(double left, double right, double bottom, double top, float lineWidth) const;

 private:
  void Look(double left, double right, double bottom, double top) const;
  void Send(std::size_t first, std::size_t count) const;

  CutPlane plane_;
  Point middle_;                 ///< of the mesh, which is drawn around the origin
  double reach_;                 ///< no corner lies farther from the middle
  std::vector<double> corners_;  ///< nine per triangle
};

}  // namespace qv3d
