// What the readers of mesh files ask of a C file.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

namespace qv::mesh {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using InputFile = std::unique_ptr<std::FILE, CloseFile>;

/// What a seekable file has from its present position; 0 for others.
inline std::size_t RemainingBytes(std::FILE* file) {
  const long here = std::ftell(file);
  if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return 0;
  const long end = std::ftell(file);
  std::fseek(file, here, SEEK_SET);
  return end > here ? static_cast<std::size_t>(end - here) : 0;
}

}  // namespace qv::mesh
