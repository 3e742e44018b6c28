#include "drawing/camera.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace qv3d {
namespace {

/// Half the angle of view; a long lens shows a part without much distortion.
constexpr double kHalfAngle = 11 * std::numbers::pi / 180;

/// Position in the frustum, -1..1 in both directions.
std::array<double, 2> Clip(const Matrix& m, const Point& p) {
  double v[4];
  for (std::size_t row = 0; row < 4; ++row)
    v[row] = m[row] * p[0] + m[4 + row] * p[1] + m[8 + row] * p[2] + m[12 + row];
  return {v[0] / v[3], v[1] / v[3]};
}

Matrix Perspective(double nearest, double farthest) {
  const double f = 1 / std::tan(kHalfAngle);
  return {f,
          0,
          0,
          0,
          0,
          f,
          0,
          0,
          0,
          0,
          (farthest + nearest) / (nearest - farthest),
          -1,
          0,
          0,
          2 * farthest * nearest / (nearest - farthest),
          0};
}

}  // namespace

Matrix Multiply(const Matrix& a, const Matrix& b) {
  Matrix product{};
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row) {
      for (std::size_t k = 0; k < 4; ++k) product[4 * column + row] += a[4 * k + row] * b[4 * column + k];
    }
  }
  return product;
}

Camera::Camera(const ViewAngles& angles, const std::vector<Point>& points, const Rectangle& area, int width,
               int height)
    : width_(width), height_(height) {
  const double az = angles.azimuth * std::numbers::pi / 180, el = angles.elevation * std::numbers::pi / 180;
  const Point right{std::cos(az), std::sin(az), 0};
  toViewer_ = {std::sin(az) * std::cos(el), -std::cos(az) * std::cos(el), std::sin(el)};
  const Point up{-std::sin(az) * std::sin(el), std::cos(az) * std::sin(el), std::cos(el)};
  double radius = 0;
  for (const Point& p : points) radius = std::max(radius, std::hypot(p[0], p[1], p[2]));
  const double distance = 1.05 * radius / std::sin(kHalfAngle);
  view_ = {right[0], up[0], toViewer_[0], 0, right[1], up[1], toViewer_[1], 0,
           right[2], up[2], toViewer_[2], 0, 0,        0,     -distance,    1};
  const Matrix perspective = Perspective(distance - 1.05 * radius, distance + 1.05 * radius);

  // The perspective picture is then moved and stretched, alike in both directions, to fill the area.
  const Matrix both = Multiply(perspective, view_);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  double low[2] = {kInfinity, kInfinity}, high[2] = {-kInfinity, -kInfinity};
  for (const Point& p : points) {
    const std::array<double, 2> at = Clip(both, p);
    for (std::size_t i = 0; i < 2; ++i) {
      low[i] = std::min(low[i], at[i]);
      high[i] = std::max(high[i], at[i]);
    }
  }
  const double pixels =
      angles.zoom * std::min(area.width / (high[0] - low[0]), area.height / (high[1] - low[1]));
  const double sx = 2 * pixels / width, sy = 2 * pixels / height;
  const double middleX = 2 * (area.left + area.width / 2) / width - 1;
  const double middleY = 1 - 2 * (area.top + area.height / 2) / height;
  const Matrix fit{sx,
                   0,
                   0,
                   0,
                   0,
                   sy,
                   0,
                   0,
                   0,
                   0,
                   1,
                   0,
                   middleX - sx * (low[0] + high[0]) / 2,
                   middleY - sy * (low[1] + high[1]) / 2,
                   0,
                   1};
  projection_ = Multiply(fit, perspective);
}

double Camera::Azimuth() const {
  return std::atan2(toViewer_[0], -toViewer_[1]) * 180 / std::numbers::pi;
}

std::array<double, 2> Camera::Project(const Point& p) const {
  const std::array<double, 2> at = Clip(Multiply(projection_, view_), p);
  return {(at[0] + 1) / 2 * width_, (1 - at[1]) / 2 * height_};
}

}  // namespace qv3d
