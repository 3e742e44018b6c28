// The part of Offscreen that each platform has its own way for.
#pragma once

#include "tests/support/offscreen.h"

namespace qv::test {

struct Offscreen::Context {
  /// Makes a context current. Returns what failed, or an empty text.
  std::string Open();
  void Close();

  void* display = nullptr;  ///< EGLDisplay or HDC
  void* surface = nullptr;  ///< EGLSurface or HWND
  void* context = nullptr;  ///< EGLContext or HGLRC
};

}  // namespace qv::test
