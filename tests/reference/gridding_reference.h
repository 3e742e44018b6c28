// Scattered points and triangles to heights on a grid, written down step by step: slow and obvious.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/samples.h"
#include "mesh/triangle_geometry.h"

namespace qv::test {

/// nx x ny nodes, the last row of nodes first in what is written.
struct NodePlacement {
  int nx, ny;
  double dx, dy, x0, y0;

  std::size_t Count() const {
    return nx < 1 || ny < 1 ? 0 : static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny);
  }
  std::size_t Index(int column, int row) const {
    return static_cast<std::size_t>(ny - 1 - row) * static_cast<std::size_t>(nx) +
           static_cast<std::size_t>(column);
  }
};

struct InverseDistanceNode {
  double value;
  double magnitude;  ///< the same of the magnitudes of z: what errors are relative to
};

/// One node; points are triplets x, y, z.
inline InverseDistanceNode InverseDistanceReference(const std::vector<double>& points, double x, double y,
                                                    double power, double smoothing) {
  double weighted = 0, magnitude = 0, weight = 0;
  for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
    const double xi = points[i], yi = points[i + 1], zi = points[i + 2];
    const double d = std::sqrt((xi - x) * (xi - x) + (yi - y) * (yi - y));
    const double distance = std::sqrt(d * d + smoothing * smoothing);
    if (distance == 0) return {zi, std::abs(zi)};
    const double factor = std::pow(distance, power);
    weighted += zi / factor;
    magnitude += std::abs(zi) / factor;
    weight += 1 / factor;
  }
  if (weight == 0) return {0, 0};
  return {weighted / weight, magnitude / weight};
}

/// Whether a height is what the reference says, but for the freedom in the weights and its rounding.
inline bool IsCloseTo(float actual, const InverseDistanceNode& expected) {
  const auto rounded = static_cast<float>(expected.value);
  if (std::isnan(actual) || std::isnan(rounded)) return std::isnan(actual) == std::isnan(rounded);
  if (actual == rounded) return true;
  const double error = 1e-12 * expected.magnitude;
  return actual >= static_cast<float>(expected.value - error) &&
         actual <= static_cast<float>(expected.value + error);
}

/// Triangles with a list per cell. Heights are in the order of the output.
class TriangleGridReference {
 public:
  using Vertex = mesh::VertexOf<double>;
  struct Outcome {
    int result = 0;
    std::vector<float> heights;  ///< none unless the result is 0
  };

  TriangleGridReference(const std::vector<double>& triangles, const NodePlacement& placement, int cells)
      : triangles_(triangles),
        p_(placement),
        cells_(cells),
        extentX_((static_cast<double>(placement.nx) - 1) * placement.dx),
        extentY_((static_cast<double>(placement.ny) - 1) * placement.dy) {}

  Outcome Convert() {
    Outcome out;
    if (!FileTriangles()) {
      out.result = -1;
      return out;
    }
    out.heights.resize(p_.Count());
    for (int i = 0; i < p_.nx; ++i) {
      for (int j = 0; j < p_.ny; ++j) {
        const double x = p_.x0 + i * extentX_ / (p_.nx - 1), y = p_.y0 + j * extentY_ / (p_.ny - 1);
        out.heights[p_.Index(i, j)] = HeightAt(x, y);
      }
    }
    return out;
  }

 private:
  std::size_t Count() const { return triangles_.size() / 9; }
  Vertex Corner(std::size_t t, std::size_t k) const {
    const double* v = &triangles_[9 * t + 3 * k];
    return {v[0], v[1], v[2]};
  }

  int Index(double value, double first, double extent) const {
    const int index = TruncateToInt((value - first) * cells_ / extent);
    return cells_ > 0 && index == cells_ ? cells_ - 1 : index;
  }
  bool IsCell(int index) const { return index >= 0 && index < cells_; }

  bool FileTriangles() {
    for (std::size_t t = 0; t < Count(); ++t) {
      int x[3], y[3];
      for (std::size_t k = 0; k < 3; ++k) {
        x[k] = Index(Corner(t, k).x, p_.x0, extentX_);
        y[k] = Index(Corner(t, k).y, p_.y0, extentY_);
        if (!IsCell(x[k]) || !IsCell(y[k])) return false;
      }
      spans_.push_back({*std::min_element(x, x + 3), *std::max_element(x, x + 3), *std::min_element(y, y + 3),
                        *std::max_element(y, y + 3)});
    }
    return true;
  }

  static int Side(double px, double py, const Vertex& a, const Vertex& b) {
    const double s = (py - a.y) * (b.x - a.x) - (px - a.x) * (b.y - a.y);
    if (s > 0) return -1;
    return s < 0 ? 1 : 0;
  }

  bool IsInside(double x, double y, std::size_t t) const {
    const Vertex a = Corner(t, 0), b = Corner(t, 1), c = Corner(t, 2);
    bool left = false, right = false;
    for (const int side : {Side(x, y, a, b), Side(x, y, b, c), Side(x, y, c, a)}) {
      left = left || side < 0;
      right = right || side > 0;
    }
    return !(left && right);
  }

  float HeightAt(double x, double y) const {
    const int cx = Index(x, p_.x0, extentX_), cy = Index(y, p_.y0, extentY_);
    if (!IsCell(cx) || !IsCell(cy)) return kBadSampleFloat;
    for (std::size_t t = 0; t < Count(); ++t) {
      const Span& s = spans_[t];
      if (cx < s.x0 || cx > s.x1 || cy < s.y0 || cy > s.y1 || !IsInside(x, y, t)) continue;
      // The form of the plane's equation is the library's choice: tested on its own.
      const Vertex a = Corner(t, 0), b = Corner(t, 1), c = Corner(t, 2);
      return static_cast<float>(mesh::PlaneHeightAt({x, y}, mesh::TriangleOf<double>{a, b, c}, 1e-9));
    }
    return kBadSampleFloat;
  }

  struct Span {
    int x0, x1, y0, y1;
  };
  const std::vector<double>& triangles_;
  NodePlacement p_;
  int cells_;
  double extentX_, extentY_;
  std::vector<Span> spans_;
};

}  // namespace qv::test
