#include "render/pixel_format_choice.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "tests/support/fake_diagnostics.h"

namespace {

using namespace qv::platform;  // NOLINT: the flags
using qv::render::ChooseBitmapFormat;
using qv::render::ChooseWindowFormat;

/// A made-up device: its formats in order, and what happened to it.
class FakeDevice final : public PixelFormats {
 public:
  explicit FakeDevice(std::vector<PixelFormat> formats) : formats_(std::move(formats)) {}
  int Count() override { return Size(); }
  int Describe(int index, PixelFormat* format) override {
    described.push_back(index);
    const bool known = index >= 1 && index <= Size();
    *format = known ? formats_[static_cast<std::size_t>(index - 1)] : PixelFormat{};
    return known ? Size() : 0;
  }
  bool Set(int index) override {
    EXPECT_EQ(described.back(), index) << "a format is set right after it was described";
    set.push_back(index);
    return accepts && index >= 1 && index <= Size();
  }
  void ShowError(const char* text, const char* title) override {
    messages.push_back(std::string(title) + ": " + text);
  }

  bool accepts = true;
  std::vector<int> described, set;
  std::vector<std::string> messages;

 private:
  int Size() const { return static_cast<int>(formats_.size()); }
  std::vector<PixelFormat> formats_;
};

constexpr unsigned kWindow = kDrawToWindow | kDoubleBuffer | kSupportOpenGL;
constexpr unsigned kBitmap = kDrawToBitmap | kSupportOpenGL;
const std::vector<std::string> kMessage = {"PixelFormat Error: Could not retrieve software pixel format!"};

PixelFormat Format(unsigned flags, int colorBits, int depthBits) {
  PixelFormat format;
  format.flags = flags;
  format.colorBits = static_cast<unsigned char>(colorBits);
  format.depthBits = static_cast<unsigned char>(depthBits);
  return format;
}
PixelFormat Driver(int colorBits, int depthBits) {
  return Format(kWindow, colorBits, depthBits);
}
PixelFormat Software(int colorBits, int depthBits) {
  return Format(kWindow | kGenericFormat, colorBits, depthBits);
}
PixelFormat GenericAccelerated(int colorBits, int depthBits) {
  return Format(kWindow | kGenericFormat | kGenericAccelerated, colorBits, depthBits);
}
PixelFormat Bitmap24() {
  PixelFormat format = Format(kBitmap, 24, 0);
  format.redBits = format.greenBits = format.blueBits = 8;
  return format;
}

int ChosenWindow(const std::vector<PixelFormat>& formats, std::uint8_t preferAccelerated) {
  FakeDevice device(formats);
  const int chosen = ChooseWindowFormat(device, preferAccelerated);
  EXPECT_EQ(device.set, chosen == -1 ? std::vector<int>{} : std::vector<int>{chosen});
  EXPECT_EQ(device.messages, chosen == -1 ? kMessage : std::vector<std::string>{});
  return chosen;
}

TEST(ChooseWindowFormat, EqualAccelerated_TheFirst) {
  EXPECT_EQ(ChosenWindow({Driver(32, 24), Driver(32, 24)}, 1), 1);
  EXPECT_EQ(ChosenWindow({GenericAccelerated(32, 24), GenericAccelerated(32, 24)}, 1), 1);
}

TEST(ChooseWindowFormat, MoreColorBits_BeatMoreDepth) {
  EXPECT_EQ(ChosenWindow({Driver(24, 32), Driver(32, 16), Driver(24, 32)}, 1), 2);
  EXPECT_EQ(ChosenWindow({Software(24, 32), Software(32, 16), Software(24, 32)}, 0), 2);
}

TEST(ChooseWindowFormat, EqualColorBits_MoreDepth) {
  EXPECT_EQ(ChosenWindow({Driver(32, 16), Driver(32, 24), Driver(32, 16)}, 1), 2);
  EXPECT_EQ(ChosenWindow({Software(32, 16), Software(32, 24), Software(32, 24)}, 0), 2);
}

TEST(ChooseWindowFormat, DriverFormat_NotGivenUpForAGenericOne) {
  EXPECT_EQ(ChosenWindow({Driver(24, 16), GenericAccelerated(32, 24)}, 1), 1);
  EXPECT_EQ(ChosenWindow({Driver(24, 16), GenericAccelerated(24, 24)}, 1), 1);
  EXPECT_EQ(ChosenWindow({Driver(24, 16), GenericAccelerated(32, 24), Driver(32, 16)}, 1), 3);
}

TEST(ChooseWindowFormat, GenericFormatFirst_GivenUpForABetterDriverFormatOnly) {
  EXPECT_EQ(ChosenWindow({GenericAccelerated(24, 24), Driver(32, 16)}, 1), 2);
  EXPECT_EQ(ChosenWindow({GenericAccelerated(32, 24), Driver(24, 24)}, 1), 1);
  EXPECT_EQ(ChosenWindow({GenericAccelerated(32, 24), GenericAccelerated(32, 32)}, 1), 2);
}

TEST(ChooseWindowFormat, Accelerated_OnlyWherePreferred) {
  const std::vector<PixelFormat> formats = {Software(32, 32), Driver(16, 16)};
  EXPECT_EQ(ChosenWindow(formats, 1), 2);
  EXPECT_EQ(ChosenWindow(formats, 0), 1);
}

TEST(ChooseWindowFormat, PreferenceOtherThanOne_IsNone) {
  for (const std::uint8_t value : {2, 3, 0x81, 0xFF}) {
    EXPECT_EQ(ChosenWindow({Software(32, 32), Driver(16, 16)}, value), 1);
  }
}

TEST(ChooseWindowFormat, BothListsInOneOrder_TheIndicesAreTheDevices) {
  EXPECT_EQ(ChosenWindow({Format(0, 32, 32), Software(16, 16), Driver(24, 16), Software(24, 24)}, 0), 4);
  EXPECT_EQ(ChosenWindow({Format(0, 32, 32), Software(16, 16), Driver(24, 16), Software(24, 24)}, 1), 3);
}

TEST(ChooseWindowFormat, NothingAccelerated_SoftwareInstead) {
  EXPECT_EQ(ChosenWindow({Software(16, 16), Software(24, 16)}, 1), 2);
}

TEST(ChooseWindowFormat, OnlyDriverFormatsNotPreferred_MessageAndFailure) {
  EXPECT_EQ(ChosenWindow({Driver(32, 24)}, 0), -1);
}

TEST(ChooseWindowFormat, NoFormats_MessageAndFailure) {
  EXPECT_EQ(ChosenWindow({}, 1), -1);
  EXPECT_EQ(ChosenWindow({}, 0), -1);
}

TEST(ChooseWindowFormat, FormatsThatDoNotSuit_AreLeftOut) {
  PixelFormat indexed = Driver(32, 24);
  indexed.pixelType = 1;
  const std::vector<PixelFormat> unsuited = {
      Format(kWindow & ~kDrawToWindow, 32, 24), Format(kWindow & ~kDoubleBuffer, 32, 24),
      Format(kWindow & ~kSupportOpenGL, 32, 24), Driver(32, 0), indexed};
  EXPECT_EQ(ChosenWindow(unsuited, 1), -1);
  std::vector<PixelFormat> withOne = unsuited;
  withOne.push_back(Driver(8, 16));
  EXPECT_EQ(ChosenWindow(withOne, 1), 6);
}

TEST(ChooseWindowFormat, NoColorBits_StillTakenForItsDepth) {
  EXPECT_EQ(ChosenWindow({Driver(0, 16)}, 1), 1);
}

TEST(ChooseWindowFormat, DeviceRefuses_Failure) {
  FakeDevice device({Driver(32, 24)});
  device.accepts = false;
  EXPECT_EQ(ChooseWindowFormat(device, 1), -1);
  EXPECT_EQ(device.set, std::vector<int>{1});
  EXPECT_TRUE(device.messages.empty());
}

TEST(ChooseBitmapFormat, FirstThatSuits_IsSet) {
  PixelFormat palette = Bitmap24();
  palette.flags |= kNeedPalette;
  PixelFormat red = Bitmap24(), green = red, blue = red, wide = red, indexed = red, window = red, noGL = red;
  red.redBits = 5;
  green.greenBits = 6;
  blue.blueBits = 5;
  wide.colorBits = 32;
  indexed.pixelType = 1;
  window.flags = kWindow;
  noGL.flags = kDrawToBitmap;
  FakeDevice device({palette, red, green, blue, wide, indexed, window, noGL, Bitmap24(), Bitmap24()});
  EXPECT_EQ(ChooseBitmapFormat(device), 9);
  EXPECT_EQ(device.set, std::vector<int>{9});
  EXPECT_EQ(device.described, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 9}));
}

