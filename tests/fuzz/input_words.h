// Takes arguments from the bytes of a fuzz input. Past the end everything is 0.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qv::test {

class InputWords {
 public:
  InputWords(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  std::size_t Left() const { return size_; }

  std::uint8_t Byte() {
    std::uint8_t byte = 0;
    Take(&byte, 1);
    return byte;
  }

  int Int() {
    std::int32_t value = 0;
    Take(&value, sizeof value);
    return value;
  }

  double Double() {
    double value = 0;
    Take(&value, sizeof value);
    return value;
  }

  /// A number in three bytes. Most are small and coarse, so that searches come upon equal ones, and any
  /// double can be had.
  double Number() {
    const std::uint8_t kind = Byte();
    if (kind < 160) return static_cast<double>(static_cast<std::int8_t>(kind)) / 4 + 5;
    if (kind < 220) return std::ldexp(static_cast<std::int8_t>(Byte()), (kind - 160) / 4 - 7);
    if (kind < 240) return std::ldexp(static_cast<std::int8_t>(Byte()), Byte() * 8 - 1024);
    return Double();
  }

 private:
  void Take(void* to, std::size_t count) {
    if (count > size_) {
      size_ = 0;
      return;
    }
    std::memcpy(to, data_, count);
    data_ += count;
    size_ -= count;
  }

  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace qv::test
