// The words of a line, in the header and in the records of text files.
#pragma once

#include <string_view>

namespace qv::ply {

/// Where words are told apart. A carriage return is a character like any other in the header and white space
/// in the body.
enum class Part { kHeader, kBody };

template <Part kPart>
constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t' || (kPart == Part::kBody && c == '\r');
}

/// A line's text ends at its newline or, as C strings do, at a NUL. One follows everything that was read.
constexpr bool EndsLine(char c) {
  return c == '\n' || c == '\0';
}

/// The first character that is no blank.
template <Part kPart>
const char* SkipBlanks(const char* text) {
  while (IsBlank<kPart>(*text)) ++text;
  return text;
}

struct Word {
  std::string_view text;
  const char* end;  ///< where to go on
};

/// The word that begins at `text`, which is no blank. A double quote in front runs to the next one (or to the
/// end of the line) and is no part of the word.
template <Part kPart>
Word TakeWord(const char* text) {
  const bool isQuoted = *text == '"';
  if (isQuoted) ++text;
  const char* end = text;
  while (!EndsLine(*end) && (isQuoted ? *end != '"' : !IsBlank<kPart>(*end))) ++end;
  const std::string_view word(text, static_cast<std::size_t>(end - text));
  return {word, isQuoted && *end == '"' ? end + 1 : end};
}

}  // namespace qv::ply
