#include "mesh/ply/ply_file.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "mesh/number_scanner.h"
#include "mesh/ply/numbers.h"
#include "tests/support/decimal_prefix.h"
#include "tests/support/fake_diagnostics.h"
#include "tests/support/ply_files.h"
#include "tests/support/random_grid.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::ply::BytesOf;
using qv::ply::FileKind;
using qv::ply::PlyElement;
using qv::ply::PlyFile;
using qv::ply::Type;
using qv::test::kPlyKinds;
using qv::test::PlyWriter;
using qv::test::Random;
using qv::test::TakeMessages;
using qv::test::TemporaryFile;

/// An open file that outlives its name on the disk no longer than the object.
struct Opened {
  explicit Opened(const std::string& bytes)
      : file(bytes, ".ply"), ply(PlyFile::Open(std::fopen(file.name(), "rb"))) {
    TakeMessages();
  }
  TemporaryFile file;
  std::unique_ptr<PlyFile> ply;
};

std::string Others(const PlyElement& element) {
  return element.others.empty() ? "" : std::string(element.others.begin(), element.others.end());
}

template <class T>
T Stored(const std::vector<char>& record, std::size_t offset) {
  T value;
  std::memcpy(&value, record.data() + offset, sizeof value);
  return value;
}

/// The bytes that a value of the file's type has as a type of the record.
std::string Converted(Type from, double value, Type to) {
  char bytes[8] = {};
  qv::ply::WithType(
      from, [&](auto zero) { qv::ply::StoreValue(qv::ply::ConvertValue<decltype(zero)>(value), to, bytes); });
  return std::string(bytes, BytesOf(to));
}

}  // namespace

TEST(PlyFile_Open, Header_Described) {
  const Opened opened(
      "ply\nformat binary_big_endian 1.5\ncomment  made\tfor a  \"test\"\nobj_info x y\ncomment\n"
      "element a 3\nproperty list uchar float l\nproperty string s\nelement b -2\nproperty int16 v\n"
      "property nothing w\nend_header\n");
  ASSERT_NE(opened.ply, nullptr);
  EXPECT_EQ(opened.ply->kind(), FileKind::kBinaryBigEndian);
  EXPECT_EQ(opened.ply->version(), 1.5F);
  EXPECT_EQ(opened.ply->comments(), (std::vector<std::string>{"made for a  \"test\"", ""}));
  EXPECT_EQ(opened.ply->objInfo(), std::vector<std::string>{"x y"});
  ASSERT_EQ(opened.ply->elementCount(), 2);
  const PlyElement& a = *opened.ply->Element(0);
  EXPECT_EQ(a.name, "a");
  EXPECT_EQ(a.recordCount, 3);
  ASSERT_EQ(a.properties.size(), 2U);
  EXPECT_EQ(a.properties[0].kind, qv::ply::PropertyKind::kList);
  EXPECT_EQ(a.properties[0].countExternalType, Type::kUint8);
  EXPECT_EQ(a.properties[0].externalType, Type::kFloat32);
  EXPECT_FALSE(a.properties[0].isWanted);
  EXPECT_EQ(a.properties[1].kind, qv::ply::PropertyKind::kString);
  EXPECT_EQ(a.properties[1].countExternalType, Type::kInt8);
  const PlyElement& b = *opened.ply->Element(1);
  EXPECT_EQ(b.recordCount, 0);
  EXPECT_EQ(b.properties[0].externalType, Type::kInt16);
  EXPECT_EQ(b.properties[1].externalType, Type::kNone);
}

TEST(PlyFile_Requests, Unknown_Warnings) {
  const Opened opened(
      "ply\nformat ascii 1.0\nelement e 1\nproperty int a\nproperty list int int l\nend_header\n1 0\n");
  ASSERT_NE(opened.ply, nullptr);
  EXPECT_FALSE(opened.ply->RequestScalar(0, "b", Type::kInt32, 0));
  EXPECT_FALSE(opened.ply->RequestScalar(0, "l", Type::kInt32, 0));
  EXPECT_FALSE(opened.ply->RequestList(0, "a", {}));
  EXPECT_FALSE(opened.ply->RequestString(0, "a", 0, 1));
  EXPECT_EQ(opened.ply->Element(1), nullptr);
  EXPECT_EQ(opened.ply->Element(-1), nullptr);
  EXPECT_FALSE(opened.ply->KeepOthers("f"));
  EXPECT_FALSE(opened.ply->KeepOthers(7));
  EXPECT_TRUE(opened.ply->KeepOthers("e"));
  EXPECT_EQ(TakeMessages(),
            "Warning:  Can't find property 'b' in element 'e'\n"
            "Warning:  Can't find property 'l' in element 'e'\n"
            "Warning:  Can't find property 'a' in element 'e'\n"
            "Warning:  Can't find property 'a' in element 'e'\n"
            "Warning:  No element with index 1\n"
            "Warning:  No element with index -1\n"
            "ply_get_other_properties: Can't find element 'f'\n"
            "Warning:  No element with index 7\n");
}

