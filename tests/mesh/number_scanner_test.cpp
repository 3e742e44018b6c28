#include "mesh/number_scanner.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "tests/reference/stl_reference.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/random_grid.h"

namespace {

using qv::mesh::ScannedNumber;
using qv::test::Random;

struct Scanned {
  bool isNumber;
  float value;
  std::size_t length;
};

Scanned Scan(const std::string& text) {
  const std::string padded = text + std::string(16, '\0');
  const ScannedNumber number = qv::mesh::ScanNumber(padded.c_str());
  return {number.isNumber, number.value, static_cast<std::size_t>(number.end - padded.c_str())};
}

::testing::AssertionResult SameFloat(float a, float b) {
  if (std::isnan(a) && std::isnan(b)) return ::testing::AssertionSuccess();
  if (std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " and " << b << " differ";
}

/// A number by itself has the value that the C library gives it.
void ExpectLikeLibrary(const std::string& text) {
  const Scanned scanned = Scan(text);
  EXPECT_TRUE(scanned.isNumber) << text;
  EXPECT_EQ(scanned.length, text.size()) << text;
  EXPECT_TRUE(SameFloat(scanned.value, std::strtof(text.c_str(), nullptr))) << text;
}

std::string Format(const char* format, double value) {
  char text[512];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Repeated(const char* before, std::size_t count, char digit, const char* behind) {
  std::string text(before);
  text.append(count, digit);
  return text.append(behind);
}

double RandomDouble(Random& random) {
  switch (random.Below(4)) {
    case 0:
      return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(random.Next())));
    case 1:
      return random.Between(-1000.0, 1000.0);
    case 2:
      return random.Between(-1.0, 1.0) * std::pow(10.0, random.Between(-48, 40));
    default:
      return random.Between(-100000, 100000);
  }
}

}  // namespace

TEST(ScanNumber_Decimal, CommonFormats_SameAsLibrary) {
  Random random(11);
  const char* formats[] = {"%g",    "%e",    "%f",    "%.9g",  "%.17g", "%.3f",
                           "%.12e", "%.20e", "%.30f", "%+.7e", "%a",    "%.4a"};
  for (int i = 0; i < 60000; ++i) {
    const double value = RandomDouble(random);
    if (!std::isfinite(value)) continue;
    ExpectLikeLibrary(Format(formats[i % std::size(formats)], value));
  }
}

TEST(ScanNumber_Decimal, RandomDigits_SameAsLibrary) {
  Random random(12);
  for (int i = 0; i < 60000; ++i) {
    std::string text = random.Chance(0.3) ? "-" : "";
    const int whole = random.Below(22), fraction = random.Below(22);
    for (int k = 0; k < whole; ++k) text += static_cast<char>('0' + random.Below(10));
    text += '.';
    for (int k = 0; k < fraction; ++k) text += static_cast<char>('0' + random.Below(10));
    if (whole + fraction == 0) text += '7';
    if (random.Chance(0.5)) text += 'e' + std::to_string(random.Between(-60, 45));
    ExpectLikeLibrary(text);
  }
}

TEST(ScanNumber_Decimal, NearMiddleOfFloats_SameAsLibrary) {
  Random random(13);
  for (int i = 0; i < 20000; ++i) {
    const auto low = std::bit_cast<float>(static_cast<std::uint32_t>(random.Next()) & 0x7FFFFFFFU);
    const float high = std::nextafter(low, std::numeric_limits<float>::infinity());
    if (!std::isfinite(high)) continue;
    const double middle = (static_cast<double>(low) + high) / 2;
    ExpectLikeLibrary(Format("%.17g", middle));
    ExpectLikeLibrary(Format("%.18e", middle));
    ExpectLikeLibrary(Format("%.100e", middle));
    ExpectLikeLibrary(Format("%.17g", std::nextafter(middle, 0.0)));
    ExpectLikeLibrary(Format("%.16g", middle));
  }
}

TEST(ScanNumber_Decimal, Limits_InfinityZeroAndDenormals) {
  for (const char* text : {"3.4028234e38",
                           "3.4028235e38",
                           "3.4028235677973366e38",
                           "3.4028236e38",
                           "1e39",
                           "-1e39",
                           "1e400",
                           "-1e9999",
                           "1e-38",
                           "1.17549435e-38",
                           "1e-40",
                           "1.4e-45",
                           "0.7e-45",
                           "0.70064923216240853546186479164495e-45",
                           "0.71e-45",
                           "-1e-46",
                           "1e-400",
                           "0",
                           "-0",
                           "0.0e99999999999999999999",
                           "-0e-99999999999999999999",
                           "1e99999999999999999999",
                           "1e-99999999999999999999",
                           "00000000000000000000000000000000000001.5",
                           "0.00000000000000000000000000000000000000000000000000001e53",
                           "16777217",
                           "16777219",
                           "9007199254740993"}) {
    ExpectLikeLibrary(text);
  }
  // Long runs of digits against the exponent.
  ExpectLikeLibrary(Repeated("1", 300, '0', "e-300"));
  ExpectLikeLibrary(Repeated("0.", 300, '0', "1e301"));
  ExpectLikeLibrary(Repeated("0.", 300, '0', "1e200"));
  ExpectLikeLibrary(Repeated("", 2000, '9', ""));
  ExpectLikeLibrary(Repeated("0.", 2000, '0', "1"));
  ExpectLikeLibrary(Repeated("1.5", 5000, '0', "1"));
}

