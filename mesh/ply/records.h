// Reads the records of an element: one reader for text files and one for binary files.
#pragma once

#include <cstddef>
#include <vector>

#include "mesh/block_reader.h"
#include "mesh/ply/header.h"
#include "mesh/ply/numbers.h"

namespace qv::ply {

/// As PlyFile::ReadRecords, into records that are zero.
std::ptrdiff_t ReadTextRecords(mesh::BlockReader& reader, PlyElement& element, char* records,
                               std::size_t stride, std::size_t count);
std::ptrdiff_t ReadBinaryRecords(mesh::BlockReader& reader, PlyElement& element, bool reversed, char* records,
                                 std::size_t stride, std::size_t count);

/// The length of a list once it is stored as a type: items beyond it cannot be seen and need not be kept.
std::size_t KeptItems(const PlyProperty& list, std::size_t count);

/// Ends the process when a wanted value cannot be stored as the type that was asked for.
void CheckInternalType(Type type);

}  // namespace qv::ply
