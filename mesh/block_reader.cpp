#include "mesh/block_reader.h"

#include <cstring>

namespace qv::mesh {

namespace {
const char kNothing[BlockReader::kPadding] = {};
}

BlockReader::BlockReader(std::FILE* file) : file_(file), cursor_(kNothing), end_(kNothing) {}

bool BlockReader::ReadMore() {
  if (atEnd_) return false;
  const std::size_t kept = Available();
  if (kept > 0) std::memmove(buffer_.data(), cursor_, kept);
  PlaceData(kept);
  // A token longer than a block (someone's million-digit number) doubles the buffer, so that reading it again
  // from its start each time stays linear in the end.
  const std::size_t wanted = kept < kBlock ? kBlock : kept;
  if (buffer_.size() < kept + wanted + kPadding) {
    if (buffer_.Extend(kept + wanted + kPadding - buffer_.size()) == nullptr) {
      outOfMemory_ = atEnd_ = true;
      return false;
    }
  }
  const std::size_t added = std::fread(buffer_.data() + kept, 1, wanted, file_);
  atEnd_ = added < wanted;
  bytesRead_ += added;
  PlaceData(kept + added);
  std::memset(buffer_.data() + kept + added, 0, kPadding);
  return added > 0;
}

void BlockReader::PlaceData(std::size_t count) {
  if (buffer_.empty()) return;
  cursor_ = buffer_.data();
  end_ = cursor_ + count;
}

}  // namespace qv::mesh
