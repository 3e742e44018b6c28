// Numbers as formatted input (%f) reads them, but with a decimal point whatever the locale.
#pragma once

namespace qv::mesh {

struct ScannedNumber {
  const char* end;  ///< behind the last character looked upon as part of the number
  float value;
  bool isNumber;  ///< whether the characters up to `end` are a number
};

/// Scans the longest run of characters that is a number or the beginning of one: decimal or hexadecimal with
/// an exponent, inf, infinity, nan, nan(...), in any letter case, with a sign. "1.0-2.0" ends at the second
/// sign; "1e" is the beginning of a number and none itself. The value is the nearest float; too large gives
/// an infinity, too small a zero or a denormal.
///
/// The text must be followed by a byte that is no part of any number, and 8 more bytes must be readable.
ScannedNumber ScanNumber(const char* text);

/// The longest beginning of [first, last) that is a number, as strtod would take it ("1e" is 1), or 0. White
/// space in front is not skipped. [first, last) must be followed by a byte that is no digit.
double NumberPrefix(const char* first, const char* last);

}  // namespace qv::mesh
