// The part of Offscreen that each platform has its own way for.
#pragma once

#include "tests/support/offscreen.h"

namespace qv::test {

struct Offscreen::Context {
  /// Makes a context current. Returns what failed, or an empty text.
  std::string Open();
  void Close();

  void* display = nullptr;  ///< EGLDisplay
  void* surface = nullptr;  ///< EGLSurface, or the hidden window that has all
  void* context = nullptr;  ///< EGLContext
};

}  // namespace qv::test
