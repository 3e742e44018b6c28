#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <cstdio>
#include <png.h>

#include "tests/support/offscreen_context.h"

namespace qv::test {

std::string Offscreen::Context::Open() {
  display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (display == EGL_NO_DISPLAY || eglInitialize(display, nullptr, nullptr) == EGL_FALSE)
    return "no EGL display";
  if (eglBindAPI(EGL_OPENGL_API) == EGL_FALSE) return "no desktop OpenGL";
  const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (eglChooseConfig(display, wanted, &config, 1, &count) == EGL_FALSE || count < 1)
    return "no EGL configuration";
  const EGLint size[] = {EGL_WIDTH, 16, EGL_HEIGHT, 16, EGL_NONE};
  surface = eglCreatePbufferSurface(display, config, size);
  if (surface == EGL_NO_SURFACE) return "no EGL surface";
  context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
  if (context == EGL_NO_CONTEXT) return "no EGL context";
  if (eglMakeCurrent(display, surface, surface, context) == EGL_FALSE)
    return "the context does not become current";
  return {};
}

void Offscreen::Context::Close() {
  eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  if (context != EGL_NO_CONTEXT) eglDestroyContext(display, context);
  if (surface != EGL_NO_SURFACE) eglDestroySurface(display, surface);
}

void SaveImage(const Image& image, const std::string& path) {
  png_image png = {};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width);
  png.height = static_cast<png_uint_32>(image.height);
  png.format = PNG_FORMAT_RGB;
  // The negative stride turns the lowest row first into the highest row first.
  if (png_image_write_to_file(&png, path.c_str(), 0, image.rgb.data(), -3 * image.width, nullptr) == 0) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), png.message);
  }
}

}  // namespace qv::test
