#include <cmath>
#include <cstddef>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "kernels/kernels.h"

namespace {

/// The lines lo to hi of a grid whose last line is `last`, around a centre between two lines.
struct Band {
  float centre;
  int lo, hi, last;
};

/// Clamped in double first, so that a huge half band takes all lines; a NaN takes the first.
int ClampedFloor(double at, int last) {
  const double line = std::floor(at);
  if (line > last) return last;
  return line > 0 ? static_cast<int>(line) : 0;
}

Band BandAround(float position, float halfBand, int last) {
  const float centre = static_cast<float>(last) * position;
  const double middle = centre, half = halfBand;
  return {centre, ClampedFloor(middle - half, last), ClampedFloor(middle + half, last), last};
}

float Between(const Band& band, float first, float second) {
  const double fraction = static_cast<double>(band.centre) - band.lo;
  const double rise = static_cast<double>(second) - static_cast<double>(first);
  return static_cast<float>(rise * fraction + static_cast<double>(first));
}

/// Between the row lo and the next.
void RowProfile(const Band& band, const float* heights, std::ptrdiff_t width, float* profile) {
  const float* first = heights + band.lo * width;
  const float* second = band.lo < band.last ? first + width : first;
  for (std::ptrdiff_t c = 0; c < width; ++c) {
    if (qv::HasMissingBits(first[c])) {
      profile[c] = qv::kBadSampleFloat;
    } else {
      profile[c] = qv::HasMissingBits(second[c]) ? first[c] : Between(band, first[c], second[c]);
    }
  }
}

/// Between the column lo and the next, from the last row to the first. Unlike in a row profile a NaN in the
/// column itself is a missing sample; kept.
void ColumnProfile(const Band& band, const float* heights, std::ptrdiff_t width, std::ptrdiff_t height,
                   float* profile) {
  const std::ptrdiff_t step = band.lo < band.last ? 1 : 0;
  for (std::ptrdiff_t k = 0; k < height; ++k) {
    const float* first = heights + (height - 1 - k) * width + band.lo;
    if (qv::IsMissing(*first)) {
      profile[k] = qv::kBadSampleFloat;
    } else {
      profile[k] = qv::HasMissingBits(first[step]) ? *first : Between(band, *first, first[step]);
    }
  }
}

void ScaleValid(float* profile, std::ptrdiff_t count, float scale) {
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    if (!qv::IsMissing(profile[k])) profile[k] *= scale;
  }
}

}  // namespace

unsigned QV_CALL ComputeCrossSectionProfile(int width, int height, int direction, int bandMode,
                                            int /*unused*/, float position, float halfBand,
                                            const float* heights, float* profile, float scale) {
  if (width < 1 || height < 1 || (direction != 0 && direction != 1)) return 0;
  const bool alongRow = direction == 0, knownMode = bandMode >= 0 && bandMode <= 2;
  const std::ptrdiff_t stride = width, rows = height;
  const Band band = BandAround(position, halfBand, (alongRow ? height : width) - 1);
  const std::ptrdiff_t lines = band.lo <= band.hi ? band.hi - band.lo + 1 : 0;
  const auto& kernels = qv::kernels::Active().bands;
  if (alongRow) {
    if (band.lo == band.hi) {
      RowProfile(band, heights, stride, profile);
    } else if (knownMode) {
      kernels.rows[bandMode](heights + band.lo * stride, lines, stride, stride, profile);
    }
  } else {
    if (band.lo == band.hi) {
      ColumnProfile(band, heights, stride, rows, profile);
    } else if (knownMode) {
      // From the last row to the first.
      kernels.columns[bandMode](heights + (rows - 1) * stride + band.lo, lines, -stride, rows, profile);
    }
  }
  // An unknown mode leaves the values as they were; they are scaled all the same. Kept.
  ScaleValid(profile, alongRow ? stride : rows, scale);
  return 0;
}
