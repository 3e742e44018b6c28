// The host's own view of a PLY file: what is in it, before the library is asked to read it, and a writer for
// binary files. The reader is forgiving where the library stops or reads something else than was meant.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "files/mesh_file.h"

namespace qv3d {

enum class PlyEncoding { kAscii, kBinaryLittleEndian, kBinaryBigEndian };

/// kNone is a name that the format does not know.
enum class PlyType { kNone, kInt8, kInt16, kInt32, kUint8, kUint16, kUint32, kFloat32, kFloat64 };

enum class PlyKind { kScalar, kList, kString };

struct PlyProperty {
  std::string name;
  PlyKind kind = PlyKind::kScalar;
  PlyType type = PlyType::kNone;       ///< of a list's items
  PlyType countType = PlyType::kNone;  ///< of a list's length
};

struct PlyElement {
  std::string name;
  std::uint64_t announced = 0;
  std::uint64_t present = 0;  ///< whole records found
  std::vector<PlyProperty> properties;

  const PlyProperty* Find(std::string_view property, PlyKind kind) const;
};

/// The lists of a face's corners: the name that the library knows, and the other one in use.
inline constexpr const char* kPlyCorners = "vertex_indices";
inline constexpr const char* kPlyOtherCorners = "vertex_index";

/// A corner that no vertex can have.
inline constexpr std::uint32_t kNoPlyVertex = std::numeric_limits<std::uint32_t>::max();

struct PlyFile {
  std::uint64_t fileBytes = 0;
  PlyEncoding encoding = PlyEncoding::kAscii;
  std::string format;                 ///< the words behind "format"; empty where the line is missing
  bool formatKnown = false;           ///< one of the three encodings
  bool formatWhole = false;           ///< with a version and nothing else
  bool headerComplete = false;        ///< there is an "end_header"
  std::uint64_t carriageReturns = 0;  ///< header lines that end in one
  std::vector<PlyElement> elements;

  std::vector<std::array<double, 3>> vertices;  ///< x, y, z as in the file
  std::vector<std::uint32_t> corners;           ///< of all faces, one after the other
  std::vector<std::size_t> faceEnds;            ///< into `corners`

  // Words of ASCII files. Lines count from 1; 0 where nothing is wrong.
  std::uint64_t badWords = 0;  ///< that are missing or no numbers
  std::uint64_t firstBadLine = 0;
  std::uint64_t decimalCommas = 0;  ///< numbers written with a comma
  std::uint64_t notWhole = 0;       ///< numbers with a fraction or an exponent of a type without them
  std::uint64_t blankLines = 0;     ///< among the records

  /// Null where there is none of this name.
  const PlyElement* Element(std::string_view name) const;
  /// The list that the corners were read from; null where there is none.
  const PlyProperty* CornerList() const;
};

/// True where the first line says "ply".
bool LooksLikePly(std::string_view bytes);

PlyFile ReadPly(std::string_view bytes);

/// What became of the faces as triangles.
struct PlyFaces {
  std::uint64_t polygons = 0;    ///< faces of more than three corners
  std::uint64_t incomplete = 0;  ///< of fewer
  std::uint64_t badIndex = 0;    ///< with a corner that is no vertex; left out
};

/// Hands the faces' triangles to `visit`, in the axes of height maps, as the library turns them: the file's y
/// becomes x, its z, negated, y, and its x the height. A polygon becomes a fan around its first corner.
PlyFaces ForEachTriangle(const PlyFile& file, const std::function<void(const Triangle&)>& visit);

/// Writes triangles, in the axes of height maps, as a little-endian file from which the library reads them as
/// they are. Throws Failure (unreadable) where it cannot.
void WriteBinaryPly(const std::filesystem::path& path, const std::vector<Triangle>& triangles);

}  // namespace qv3d
