#include "mesh/text_scanner.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

#include "mesh/number_scanner.h"
#include "mesh/plain_decimal.h"

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

/// Characters of each Word.
constexpr int kWordLength[] = {0, 5, 8, 6, 1};

constexpr std::ptrdiff_t kBlockBytes = 16;

/// A bit for each of sixteen characters that begins a word and is the first letter of a keyword.
/// `*atWordStart` says whether a word may begin at the first, and then whether one may begin behind the last.
unsigned KeywordStarts(const char* text, unsigned* atWordStart) {
  const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i fromTab = _mm_sub_epi8(c, _mm_set1_epi8('\t'));
  const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(fromTab, _mm_set1_epi8('\r' - '\t')), fromTab);
  const __m128i spaces = _mm_or_si128(controls, _mm_cmpeq_epi8(c, _mm_set1_epi8(' ')));
  const __m128i small = _mm_or_si128(c, _mm_set1_epi8(0x20));
  const __m128i letters = _mm_or_si128(
      _mm_cmpeq_epi8(small, _mm_set1_epi8('f')),
      _mm_or_si128(_mm_cmpeq_epi8(small, _mm_set1_epi8('e')), _mm_cmpeq_epi8(small, _mm_set1_epi8('v'))));
  const auto spaceBits = static_cast<unsigned>(_mm_movemask_epi8(spaces));
  const unsigned starts = (spaceBits << 1) | *atWordStart;
  *atWordStart = spaceBits >> (kBlockBytes - 1);
  return starts & static_cast<unsigned>(_mm_movemask_epi8(letters));
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

TextScanner::Word TextScanner::NextKeyword() {
  const char* text = reader_.Cursor();
  const char* last = reader_.End() - kBlockBytes - kLongestKeyword;
  unsigned atWordStart = 1;  // also behind a number, which need not be followed by white space
  for (; text < last; text += kBlockBytes) {
    for (unsigned starts = KeywordStarts(text, &atWordStart); starts != 0; starts &= starts - 1) {
      const char* word = text + std::countr_zero(starts);
      const Word keyword = Classify(word);
      if (keyword == Word::kOther) continue;
      reader_.ConsumeTo(word + kWordLength[static_cast<int>(keyword)]);
      if (*reader_.Cursor() == '\0') SkipWord();
      return keyword;
    }
  }
  // Less than a block is left. A word that has begun is known not to be a keyword.
  reader_.ConsumeTo(text);
  if (atWordStart == 0) SkipWord();
  for (;;) {
    const Word word = NextWord();
    if (word != Word::kOther) return word;
    if (reader_.Available() > 2 * kBlockBytes) return NextKeyword();
  }
}

TextScanner::Word TextScanner::NextWord() {
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
    text = *text == ' ' && !IsSpace(text[1]) ? text + 1 : FindWord(text);
    const char* behind = text;
    if (ScanPlainDecimal(&behind, values + i) && behind != end) {
      text = behind;
      continue;
    }
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