TEST(ScanNumber_Hexadecimal, RandomDigits_SameAsLibrary) {
  Random random(14);
  const char* digits = "0123456789abcdefABCDEF";
  for (int i = 0; i < 20000; ++i) {
    std::string text = random.Chance(0.5) ? "0x" : "-0X";
    const int whole = random.Below(12), fraction = random.Below(12);
    for (int k = 0; k < whole; ++k) text += digits[random.Below(22)];
    text += '.';
    for (int k = 0; k < fraction; ++k) text += digits[random.Below(22)];
    if (whole + fraction == 0) text += 'C';
    if (random.Chance(0.7))
      text += (random.Chance(0.5) ? 'p' : 'P') + std::to_string(random.Between(-200, 160));
    ExpectLikeLibrary(text);
  }
  ExpectLikeLibrary("0x1p99999999999999999999");
  ExpectLikeLibrary("0x1p-99999999999999999999");
  ExpectLikeLibrary("0x0p99999999999999999999");
}

TEST(ScanNumber_Words, InfinityAndNan_AreNumbers) {
  EXPECT_EQ(Scan("inf").value, std::numeric_limits<float>::infinity());
  EXPECT_EQ(Scan("-INFINITY").value, -std::numeric_limits<float>::infinity());
  EXPECT_EQ(Scan("infx").length, 3U);
  EXPECT_TRUE(Scan("infx").isNumber);
  EXPECT_TRUE(std::isnan(Scan("nan").value));
  EXPECT_TRUE(std::isnan(Scan("NaN(abc_12)").value));
  EXPECT_EQ(Scan("NaN(abc_12)5").length, 11U);
  EXPECT_EQ(Scan("nan()").length, 5U);
  EXPECT_TRUE(Scan("nan()").isNumber);
  EXPECT_TRUE(std::signbit(Scan("-nan").value));
}

TEST(ScanNumber_Prefixes, BeginningsOfNumbers_AreNone) {
  for (const char* text :
       {"",    "+",     "-",    ".",       "-.",     "e5", ".e5",    "1e",   "1e+",      "1.5E-",
        "i",   "in",    "infi", "infinit", "infi 5", "n",  "na",     "nan(", "nan(a-b)", "0x",
        "0x.", "0x.p1", "0x1p", "0x1p+",   "0xg",    "x",  "vertex", "--1",  "+-1",      "1ee5"}) {
    EXPECT_FALSE(Scan(text).isNumber) << text;
  }
}

TEST(ScanNumber_Prefixes, Numbers_EndWhereTheyCannotGoOn) {
  EXPECT_EQ(Scan("1.0-2.0").value, 1.0F);
  EXPECT_EQ(Scan("1.0-2.0").length, 3U);
  EXPECT_EQ(Scan("1.2.3").length, 3U);
  EXPECT_EQ(Scan("1e5.5").length, 3U);
  EXPECT_EQ(Scan("1,5").length, 1U);
  EXPECT_EQ(Scan("7abc").length, 1U);
  EXPECT_EQ(Scan("0x1.8p1.5").length, 7U);
  EXPECT_EQ(Scan("5.").length, 2U);
  EXPECT_EQ(Scan("-.5").value, -0.5F);
  EXPECT_EQ(Scan("12345678").length, 8U);
  EXPECT_EQ(Scan("1234567890123456").length, 16U);
}

TEST(ScanNumber_RandomText, SameAsGrammar) {
  Random random(15);
  const std::string letters = "0011223459..--++eExXpPinfINFtyaA()_ ,g";
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    static const char* starts[] = {"", "", "0x", "inf", "nan(", "1e", "-", "infini", "0x1p", "12345678"};
    text += starts[random.Below(std::size(starts))];
    const int length = random.Below(10);
    for (int k = 0; k < length; ++k)
      text += letters[static_cast<std::size_t>(random.Below(static_cast<int>(letters.size())))];
    std::size_t position = 0;
    float expected = 0;
    const bool isNumber = qv::test::StlReferenceReader::ScanNumber(text, &position, &expected);
    const Scanned scanned = Scan(text);
    EXPECT_EQ(scanned.isNumber, isNumber) << text;
    if (!isNumber || !scanned.isNumber) continue;
    EXPECT_EQ(scanned.length, position) << text;
    EXPECT_TRUE(SameFloat(scanned.value, expected)) << text;
  }
}

TEST(ScanNumber_Locale, DecimalComma_ChangesNothing) {
  const qv::test::DecimalComma locale;
  if (!locale.active()) GTEST_SKIP() << "no locale with a decimal comma here, and localedef cannot make one";
  EXPECT_EQ(Scan("1.5").value, 1.5F);
  EXPECT_EQ(Scan("1.5").length, 3U);
  EXPECT_EQ(Scan("1,5").length, 1U);
  EXPECT_EQ(Scan("1.2345678901234567890123456e3").value, 1234.5678901234567890123456F);
  EXPECT_EQ(Scan("0x1.8p1").value, 3.0F);
}
