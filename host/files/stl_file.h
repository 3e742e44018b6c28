// The host's own view of an STL file: what is in it, before the library is asked to read it, and a writer for
// binary files. The reader is forgiving where the library stops, so that it can tell what is wrong and mend
// it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "files/mesh_file.h"

namespace qv3d {

enum class StlFormat { kBinary, kAscii };

struct StlScan {
  StlFormat format = StlFormat::kBinary;
  std::uint64_t fileBytes = 0;
  std::uint64_t triangles = 0;  ///< whole triangles found

  // Binary files.
  bool saysSolid = false;            ///< a binary file whose header starts with "solid"
  bool headerComplete = false;       ///< the 80-byte header and the count are there
  std::uint32_t announced = 0;       ///< the count in the header
  std::uint64_t recordsPresent = 0;  ///< whole 50-byte records after the header

  // ASCII files. Lines count from 1; 0 where nothing is wrong.
  std::uint64_t badVertices = 0;  ///< "vertex" without three numbers
  std::uint64_t firstBadVertexLine = 0;
  std::uint64_t decimalCommas = 0;  ///< coordinates written with a comma
  std::uint64_t oddFacets = 0;      ///< facets that have not exactly three vertices
  bool unfinishedFacet = false;     ///< the file ends inside a facet
};

/// Walks through the file's bytes and hands every whole triangle to `visit`. Of a binary file whose count
/// contradicts its size, the triangles that both allow are visited; with `trustSize` all whole records that
/// are there.
StlScan ScanStl(std::string_view bytes, const std::function<void(const Triangle&)>& visit,
                bool trustSize = false);

/// True where the bytes can be an STL file at all: text that says "solid", or a size that a binary count
/// explains.
bool LooksLikeStl(std::string_view bytes);

/// A binary file with the normals of the right-hand rule, and the same written to a path. Throws Failure
/// (unreadable) where it cannot.
std::string StlBytes(const std::vector<Triangle>& triangles, std::string_view header);

void WriteBinaryStl(const std::filesystem::path& path, const std::vector<Triangle>& triangles,
                    std::string_view header);

}  // namespace qv3d