TEST(PlyFile_Records, EveryTypeToEveryType) {
  Random random(71);
  for (const FileKind kind : kPlyKinds) {
    for (int from = 1; from <= qv::ply::kTypeCount; ++from) {
      for (int to = 1; to <= qv::ply::kTypeCount; ++to) {
        const auto fileType = static_cast<Type>(from), recordType = static_cast<Type>(to);
        const char* names[] = {"", "char", "short", "int", "uchar", "ushort", "uint", "float", "double"};
        PlyWriter file(kind);
        file.Line("element e 20").Line(std::string("property ") + names[from] + " a");
        file.Line(std::string("property list short ") + names[from] + " l").Line("end_header");
        std::vector<double> values;
        for (int i = 0; i < 20 * 4; ++i) {
          const bool isWhole = fileType != Type::kFloat32 && fileType != Type::kFloat64;
          values.push_back(isWhole ? random.Between(from >= 4 ? 0 : -100, 100)
                                   : random.Between(-4000000, 4000000) / 4.0);
        }
        for (std::size_t i = 0; i < values.size(); i += 4) {
          file.Value(fileType, values[i]).Value(Type::kInt16, 3);
          for (std::size_t k = 1; k < 4; ++k) file.Value(fileType, values[i + k]);
          file.EndRecord();
        }
        const Opened opened(file.bytes());
        ASSERT_NE(opened.ply, nullptr);
        opened.ply->RequestScalar(0, "a", recordType, 5);  // nothing need be aligned
        opened.ply->RequestList(0, "l", {recordType, 16, 3, Type::kFloat64, 41});
        std::vector<char> records(20 * 49);
        ASSERT_EQ(opened.ply->ReadRecords(0, records.data(), 49, 20), 20);
        for (std::size_t i = 0; i < 20; ++i) {
          const char* record = records.data() + 49 * i;
          for (std::size_t k = 0; k < 4; ++k) {
            const std::string expected = Converted(fileType, values[4 * i + k], recordType);
            const std::size_t offset = k == 0 ? 5 : 16 + (k - 1) * BytesOf(recordType);
            ASSERT_EQ(std::string(record + offset, expected.size()), expected)
                << from << " to " << to << " in " << qv::test::PlyKindName(kind) << ", value "
                << values[4 * i + k];
          }
          double length = 0;
          std::memcpy(&length, record + 41, sizeof length);
          ASSERT_EQ(length, 3.0);
        }
      }
    }
  }
}

TEST(PlyFile_Records, ListsAndStrings_AsMuchAsThereIsRoomFor) {
  for (const FileKind kind : kPlyKinds) {
    PlyWriter file(kind);
    file.Line("element e 2")
        .Line("property string s")
        .Line("property list uchar short l")
        .Line("property int a");
    file.Line("end_header");
    file.String("long string").Value(Type::kUint8, 5);
    for (int k = 0; k < 5; ++k) file.Value(Type::kInt16, k + 1);
    file.Value(Type::kInt32, 7).EndRecord();
    file.String("ab").Value(Type::kUint8, 1).Value(Type::kInt16, 9).Value(Type::kInt32, 8).EndRecord();
    const Opened opened(file.bytes());
    opened.ply->RequestString(0, "s", 0, 5);
    opened.ply->RequestList(0, "l", {Type::kInt16, 8, 3, Type::kUint16, 6});
    opened.ply->RequestScalar(0, "a", Type::kInt32, 16);
    std::vector<char> record(20, 'x');
    ASSERT_EQ(opened.ply->ReadRecords(0, record.data(), 20, 1), 1);
    EXPECT_STREQ(record.data(), "long");
    EXPECT_EQ(Stored<std::uint16_t>(record, 6), 5);
    EXPECT_EQ(Stored<std::int16_t>(record, 12), 3);
    EXPECT_EQ(Stored<std::int32_t>(record, 16), 7);
    ASSERT_EQ(opened.ply->ReadRecords(0, record.data(), 20, 1), 1);
    EXPECT_STREQ(record.data(), "ab");
    EXPECT_EQ(Stored<std::int16_t>(record, 8), 9);
    EXPECT_EQ(Stored<std::int16_t>(record, 10), 0);
    EXPECT_EQ(Stored<std::int32_t>(record, 16), 8);
  }
}

TEST(PlyFile_Records, StoredLengthDecidesWhatIsKept) {
  const Opened opened("ply\nformat ascii 1.0\nelement e 1\nproperty list int int l\nend_header\n200 1 2 3\n");
  opened.ply->RequestList(0, "l", {Type::kInt32, 4, 3, Type::kInt8, 0});
  std::vector<char> record(16);
  ASSERT_EQ(opened.ply->ReadRecords(0, record.data(), 16, 1), 1);
  EXPECT_EQ(Stored<std::int8_t>(record, 0), static_cast<std::int8_t>(200));
  EXPECT_EQ(Stored<std::int32_t>(record, 4), 0);
}

