// A height map with another number of samples.
#pragma once

#include <string>
#include <utility>

#include "analysis/height_map.h"

namespace qv3d {

enum class Interpolation { kBilinear, kBicubic };

/// Samples of the input from one sample of the output to the next. Enlarging by the bilinear resampler takes
/// a little less than the sizes suggest.
double ResampleStep(int inSize, int outSize, Interpolation interpolation);

/// The greatest error that the bicubic resampler's last weight makes along a row, as a share of the height
/// above the mean; 0 where every new column falls onto one of the old.
double BicubicError(int inWidth, int outWidth);

/// What is to be told the user about that error; empty where there is none to speak of.
std::string BicubicWarning(int inWidth, int outWidth);

/// The new numbers of samples: those asked for, one of them in proportion where the other is 0, or so many
/// that they lie about `spacing` apart. Throws Failure (usage) where those make no sense.
std::pair<int, int> PlanResampling(const HeightMap& map, int nx, int ny, double spacing);

/// Throws Failure (not computable) where memory runs out.
HeightMap ResampleMap(const HeightMap& map, int width, int height, Interpolation interpolation);

}  // namespace qv3d
