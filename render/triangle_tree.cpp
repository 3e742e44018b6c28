#include "render/triangle_tree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qv::render {

namespace {

using kernels::OcclusionNode;

struct Box {
  float low[3] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::max(),
                  std::numeric_limits<float>::max()};
  float high[3] = {std::numeric_limits<float>::lowest(), std::numeric_limits<float>::lowest(),
                   std::numeric_limits<float>::lowest()};

  void Add(const float* point) {
    for (int k = 0; k < 3; ++k) {
      low[k] = std::min(low[k], point[k]);
      high[k] = std::max(high[k], point[k]);
    }
  }
  void Add(const Box& box) {
    Add(box.low);
    Add(box.high);
  }
  /// Half the surface: the chance that a ray meets it.
  float Area() const {
    const float x = high[0] - low[0], y = high[1] - low[1], z = high[2] - low[2];
    return x < 0 ? 0 : x * y + y * z + z * x;
  }
};

struct Item {
  Box box;
  float centre[3];
  std::int32_t triangle;
};

constexpr int kBins = 16;
constexpr int kLeaf = 4;  // triangles that no split is tried for
/// Below this depth the tree halves its triangles, so that it ends before the kernel's stack does.
constexpr int kCarefulDepth = 60;
static_assert(kCarefulDepth + 32 < kernels::kOcclusionTreeDepth);

/// A part of the items that becomes a node.
struct Part {
  std::int32_t node, begin, end;
  int depth;
};

struct Split {
  float cost = std::numeric_limits<float>::max();
  int axis = 0;
  int bin = 0;  // the first of the upper part
};

/// Which bin a centre falls into.
struct Binning {
  float low, scale;
  Binning(const Box& centres, int axis)
      : low(centres.low[axis]), scale(static_cast<float>(kBins) / (centres.high[axis] - centres.low[axis])) {}
  int operator()(float centre) const { return std::min(kBins - 1, static_cast<int>((centre - low) * scale)); }
};

class Builder {
 public:
  Builder(std::vector<Item>& items, std::vector<OcclusionNode>& nodes) : items_(items), nodes_(nodes) {}

  void Build() {
    nodes_.resize(1);
    std::vector<Part> waiting = {{0, 0, static_cast<std::int32_t>(items_.size()), 0}};
    while (!waiting.empty()) {
      const Part part = waiting.back();
      waiting.pop_back();
      if (!Divide(part, waiting)) MakeLeaf(part);
    }
  }

 private:
  void SetBox(const Part& part, const Box& box) {
    OcclusionNode& node = nodes_[static_cast<std::size_t>(part.node)];
    std::copy(box.low, box.low + 3, node.low);
    std::copy(box.high, box.high + 3, node.high);
    node.least = -std::numeric_limits<float>::infinity();
    node.most = std::numeric_limits<float>::infinity();
  }

  void MakeLeaf(const Part& part) {
    OcclusionNode& node = nodes_[static_cast<std::size_t>(part.node)];
    node.first = part.begin;
    node.count = part.end - part.begin;
  }

  bool Divide(const Part& part, std::vector<Part>& waiting) {
    Box box, centres;
    for (std::int32_t i = part.begin; i < part.end; ++i) {
      box.Add(At(i).box);
      centres.Add(At(i).centre);
    }
    SetBox(part, box);
    const std::int32_t count = part.end - part.begin;
    if (count <= kLeaf) return false;
    const Split split = BestSplit(part, centres);
    const float asLeaf = static_cast<float>(count) * box.Area();
    if (count <= 4 * kLeaf && !(split.cost + box.Area() < asLeaf)) return false;
    std::int32_t middle = part.begin + count / 2;
    int axis = split.axis;
    if (part.depth < kCarefulDepth && split.cost < std::numeric_limits<float>::max()) {
      const Binning bin(centres, axis);
      const auto first = items_.begin();
      middle = static_cast<std::int32_t>(
          std::partition(first + part.begin, first + part.end,
                         [&](const Item& item) { return bin(item.centre[axis]) < split.bin; }) -
          first);
    }
    const auto child = static_cast<std::int32_t>(nodes_.size());
    nodes_.resize(nodes_.size() + 2);
    nodes_[static_cast<std::size_t>(part.node)].first = child;
    nodes_[static_cast<std::size_t>(part.node)].count = -axis;
    waiting.push_back({child + 1, middle, part.end, part.depth + 1});
    waiting.push_back({child, part.begin, middle, part.depth + 1});
    return true;
  }

  /// The division of least expected work, by the surfaces of the two boxes and what they hold.
  Split BestSplit(const Part& part, const Box& centres) const {
    Split best;
    for (int axis = 0; axis < 3; ++axis) {
      if (!(centres.high[axis] > centres.low[axis])) continue;
      const Binning bin(centres, axis);
      std::array<Box, kBins> boxes;
      std::array<std::int32_t, kBins> counts = {};
      for (std::int32_t i = part.begin; i < part.end; ++i) {
        const auto b = static_cast<std::size_t>(bin(At(i).centre[axis]));
        boxes[b].Add(At(i).box);
        ++counts[b];
      }
      TryBins(boxes, counts, axis, best);
    }
    return best;
  }

