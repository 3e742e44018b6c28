// Scattered points to a grid of heights by inverse-distance weights.
//
// Powers of ordinary numbers are summed by vector kernels. Where a distance, a power of it or a height is too
// large or too small for that, and where a node coincides with a point, the sums are formed one by one.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"

namespace qv::mesh {
namespace {

struct ScatteredPoint {
  double x, y, z;
};
static_assert(sizeof(ScatteredPoint) == 3 * sizeof(double));

struct Weighting {
  double power;
  double smoothing;

  double Squared() const { return smoothing * smoothing; }
};

/// The points of a call, in the caller's array.
struct Cloud {
  const ScatteredPoint* points;
  std::ptrdiff_t count;

  const ScatteredPoint* begin() const { return points; }
  const ScatteredPoint* end() const { return points + count; }
};

struct NodeGrid {
  std::ptrdiff_t nx, ny;
  double dx, dy, x0, y0;

  double X(std::ptrdiff_t column) const { return static_cast<double>(column) * dx + x0; }
  double Y(std::ptrdiff_t row) const { return static_cast<double>(row) * dy + y0; }
};

/// 0 without weights. Which NaN an addition hands on depends on the compiler, so there is one for all.
float Quotient(double weighted, double weight) {
  if (weight == 0) return 0;
  const double value = weighted / weight;
  return std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(value);
}

double PlanarSquare(const ScatteredPoint& p, double x, double y) {
  return (p.x - x) * (p.x - x) + (p.y - y) * (p.y - y);
}

/// The first point without any distance from the node, or null. A distance is 0 where its square is.
const ScatteredPoint* Coincident(const Cloud& cloud, const Weighting& weighting, double x, double y) {
  if (weighting.Squared() != 0) return nullptr;
  const auto* found =
      std::find_if(cloud.begin(), cloud.end(), [&](const auto& p) { return PlanarSquare(p, x, y) == 0; });
  return found == cloud.end() ? nullptr : found;
}

/// The height of a node, step by step, whatever the numbers are.
float HeightAt(const Cloud& cloud, const Weighting& weighting, double x, double y) {
  if (const ScatteredPoint* p = Coincident(cloud, weighting, x, y); p != nullptr) return Quotient(p->z, 1);
  double weighted = 0, weight = 0;
  for (const ScatteredPoint& p : cloud) {
    const double planar = std::sqrt(PlanarSquare(p, x, y));
    const double power = std::pow(std::sqrt(planar * planar + weighting.Squared()), weighting.power);
    weighted += p.z / power;
    weight += 1 / power;
  }
  return Quotient(weighted, weight);
}

/// Whether and how the kernels may be used.
struct VectorPlan {
  bool isUsable = false;
  bool isSquares = false;
  double exponent = 0;  ///< of the squared distance, unless it is squares
  double least = 0;     ///< a node with less than this in NodeSums::least is not one for the kernels
};

/// An exponent of 2 above every squared distance; INT_MAX where they may not be finite.
int LargestSquareExponent(const Cloud& cloud, const NodeGrid& grid, const Weighting& weighting) {
  const double xFirst = grid.X(0), xLast = grid.X(grid.nx - 1);
  const double yFirst = grid.Y(0), yLast = grid.Y(grid.ny - 1);
  double largest = 0;
  for (const ScatteredPoint& p : cloud) {
    const double dx = std::max(std::abs(p.x - xFirst), std::abs(p.x - xLast));
    const double dy = std::max(std::abs(p.y - yFirst), std::abs(p.y - yLast));
    const double square = dx * dx + dy * dy + weighting.Squared();
    if (!std::isfinite(square)) return std::numeric_limits<int>::max();
    largest = std::max(largest, square);
  }
  return std::ilogb(largest) + 1;
}

/// Products with z are neither too large nor too small. A z that is not finite makes itself felt.
bool HasOrdinaryHeights(const Cloud& cloud) {
  return std::all_of(cloud.begin(), cloud.end(), [](const ScatteredPoint& p) {
    const double z = std::abs(p.z);
    return !(z > 0x1p100) ? z == 0 || z >= 0x1p-100 || std::isnan(z) : std::isinf(z);
  });
}

VectorPlan PlanOf(const Cloud& cloud, const NodeGrid& grid, const Weighting& weighting) {
  constexpr double kLargestPower = 32;   // more would magnify the rounding of a distance
  constexpr int kLargestExponent = 850;  // of a weight; with a height and many points still a normal number
  VectorPlan plan;
  if (cloud.count < 1 || !(std::abs(weighting.power) <= kLargestPower) || !HasOrdinaryHeights(cloud))
    return plan;
  const int largest = LargestSquareExponent(cloud, grid, weighting);
  if (weighting.power == 2) {
    // Of four squares three may be the largest one: neither their product nor its parts may leave the range.
    plan.isSquares = true;
    plan.isUsable = largest <= 225;
    plan.least = plan.isUsable ? std::ldexp(1, 3 * std::max(largest, 0) - 900) : 0;
    return plan;
  }
  plan.exponent = -weighting.power / 2;
  const double magnitude = std::abs(plan.exponent);
  plan.isUsable = largest <= 1000 && largest * magnitude <= kLargestExponent;
  plan.least = std::ldexp(1, -static_cast<int>(std::min(1000.0, kLargestExponent / magnitude)));
  return plan;
}

/// Forms the sums of a run of nodes in a row by the kernels, some points at a time.
class RowOfSums {
 public:
  static constexpr std::ptrdiff_t kNodes = 256;
  static_assert(kNodes % kernels::kNodeStep == 0);

