#include "mesh/ply/types.h"

namespace qv::ply {
namespace {

template <class From, bool kReversed, class To>
void CopyColumn(const char* source, std::size_t sourceStride, char* target, std::size_t targetStride,
                std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const To value = ConvertValue<To>(LoadValue<From, kReversed>(source + i * sourceStride));
    std::memcpy(target + i * targetStride, &value, sizeof value);
  }
}

}  // namespace

Type TypeOfName(std::string_view name) {
  struct Name {
    std::string_view name;
    Type type;
  };
  constexpr Name kNames[] = {
      {"int8", Type::kInt8},       {"char", Type::kInt8},     {"int16", Type::kInt16},
      {"short", Type::kInt16},     {"int32", Type::kInt32},   {"int", Type::kInt32},
      {"uint8", Type::kUint8},     {"uchar", Type::kUint8},   {"uint16", Type::kUint16},
      {"ushort", Type::kUint16},   {"uint32", Type::kUint32}, {"uint", Type::kUint32},
      {"float32", Type::kFloat32}, {"float", Type::kFloat32}, {"float64", Type::kFloat64},
      {"double", Type::kFloat64},
  };
  for (const Name& known : kNames) {
    if (known.name == name) return known.type;
  }
  return Type::kNone;
}

ColumnCopy FindColumnCopy(Type from, bool reversed, Type to) {
  return WithType(from, [=](auto source) {
    return WithType(to, [=](auto target) -> ColumnCopy {
      using From = decltype(source);
      using To = decltype(target);
      return reversed ? CopyColumn<From, true, To> : CopyColumn<From, false, To>;
    });
  });
}

}  // namespace qv::ply
