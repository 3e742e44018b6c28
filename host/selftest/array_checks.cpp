// Normalisation and conversion of arrays; planes, cropping and the vertex list.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "analysis/crop.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

using P = PlaneGauge;

constexpr double kLastX = (P::kWidth - 1) * kGaugeSpacing, kLastY = (P::kHeight - 1) * kGaugeSpacing;
/// The plane rises with x and falls with y.
constexpr double kLowest = P::kB * kLastY + P::kC, kHighest = P::kA * kLastX + P::kC;

void CheckNormalising(const Gauges& gauges, Checks& checks) {
  std::vector<float> h = gauges.plane.heights;
  float maximum = 0, minimum = 0;
  NormalizeArrayFloats(h.data(), gauges.plane.Count(), 200, 100, &maximum, &minimum, 0);
  checks.Near("plane", "lowest sample found", kLowest, minimum, Rounding(kHighest));
  checks.Near("plane", "highest sample found", kHighest, maximum, Rounding(kHighest));
  // The first sample lies at c. The factor and the sample are rounded.
  const double middle = 100 + 100 * (P::kC - kLowest) / (kHighest - kLowest);
  checks.Near("plane", "first sample, stretched to 100..200", middle, h.front(), Rounding(4 * 200));
}

void CheckConverting(const Gauges& gauges, Checks& checks) {
  const HeightMap& step = gauges.step;
  std::vector<unsigned char> bytes(step.heights.size());
  ConvertFloatsToBytesWithThreshold(step.heights.data(), bytes.data(), step.Count(), StepGauge::kStep / 2,
                                    200, 100);
  checks.Count("step", "samples above half the step",
               std::size_t{StepGauge::kWidth - StepGauge::kColumn} * StepGauge::kHeight,
               static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), 200)));
  std::vector<float> scaled = gauges.plane.heights;
  ScaleArrayFloats(scaled.data(), gauges.plane.Count(), 10);
  checks.Near("plane", "last sample, ten times as high", 10 * PlaneHeight(kLastX, kLastY), scaled.back(),
              Rounding(40 * kHighest));
}

void CheckHoles(const Gauges& gauges, Checks& checks) {
  HeightMap map = gauges.holes;
  checks.Count("holes", "missing samples", HolesGauge::kHoles, CountMissing(map));
  FillMissing(map);
  checks.Near("holes", "filled with the lowest height, farthest from it", 0,
              FarthestFrom(map, [](double, double) { return HolesGauge::kLevel; }), 0);
}

}  // namespace

void CheckConversions(const Gauges& gauges, Checks& checks) {
  CheckNormalising(gauges, checks);
  CheckConverting(gauges, checks);
  CheckHoles(gauges, checks);
}

void CheckPlanes(const Gauges& gauges, Checks& checks) {
  HeightMap map = gauges.plane;
  const Plane plane = Level(map);
  // The samples are rounded, each by another amount, which the fit averages out; what it carries as floats is
  // rounded relative to the heights over the extent.
  const double slope = Rounding(8 * kHighest / (kLastY / 2));
  checks.Near("plane", "slope along x", P::kA, plane.a, slope);
  checks.Near("plane", "slope along y", P::kB, plane.b, slope);
  checks.Near("plane", "what levelling leaves, farthest from 0", 0,
              FarthestFrom(map, [](double, double) { return 0.0; }), Rounding(8 * kHighest));
  const HeightMap part = CropEdges(gauges.plane, 5, 3);
  checks.Count("", "samples of a part of the plane", std::size_t{P::kWidth - 10} * (P::kHeight - 6),
               part.heights.size());
  checks.Near("plane", "the part, farthest from the plane", 0, FarthestFrom(part, PlaneHeight),
              Rounding(2 * kHighest));
}

}  // namespace qv3d
