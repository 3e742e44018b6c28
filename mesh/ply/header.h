// What the header of a PLY file says of the data behind it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "mesh/block_reader.h"
#include "mesh/growing_array.h"
#include "mesh/ply/types.h"

namespace qv::ply {

enum class FileKind { kAscii = 1, kBinaryBigEndian = 2, kBinaryLittleEndian = 3 };

enum class PropertyKind { kScalar = 0, kList = 1, kString = 2 };

/// A column of an element: how it stands in the file and, where the caller wants it, in the caller's record.
struct PlyProperty {
  std::string name;
  PropertyKind kind = PropertyKind::kScalar;
  Type externalType = Type::kNone;       ///< in the file; of a list's items; of a string's characters
  Type countExternalType = Type::kNone;  ///< of a list's or string's length

  bool isWanted = false;
  Type internalType = Type::kNone;  ///< in the record
  std::size_t offset = 0;           ///< in the record
  Type countInternalType = Type::kNone;
  std::size_t countOffset = 0;
  std::size_t room = 0;  ///< how many items or characters the record holds
};

struct PlyElement {
  std::string name;
  int recordCount = 0;
  std::vector<PlyProperty> properties;
  bool keepsOthers = false;         ///< whether what is not wanted is set aside instead of dropped
  mesh::GrowingArray<char> others;  ///< what was set aside, as it stands in the file
};

struct PlyHeader {
  FileKind kind = FileKind::kAscii;
  float version = 0;
  std::vector<PlyElement> elements;
  std::vector<std::string> comments;
  std::vector<std::string> objInfo;
};

/// Reads up to and with the line "end_header", or all there is. False where this is no PLY file: its first
/// word is not "ply", or its format is not declared or not known.
bool ReadHeader(mesh::BlockReader& reader, PlyHeader* header);

}  // namespace qv::ply