TEST(PlyFile_Records, BadInternalType_EndsProcess) {
  for (const FileKind kind : kPlyKinds) {
    PlyWriter file(kind);
    file.Line("element e 1").Line("property int a").Line("property list uchar int l").Line("end_header");
    file.Value(Type::kInt32, 7).Value(Type::kUint8, 1).Value(Type::kInt32, 7).EndRecord();
    char record[16];
    const auto ends = [&](PlyFile& ply) {
      const bool ended = qv::test::EndsProcess([&] { ply.ReadRecords(0, record, 16, 1); });
      return std::string(ended ? "ended: " : "") + TakeMessages();
    };
    Opened scalar(file.bytes()), count(file.bytes()), item(file.bytes());
    scalar.ply->RequestScalar(0, "a", static_cast<Type>(9), 0);
    EXPECT_EQ(ends(*scalar.ply), "ended: store_item: bad type = 9\n");
    count.ply->RequestList(0, "l", {Type::kInt32, 0, 1, static_cast<Type>(-1), 8});
    EXPECT_EQ(ends(*count.ply), "ended: store_item: bad type = -1\n");
    item.ply->RequestList(0, "l", {Type::kNone, 0, 1, Type::kUint8, 8});
    EXPECT_EQ(ends(*item.ply), "ended: store_item: bad type = 0\n");
  }
}

TEST(PlyFile_Others, KeptAsTheyStandInFile) {
  const Opened text(
      "ply\nformat ascii 1.0\nelement e 2\nproperty int a\nproperty list uchar int l\nproperty int b\n"
      "property string s\nend_header\n1  2 3 4   5 \"a b\"\n6\n");
  text.ply->RequestScalar(0, "b", Type::kInt32, 0);
  text.ply->KeepOthers(0);
  std::int32_t b[2];
  ASSERT_EQ(text.ply->ReadRecords(0, b, 4, 2), 2);
  EXPECT_EQ(b[0], 5);
  EXPECT_EQ(b[1], 0);
  EXPECT_EQ(Others(*text.ply->Element(0)), "1 2 3 4 \"a b\" \n6 \n");

  const Opened binary(
      "ply\nformat binary_big_endian 1.0\nelement e 3\nproperty char a\nproperty list uchar char l\nproperty "
      "char b\n"
      "property char c\nend_header\n\1\2ABxy\2\2CDzw\3\1E");
  binary.ply->RequestScalar(0, "b", Type::kInt32, 0);
  binary.ply->KeepOthers("e");
  std::int32_t values[3];
  ASSERT_EQ(binary.ply->ReadRecords(0, values, 4, 3), 3);
  EXPECT_EQ(values[1], 'z');
  EXPECT_EQ(Others(*binary.ply->Element(0)), "\1\2ABy\2\2CDw\3\1E");

  const Opened whole(
      "ply\nformat binary_little_endian 1.0\nelement e 3\nproperty short a\nend_header\nABCDE");
  whole.ply->KeepOthers(0);
  EXPECT_TRUE(whole.ply->PassElement(0));
  EXPECT_EQ(Others(*whole.ply->Element(0)), "ABCDE");
}

TEST(PlyFile_Numbers, DecimalPrefix_LikeStrtod) {
  Random random(72);
  const std::string likely = "0123456789.-+eExXpPnaifty()";
  for (int round = 0; round < 200000; ++round) {
    std::string word;
    for (int length = random.Between(0, 14); length > 0; --length)
      word += likely[static_cast<std::size_t>(random.Chance(0.6) ? random.Below(12) : random.Below(27))];
    const double expected = qv::test::DecimalPrefix(word), actual = qv::ply::DecimalOf(word);
    ASSERT_TRUE((std::isnan(expected) && std::isnan(actual)) ||
                std::memcmp(&expected, &actual, sizeof actual) == 0)
        << word << ": " << actual << ", expected " << expected;
  }
}

TEST(PlyFile_Numbers, IntegerPrefix_LikeStrtolWithin32Bits) {
  EXPECT_EQ(qv::ply::IntegerOf(" \t\v-2147483648x"), INT32_MIN);
  EXPECT_EQ(qv::ply::IntegerOf("2147483648"), INT32_MAX);
  EXPECT_EQ(qv::ply::IntegerOf("- 1"), 0);
  EXPECT_EQ(qv::ply::IntegerOf(""), 0);
  EXPECT_EQ(qv::ply::UnsignedOf("4294967296"), UINT32_MAX);
  EXPECT_EQ(qv::ply::UnsignedOf("-4294967296"), UINT32_MAX);
  EXPECT_EQ(qv::ply::UnsignedOf("+12-"), 12U);
  Random random(73);
  for (int round = 0; round < 20000; ++round) {
    const auto value = static_cast<std::int64_t>(random.Next()) >> random.Below(64);
    const std::string word = std::to_string(value);
    EXPECT_EQ(qv::ply::IntegerOf(word),
              std::min<std::int64_t>(std::max<std::int64_t>(value, INT32_MIN), INT32_MAX));
  }
}
