#include "formats/memory_tiff.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace qv3d {
namespace {

constexpr std::size_t kMostExpansion = 1500, kAnyBlock = std::size_t{1} << 20;

std::string& LastError() {
  thread_local std::string error;
  return error;
}

int KeepError(TIFF*, void*, const char*, const char* format, va_list arguments) {
  std::array<char, 256> text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  LastError() = text.data();
  return 1;
}

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

}  // namespace

struct MemoryTiff::Calls {
  static MemoryTiff& Self(thandle_t handle) { return *static_cast<MemoryTiff*>(handle); }

  static tmsize_t Read(thandle_t handle, void* to, tmsize_t count) {
    MemoryTiff& self = Self(handle);
    if (count <= 0 || self.at_ >= self.bytes_.size()) return 0;
    const std::size_t got = std::min(static_cast<std::size_t>(count), self.bytes_.size() - self.at_);
    std::memcpy(to, self.bytes_.data() + self.at_, got);
    self.at_ += got;
    return static_cast<tmsize_t>(got);
  }

  static tmsize_t Write(thandle_t handle, void* from, tmsize_t count) {
    MemoryTiff& self = Self(handle);
    const auto bytes = static_cast<std::size_t>(count);
    if (self.bytes_.size() < self.at_ + bytes) self.bytes_.resize(self.at_ + bytes);
    std::memcpy(self.bytes_.data() + self.at_, from, bytes);
    self.at_ += bytes;
    return count;
  }

  static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
    MemoryTiff& self = Self(handle);
    const std::size_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? self.at_ : self.bytes_.size();
    self.at_ = base + offset;
    return self.at_;
  }

  static int Nothing(thandle_t) { return 0; }
  static toff_t Size(thandle_t handle) { return Self(handle).bytes_.size(); }
};

MemoryTiff::MemoryTiff(std::string bytes, const char* mode) : bytes_(std::move(bytes)) {
  LastError().clear();
  TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options, KeepError, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, IgnoreWarning, nullptr);
  if (*mode == 'r') TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(LargestBlock()));
  tiff_ = TIFFClientOpenExt("grid", mode, this, Calls::Read, Calls::Write, Calls::Seek, Calls::Nothing,
                            Calls::Size, nullptr, nullptr, options);
  TIFFOpenOptionsFree(options);
}

MemoryTiff::~MemoryTiff() {
  if (tiff_ != nullptr) TIFFClose(tiff_);
}

std::size_t MemoryTiff::LargestBlock() const {
  return kAnyBlock + kMostExpansion * bytes_.size();
}

std::string MemoryTiff::Close() {
  TIFFClose(tiff_);
  tiff_ = nullptr;
  return std::move(bytes_);
}

std::string TakeTiffError() {
  std::string error = std::move(LastError());
  LastError().clear();
  return error.empty() ? "no reason is told" : error;
}

}  // namespace qv3d