  static void TryBins(const std::array<Box, kBins>& boxes, const std::array<std::int32_t, kBins>& counts,
                      int axis, Split& best) {
    std::array<float, kBins> above = {};
    Box box;
    std::int32_t count = 0;
    for (std::size_t b = kBins - 1; b > 0; --b) {
      if (counts[b] > 0) box.Add(boxes[b]);
      count += counts[b];
      above[b] = count > 0 ? box.Area() * static_cast<float>(count) : -1;
    }
    box = {};
    count = 0;
    for (std::size_t b = 1; b < kBins; ++b) {
      if (counts[b - 1] > 0) box.Add(boxes[b - 1]);
      count += counts[b - 1];
      if (count == 0 || above[b] < 0) continue;
      const float cost = box.Area() * static_cast<float>(count) + above[b];
      if (cost < best.cost) best = {cost, axis, static_cast<int>(b)};
    }
  }

  const Item& At(std::int32_t i) const { return items_[static_cast<std::size_t>(i)]; }

  std::vector<Item>& items_;
  std::vector<OcclusionNode>& nodes_;
};

/// Above this many triangles a slab is hardly thinner than the box, and takes longer to find.
constexpr std::int32_t kLargestSlab = 2048;

/// Triangles in the order of the leaves.
struct Range {
  std::int32_t begin = 0, end = 0;
  float normal[3] = {0, 0, 0};  ///< sum of the triangles' normals, as long as their areas

  void Add(const Range& other) {
    for (int k = 0; k < 3; ++k) normal[k] += other.normal[k];
  }
};

/// Finds the slabs of all nodes that are not too large.
class SlabFinder {
 public:
  SlabFinder(const std::vector<float>& corners, std::vector<OcclusionNode>& nodes)
      : corners_(corners), nodes_(nodes) {}

  void Find() {
    if (!ProductsAreFinite()) return;
    std::vector<Range> ranges(nodes_.size());
    for (std::size_t k = nodes_.size(); k-- > 0;) {
      // Nodes come before what they hold.
      OcclusionNode& node = nodes_[k];
      const auto first = static_cast<std::size_t>(node.first);
      ranges[k] = node.count > 0 ? RangeOf(node) : Joined(ranges[first], ranges[first + 1]);
      SetSlab(ranges[k], node);
    }
  }

 private:
  bool ProductsAreFinite() const {
    constexpr float kLarge = 1e30F;
    const OcclusionNode& all = nodes_.front();
    for (int k = 0; k < 3; ++k) {
      if (all.low[k] < -kLarge || all.high[k] > kLarge) return false;
    }
    return true;
  }

  const float* Corner(std::int32_t triangle, int corner) const {
    return &corners_[9 * static_cast<std::size_t>(triangle) + 3 * static_cast<std::size_t>(corner)];
  }

  static Range Joined(const Range& lower, const Range& upper) {
    Range range = lower;
    range.end = upper.end;
    range.Add(upper);
    return range;
  }

  Range RangeOf(const OcclusionNode& leaf) const {
    Range range = {leaf.first, leaf.first + leaf.count};
    for (std::int32_t t = range.begin; t < range.end; ++t) {
      const float *a = Corner(t, 0), *b = Corner(t, 1), *c = Corner(t, 2);
      const float u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]},
                  v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
      for (int k = 0; k < 3; ++k) {
        const int next = (k + 1) % 3, last = (k + 2) % 3;
        range.normal[k] += u[next] * v[last] - u[last] * v[next];
      }
    }
    return range;
  }

  void SetSlab(const Range& range, OcclusionNode& node) const {
    constexpr float kNone = std::numeric_limits<float>::infinity();
    const float* n = range.normal;
    const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (range.end - range.begin > kLargestSlab || !(length > 0 && length < kNone)) return;
    for (int k = 0; k < 3; ++k) node.normal[k] = n[k] / length;
    node.least = kNone;
    node.most = -kNone;
    float largest = 0;
    for (std::int32_t i = 3 * range.begin; i < 3 * range.end; ++i) {
      const float* p = Corner(0, i);
      const float x = p[0] * node.normal[0], y = p[1] * node.normal[1], z = p[2] * node.normal[2];
      node.least = std::min(node.least, x + y + z);
      node.most = std::max(node.most, x + y + z);
      largest = std::max(largest, std::fabs(x) + std::fabs(y) + std::fabs(z));
    }
    node.least -= kernels::kOcclusionRounding * largest;
    node.most += kernels::kOcclusionRounding * largest;
  }

  const std::vector<float>& corners_;
  std::vector<OcclusionNode>& nodes_;
};

}  // namespace

TriangleTree::TriangleTree(const std::vector<float>& corners) {
  std::vector<Item> items(corners.size() / 9);
  if (items.empty()) return;
  for (std::size_t t = 0; t < items.size(); ++t) {
    Item& item = items[t];
    for (std::size_t corner = 0; corner < 3; ++corner) item.box.Add(&corners[9 * t + 3 * corner]);
    for (int k = 0; k < 3; ++k) item.centre[k] = 0.5F * item.box.low[k] + 0.5F * item.box.high[k];
    item.triangle = static_cast<std::int32_t>(t);
  }
  Builder(items, nodes_).Build();
  corners_.reserve(corners.size());
  for (const Item& item : items) {
    const auto first = corners.begin() + 9 * static_cast<std::ptrdiff_t>(item.triangle);
    corners_.insert(corners_.end(), first, first + 9);
  }
  SlabFinder(corners_, nodes_).Find();
}

}  // namespace qv::render
