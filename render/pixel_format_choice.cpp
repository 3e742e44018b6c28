#include "render/pixel_format_choice.h"

#include <memory>
#include <new>

namespace qv::render {

namespace {

using platform::PixelFormat;
using platform::PixelFormats;

bool HasFlags(const PixelFormat& format, unsigned flags) {
  return (format.flags & flags) == flags;
}

/// Indices of formats, in enumeration order.
class IndexList {
 public:
  /// With no room for the indices the list stays empty.
  explicit IndexList(int capacity) : indices_(capacity > 0 ? new (std::nothrow) int[capacity] : nullptr) {}
  void Add(int index) {
    if (indices_) indices_[size_++] = index;
  }
  bool Empty() const { return size_ == 0; }
  const int* begin() const { return indices_.get(); }
  const int* end() const { return indices_.get() + size_; }

 private:
  std::unique_ptr<int[]> indices_;
  int size_ = 0;
};

struct WindowFormats {
  explicit WindowFormats(int count) : accelerated(count), software(count) {}
  IndexList accelerated, software;
};

bool SuitsWindows(const PixelFormat& format) {
  return HasFlags(format, platform::kDrawToWindow | platform::kDoubleBuffer | platform::kSupportOpenGL) &&
         format.depthBits != 0 && format.pixelType == platform::kTypeRgba;
}

bool IsDriverFormat(const PixelFormat& format) {
  return !HasFlags(format, platform::kGenericFormat);
}

void ListWindowFormats(PixelFormats& device, int count, WindowFormats* lists) {
  for (int index = 1; index <= count; ++index) {
    PixelFormat format;
    device.Describe(index, &format);
    if (!SuitsWindows(format)) continue;
    const bool accelerated = IsDriverFormat(format) || HasFlags(format, platform::kGenericAccelerated);
    (accelerated ? lists->accelerated : lists->software).Add(index);
  }
}

struct Choice {
  int index = -1;
  int colorBits = 0;
  int depthBits = 0;
  bool driver = false;

  /// Most colour bits win, then most depth bits, then the first.
  bool Surpassed(const PixelFormat& format) const {
    return format.colorBits > colorBits || (format.colorBits == colorBits && format.depthBits > depthBits);
  }
};

/// A driver's format, once chosen, is not given up for a generic accelerated one. In a list of software
/// formats the question does not arise.
Choice ChooseFrom(PixelFormats& device, const IndexList& indices) {
  Choice best;
  for (const int index : indices) {
    PixelFormat format;
    device.Describe(index, &format);
    if (!best.Surpassed(format) || (best.driver && !IsDriverFormat(format))) continue;
    best = {index, format.colorBits, format.depthBits, IsDriverFormat(format)};
  }
  return best;
}

void ShowNotFound(PixelFormats& device) {
  device.ShowError("Could not retrieve software pixel format!", "PixelFormat Error");
}

int SetFormat(PixelFormats& device, int index) {
  PixelFormat format;
  device.Describe(index, &format);
  return device.Set(index) ? index : -1;
}

bool SuitsBitmaps(const PixelFormat& format) {
  return !HasFlags(format, platform::kNeedPalette) && format.colorBits == 24 && format.redBits == 8 &&
         format.greenBits == 8 && format.blueBits == 8 &&
         HasFlags(format, platform::kDrawToBitmap | platform::kSupportOpenGL) &&
         format.pixelType == platform::kTypeRgba;
}

/// The first format that suits, or 0. The next format is described before the bound is tested, so the device
/// is asked once for a format beyond its last when none suits.
int FindBitmapFormat(PixelFormats& device, int count, PixelFormat format) {
  for (int index = 1; index <= count;) {
    if (SuitsBitmaps(format)) return index;
    ++index;
    device.Describe(index, &format);
  }
  return 0;
}

}  // namespace

int ChooseWindowFormat(PixelFormats& device, std::uint8_t preferAccelerated) {
  const int count = device.Count();
  WindowFormats lists(count);
  ListWindowFormats(device, count, &lists);
  Choice best;
  if (preferAccelerated == 1 && !lists.accelerated.Empty()) best = ChooseFrom(device, lists.accelerated);
  if (best.index == -1) best = ChooseFrom(device, lists.software);
  if (best.index == -1) {
    ShowNotFound(device);
    return -1;
  }
  return SetFormat(device, best.index);
}

int ChooseBitmapFormat(PixelFormats& device) {
  PixelFormat first;
  const int count = device.Describe(1, &first);
  if (count == 0) return 0;
  const int chosen = FindBitmapFormat(device, count, first);
  // Never so: "none" is 0 here, and ends as -1 because a device refuses format 0. Kept: hosts rely on the
  // silence.
  if (chosen == -1) ShowNotFound(device);
  return SetFormat(device, chosen);
}

}  // namespace qv::render
