#include "mesh/text_scanner.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "mesh/number_scanner.h"

namespace qv::mesh {
namespace {

/// White space of the C locale, whatever the locale is.
constexpr bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::uint64_t LoadEight(const char* text) {
  std::uint64_t characters;
  std::memcpy(&characters, text, sizeof characters);
  return characters;
}

/// The first character at or behind `text` that is no white space; a NUL is none.
const char* FindWord(const char* text) {
  for (;;) {
    if (!IsSpace(*text)) return text;
    ++text;
    // Indentation is mostly blanks.
    const std::uint64_t others = LoadEight(text) ^ 0x2020202020202020U;
    text += others == 0 ? 8 : std::countr_zero(others) / 8;
  }
}

/// The bit that tells small letters from capitals, in the first `length` of eight characters.
constexpr std::uint64_t CaseBits(int length) {
  return 0x2020202020202020U >> (8 * (8 - length));
}

/// `keyword` holds small letters, at most eight. At least eight bytes and one more must be readable.
bool IsKeyword(const char* text, const char* keyword, int length) {
  static_assert(std::endian::native == std::endian::little);
  std::uint64_t expected = 0;
  std::memcpy(&expected, keyword, static_cast<std::size_t>(length));
  const std::uint64_t found = (LoadEight(text) << (8 * (8 - length))) >> (8 * (8 - length));
  return (found | CaseBits(length)) == expected && (IsSpace(text[length]) || text[length] == '\0');
}

constexpr int kLongestKeyword = 8;

/// Characters of each Word that are no white space for sure.
constexpr int kWordLength[] = {0, 5, 8, 6, 1};

TextScanner::Word Classify(const char* text) {
  switch (*text | 0x20) {
    case 'f':
      return IsKeyword(text, "facet", 5) ? TextScanner::Word::kFacet : TextScanner::Word::kOther;
    case 'e':
      return IsKeyword(text, "endfacet", 8) ? TextScanner::Word::kEndFacet : TextScanner::Word::kOther;
    case 'v':
      return IsKeyword(text, "vertex", 6) ? TextScanner::Word::kVertex : TextScanner::Word::kOther;
    default:
      return TextScanner::Word::kOther;
  }
}

/// The first white space at or behind `text`, or `end`.
const char* FindSpace(const char* text, const char* end) {
  if (IsSpace(*text)) return text;
  for (;;) {
    // Characters up to ' ' have a borrow or the high bit in (c - 0x21) & ~c. Later bytes may be found
    // wrongly, never the first one.
    const std::uint64_t characters = LoadEight(text);
    const std::uint64_t low = (characters - 0x2121212121212121U) & ~characters & 0x8080808080808080U;
    if (low == 0) {
      text += 8;
    } else {
      text += std::countr_zero(low) / 8;
      if (text >= end || IsSpace(*text)) break;
      ++text;  // a control character is part of the word
    }
  }
  return text < end ? text : end;
}

}  // namespace

bool TextScanner::SkipSpace() {
  for (;;) {
    const char* text = FindWord(reader_.Cursor());
    reader_.ConsumeTo(text);
    if (text != reader_.End()) return true;
    if (!reader_.ReadMore()) return false;
  }
}

void TextScanner::SkipWord() {
  for (;;) {
    const char* space = FindSpace(reader_.Cursor(), reader_.End());
    reader_.ConsumeTo(space);
    if (space != reader_.End() || !reader_.ReadMore()) return;
  }
}

// The two functions that do the work keep the position in a register while they can, for everything waits for
// it. The end of what has been read is left to slower ones.

TextScanner::Word TextScanner::NextWord() {
  const char* text = FindWord(reader_.Cursor());
  const char* end = reader_.End();
  if (end - text <= kLongestKeyword) {
    reader_.ConsumeTo(text);
    return NextWordNearEnd();
  }
  const Word word = Classify(text);
  text = FindSpace(text + kWordLength[static_cast<int>(word)], end);
  reader_.ConsumeTo(text);
  if (text == end) SkipWord();
  return word;
}

TextScanner::Word TextScanner::NextWordNearEnd() {
  if (!SkipSpace()) return Word::kNone;
  reader_.Have(kLongestKeyword + 1);  // less at the end of the file, and then zeros follow
  const Word word = Classify(reader_.Cursor());
  SkipWord();
  return word;
}

bool TextScanner::NextNumbers(float* values, int count) {
  const char* text = reader_.Cursor();
  const char* end = reader_.End();
  for (int i = 0; i < count; ++i) {
    text = FindWord(text);
    const ScannedNumber number = ScanNumber(text);
    if (number.end == end) {
      // What ends with the data read so far may go on behind them.
      reader_.ConsumeTo(text);
      if (!NextNumberNearEnd(values + i)) return false;
      text = reader_.Cursor();
      end = reader_.End();
      continue;
    }
    text = number.end;
    values[i] = number.value;
    if (!number.isNumber) {
      reader_.ConsumeTo(text);
      return false;
    }
  }
  reader_.ConsumeTo(text);
  return true;
}

bool TextScanner::NextNumberNearEnd(float* value) {
  for (;;) {
    if (!SkipSpace()) return false;
    const ScannedNumber number = ScanNumber(reader_.Cursor());
    if (number.end == reader_.End() && reader_.ReadMore()) continue;
    reader_.ConsumeTo(number.end);
    *value = number.value;
    return number.isNumber;
  }
}

}  // namespace qv::mesh
