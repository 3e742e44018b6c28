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

  /// Consumes the next numbers, which need not be followed by white space. False when one of them is none;
  /// what was looked at is then consumed all the same.
  bool NextNumbers(float* values, int count);

 private:
  bool SkipSpace();
  void SkipWord();
  Word NextWordNearEnd();
  bool NextNumberNearEnd(float* value);

  BlockReader& reader_;
};

}  // namespace qv::mesh