  RowOfSums(const Cloud& cloud, const Weighting& weighting, const VectorPlan& plan)
      : kernels_(kernels::Active().gridding), cloud_(cloud), weighting_(weighting), plan_(plan) {}

  /// Nodes first..first+count-1 of a row.
  void Add(const NodeGrid& grid, std::ptrdiff_t row, std::ptrdiff_t first, std::ptrdiff_t count) {
    const std::ptrdiff_t filled = (count + kernels::kNodeStep - 1) / kernels::kNodeStep * kernels::kNodeStep;
    for (std::ptrdiff_t k = 0; k < filled; ++k) {
      nodes_[k] = grid.X(first + std::min(k, count - 1));
      weighted_[k] = weight_[k] = 0;
      least_[k] = std::numeric_limits<double>::infinity();
    }
    for (std::ptrdiff_t begin = 0; begin < cloud_.count; begin += kPoints) {
      AddPoints(begin, std::min(kPoints, cloud_.count - begin), grid.Y(row), filled);
    }
  }

  float Height(std::ptrdiff_t k, double y) const {
    return least_[k] < plan_.least ? HeightAt(cloud_, weighting_, nodes_[k], y)
                                   : Quotient(weighted_[k], weight_[k]);
  }

 private:
  static constexpr std::ptrdiff_t kPoints = 512;
  static_assert(kPoints % 4 == 0, "groups of points must not depend on the runs");

  void AddPoints(std::ptrdiff_t begin, std::ptrdiff_t count, double y, std::ptrdiff_t nodes) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const ScatteredPoint& p = cloud_.points[begin + i];
      x_[i] = p.x;
      z_[i] = p.z;
      rowTerm_[i] = (p.y - y) * (p.y - y) + weighting_.Squared();
    }
    const kernels::ScatteredPoints points = {x_, z_, rowTerm_, count};
    const kernels::NodeSums sums = {weighted_, weight_, least_};
    if (plan_.isSquares) {
      kernels_.inverseSquares(points, nodes_, nodes, sums);
    } else {
      kernels_.powers(points, nodes_, nodes, plan_.exponent, sums);
    }
  }

  const kernels::GriddingKernels& kernels_;
  const Cloud& cloud_;
  const Weighting& weighting_;
  const VectorPlan& plan_;
  double nodes_[kNodes], weighted_[kNodes], weight_[kNodes], least_[kNodes];
  double x_[kPoints], z_[kPoints], rowTerm_[kPoints];
};

void FillRow(const Cloud& cloud, const NodeGrid& grid, const Weighting& weighting, const VectorPlan& plan,
             std::ptrdiff_t row, float* out) {
  if (!plan.isUsable) {
    for (std::ptrdiff_t c = 0; c < grid.nx; ++c) out[c] = HeightAt(cloud, weighting, grid.X(c), grid.Y(row));
    return;
  }
  RowOfSums sums(cloud, weighting, plan);
  for (std::ptrdiff_t first = 0; first < grid.nx; first += RowOfSums::kNodes) {
    const std::ptrdiff_t count = std::min(RowOfSums::kNodes, grid.nx - first);
    sums.Add(grid, row, first, count);
    for (std::ptrdiff_t k = 0; k < count; ++k) out[first + k] = sums.Height(k, grid.Y(row));
  }
}

}  // namespace
}  // namespace qv::mesh

unsigned QV_CALL InverseDistanceToAPower(const double* points, int count, float* out, int nx, int ny,
                                         double dx, double dy, double x0, double y0, double power,
                                         double smoothing) {
  using namespace qv::mesh;
  if (nx < 1 || ny < 1) return 0;
  const Cloud cloud = {reinterpret_cast<const ScatteredPoint*>(points), std::max(count, 0)};
  const NodeGrid grid = {nx, ny, dx, dy, x0, y0};
  const Weighting weighting = {power, smoothing};
  const VectorPlan plan = PlanOf(cloud, grid, weighting);
  // The row of the first nodes comes last.
  for (std::ptrdiff_t row = 0; row < grid.ny; ++row) {
    FillRow(cloud, grid, weighting, plan, row, out + (grid.ny - 1 - row) * grid.nx);
  }
  return 0;
}
