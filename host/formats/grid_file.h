// Height maps in files, of every format in the table.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "analysis/height_map.h"
#include "formats/format.h"

namespace qv3d {

/// How a file is to be understood, where it does not say so itself, or wrongly.
struct GridReading {
  std::string unit = "mm";       ///< of the height map that is returned, and of numbers without one
  double spacing = 0;            ///< distance of the samples in that unit; 0: as the file says, or else 1
  std::optional<Origin> origin;  ///< where the first row lies; otherwise as the file says, or its format
  std::optional<double> zScale;  ///< height = number * zScale + zOffset, in that unit, whatever the file says
  std::optional<double> zOffset;  ///< 0 where only zScale is given
};

struct GridContent {
  const GridFormat* format = nullptr;
  FileGrid file;  ///< what the file states, without its values
  Origin origin = Origin::kBottom;
  HeightMap map;
};

/// True for files that ReadGridContent reads: by their first bytes, or else by their name. Meshes are none.
bool IsGridFile(const std::filesystem::path& path);

/// Reads a file with all that it says: its lowest row first, lengths in the unit that was asked for, missing
/// samples QV_BAD_SAMPLE. Throws Failure (usage, unreadable, corrupt, not computable).
GridContent ReadGridContent(const std::filesystem::path& path, const GridReading& reading);

/// The same for the bytes of a file, in a format that reads.
GridContent UnderstandGrid(const std::string& name, const GridFormat& format, std::string bytes,
                           const GridReading& reading);

/// Prints what is doubtful about a file that was read.
void PrintRemarks(const std::filesystem::path& path, const GridContent& content, const GridReading& reading);

struct GridWriting {
  const GridFormat* format = nullptr;  ///< null: by the extension
  std::optional<Origin> origin;        ///< where the first row is to lie; otherwise as the format has it
  Provenance provenance = {};          ///< to be told, as far as the format has room for it
};

/// Throws Failure (usage) where the file's extension is of no format that can be written.
void RequireGridFormat(const std::filesystem::path& path);

/// Writes a height map, whose lengths are in `unit`, in the format of the file's extension. Throws Failure
/// (usage, unreadable, not computable).
void WriteGrid(const std::filesystem::path& path, const HeightMap& map, const std::string& unit,
               const GridWriting& writing = {});

/// Writes rows of values that are no lengths as text: the unit is that of the extent alone.
void WriteGridOfNumbers(const std::filesystem::path& path, const HeightMap& map, const std::string& unit);

}  // namespace qv3d
