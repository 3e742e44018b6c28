// The picture of a spectrum.
#pragma once

#include <optional>
#include <string>

#include "analysis/spectrum.h"
#include "plots/field_picture.h"
#include "units.h"

namespace qv3d {

/// Units in which the numbers of a surface are handy: of lengths along it, and of amplitudes.
struct SpectrumUnits {
  Unit length, amplitude;

  SpectrumUnits(const std::string& fileUnit, const HeightMap& map, const Spectrum& s);
};

std::string TextOf(const Wave& wave, const SpectrumUnits& units);

/// How to read the picture.
inline constexpr const char* kSpectrumCaption =
    "Amplitudes of the waves; a line from the middle runs across their crests.";

/// Amplitudes in so many decades by frequency in x and y, without a title.
FieldPicture PictureOf(const Spectrum& s, const std::optional<Wave>& wave, const SpectrumUnits& units,
                       double decades);

}  // namespace qv3d