TEST(ChooseBitmapFormat, NoneSuits_FormatZeroIsRefusedWithoutAMessage) {
  FakeDevice device({Driver(32, 24), Driver(24, 24)});
  EXPECT_EQ(ChooseBitmapFormat(device), -1);
  EXPECT_EQ(device.described, (std::vector<int>{1, 2, 3, 0}));  // 3 is described before the bound is tested
  EXPECT_EQ(device.set, std::vector<int>{0});
  EXPECT_TRUE(device.messages.empty());
}

TEST(ChooseBitmapFormat, NoFormats_ZeroAndNothingSet) {
  FakeDevice device({});
  EXPECT_EQ(ChooseBitmapFormat(device), 0);
  EXPECT_EQ(device.described, std::vector<int>{1});
  EXPECT_TRUE(device.set.empty() && device.messages.empty());
}

TEST(ChooseBitmapFormat, DeviceRefuses_Failure) {
  FakeDevice device({Bitmap24()});
  device.accepts = false;
  EXPECT_EQ(ChooseBitmapFormat(device), -1);
}

TEST(LowByte, DirtySlot_OnlyTheLowBits) {
  const auto lowByte =
      reinterpret_cast<unsigned char (*)(unsigned)>(reinterpret_cast<void (*)()>(&qv::LowByte));
  EXPECT_EQ(lowByte(0x1FFU), 0xFF);
  EXPECT_EQ(lowByte(0xABCDEF01U), 1);
}

#if !defined(_WIN32)
TEST(PickPixelFormat, WithoutDeviceContexts_MessageAndFailure) {
  qv::test::TakeMessages();
  EXPECT_EQ(PickPixelFormat(nullptr, 1), -1);
  EXPECT_EQ(qv::test::TakeMessages(), "PixelFormat Error: Could not retrieve software pixel format!\n");
  const auto dirty =
      reinterpret_cast<int (*)(void*, unsigned)>(reinterpret_cast<void (*)()>(&PickPixelFormat));
  EXPECT_EQ(dirty(nullptr, 0x1FFU), -1);
  EXPECT_EQ(qv::test::TakeMessages(), "PixelFormat Error: Could not retrieve software pixel format!\n");
}

TEST(PickMemoryPixelFormat, WithoutDeviceContexts_ZeroWithoutAMessage) {
  qv::test::TakeMessages();
  EXPECT_EQ(PickMemoryPixelFormat(nullptr), 0);
  EXPECT_EQ(qv::test::TakeMessages(), "");
}
#endif

}  // namespace
