// Buffers with guard bands: a write outside the buffer is found when the test asks, and at the latest when
// the buffer goes.
#pragma once

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace qv::test {

template <class T>
class Guarded {
 public:
  /// A buffer of `count` elements, all bytes set to a pattern that no result has by chance.
  explicit Guarded(std::size_t count) : count_(count), bytes_((count + 2 * kGuard) * sizeof(T), kPattern) {}
  Guarded(std::size_t count, T value) : Guarded(count) {
    for (std::size_t i = 0; i < count; ++i) data()[i] = value;
  }
  explicit Guarded(const std::vector<T>& values) : Guarded(values.size()) {
    if (!values.empty()) std::memcpy(data(), values.data(), values.size() * sizeof(T));
  }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;
  ~Guarded() { EXPECT_TRUE(Intact()) << "written outside the buffer"; }

  T* data() { return reinterpret_cast<T*>(bytes_.data()) + kGuard; }
  const T* data() const { return reinterpret_cast<const T*>(bytes_.data()) + kGuard; }
  std::size_t size() const { return count_; }
  T& operator[](std::size_t i) { return data()[i]; }
  const T& operator[](std::size_t i) const { return data()[i]; }
  std::vector<T> Values() const { return std::vector<T>(data(), data() + count_); }

  bool Intact() const {
    const std::size_t band = kGuard * sizeof(T);
    for (std::size_t i = 0; i < band; ++i) {
      if (bytes_[i] != kPattern || bytes_[bytes_.size() - 1 - i] != kPattern) return false;
    }
    return true;
  }
  /// True where nothing was written at all.
  bool Untouched() const {
    for (const unsigned char byte : bytes_) {
      if (byte != kPattern) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kGuard = 64;
  static constexpr unsigned char kPattern = 0xA7;
  std::size_t count_;
  std::vector<unsigned char> bytes_;
};

/// Equal bits, element by element: tells -0 from 0, and finds NaNs equal to themselves.
template <class T>
::testing::AssertionResult SameBits(const T* actual, const T* expected, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (std::memcmp(actual + i, expected + i, sizeof(T)) != 0) {
      return ::testing::AssertionFailure()
             << "element " << i << " of " << count << " is " << +actual[i] << ", expected " << +expected[i];
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace qv::test
