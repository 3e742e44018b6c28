#include "formats/samples.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace qv3d {
namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

template <class Number>
double Value(Number number, MissingRule missing) {
  using Limits = std::numeric_limits<Number>;
  if constexpr (std::is_floating_point_v<Number>) {
    if (!std::isfinite(number)) return kNothing;
    if (missing.extremeFloat && (number <= Limits::lowest() || number >= Limits::max())) return kNothing;
  } else if constexpr (std::is_signed_v<Number>) {
    if (missing.lowestInteger && number == Limits::min()) return kNothing;
  }
  return static_cast<double>(number);
}

template <class Number>
void Append(std::string_view bytes, std::size_t count, std::endian order, MissingRule missing,
            std::vector<double>& values) {
  for (std::size_t i = 0; i < count; ++i) {
    char one[sizeof(Number)];
    std::memcpy(one, bytes.data() + i * sizeof(Number), sizeof one);
    if (order != std::endian::native) std::reverse(one, one + sizeof one);
    Number number;
    std::memcpy(&number, one, sizeof number);
    values.push_back(Value(number, missing));
  }
}

}  // namespace

std::size_t BytesOf(SampleType type) {
  switch (type) {
    case SampleType::kUint8:
    case SampleType::kInt8:
      return 1;
    case SampleType::kUint16:
    case SampleType::kInt16:
      return 2;
    case SampleType::kUint32:
    case SampleType::kInt32:
    case SampleType::kFloat:
      return 4;
    case SampleType::kDouble:
      break;
  }
  return 8;
}

const char* NameOf(SampleType type) {
  switch (type) {
    case SampleType::kUint8:
      return "8-bit unsigned integers";
    case SampleType::kInt8:
      return "8-bit integers";
    case SampleType::kUint16:
      return "16-bit unsigned integers";
    case SampleType::kInt16:
      return "16-bit integers";
    case SampleType::kUint32:
      return "32-bit unsigned integers";
    case SampleType::kInt32:
      return "32-bit integers";
    case SampleType::kFloat:
      return "32-bit floats";
    case SampleType::kDouble:
      break;
  }
  return "64-bit floats";
}

void AppendSamples(std::string_view bytes, std::size_t count, SampleType type, std::endian order,
                   MissingRule missing, std::vector<double>& values) {
  // Row by row a grid grows in few steps.
  if (values.capacity() < values.size() + count)
    values.reserve(std::max(values.size() + count, 2 * values.size()));
  switch (type) {
    case SampleType::kUint8:
      return Append<std::uint8_t>(bytes, count, order, missing, values);
    case SampleType::kInt8:
      return Append<std::int8_t>(bytes, count, order, missing, values);
    case SampleType::kUint16:
      return Append<std::uint16_t>(bytes, count, order, missing, values);
    case SampleType::kInt16:
      return Append<std::int16_t>(bytes, count, order, missing, values);
    case SampleType::kUint32:
      return Append<std::uint32_t>(bytes, count, order, missing, values);
    case SampleType::kInt32:
      return Append<std::int32_t>(bytes, count, order, missing, values);
    case SampleType::kFloat:
      return Append<float>(bytes, count, order, missing, values);
    case SampleType::kDouble:
      return Append<double>(bytes, count, order, missing, values);
  }
}

}  // namespace qv3d
