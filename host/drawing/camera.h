// Where the viewer stands, as OpenGL matrices, and where points of the scene end up in the picture.
#pragma once

#include <array>
#include <vector>

namespace qv3d {

using Point = std::array<double, 3>;
using Matrix = std::array<double, 16>;  ///< column by column, as OpenGL takes it

/// The viewer looks at the origin. Azimuth 0 looks along +y with x to the right; positive azimuths walk to
/// the right.
struct ViewAngles {
  double azimuth = -30;  ///< degrees
  double elevation = 35;
  double zoom = 1;
};

struct Rectangle {
  double left, top, width, height;  ///< in pixels, from the top left corner
};

/// a times b: what b does comes first.
Matrix Multiply(const Matrix& a, const Matrix& b);

class Camera {
 public:
  /// Chooses distance and image section so that all points lie just inside `area` of a picture of width x
  /// height.
  Camera(const ViewAngles& angles, const std::vector<Point>& points, const Rectangle& area, int width,
         int height);

  const Matrix& view() const { return view_; }
  const Matrix& projection() const { return projection_; }
  /// Direction from the scene to the viewer.
  const Point& toViewer() const { return toViewer_; }
  /// The direction in which the viewer stands, degrees; see ViewAngles.
  double Azimuth() const;
  /// Pixel position in the picture, from the top left corner.
  std::array<double, 2> Project(const Point& p) const;

 private:
  Matrix view_;
  Matrix projection_;
  Point toViewer_;
  int width_;
  int height_;
};

}  // namespace qv3d
