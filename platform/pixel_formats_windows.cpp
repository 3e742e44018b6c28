#include <cstring>
#include <windows.h>

#include "platform/pixel_formats.h"

namespace qv::platform {

static_assert(kDoubleBuffer == PFD_DOUBLEBUFFER && kDrawToWindow == PFD_DRAW_TO_WINDOW &&
              kDrawToBitmap == PFD_DRAW_TO_BITMAP && kSupportOpenGL == PFD_SUPPORT_OPENGL &&
              kGenericFormat == PFD_GENERIC_FORMAT && kNeedPalette == PFD_NEED_PALETTE &&
              kGenericAccelerated == PFD_GENERIC_ACCELERATED && kTypeRgba == PFD_TYPE_RGBA);

int DevicePixelFormats::Count() {
  return DescribePixelFormat(static_cast<HDC>(dc_), 0, 0, nullptr);
}

int DevicePixelFormats::Describe(int index, PixelFormat* format) {
  PIXELFORMATDESCRIPTOR descriptor = {};
  static_assert(sizeof descriptor == sizeof described_);
  descriptor.nSize = sizeof descriptor;
  const int count = DescribePixelFormat(static_cast<HDC>(dc_), index, sizeof descriptor, &descriptor);
  std::memcpy(described_, &descriptor, sizeof descriptor);
  *format = {.flags = descriptor.dwFlags,
             .pixelType = descriptor.iPixelType,
             .colorBits = descriptor.cColorBits,
             .redBits = descriptor.cRedBits,
             .greenBits = descriptor.cGreenBits,
             .blueBits = descriptor.cBlueBits,
             .depthBits = descriptor.cDepthBits};
  return count;
}

bool DevicePixelFormats::Set(int index) {
  PIXELFORMATDESCRIPTOR descriptor;
  std::memcpy(&descriptor, described_, sizeof descriptor);
  return SetPixelFormat(static_cast<HDC>(dc_), index, &descriptor) != FALSE;
}

void DevicePixelFormats::ShowError(const char* text, const char* title) {
  MessageBoxA(nullptr, text, title, MB_OK);
}

}  // namespace qv::platform
