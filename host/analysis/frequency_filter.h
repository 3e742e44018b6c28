// Splits a surface by wavelength.
#pragma once

#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

enum class Pass { kLow, kHigh };
enum class FrequencyFilterKind {
  kGaussian,
  kButterworth,  ///< of first order
  kIdeal         ///< all or nothing
};

struct FrequencyFilter {
  Pass pass = Pass::kLow;  ///< low keeps the long waves, the waviness
  FrequencyFilterKind kind = FrequencyFilterKind::kGaussian;
  double cutoff = 0;  ///< wavelength that passes with half its amplitude
};

/// The cutoff wavelengths that result: those along the axes differ where the samples are not equally far
/// apart, and the ideal kind cuts oblique waves at longer ones.
struct Cutoffs {
  double x = 0, y = 0, diagonal = 0;
};

struct FrequencyFiltered {
  std::vector<float> heights;  ///< about zero, or with the mean of the input where long waves are kept
  Cutoffs cutoffs;
};

/// The map must have no missing samples. Throws Failure: usage where the cutoff is shorter than two samples
/// or longer than the surface, not computable where memory runs out.
FrequencyFiltered FilterByFrequency(const HeightMap& map, const FrequencyFilter& filter);

}  // namespace qv3d
