// The foreign interface behind the choice of a pixel format: what a device context offers, and the one
// message box.
#pragma once

namespace qv::platform {

/// The part of a pixel-format descriptor that the choice reads. All zero where a format could not be
/// described.
struct PixelFormat {
  unsigned flags = 0;
  unsigned char pixelType = 0;
  unsigned char colorBits = 0, redBits = 0, greenBits = 0, blueBits = 0;
  unsigned char depthBits = 0;
};

// The flags of a descriptor, by the names and values that the Windows headers give them.
inline constexpr unsigned kDoubleBuffer = 0x00000001;
inline constexpr unsigned kDrawToWindow = 0x00000004;
inline constexpr unsigned kDrawToBitmap = 0x00000008;
inline constexpr unsigned kSupportOpenGL = 0x00000020;
inline constexpr unsigned kGenericFormat = 0x00000040;
inline constexpr unsigned kNeedPalette = 0x00000080;
inline constexpr unsigned kGenericAccelerated = 0x00001000;
inline constexpr unsigned char kTypeRgba = 0;

/// The pixel formats of one device context. Indices count from 1.
class PixelFormats {
 public:
  virtual int Count() = 0;
  /// Describes a format; returns the number of formats, or 0 when it cannot be described.
  virtual int Describe(int index, PixelFormat* format) = 0;
  /// Gives the device context this format, which is the one described last.
  virtual bool Set(int index) = 0;
  virtual void ShowError(const char* text, const char* title) = 0;

 protected:
  ~PixelFormats() = default;
};

/// Those of a Windows device context (HDC). On other platforms a device without formats, whose error messages
/// go to the standard error stream.
class DevicePixelFormats final : public PixelFormats {
 public:
  explicit DevicePixelFormats(void* dc) : dc_(dc) {}
  int Count() override;
  int Describe(int index, PixelFormat* format) override;
  bool Set(int index) override;
  void ShowError(const char* text, const char* title) override;

 private:
  [[maybe_unused]] void* dc_;
  [[maybe_unused]] alignas(
      4) unsigned char described_[40] = {};  ///< the descriptor that Describe filled last
};

}  // namespace qv::platform
