// Words and numbers of a text file, as formatted input (%s, %f) separates them.
#pragma once

#include "mesh/block_reader.h"

namespace qv::mesh {

class TextScanner {
 public:
  explicit TextScanner(BlockReader& reader) : reader_(reader) {}

  enum class Word { kNone, kFacet, kEndFacet, kVertex, kOther };

  /// Consumes the next word, of any length, and says which it is, in any letter case. A word ends for the
  /// comparison at an embedded NUL, as C strings do. kNone at the end of the file.
  Word NextWord();

  /// Consumes the next number, which need not be followed by white space. False when there is none; what was
  /// looked at is then consumed all the same.
  bool NextNumber(float* value);

 private:
  bool SkipSpace();
  void SkipWord();

  BlockReader& reader_;
};

}  // namespace qv::mesh
