// The numbers of text files. A word is converted by the type that the file declares, whatever it looks like:
// "1e2" is 1 in a column of ints. What is no number is 0.
#pragma once

#include <cstdint>
#include <string_view>

#include "mesh/ply/types.h"

namespace qv::ply {

/// How the words of a type are converted.
enum class Form { kInteger, kUnsigned, kDecimal };

constexpr Form FormOf(Type type) {
  if (type == Type::kUint32) return Form::kUnsigned;
  return type == Type::kFloat32 || type == Type::kFloat64 ? Form::kDecimal : Form::kInteger;
}

/// The int that the word begins with, as strtol takes it; out of range gives the nearest one.
std::int32_t IntegerOf(std::string_view word);

/// The unsigned that the word begins with, as strtoul takes it: a minus sign wraps around; out of range gives
/// the largest one.
std::uint32_t UnsignedOf(std::string_view word);

/// The double that the word begins with, as strtod takes it, but always with a decimal point.
double DecimalOf(std::string_view word);

/// Calls `body` with the number of a word.
template <class Body>
auto WithNumber(Form form, std::string_view word, Body body) {
  switch (form) {
    case Form::kInteger:
      return body(IntegerOf(word));
    case Form::kUnsigned:
      return body(UnsignedOf(word));
    default:
      return body(DecimalOf(word));
  }
}

}  // namespace qv::ply
