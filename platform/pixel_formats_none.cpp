#include "core/diagnostics.h"
#include "platform/pixel_formats.h"

// Device contexts exist on Windows only.
namespace qv::platform {

int DevicePixelFormats::Count() {
  return 0;
}

int DevicePixelFormats::Describe(int /*index*/, PixelFormat* format) {
  *format = {};
  return 0;
}

bool DevicePixelFormats::Set(int /*index*/) {
  return false;
}

void DevicePixelFormats::ShowError(const char* text, const char* title) {
  diagnostics::Print("%s: %s\n", title, text);
}

}  // namespace qv::platform
