#include "mesh/ply/records.h"

#include <algorithm>
#include <cstdint>

#include "mesh/ply/diagnostics.h"

namespace qv::ply {

std::size_t KeptItems(const PlyProperty& list, std::size_t count) {
  if (list.kind == PropertyKind::kString)
    return std::min(count, list.room - std::min<std::size_t>(list.room, 1));
  const std::size_t seen = WithType(list.countInternalType, [=](auto zero) {
    const auto stored = ConvertValue<decltype(zero)>(static_cast<std::uint32_t>(count));
    return stored > 0 ? std::min(count, static_cast<std::size_t>(stored)) : 0;
  });
  return std::min(seen, list.room);
}

void CheckInternalType(Type type) {
  if (!IsType(type)) EndForType("store_item", type);
}

}  // namespace qv::ply
