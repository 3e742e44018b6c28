// OpenGL in a window that nobody sees, whose pixel format the library picks.
#include <QV_3D.h>
#include <windows.h>

#include <GL/gl.h>

#include "drawing/gl_ways.h"
#include "drawing/hidden_window.h"

namespace qv3d {
namespace {

int PickAccelerated(void* device) {
  return PickPixelFormat(device, 1);
}

class WglOffscreen : public OffscreenContext {
 public:
  bool Open(std::string& reason) {
    reason = window_.Open(PickAccelerated);
    if (!reason.empty()) return false;
    // What Windows has where no driver is installed.
    if (Find("glGenFramebuffers") == nullptr) {
      const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
      reason = std::string("there is no driver: OpenGL ") + (version == nullptr ? "has no version" : version);
      return false;
    }
    return true;
  }

  GlFunction Find(const char* name) const override {
    return reinterpret_cast<GlFunction>(wglGetProcAddress(name));
  }
  const char* Name() const override { return "WGL"; }

 private:
  HiddenWindow window_;
};

}  // namespace

std::unique_ptr<OffscreenContext> CreateWglContext(std::string& reason) {
  auto context = std::make_unique<WglOffscreen>();
  if (!context->Open(reason)) return nullptr;
  return context;
}

}  // namespace qv3d
