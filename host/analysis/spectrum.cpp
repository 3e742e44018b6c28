#include "analysis/spectrum.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "analysis/padding.h"
#include "failure.h"

namespace qv3d {
namespace {

/// How a wave whose frequency lies `distance` terms from a term shows there, between 0 and 1: `samples` of
/// the `padded` ones are the surface, the others zero.
double Leakage(double distance, int samples, int padded) {
  const double angle = std::numbers::pi * distance / padded;
  if (std::abs(angle) < 1e-12) return 1;
  return std::abs(std::sin(angle * samples) / (samples * std::sin(angle)));
}

/// Where between two terms a wave lies, as a part of a term from -1/2 to 1/2, from the amplitudes before, at
/// and after the greatest.
double PartOfTerm(double before, double at, double after, int samples, int padded) {
  const double ratio = std::max(before, after) / at;
  double low = 0, high = 0.5;
  for (int i = 0; i < 50; ++i) {
    const double middle = (low + high) / 2;
    const bool isBelow = Leakage(1 - middle, samples, padded) / Leakage(middle, samples, padded) < ratio;
    (isBelow ? low : high) = middle;
  }
  return after > before ? low : -low;
}

}  // namespace

Spectrum AmplitudesOf(const HeightMap& map) {
  Spectrum s;
  s.columns = PowerOfTwoAbove(map.width);
  s.rows = PowerOfTwoAbove(map.height);
  s.stepX = 1 / (s.columns * map.SpacingX());
  s.stepY = 1 / (s.rows * map.SpacingY());
  // Padded here and not by the library, which would cut the highest frequencies off.
  s.amplitudes = PadWithZeros(map, s.columns, s.rows);
  if (PowerSpectrum(s.amplitudes.data(), s.columns, s.rows, 1, s.amplitudes.data()) != 0) {
    throw Failure(ExitCode::kNotComputable, "not enough memory for the spectrum", "Choose a coarser grid.");
  }
  // Half of a wave lies at its frequency, half at the opposite one.
  for (float& a : s.amplitudes) a = static_cast<float>(double{a} * 2 / map.Count());
  return s;
}

std::optional<Wave> DominantWave(const Spectrum& s, const HeightMap& map) {
  const double longestX = s.columns / double(map.width), longestY = s.rows / double(map.height);
  const int middleColumn = s.columns / 2, middleRow = s.rows / 2;
  int column = -1, row = -1;
  float greatest = 0;
  // One half plane: the other one has the same amplitudes. The first row and column, of the highest
  // frequencies, have no neighbours on one side.
  for (int j = middleRow; j < s.rows - 1; ++j) {
    for (int i = 1; i < s.columns - 1; ++i) {
      const int u = std::abs(i - middleColumn), v = j - middleRow;
      if ((u < longestX && v < longestY) || !(s.At(i, j) > greatest)) continue;
      greatest = s.At(i, j);
      column = i, row = j;
    }
  }
  if (column < 0 || row < 1) return std::nullopt;
  const double at = s.At(column, row);
  const double partX = PartOfTerm(s.At(column - 1, row), at, s.At(column + 1, row), map.width, s.columns);
  const double partY = PartOfTerm(s.At(column, row - 1), at, s.At(column, row + 1), map.height, s.rows);
  const double fx = (column - middleColumn + partX) * s.stepX, fy = (row - middleRow + partY) * s.stepY;
  // Rounded, so that a wave along y runs along 90 degrees and not along -90.
  double direction = std::round(std::atan2(fy, fx) * 180e4 / std::numbers::pi) / 1e4;
  if (direction > 90) direction -= 180;
  if (direction <= -90) direction += 180;
  return Wave{1 / std::hypot(fx, fy), direction,
              at / (Leakage(partX, map.width, s.columns) * Leakage(partY, map.height, s.rows))};
}

std::vector<RadialTerm> RadialAverage(const Spectrum& s) {
  const int middleColumn = s.columns / 2, middleRow = s.rows / 2;
  const double step = std::max(s.stepX, s.stepY);
  const auto count =
      static_cast<std::size_t>(std::min(middleColumn * s.stepX, middleRow * s.stepY) / step + 1e-9);
  std::vector<RadialTerm> rings(count + 1, {0, 0, 0});
  for (int j = 0; j < s.rows; ++j) {
    for (int i = 0; i < s.columns; ++i) {
      const double f = std::hypot((i - middleColumn) * s.stepX, (j - middleRow) * s.stepY);
      const auto ring = static_cast<std::size_t>(std::lround(f / step));
      if (ring > count) continue;
      rings[ring].amplitude += s.At(i, j);
      ++rings[ring].terms;
    }
  }
  for (std::size_t k = 0; k <= count; ++k) {
    rings[k].frequency = static_cast<double>(k) * step;
    if (rings[k].terms > 0) rings[k].amplitude /= static_cast<double>(rings[k].terms);
  }
  // Frequency zero is the mean, which was taken off.
  rings.erase(rings.begin());
  return rings;
}

}  // namespace qv3d
