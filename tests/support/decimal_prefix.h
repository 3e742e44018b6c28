// The number that a word begins with, by the C library, without its differences: where there is none, one C
// library returns 0 and another -0.
#pragma once

#include <cstdlib>
#include <string>

namespace qv::test {

inline double DecimalPrefix(const std::string& word) {
  char* end = nullptr;
  const double number = std::strtod(word.c_str(), &end);
  return end == word.c_str() ? 0.0 : number;
}

}  // namespace qv::test
