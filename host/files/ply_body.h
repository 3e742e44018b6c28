// The records behind the header of a PLY file: a reader for text and one for binary files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "files/ply_file.h"

namespace qv3d {

struct PlyBodyStart {
  std::size_t at = 0;
  std::uint64_t line = 1;
  char lineEnd = '\n';
};

/// Read the elements that `file` declares, up to the first record that is not there.
void ReadPlyText(std::string_view bytes, const PlyBodyStart& start, PlyFile& file);
void ReadPlyBinary(std::string_view bytes, const PlyBodyStart& start, PlyFile& file);

}  // namespace qv3d
