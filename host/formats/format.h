// What a file format of height maps is to the program: one row of a table, a reader and a writer.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/height_map.h"
#include "failure.h"
#include "formats/provenance.h"

namespace qv3d {

/// Where the first row of a file lies, looking down with +y upwards.
enum class Origin { kTop, kBottom };

constexpr const char* NameOf(Origin origin) {
  return origin == Origin::kTop ? "top" : "bottom";
}

/// A grid as its file states it: its own numbers, its own order of rows.
struct FileGrid {
  std::string kind;  ///< which variant of the format: "SDF, binary, 64-bit floats"
  int width = 0, height = 0;
  double spacingX = 0, spacingY = 0;  ///< 0 where the file does not say
  double x0 = 0, y0 = 0;              ///< the smallest coordinates of a sample
  double lateralMetres = 0;           ///< metres in one unit of the four above; 0 where the file does not say
  double heightMetres = 0;            ///< and in one unit of the values
  std::string foreignUnit;            ///< the unit of the values where it is no length
  std::optional<Origin> origin;       ///< where the file itself says so
  bool scaleMissing = false;          ///< grey levels whose height the file does not tell
  std::vector<double> values;         ///< row by row in the file's order; NaN where nothing was measured
  std::vector<std::string> remarks;   ///< what was wrong but could be read
  Provenance provenance;              ///< what it tells besides

  bool StatesSpacing() const { return spacingX > 0 && spacingY > 0; }
};

/// A grid on its way to a file.
struct GridToWrite {
  const HeightMap& map;
  std::string unit;  ///< of all lengths, as in --unit
  Origin origin = Origin::kBottom;
  bool areHeights = true;  ///< otherwise the values are no lengths
  Provenance provenance = {};

  /// The samples of a row of the file.
  const float* Row(int fileRow) const;
};

/// Reads the bytes of a file, which it may take over; the name is for messages. Throws Failure.
using GridReader = FileGrid (*)(const std::string& name, std::string&& bytes);
using GridWriter = std::string (*)(const GridToWrite& grid);

struct GridFormat {
  const char* id;     ///< for --format
  const char* title;  ///< for people
  std::vector<std::string_view> extensions;
  bool (*isOne)(std::string_view bytes);  ///< whether the first bytes are of this format; may be null
  GridReader read;                        ///< null: the program does not read it
  GridWriter write;                       ///< null: the program does not write it
  Origin origin;                          ///< where the first row lies unless said otherwise
  bool hasCoordinates = false;  ///< every sample has its place: nobody needs to say where rows begin
};

/// Every format, the preferred variant of an extension before the others.
const std::vector<GridFormat>& AllGridFormats();

/// The readable format of a file: by its first bytes, or else by its name. Null where it is none.
const GridFormat* FindReadable(std::string_view name, std::string_view firstBytes);

/// The first writable format with the name's extension. Null where there is none.
const GridFormat* FindWritable(std::string_view name);

const GridFormat* FindById(std::string_view id);

/// The extensions of the formats that can be written, or read: ".csv, .txt or .xyz".
std::string ExtensionsOf(bool written);

// For readers.

/// Throws Failure (corrupt).
[[noreturn]] void RefuseCorrupt(const std::string& name, const std::string& what);

/// Throws Failure (unreadable): in order perhaps, but nothing that this program reads.
[[noreturn]] void RefuseUnsupported(const std::string& name, const std::string& what);

/// Sets width and height, of whatever size the file announces, and returns their product. Throws Failure
/// (corrupt) where that is no grid or more than can be held.
std::size_t SetSize(FileGrid& grid, const std::string& name, double width, double height);

/// Takes over a length's unit: "nm", "µm" ... Fills `foreign` where the name is none of a length.
double UnitOf(std::string_view unit, std::string& foreign);

}  // namespace qv3d
