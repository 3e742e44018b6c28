// Numbers in binary files.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace qv3d {

enum class SampleType { kUint8, kInt8, kUint16, kInt16, kUint32, kInt32, kFloat, kDouble };

std::size_t BytesOf(SampleType type);
const char* NameOf(SampleType type);

/// Which numbers stand for a sample that was not measured. NaN and infinity always do.
struct MissingRule {
  bool lowestInteger = false;  ///< the smallest number of a signed type
  bool extremeFloat = false;   ///< the largest and the smallest finite number of a floating-point type
};

/// Appends `count` numbers of the given type and order, which must be there, to the values.
void AppendSamples(std::string_view bytes, std::size_t count, SampleType type, std::endian order,
                   MissingRule missing, std::vector<double>& values);

/// A number out of bytes that must be there.
template <class Number>
Number LoadLittle(std::string_view bytes, std::size_t at) {
  static_assert(std::endian::native == std::endian::little,
                "files are little-endian, as is every host so far");
  Number number;
  std::memcpy(&number, bytes.data() + at, sizeof number);
  return number;
}

/// Appends a number in the order of Intel's processors.
template <class Number>
void StoreLittle(std::string& bytes, Number number) {
  static_assert(std::endian::native == std::endian::little,
                "files are little-endian, as is every host so far");
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace qv3d
