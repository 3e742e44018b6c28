#include "analysis/resample.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {
namespace {

constexpr double kMostSamples = 1 << 30;

/// Samples along one side: those asked for, or else so many that the spacing, or the shape, comes out.
int SamplesAlong(int asked, int other, double otherShare, int have, double spacing, double wantedSpacing) {
  if (asked > 0) return asked;
  const double samples = wantedSpacing > 0 ? have * spacing / wantedSpacing
                         : other > 0       ? have * otherShare
                                           : have;
  if (samples < 1.5 || samples > 65536) {
    throw Failure(
        ExitCode::kUsage,
        fmt::format("the new grid would have {:.0f} samples along one side, not 2 to 65536", samples));
  }
  return static_cast<int>(std::lround(samples));
}

}  // namespace

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

std::string BicubicWarning(int inWidth, int outWidth) {
  const double error = BicubicError(inWidth, outWidth);
  if (error < 0.0005) return {};
  return fmt::format(
      "qv3d: warning: between columns the bicubic weights do not sum to 1: heights are wrong by up to "
      "{:.1f} % of their distance from the mean. --bilinear has no such error.\n",
      100 * error);
}

std::pair<int, int> PlanResampling(const HeightMap& map, int nx, int ny, double spacing) {
  const double shareX = static_cast<double>(nx) / map.width, shareY = static_cast<double>(ny) / map.height;
  const int columns = SamplesAlong(nx, ny, shareY, map.width, map.SpacingX(), spacing);
  const int rows = SamplesAlong(ny, nx, shareX, map.height, map.SpacingY(), spacing);
  if (double{1} * columns * rows > kMostSamples) {
    throw Failure(ExitCode::kUsage, fmt::format("a grid of {} x {} samples is too large", columns, rows));
  }
  return {columns, rows};
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
