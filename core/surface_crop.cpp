#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "exports/QV_3D.h"

int QV_CALL CropSurface(const void* source, void* destination, int firstColumn, int firstRow, int width,
                        int height, int cropWidth, int cropHeight) {
  const std::int64_t columnBegin = std::max(firstColumn, 0);
  const std::int64_t columnEnd = std::min<std::int64_t>(width, std::int64_t{firstColumn} + cropWidth);
  const std::int64_t rowBegin = std::max(firstRow, 0);
  const std::int64_t rowEnd = std::min<std::int64_t>(height, std::int64_t{firstRow} + cropHeight);
  if (columnBegin >= columnEnd) return 1;

  constexpr std::size_t kSampleBytes = 4;
  const auto rowBytes = static_cast<std::size_t>(columnEnd - columnBegin) * kSampleBytes;
  const auto* from = static_cast<const std::byte*>(source);
  auto* to = static_cast<std::byte*>(destination);
  for (std::int64_t row = rowBegin; row < rowEnd; ++row, to += rowBytes) {
    std::memcpy(to, from + static_cast<std::size_t>(row * width + columnBegin) * kSampleBytes, rowBytes);
  }
  return 1;  // on every path: callers rely on it
}
