// Work memory of one call: from the heap, released at the end of the scope, never throwing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace qv::filters {

/// An uninitialised array that starts on a cache line. False where it could not be had.
template <class T>
class Scratch {
  static_assert(std::is_trivial_v<T>);

 public:
  explicit Scratch(std::size_t count) {
    constexpr std::size_t kLine = 64;
    if (count > (PTRDIFF_MAX - kLine) / sizeof(T)) return;
    block_ = std::malloc(count * sizeof(T) + kLine);
    const auto address = reinterpret_cast<std::uintptr_t>(block_);
    if (block_ != nullptr) data_ = reinterpret_cast<T*>((address + kLine - 1) / kLine * kLine);
  }
  ~Scratch() { std::free(block_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  T* get() const { return data_; }
  T& operator[](std::ptrdiff_t i) const { return data_[i]; }

 private:
  void* block_ = nullptr;
  T* data_ = nullptr;
};

}  // namespace qv::filters
