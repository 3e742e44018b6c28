// What waves a surface is made of.
#pragma once

#include <optional>
#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

/// Amplitudes of waves by their frequencies along x and y, in cycles per unit. Frequency zero lies at column
/// columns/2 and row rows/2. A single wave over the whole surface has its own amplitude here.
struct Spectrum {
  int columns = 0, rows = 0;
  double stepX = 0, stepY = 0;  ///< from one term to the next
  std::vector<float> amplitudes;

  float At(int column, int row) const {
    return amplitudes[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                      static_cast<std::size_t>(column)];
  }
};

/// The map must have no missing samples. Throws Failure (not computable) where memory runs out.
Spectrum AmplitudesOf(const HeightMap& map);

struct Wave {
  double wavelength;
  double direction;  ///< across its crests, degrees from +x towards +y, above -90 up to 90
  double amplitude;
};

/// The wave of the greatest amplitude among those no longer than the surface; none where it is flat.
std::optional<Wave> DominantWave(const Spectrum& spectrum, const HeightMap& map);

struct RadialTerm {
  double frequency;
  double amplitude;   ///< mean over all directions
  std::size_t terms;  ///< number of those
};

/// Rings of one step of frequency, up to the highest frequency that all directions have.
std::vector<RadialTerm> RadialAverage(const Spectrum& spectrum);

}  // namespace qv3d
