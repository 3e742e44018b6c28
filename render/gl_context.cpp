#include <GL/glew.h>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "platform/pixel_formats.h"
#include "render/pixel_format_choice.h"

namespace {

/// GLEW asks for a GLX display last, when everything else is in place. A context made through EGL has none.
bool LoadedWithoutGlx() {
  return glGetString(GL_VERSION) != nullptr && glGenBuffersARB != nullptr && glBindBufferARB != nullptr &&
         glBufferDataARB != nullptr && glDeleteBuffersARB != nullptr;
}

}  // namespace

int QV_CALL PickPixelFormat(void* dc, unsigned char preferAccelerated) {
  qv::platform::DevicePixelFormats device(dc);
  return qv::render::ChooseWindowFormat(device, qv::LowByte(preferAccelerated));
}

int QV_CALL PickMemoryPixelFormat(void* dc) {
  qv::platform::DevicePixelFormats device(dc);
  return qv::render::ChooseBitmapFormat(device);
}

unsigned QV_CALL InitGlew(void) {
  const GLenum result = glewInit();
  return result == GLEW_ERROR_NO_GLX_DISPLAY && LoadedWithoutGlx() ? GLEW_OK : result;
}

unsigned QV_CALL IsExtensionSupported(const char* names) {
  return glewIsSupported(names) ? 0 : 1;
}
