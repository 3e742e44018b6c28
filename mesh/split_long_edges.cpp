#include "mesh/split_long_edges.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "core/diagnostics.h"

namespace qv::mesh {
namespace {

/// The least square whose root is not below `limit`: comparing squares with it decides exactly as comparing
/// roots with the limit, without the roots.
double LeastLongSquare(double limit) {
  double square = limit * limit;
  while (std::sqrt(square) >= limit) square = std::nextafter(square, 0.0);
  while (std::sqrt(square) < limit) square = std::nextafter(square, std::numeric_limits<double>::infinity());
  return square;
}

bool SamePlace(const Vertex& a, const Vertex& b) {
  return a.x == b.x && a.y == b.y;
}

bool IsFinite(const Vertex& v) {
  return std::isfinite(v.x) && std::isfinite(v.y);
}
bool IsFinite(const Triangle& t) {
  return IsFinite(t.a) && IsFinite(t.b) && IsFinite(t.c);
}

/// The lengths that count: 0 for an edge that cannot be halved.
struct EdgeLengths {
  double ab, bc, ca;
  double Longest() const { return std::max({ab, bc, ca}); }
};

/// The corners of a triangle seen from above: what its splitting depends on.
struct Outline {
  float x[3], y[3];

  explicit Outline(const Triangle& t) : x{t.a.x, t.b.x, t.c.x}, y{t.a.y, t.b.y, t.c.y} {}
  bool operator==(const Outline& other) const {
    return std::equal(x, x + 3, other.x) && std::equal(y, y + 3, other.y);
  }
};

// Splitting ends by itself where the limit is well above the distance between floats: a rounded midpoint then
// lies so close to the middle that every new edge is shorter than the one that was split, by a fixed factor.
// (Exactly halved, no new edge is longer than 0.87 of it.) Where the limit is only a few such steps, rounding
// may turn a triangle into one that has itself among its pieces again, forever: it would be cut until the
// memory is full, which is reported at once. A triangle's pieces depend on nothing else, so comparing each
// with one ancestor, renewed after every doubling of the number of passes, finds that out.
constexpr double kSafeSteps = 8;
constexpr int kFirstAncestorPass = 8;

class Refiner {
 public:
  Refiner(GrowingArray<Triangle>& triangles, double limit, double largestCoordinate, bool verbose)
      : triangles_(triangles),
        limit_(limit),
        leastLongSquare_(LeastLongSquare(limit)),
        coordinateStep_(largestCoordinate * std::numeric_limits<float>::epsilon()),
        mayRecur_(limit < kSafeSteps * coordinateStep_),
        verbose_(verbose) {}

  Refinement Run() {
    const Refinement found = FindLongTriangles();
    if (found != Refinement::kDone) return found;
    for (;;) {
      const bool splitSome = !long_.empty();
      const std::size_t before = triangles_.size();
      if (!SplitPass()) return Refinement::kOutOfMemory;
      if (!splitSome) return Refinement::kDone;
      if (!KeepLongTriangles(before) || !RenewAncestors()) return Refinement::kOutOfMemory;
    }
  }

 private:
  double CountedLength(const Vertex& a, const Vertex& b) const {
    const double length = EdgeLength2D(a, b);
    if (length < limit_) return length;
    const Vertex middle = EdgeMidpoint(a, b);
    return SamePlace(middle, a) || SamePlace(middle, b) ? 0.0 : length;
  }

  EdgeLengths CountedLengths(const Triangle& t) const {
    return {CountedLength(t.a, t.b), CountedLength(t.b, t.c), CountedLength(t.c, t.a)};
  }

  /// The quick test, for the many triangles that were short from the start. A NaN is not short.
  bool IsPlainlyShort(const Triangle& t) {
    const double ab = EdgeSquare2D(t.a, t.b), bc = EdgeSquare2D(t.b, t.c), ca = EdgeSquare2D(t.c, t.a);
    if (!(ab < leastLongSquare_ && bc < leastLongSquare_ && ca < leastLongSquare_)) return false;
    longestShortSquare_ = std::max(longestShortSquare_, std::max(ab, std::max(bc, ca)));
    return true;
  }

  /// Appends a triangle to the list of the next pass if that has something to do for it.
  bool Consider(std::size_t index) {
    const double longest = CountedLengths(triangles_[index]).Longest();
    if (longest >= limit_) return long_.Append(static_cast<int>(index));
    longestShort_ = std::max(longestShort_, longest);
    return true;
  }

  Refinement FindLongTriangles() {
    double pieces = 0;
    for (std::size_t i = 0; i < triangles_.size(); ++i) {
      const Triangle& t = triangles_[i];
      if (IsPlainlyShort(t)) continue;
      if (!IsFinite(t)) return Refinement::kNotFinite;
      pieces += FewestPieces(t);
      if (!Consider(i)) return Refinement::kOutOfMemory;
    }
    longestShort_ = std::max(longestShort_, std::sqrt(longestShortSquare_));
    return pieces > INT_MAX ? Refinement::kOutOfMemory : Refinement::kDone;
  }

