// What a picture's levels mean: notes that the program writes into its pictures and finds there again.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "formats/format.h"

namespace qv3d {

/// Key and value, in an order that is kept.
using PictureNotes = std::vector<std::pair<std::string, std::string>>;

/// Grey levels of 16 bits: 1 to 65535 from the lowest to the highest height, 0 where a sample is missing.
struct GreyLevels {
  std::vector<std::uint16_t> levels;  ///< row by row in the file's order
  double scale = 1, offset = 0;       ///< height = level * scale + offset
};

GreyLevels LevelsOf(const GridToWrite& grid);

/// The notes of a picture; `levels` is null where the samples are heights themselves.
PictureNotes NotesOf(const GridToWrite& grid, const GreyLevels* levels);

/// Gives the raw samples of a picture in grid.values their scale and place, as far as the notes tell. `lines`
/// are "Key: value".
void ApplyNotes(const std::string& name, const std::string& lines, bool areLevels, FileGrid& grid);

}  // namespace qv3d
