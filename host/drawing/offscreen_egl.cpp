// OpenGL through EGL without any surface: neither a display nor a window system is needed.
#include <dlfcn.h>

#include <GL/gl.h>

#include "drawing/gl_ways.h"

namespace qv3d {
namespace {

// The few names of EGL that are needed. libEGL is opened when it is there, so that the program starts without
// it.
using EglDisplay = void*;
using EglConfig = void*;
using EglContext = void*;
constexpr int kSurfacelessMesa = 0x31DD;
constexpr int kNone = 0x3038;
constexpr int kSurfaceType = 0x3033;
constexpr int kRenderableType = 0x3040;
constexpr int kOpenGlBit = 0x0008;
constexpr unsigned kOpenGlApi = 0x30A2;

struct Egl {
  void* library = nullptr;
  EglDisplay (*GetPlatformDisplay)(unsigned, void*, const std::intptr_t*) = nullptr;
  unsigned (*Initialize)(EglDisplay, int*, int*) = nullptr;
  unsigned (*BindApi)(unsigned) = nullptr;
  unsigned (*ChooseConfig)(EglDisplay, const int*, EglConfig*, int, int*) = nullptr;
  EglContext (*CreateContext)(EglDisplay, EglConfig, EglContext, const int*) = nullptr;
  unsigned (*MakeCurrent)(EglDisplay, void*, void*, EglContext) = nullptr;
  unsigned (*DestroyContext)(EglDisplay, EglContext) = nullptr;
  unsigned (*Terminate)(EglDisplay) = nullptr;
  void (*(*GetProcAddress)(const char*))() = nullptr;

  template <typename Function>
  bool Load(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
  }
  bool LoadAll() {
    library = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    return library != nullptr && Load(GetPlatformDisplay, "eglGetPlatformDisplay") &&
           Load(Initialize, "eglInitialize") && Load(BindApi, "eglBindAPI") &&
           Load(ChooseConfig, "eglChooseConfig") && Load(CreateContext, "eglCreateContext") &&
           Load(MakeCurrent, "eglMakeCurrent") && Load(DestroyContext, "eglDestroyContext") &&
           Load(Terminate, "eglTerminate") && Load(GetProcAddress, "eglGetProcAddress");
  }
};

class EglOffscreen : public OffscreenContext {
 public:
  ~EglOffscreen() override {
    // libEGL stays loaded: drivers do not like to be unloaded.
    if (context_ != nullptr) {
      egl_.MakeCurrent(display_, nullptr, nullptr, nullptr);
      egl_.DestroyContext(display_, context_);
    }
    if (display_ != nullptr) egl_.Terminate(display_);
  }

  bool Open(std::string& reason) {
    if (!egl_.LoadAll()) return Refuse(reason, "libEGL.so.1 is not installed");
    display_ = egl_.GetPlatformDisplay(kSurfacelessMesa, nullptr, nullptr);
    if (display_ == nullptr) return Refuse(reason, "EGL has no platform without surfaces");
    if (egl_.Initialize(display_, nullptr, nullptr) == 0) {
      display_ = nullptr;
      return Refuse(reason, "EGL finds no driver");
    }
    // A context without attributes is one of the compatibility profile, which immediate mode needs.
    // No kind of surface is asked for: by default only configurations for windows would be offered.
    const int wanted[] = {kSurfaceType, 0, kRenderableType, kOpenGlBit, kNone};
    EglConfig config = nullptr;
    int count = 0;
    if (egl_.BindApi(kOpenGlApi) == 0 || egl_.ChooseConfig(display_, wanted, &config, 1, &count) == 0 ||
        count < 1) {
      return Refuse(reason, "EGL offers no desktop OpenGL");
    }
    context_ = egl_.CreateContext(display_, config, nullptr, nullptr);
    if (context_ == nullptr || egl_.MakeCurrent(display_, nullptr, nullptr, context_) == 0 ||
        glGetString(GL_VERSION) == nullptr) {
      return Refuse(reason, "EGL cannot make an OpenGL context without a surface");
    }
    return true;
  }

  GlFunction Find(const char* name) const override { return egl_.GetProcAddress(name); }
  const char* Name() const override { return "EGL"; }

 private:
  static bool Refuse(std::string& reason, const char* why) {
    reason = why;
    return false;
  }

  Egl egl_;
  EglDisplay display_ = nullptr;
  EglContext context_ = nullptr;
};

}  // namespace

std::unique_ptr<OffscreenContext> CreateEglContext(std::string& reason) {
  auto context = std::make_unique<EglOffscreen>();
  if (!context->Open(reason)) return nullptr;
  return context;
}

}  // namespace qv3d
