// The conversion of a mesh to heights written down step by step, with a list of triangles per cell: slow and
// obvious.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/samples.h"
#include "mesh/mesh_bounds.h"
#include "mesh/triangle_geometry.h"

namespace qv::test {

struct GridReference {
  bool badCell = false;
  bool endless = false;  ///< more triangles or passes than any mesh of the tests needs
  long missing = 0;
  int resolution = 0;
  std::string passes;  ///< what every refinement pass prints
  std::vector<mesh::Triangle> refined;
  std::vector<float> heights;
};

class MeshToGridReference {
 public:
  /// The ends of the grid are pulled inside by `nudge`.
  MeshToGridReference(std::vector<mesh::Triangle> triangles, double degenerateArea, double nudge = 0)
      : triangles_(std::move(triangles)), degenerateArea_(degenerateArea), nudge_(nudge) {
    for (const mesh::Triangle& t : triangles_) {
      for (const mesh::Vertex& v : {t.a, t.b, t.c}) {
        const float coordinates[3] = {v.x, v.y, v.z};
        for (int axis = 0; axis < 3; ++axis) {
          if (coordinates[axis] < bounds_.minimum[axis]) bounds_.minimum[axis] = coordinates[axis];
          if (coordinates[axis] > bounds_.maximum[axis]) bounds_.maximum[axis] = coordinates[axis];
        }
      }
    }
  }

  GridReference Convert(int nx, int ny, float xOffset, float yOffset, float xSize, float ySize,
                        std::size_t mostTriangles) {
    minX_ = bounds_.minimum[0];
    minY_ = bounds_.minimum[1];
    extentX_ = bounds_.maximum[0] - minX_;
    extentY_ = bounds_.maximum[1] - minY_;
    resolution_ = static_cast<int>(std::min(std::sqrt(0.005 * static_cast<double>(triangles_.size())), 80.0));
    out_.resolution = resolution_;
    out_.badCell = resolution_ == 0 || !(extentX_ > 0) || !(extentY_ > 0) || !AllFinite();
    if (out_.badCell) return out_;
    if (!SplitLongEdges(0.95 * std::min(extentX_ / resolution_, extentY_ / resolution_), mostTriangles)) {
      out_.endless = true;
      return out_;
    }
    FileTriangles();
    SampleGrid(nx, ny, Start(bounds_.minimum[0], xOffset), Start(bounds_.minimum[1], yOffset), xSize, ySize);
    out_.refined = triangles_;
    return out_;
  }

  static int Side(double px, double py, const mesh::Vertex& a, const mesh::Vertex& b) {
    const double ax = a.x, ay = a.y, bx = b.x, by = b.y;
    const double d = (py - ay) * (bx - ax) - (px - ax) * (by - ay);
    if (d > 0) return -1;
    if (d < 0) return 1;
    return 0;
  }

  static bool IsInside(double px, double py, const mesh::Triangle& t) {
    const int sides[3] = {Side(px, py, t.a, t.b), Side(px, py, t.b, t.c), Side(px, py, t.c, t.a)};
    int sign = 0;
    for (const int side : sides) {
      if (side == 0) continue;
      if (sign != 0 && side != sign) return false;
      sign = side;
    }
    return true;
  }

 private:
  struct Cell {
    int x, y;
    bool operator==(const Cell& other) const { return x == other.x && y == other.y; }
  };

  bool AllFinite() const {
    for (const mesh::Triangle& t : triangles_) {
      for (const mesh::Vertex& v : {t.a, t.b, t.c}) {
        if (!std::isfinite(v.x) || !std::isfinite(v.y)) return false;
      }
    }
    return true;
  }

  static mesh::Vertex Middle(const mesh::Vertex& a, const mesh::Vertex& b) {
    const auto mean = [](double p, double q) { return static_cast<float>((p + q) / 2); };
    return {mean(a.x, b.x), mean(a.y, b.y), mean(a.z, b.z)};
  }

  static double Length(const mesh::Vertex& a, const mesh::Vertex& b, double limit) {
    const double dx = static_cast<double>(b.x) - a.x, dy = static_cast<double>(b.y) - a.y;
    const double length = std::sqrt(dx * dx + dy * dy);
    const mesh::Vertex m = Middle(a, b);
    const bool stuck = (m.x == a.x && m.y == a.y) || (m.x == b.x && m.y == b.y);
    return stuck && length >= limit ? 0 : length;
  }

  bool SplitLongEdges(double limit, std::size_t mostTriangles) {
    for (int pass = 0; pass < 100; ++pass) {
      const std::size_t n = triangles_.size();
      double longest = 0;
      for (std::size_t i = 0; i < n; ++i) {
        const mesh::Triangle t = triangles_[i];
        const double e0 = Length(t.a, t.b, limit), e1 = Length(t.b, t.c, limit), e2 = Length(t.c, t.a, limit);
        longest = std::max({longest, e0, e1, e2});
        if (e0 < limit && e1 < limit && e2 < limit) continue;
        if (e0 > e1 && e0 > e2) {
          const mesh::Vertex m = Middle(t.a, t.b);
          triangles_[i] = {t.a, m, t.c};
          triangles_.push_back({m, t.b, t.c});
        } else if (e1 > e2) {
          const mesh::Vertex m = Middle(t.b, t.c);
          triangles_[i] = {t.a, t.b, m};
          triangles_.push_back({t.a, m, t.c});
        } else {
          const mesh::Vertex m = Middle(t.c, t.a);
          triangles_[i] = {t.a, t.b, m};
          triangles_.push_back({m, t.b, t.c});
        }
        if (triangles_.size() > mostTriangles) return false;
      }
      char line[128];
      std::snprintf(line, sizeof line, "Maximum edge length: %g (Triangles: %d)\n", longest,
                    static_cast<int>(triangles_.size()));
      out_.passes += line;
      if (longest < limit) return true;
    }
    return false;
  }

