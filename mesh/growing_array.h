// An array that grows by realloc: big blocks move by remapping their pages, without a copy, and a failed
// allocation is a result instead of an exception.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <utility>

#include "platform/large_pages.h"

namespace qv::mesh {

template <class T>
class GrowingArray {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  GrowingArray() = default;
  GrowingArray(GrowingArray&& other) noexcept { Swap(other); }
  GrowingArray& operator=(GrowingArray&& other) noexcept {
    GrowingArray(std::move(other)).Swap(*this);
    return *this;
  }
  GrowingArray(const GrowingArray&) = delete;
  GrowingArray& operator=(const GrowingArray&) = delete;
  ~GrowingArray() { std::free(items_); }

  T* data() { return items_; }
  const T* data() const { return items_; }
  std::size_t size() const { return size_; }
  std::size_t capacity() const { return capacity_; }
  bool empty() const { return size_ == 0; }
  T& operator[](std::size_t i) { return items_[i]; }
  const T& operator[](std::size_t i) const { return items_[i]; }
  T* begin() { return items_; }
  T* end() { return items_ + size_; }
  const T* begin() const { return items_; }
  const T* end() const { return items_ + size_; }

  /// Makes room for `count` elements in all, half as much again as before at least. False when memory runs
  /// out; the elements are kept.
  [[nodiscard]] bool Reserve(std::size_t count) {
    if (count <= capacity_) return true;
    const std::size_t generous = capacity_ + capacity_ / 2;
    return (generous > count && Reallocate(generous)) || Reallocate(count);
  }

  /// Lengthens the array by elements without a value and returns the first of them; null when memory runs
  /// out.
  [[nodiscard]] T* Extend(std::size_t count) {
    if (count > kMaximum - size_ || !Reserve(size_ + count)) return nullptr;
    T* added = items_ + size_;
    size_ += count;
    return added;
  }

  [[nodiscard]] bool Append(const T& item) {
    if (size_ == capacity_ && (size_ == kMaximum || !Reserve(size_ + 1))) return false;
    items_[size_++] = item;
    return true;
  }

  void Truncate(std::size_t count) { size_ = count; }

 private:
  static constexpr std::size_t kMaximum = PTRDIFF_MAX / sizeof(T);

  bool Reallocate(std::size_t count) {
    if (count > kMaximum) return false;
    const std::size_t bytes = platform::WholeLargePages(count * sizeof(T));
    void* moved = std::realloc(items_, bytes);
    if (moved == nullptr) return false;
    platform::PreferLargePages(moved, bytes);
    items_ = static_cast<T*>(moved);
    capacity_ = bytes / sizeof(T);
    return true;
  }

  void Swap(GrowingArray& other) {
    std::swap(items_, other.items_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

  T* items_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace qv::mesh
