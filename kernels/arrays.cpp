#include "kernels/kernels.h"
#include "kernels/lanes.h"

// Plain loops that the compiler turns into vectors: no value depends on its neighbours.
namespace qv::kernels::QV_KERNEL_ISA {

namespace {

void Stretch(float* data, std::ptrdiff_t count, float minimum, float scale, float offset) {
  const double low = minimum, factor = scale, base = offset;
  if (offset == 0) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const float z = data[i], moved = static_cast<float>((z - low) * factor);
      data[i] = Used(z) ? moved : z;
    }
  } else {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const float z = data[i], moved = static_cast<float>((z - low) * factor + base);
      data[i] = Used(z) ? moved : z;
    }
  }
}

void Scale(float* data, std::ptrdiff_t count, double factor) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const float z = data[i], scaled = static_cast<float>(factor * z);
    data[i] = Used(z) ? scaled : z;
  }
}

void Subtract(float* data, std::ptrdiff_t count, double value) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const float z = data[i], moved = static_cast<float>(z - value);
    data[i] = Used(z) ? moved : z;
  }
}

void ReplaceMissing(float* data, std::ptrdiff_t count, float value) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const float z = data[i];
    data[i] = Used(z) ? z : value;
  }
}

/// Out of range gives the lowest integer, whose low byte is 0. A float below 2^31 is an int when truncated.
QV_INLINE std::uint8_t TruncatedByte(float z) {
  const bool inRange = z >= -2147483648.0F && z < 2147483648.0F;
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(inRange ? z : -2147483648.0F));
}

void TruncateToBytes(const float* source, std::uint8_t* destination, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::uint8_t byte = TruncatedByte(source[i]);
    destination[i] = Used(source[i]) ? byte : destination[i];
  }
}

void Threshold(const float* source, std::uint8_t* destination, std::ptrdiff_t count, double threshold,
               std::uint8_t above, std::uint8_t atOrBelow) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const std::uint8_t byte = source[i] > threshold ? above : atOrBelow;
    destination[i] = Used(source[i]) ? byte : destination[i];
  }
}

}  // namespace

extern const ArrayKernels arrays;
const ArrayKernels arrays = {Stretch, Scale, Subtract, ReplaceMissing, TruncateToBytes, Threshold};

}  // namespace qv::kernels::QV_KERNEL_ISA
