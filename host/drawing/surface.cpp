#include "drawing/surface.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "failure.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr float kMissing = static_cast<float>(QV_BAD_SAMPLE);
/// The colours span all but this share of the samples at either end where the outermost samples would take up
/// most of them.
constexpr double kOutliers = 0.002;
constexpr double kLongTails = 2;
/// Heights are drawn at most this much of the longer side high.
constexpr double kDrawnHeight = 0.11;
/// How much lower than the lowest sample the floor lies.
constexpr double kBaseDepth = 0.04;

/// Samples outside the range, and those that are no numbers, become missing.
void Clip(HeightMap& map, const std::optional<ClipRange>& clip) {
  for (float& h : map.heights) {
    if (IsMissing(h) || (clip && (h < clip->low || h > clip->high))) h = kMissing;
  }
  if (CountMissing(map) == map.heights.size()) {
    throw Failure(ExitCode::kNotComputable, "no sample lies in the clip range: there is nothing to draw",
                  "qv3d stats FILE tells the range of the heights.");
  }
}

/// A round factor, unless that would be below 1: then heights are drawn as they are.
double ChooseZScale(const HeightMap& map, double steepest) {
  const auto [low, high] = HeightRange(map, kOutliers);
  const double slope = RmsSlope(map);
  double scale = 1;
  if (high > low) scale = kDrawnHeight * std::max(map.xSize, map.ySize) / (double{high} - low);
  if (slope > 0) scale = std::min(scale, steepest / slope);
  return scale > 1 ? NiceStepBelow(scale) : 1;
}

std::pair<float, float> ChooseRange(const HeightMap& map) {
  const auto [low, high] = HeightRange(map);
  const auto [lowMost, highMost] = HeightRange(map, kOutliers);
  if (double{high} - low > kLongTails * (double{highMost} - lowMost)) return {lowMost, highMost};
  return {low, high};
}

void ComputeTextureCoordinates(Surface& s) {
  s.texture = s.map.heights;
  for (float& h : s.texture) {
    if (!IsMissing(h)) h = std::clamp(h, s.range.first, s.range.second);
  }
  float maximum, minimum;
  NormalizeArrayFloats(s.texture.data(), s.map.Count(), 1, 0, &maximum, &minimum, 0);
}

std::vector<float> DrawnHeights(const Surface& s, const HeightMap& map) {
  std::vector<float> drawn = map.heights;
  for (float& h : drawn) {
    if (!IsMissing(h)) h -= s.middle;
  }
  // Scaled here and not by the zScale of the drawing functions, because the normals are those of the heights
  // given.
  ScaleArrayFloats(drawn.data(), map.Count(), s.zScale);
  return drawn;
}

void ComputeBox(Surface& s) {
  const auto [low, high] = HeightRange(s.map);
  const double half = s.zScale * (double{high} - low) / 2;
  s.low = {-s.map.xSize / 2.0, -s.map.ySize / 2.0, -half - kBaseDepth * s.LongerSide()};
  s.high = {s.map.xSize / 2.0, s.map.ySize / 2.0, half};
}

}  // namespace

Surface PrepareSurface(const HeightMap& map, double zScale, double steepest,
                       const std::optional<ClipRange>& clip) {
  Surface s;
  s.map = map;
  Clip(s.map, clip);
  s.zScale = zScale > 0 ? zScale : ChooseZScale(s.map, steepest);
  s.range = ChooseRange(s.map);
  const auto [low, high] = HeightRange(s.map);
  s.middle = (low + high) / 2;
  ComputeTextureCoordinates(s);
  s.drawn = DrawnHeights(s, s.map);
  if (clip) {
    s.unclipped = DrawnHeights(s, map);
    HeightMap shown = s.map;
    shown.heights = s.drawn;
    s.shown = HeightRange(shown);
  }
  ComputeBox(s);
  s.normals.resize(3 * s.map.heights.size());
  ComputeSurfaceNormalsf(s.drawn.data(), map.width, map.height, s.normals.data(), 0, 0, map.xSize, map.ySize);
  return s;
}

std::vector<float> SlopeAngles(const Surface& surface) {
  std::vector<float> angles(surface.map.heights.size());
  for (std::size_t k = 0; k < angles.size(); ++k) {
    const float* const n = &surface.normals[3 * k];
    if (!(n[2] > 0)) continue;
    const double slope = std::hypot(n[0], n[1]) / n[2] / surface.zScale;
    angles[k] = static_cast<float>(std::atan(slope) * 180 / std::numbers::pi);
  }
  return angles;
}

double SteepestAngle(const std::vector<float>& angles) {
  constexpr double kExceed = 0.01;
  std::vector<float> sorted = angles;
  const auto at =
      sorted.begin() + static_cast<std::ptrdiff_t>((1 - kExceed) * static_cast<double>(sorted.size() - 1));
  std::nth_element(sorted.begin(), at, sorted.end());
  return NiceStepAbove(*at);
}

}  // namespace qv3d
