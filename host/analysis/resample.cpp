#include "analysis/resample.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "failure.h"

namespace qv3d {

double ResampleStep(int inSize, int outSize, Interpolation interpolation) {
  const double in = inSize, out = outSize;
  const bool shortened = interpolation == Interpolation::kBilinear && inSize < outSize;
  return (shortened ? in - in / out : in) / out;
}

double BicubicError(int inWidth, int outWidth) {
  const double step = ResampleStep(inWidth, outWidth, Interpolation::kBicubic);
  double most = 0;
  for (int column = 0; column < outWidth; ++column) {
    const double t = column * step - std::floor(column * step);
    // Twice the last weight, which has the wrong sign.
    most = std::max(most, 2 * t * t * (1 - t));
  }
  return inWidth == outWidth ? 0 : most;
}

HeightMap ResampleMap(const HeightMap& map, int width, int height, Interpolation interpolation) {
  HeightMap source = map;
  // About the mean, what the bicubic weights err by is a share of the relief and not of the height.
  const double mean = SubtractMean(source);
  HeightMap result = map;
  result.width = width;
  result.height = height;
  result.xSize =
      static_cast<float>((width - 1) * map.SpacingX() * ResampleStep(map.width, width, interpolation));
  result.ySize =
      static_cast<float>((height - 1) * map.SpacingY() * ResampleStep(map.height, height, interpolation));
  result.heights.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  const auto resample = interpolation == Interpolation::kBilinear ? Resample : ResampleBicubic;
  if (resample(width, height, map.width, map.height, source.heights.data(), result.heights.data(), map.width,
               width) != 1) {
    throw Failure(ExitCode::kNotComputable, "out of memory", "Choose a coarser grid.");
  }
  for (float& h : result.heights) {
    if (!IsMissing(h)) h = static_cast<float>(h + mean);
  }
  return result;
}

}  // namespace qv3d
