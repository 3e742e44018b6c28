// The scalar types of PLY files, and what becomes of a value of one type where it is stored as another.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "core/samples.h"

namespace qv::ply {

/// The numbers appear in messages. kNone is what an unknown name gives: it can be declared but not read.
enum class Type : int {
  kNone = 0,
  kInt8 = 1,
  kInt16 = 2,
  kInt32 = 3,
  kUint8 = 4,
  kUint16 = 5,
  kUint32 = 6,
  kFloat32 = 7,
  kFloat64 = 8,
};
inline constexpr int kTypeCount = 8;

constexpr bool IsType(Type type) {
  return static_cast<int>(type) >= 1 && static_cast<int>(type) <= kTypeCount;
}

/// 0 for what is no type.
constexpr std::size_t BytesOf(Type type) {
  constexpr std::size_t kBytes[kTypeCount + 1] = {0, 1, 2, 4, 1, 2, 4, 4, 8};
  return IsType(type) ? kBytes[static_cast<int>(type)] : 0;
}

/// Each type has two names.
Type TypeOfName(std::string_view name);

/// A value as another type. Whole numbers keep their low bits; what is no whole number is truncated, and out
/// of range becomes the lowest int, as the processor's conversion has it.
template <class To, class From>
To ConvertValue(From value) {
  if constexpr (std::is_floating_point_v<To> || !std::is_floating_point_v<From>) {
    return static_cast<To>(value);
  } else if constexpr (std::is_same_v<To, std::uint32_t>) {
    const double wide = value;
    return wide >= 0 && wide < 4294967296.0 ? static_cast<To>(wide) : static_cast<To>(TruncateToInt(wide));
  } else {
    return static_cast<To>(TruncateToInt(value));
  }
}

/// Calls `body` with a value-initialised object of the type, which must be one.
template <class Body>
auto WithType(Type type, Body body) {
  switch (type) {
    case Type::kInt8:
      return body(std::int8_t{});
    case Type::kInt16:
      return body(std::int16_t{});
    case Type::kInt32:
      return body(std::int32_t{});
    case Type::kUint8:
      return body(std::uint8_t{});
    case Type::kUint16:
      return body(std::uint16_t{});
    case Type::kUint32:
      return body(std::uint32_t{});
    case Type::kFloat32:
      return body(float{});
    default:
      return body(double{});
  }
}

/// Stores a value as a type, at any address.
template <class From>
void StoreValue(From value, Type type, char* target) {
  WithType(type, [=](auto zero) {
    const auto converted = ConvertValue<decltype(zero)>(value);
    std::memcpy(target, &converted, sizeof converted);
  });
}

/// A value from a file, at any address, its bytes reversed if need be.
template <class T, bool kReversed>
T LoadValue(const char* source) {
  T value;
  if constexpr (!kReversed || sizeof(T) == 1) {
    std::memcpy(&value, source, sizeof value);
  } else if constexpr (sizeof(T) == 2) {
    std::uint16_t bits;
    std::memcpy(&bits, source, sizeof bits);
    value = std::bit_cast<T>(__builtin_bswap16(bits));
  } else if constexpr (sizeof(T) == 4) {
    std::uint32_t bits;
    std::memcpy(&bits, source, sizeof bits);
    value = std::bit_cast<T>(__builtin_bswap32(bits));
  } else {
    std::uint64_t bits;
    std::memcpy(&bits, source, sizeof bits);
    value = std::bit_cast<T>(__builtin_bswap64(bits));
  }
  return value;
}

/// Copies values that lie at equal distances (0 repeats the first) to equal distances, from one type to
/// another.
using ColumnCopy = void (*)(const char* source, std::size_t sourceStride, char* target,
                            std::size_t targetStride, std::size_t count);
ColumnCopy FindColumnCopy(Type from, bool reversed, Type to);

}  // namespace qv::ply