  /// A number of pieces that a long triangle will certainly be cut into; so a hopeless refinement ends before
  /// it has filled the memory. An edge of length s becomes a chain of links below the limit L, each of a
  /// piece of its own: more than s / L. The pieces cover the triangle, and none is larger than an equilateral
  /// one of side L, give or take the slivers between an edge and its rounded midpoint. Where the limit is so
  /// small that edges may be left because they cannot be halved, nothing is certain.
  double FewestPieces(const Triangle& t) const {
    if (mayRecur_) return 1;
    const double longest =
        std::sqrt(std::max(EdgeSquare2D(t.a, t.b), std::max(EdgeSquare2D(t.b, t.c), EdgeSquare2D(t.c, t.a))));
    constexpr double kEquilateral = 0.4331;
    const double largestPiece = kEquilateral * limit_ * limit_ + 0.5 * longest * coordinateStep_;
    constexpr double kAlmost = 0.99;  // for the roundings of these lines
    return kAlmost * std::max(longest / limit_, std::abs(DoubledArea(t)) / 2 / largestPiece);
  }

  /// One pass over the mesh, of which only the long triangles need a visit.
  bool SplitPass() {
    if (long_.size() > INT_MAX - triangles_.size()) return false;
    if (!triangles_.Reserve(triangles_.size() + long_.size())) return false;
    double longest = longestShort_;
    for (const int index : long_) {
      const EdgeLengths lengths = CountedLengths(triangles_[static_cast<std::size_t>(index)]);
      longest = std::max(longest, lengths.Longest());
      if (!Split(static_cast<std::size_t>(index), lengths)) return false;
    }
    if (verbose_) {
      diagnostics::Print("Maximum edge length: %g (Triangles: %d)\n", longest,
                         static_cast<int>(triangles_.size()));
    }
    return true;
  }

  bool Split(std::size_t index, const EdgeLengths& lengths) {
    Triangle& t = triangles_[index];
    const Triangle whole = t;
    Triangle rest;
    if (lengths.ab > lengths.bc && lengths.ab > lengths.ca) {
      const Vertex middle = EdgeMidpoint(whole.a, whole.b);
      t.b = middle;
      rest = {middle, whole.b, whole.c};
    } else if (lengths.bc > lengths.ca) {
      const Vertex middle = EdgeMidpoint(whole.b, whole.c);
      t.c = middle;
      rest = {whole.a, middle, whole.c};
    } else {
      const Vertex middle = EdgeMidpoint(whole.c, whole.a);
      t.c = middle;
      rest = {middle, whole.b, whole.c};
    }
    return triangles_.Append(rest);
  }

  /// The list of the next pass, in index order: what of the split triangles is still long, then the new ones,
  /// of which each split triangle has made one. False also where a triangle has itself among its pieces.
  bool KeepLongTriangles(std::size_t firstNew) {
    const GrowingArray<int> split = std::move(long_);
    const GrowingArray<Outline> ancestors = std::move(ancestors_);
    for (std::size_t i = 0; i < split.size(); ++i) {
      if (!KeepIfLong(static_cast<std::size_t>(split[i]), i, ancestors)) return false;
    }
    for (std::size_t i = 0; i < split.size(); ++i) {
      if (!KeepIfLong(firstNew + i, i, ancestors)) return false;
    }
    return true;
  }

  bool KeepIfLong(std::size_t index, std::size_t parent, const GrowingArray<Outline>& ancestors) {
    const std::size_t before = long_.size();
    if (!Consider(index)) return false;
    if (long_.size() == before || ancestors.empty()) return true;
    return !(ancestors[parent] == Outline(triangles_[index])) && ancestors_.Append(ancestors[parent]);
  }

  bool RenewAncestors() {
    ++passes_;
    if (!mayRecur_ || passes_ < kFirstAncestorPass || (passes_ & (passes_ - 1)) != 0) return true;
    ancestors_.Truncate(0);
    for (const int index : long_) {
      if (!ancestors_.Append(Outline(triangles_[static_cast<std::size_t>(index)]))) return false;
    }
    return true;
  }

  GrowingArray<Triangle>& triangles_;
  GrowingArray<int> long_;           ///< in index order
  GrowingArray<Outline> ancestors_;  ///< of each long triangle, once there are many passes
  const double limit_;
  const double leastLongSquare_;
  const double coordinateStep_;  ///< distance between floats at the mesh's largest coordinate, at most
  const bool mayRecur_;
  const bool verbose_;
  int passes_ = 0;
  double longestShortSquare_ = 0;
  double longestShort_ = 0;  ///< of the triangles that are no longer visited
};

}  // namespace

Refinement SplitLongEdges(GrowingArray<Triangle>& triangles, double limit, double largestCoordinate,
                          bool verbose) {
  return Refiner(triangles, limit, largestCoordinate, verbose).Run();
}

}  // namespace qv::mesh
