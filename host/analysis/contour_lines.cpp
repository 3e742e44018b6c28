#include "analysis/contour_lines.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>

namespace qv3d {
namespace {

using Position = std::array<float, 2>;
using Index = std::size_t;

/// Segments as edges between numbered positions.
class Network {
 public:
  explicit Network(const std::vector<float>& segments) {
    CollectPositions(segments);
    CollectEdges(segments);
    CollectEnds();
  }

  std::vector<ContourLine> Lines() {
    std::vector<ContourLine> lines;
    // Open lines first, so that no loop is begun in the middle of one.
    for (Index node = 0; node < positions_.size(); ++node) {
      while (FreeEnds(node) % 2 == 1) lines.push_back(Walk(node));
    }
    for (Index node = 0; node < positions_.size(); ++node) {
      while (FreeEnds(node) > 0) lines.push_back(Walk(node));
    }
    return lines;
  }

 private:
  struct Edge {
    Index a, b;
    bool operator<(const Edge& e) const { return a != e.a ? a < e.a : b < e.b; }
    bool operator==(const Edge& e) const { return a == e.a && b == e.b; }
  };

  /// A negative zero is the same place as zero.
  static Position At(const std::vector<float>& segments, Index k) {
    return {segments[k] + 0.0f, segments[k + 1] + 0.0f};
  }

  void CollectPositions(const std::vector<float>& segments) {
    for (Index k = 0; k + 1 < segments.size(); k += 2) positions_.push_back(At(segments, k));
    std::sort(positions_.begin(), positions_.end());
    positions_.erase(std::unique(positions_.begin(), positions_.end()), positions_.end());
  }

  Index NumberOf(const Position& p) const {
    return static_cast<Index>(std::lower_bound(positions_.begin(), positions_.end(), p) - positions_.begin());
  }

  void CollectEdges(const std::vector<float>& segments) {
    for (Index k = 0; k + 3 < segments.size(); k += 4) {
      const Index a = NumberOf(At(segments, k)), b = NumberOf(At(segments, k + 2));
      if (a != b) edges_.push_back({std::min(a, b), std::max(a, b)});
    }
    std::sort(edges_.begin(), edges_.end());
    edges_.erase(std::unique(edges_.begin(), edges_.end()), edges_.end());
    used_.resize(edges_.size());
  }

  void CollectEnds() {
    first_.resize(positions_.size() + 1);
    for (const Edge& e : edges_) ++first_[e.a + 1], ++first_[e.b + 1];
    for (Index node = 0; node < positions_.size(); ++node) first_[node + 1] += first_[node];
    std::vector<Index> next(first_.begin(), first_.end() - 1);
    ends_.resize(2 * edges_.size());
    for (Index k = 0; k < edges_.size(); ++k) {
      ends_[next[edges_[k].a]++] = k;
      ends_[next[edges_[k].b]++] = k;
    }
  }

  Index FreeEnds(Index node) const {
    return static_cast<Index>(std::count_if(ends_.begin() + static_cast<std::ptrdiff_t>(first_[node]),
                                            ends_.begin() + static_cast<std::ptrdiff_t>(first_[node + 1]),
                                            [this](Index edge) { return !used_[edge]; }));
  }

  /// The first unused edge at a node; edges_.size() where there is none.
  Index FreeEdge(Index node) const {
    for (Index k = first_[node]; k < first_[node + 1]; ++k) {
      if (!used_[ends_[k]]) return ends_[k];
    }
    return edges_.size();
  }

  /// Follows unused edges until there are none, or until the line is closed.
  ContourLine Walk(Index start) {
    ContourLine line;
    Index node = start;
    do {
      line.points.push_back(positions_[node]);
      const Index edge = FreeEdge(node);
      if (edge == edges_.size()) return line;
      used_[edge] = true;
      node = edges_[edge].a == node ? edges_[edge].b : edges_[edge].a;
    } while (node != start);
    line.closed = true;
    return line;
  }

  std::vector<Position> positions_;
  std::vector<Edge> edges_;
  std::vector<bool> used_;
  std::vector<Index> first_;  ///< of each node's edges, in ends_
  std::vector<Index> ends_;
};

}  // namespace

std::vector<ContourLine> JoinSegments(const std::vector<float>& segments) {
  return Network(segments).Lines();
}

double LengthOf(const ContourLine& line) {
  double length = 0;
  const std::size_t count = line.points.size();
  for (std::size_t k = 0; k + (line.closed ? 0 : 1) < count; ++k) {
    const Position &a = line.points[k], &b = line.points[(k + 1) % count];
    length += std::hypot(double{b[0]} - a[0], double{b[1]} - a[1]);
  }
  return length;
}

ContourLevel ContoursAt(const HeightMap& map, float height) {
  // In strips: room for the worst case of a whole map would be sixteen times the map.
  constexpr int kRowsAtOnce = 64;
  std::vector<float> x, y;
  for (int i = 0; i < map.width; ++i) x.push_back(static_cast<float>(map.x0 + i * map.SpacingX()));
  for (int j = 0; j < map.height; ++j) y.push_back(static_cast<float>(map.y0 + j * map.SpacingY()));
  ContourLevel level;
  level.height = height;
  std::vector<float> room(std::size_t{16} * static_cast<std::size_t>(map.width) * kRowsAtOnce);
  for (int row = 0; row + 1 < map.height; row += kRowsAtOnce) {
    const int rows = std::min(kRowsAtOnce, map.height - 1 - row);
    const int count = ComputeContoursf(map.heights.data() + std::ptrdiff_t{row} * map.width, map.width,
                                       rows + 1, x.data(), y.data() + row, height, room.data());
    level.segments.insert(level.segments.end(), room.begin(), room.begin() + 4 * std::ptrdiff_t{count});
  }
  level.lines = JoinSegments(level.segments);
  return level;
}

}  // namespace qv3d