  int Index(float value, double minimum, double extent) const {
    const int index = TruncateToInt((value - minimum) * resolution_ / extent);
    return index == resolution_ ? resolution_ - 1 : index;
  }
  Cell CellOf(float x, float y) const { return {Index(x, minX_, extentX_), Index(y, minY_, extentY_)}; }

  std::vector<int>& ListOf(const Cell& cell) {
    return lists_[static_cast<std::size_t>(cell.x) * static_cast<std::size_t>(resolution_) +
                  static_cast<std::size_t>(cell.y)];
  }

  static bool AreDiagonal(const Cell& a, const Cell& b) {
    return std::abs(a.x - b.x) == 1 && std::abs(a.y - b.y) == 1;
  }

  /// The cells of the vertices and what completes their block of 2 x 2. Empty when the vertices span more.
  static std::vector<Cell> StatedCells(Cell c0, Cell c1, Cell c2) {
    std::vector<Cell> cells;
    if (c1 == c0) {
      cells = c2 == c0 ? std::vector<Cell>{c0} : std::vector<Cell>{c0, c2};
    } else if (c2 == c0 || c2 == c1) {
      cells = {c0, c1};
    } else {
      cells = {c0, c1, c2};
      if (AreDiagonal(c0, c2)) std::swap(c0, c1);
      if (AreDiagonal(c0, c1)) std::swap(c0, c2);
      cells.push_back({c1.x + c2.x - c0.x, c1.y + c2.y - c0.y});
    }
    if (cells.size() == 2 && AreDiagonal(cells[0], cells[1])) {
      cells.push_back({cells[0].x, cells[1].y});
      cells.push_back({cells[1].x, cells[0].y});
    }
    return cells;
  }

  void FileTriangles() {
    lists_.assign(static_cast<std::size_t>(resolution_) * static_cast<std::size_t>(resolution_), {});
    for (std::size_t t = 0; t < triangles_.size(); ++t) {
      const mesh::Triangle& triangle = triangles_[t];
      const Cell c[3] = {CellOf(triangle.a.x, triangle.a.y), CellOf(triangle.b.x, triangle.b.y),
                         CellOf(triangle.c.x, triangle.c.y)};
      const int x0 = std::min({c[0].x, c[1].x, c[2].x}), x1 = std::max({c[0].x, c[1].x, c[2].x});
      const int y0 = std::min({c[0].y, c[1].y, c[2].y}), y1 = std::max({c[0].y, c[1].y, c[2].y});
      std::vector<Cell> cells;
      if (x1 - x0 <= 1 && y1 - y0 <= 1) {
        cells = StatedCells(c[0], c[1], c[2]);
      } else {  // edges that could not be halved
        for (int x = x0; x <= x1; ++x) {
          for (int y = y0; y <= y1; ++y) cells.push_back({x, y});
        }
      }
      for (const Cell& cell : cells) ListOf(cell).push_back(static_cast<int>(t));
    }
  }

  float Start(double minimum, double offset) const { return static_cast<float>((minimum + offset) + nudge_); }
  float End(double start, double size) const { return static_cast<float>((start + size) - 2 * nudge_); }

  void SampleGrid(int nx, int ny, float x0, float y0, float xSize, float ySize) {
    const float x1 = End(x0, xSize), y1 = End(y0, ySize);
    const std::size_t width = static_cast<std::size_t>(nx) + 1;
    out_.heights.resize(width * (static_cast<std::size_t>(ny) + 1));
    for (int i = 0; i <= nx; ++i) {
      for (int j = 0; j <= ny; ++j) {
        const auto x = static_cast<float>(x0 + (static_cast<double>(x1) - x0) * i / nx);
        const auto y = static_cast<float>(y0 + j * (static_cast<double>(y1) - y0) / ny);
        out_.heights[static_cast<std::size_t>(j) * width + static_cast<std::size_t>(i)] = HeightAt(x, y);
      }
    }
  }

  float HeightAt(float x, float y) {
    const Cell cell = CellOf(x, y);
    if (cell.x >= 0 && cell.x < resolution_ && cell.y >= 0 && cell.y < resolution_) {
      for (const int t : ListOf(cell)) {
        const mesh::Triangle& triangle = triangles_[static_cast<std::size_t>(t)];
        if (IsInside(x, y, triangle)) {
          // The form of the plane's equation is the library's choice: tested on its own.
          return static_cast<float>(mesh::PlaneHeightAt({x, y}, triangle, degenerateArea_));
        }
      }
    }
    ++out_.missing;
    return kBadSampleFloat;
  }

  std::vector<mesh::Triangle> triangles_;
  double degenerateArea_;
  double nudge_;
  mesh::MeshBounds bounds_;
  double minX_ = 0, minY_ = 0, extentX_ = 0, extentY_ = 0;
  int resolution_ = 0;
  std::vector<std::vector<int>> lists_;
  GridReference out_;
};

}  // namespace qv::test
