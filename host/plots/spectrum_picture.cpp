#include "plots/spectrum_picture.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace qv3d {

SpectrumUnits::SpectrumUnits(const std::string& fileUnit, const HeightMap& map, const Spectrum& s)
    : length(HandyUnit(fileUnit, std::max(map.xSize, map.ySize))),
      amplitude(HandyUnit(fileUnit, *std::max_element(s.amplitudes.begin(), s.amplitudes.end()))) {}

std::string TextOf(const Wave& wave, const SpectrumUnits& units) {
  return fmt::format("{}, amplitude {}, across {:.1f}° from x", FormatLength(wave.wavelength, units.length),
                     FormatLength(wave.amplitude, units.amplitude), wave.direction);
}

FieldPicture PictureOf(const Spectrum& s, const std::optional<Wave>& wave, const SpectrumUnits& units,
                       double decades) {
  Field field;
  field.columns = s.columns;
  field.rows = s.rows;
  field.values = s.amplitudes;
  for (float& a : field.values)
    a = std::log10(std::max(a * static_cast<float>(units.amplitude.factor), 1e-30f));
  const double x = s.stepX / units.length.factor, y = s.stepY / units.length.factor;
  field.left = -(s.columns + 1) / 2.0 * x;
  field.right = field.left + s.columns * x;
  field.bottom = -(s.rows + 1) / 2.0 * y;
  field.top = field.bottom + s.rows * y;
  field.xName = fmt::format("frequency in x / (1/{})", units.length.name);
  field.yName = fmt::format("frequency in y / (1/{})", units.length.name);
  field.valueName = fmt::format("log₁₀(amplitude / {})", units.amplitude.name);
  field.high = *std::max_element(field.values.begin(), field.values.end());
  field.low = field.high - decades;
  FieldPicture picture;
  picture.subtitle = kSpectrumCaption;
  if (wave) picture.subtitle += " Dominant wave: " + TextOf(*wave, units);
  picture.fields.push_back(std::move(field));
  return picture;
}

}  // namespace qv3d
