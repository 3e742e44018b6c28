// A height map with all that the library draws it from.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "analysis/height_map.h"
#include "drawing/camera.h"

namespace qv3d {

/// Heights that are shown, both ends included, in the unit of the file.
struct ClipRange {
  float low, high;
};

/// How far slopes may be exaggerated before a surface looks like a brush, and before grazing light leaves
/// nothing but black and white.
inline constexpr double kSteepestDrawn = 0.85;
inline constexpr double kSteepestInGrazingLight = 0.16;

/// The middle of the grid lies at the origin of x and y, the middle of the heights at z = 0.
struct Surface {
  HeightMap map;      ///< samples outside the clip range are missing here
  double zScale = 1;  ///< how much heights are exaggerated
  /// Heights at the two ends of the colour map, in the unit of the file.
  std::pair<float, float> range{0, 0};
  float middle = 0;            ///< the height that lies at z = 0
  std::vector<float> drawn;    ///< heights as drawn: exaggerated
  std::vector<float> normals;  ///< of the drawn surface
  std::vector<float> texture;  ///< coordinate into the colour map, 0..1
  /// With a clip range: the drawn heights of all samples, and the lowest and highest that are shown.
  std::vector<float> unclipped;
  std::pair<float, float> shown{0, 0};
  Point low{}, high{};  ///< corners of the box around what is drawn, floor included

  double LongerSide() const { return std::max(map.xSize, map.ySize); }
  float Drawn(double height) const { return static_cast<float>((height - middle) * zScale); }
};

/// `zScale` of 0 chooses one for which slopes are drawn no steeper than `steepest`.
/// Throws Failure (not computable) where the clip range leaves nothing.
Surface PrepareSurface(const HeightMap& map, double zScale, double steepest,
                       const std::optional<ClipRange>& clip);

/// The steepness of every sample of the measured surface, in degrees; 0 where there is none.
std::vector<float> SlopeAngles(const Surface& surface);

/// A round number of degrees that few samples exceed.
double SteepestAngle(const std::vector<float>& angles);

}  // namespace qv3d
