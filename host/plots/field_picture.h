// Grids of numbers as coloured fields with axes and colour scales, one or several side by side: spectra,
// correlations, filtered surfaces.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "plots/canvas.h"

namespace qv3d {

struct Field {
  std::string name;  ///< above it; may be empty
  int columns = 0, rows = 0;
  std::vector<float> values;                        ///< row by row, the lowest first; missing ones are grey
  double left = 0, right = 1, bottom = 0, top = 1;  ///< coordinates of the outer edges
  std::string xName, yName, valueName;              ///< with their units
  double low = 0, high = 1;                         ///< values at the two ends of the colours
};

struct FieldPicture {
  std::string title;
  std::string subtitle;
  std::vector<Field> fields;
  int width = 1600;
  int height = 1000;
};

void DrawFields(ImageCanvas& canvas, Image& image, const FieldPicture& picture);

/// Writes a PNG picture; false where it is without text for want of a font. Throws Failure (unreadable) where
/// the file cannot be written.
bool WriteFields(const std::filesystem::path& path, const FieldPicture& picture);

}  // namespace qv3d
