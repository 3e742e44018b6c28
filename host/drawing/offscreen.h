// An OpenGL context without a window, and a framebuffer to draw into. Creating a context and making it
// current is the host's business; this is how it is done on a machine without a display.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plots/image.h"

namespace qv3d {

enum class GlBackend { kAutomatic, kEgl, kGlx, kWgl };

using GlFunction = void (*)();

/// A current context for as long as the object lives.
class OffscreenContext {
 public:
  OffscreenContext() = default;
  OffscreenContext(const OffscreenContext&) = delete;
  OffscreenContext& operator=(const OffscreenContext&) = delete;
  virtual ~OffscreenContext() = default;

  virtual GlFunction Find(const char* name) const = 0;
  virtual const char* Name() const = 0;

  /// By the first of the platform's ways that works, or by the one that is asked for. Loads the extension
  /// entry points of the library too. Throws Failure (not computable) that says what to install.
  static std::unique_ptr<OffscreenContext> Create(GlBackend backend);
};

/// A way to a context.
struct GlWay {
  GlBackend backend;
  const char* name;                                                  ///< on the command line
  std::unique_ptr<OffscreenContext> (*create)(std::string& reason);  ///< null, and the reason, on failure
};

/// What the platform has: on Linux EGL without any surface, then GLX on $DISPLAY or on an X server that is
/// started for the purpose; on Windows a window that nobody sees.
const std::vector<GlWay>& GlWays();

/// What to install where drawing fails.
const char* GlAdvice();

/// A bound framebuffer of RGBA pixels with a depth and a stencil buffer, with several samples per pixel where
/// the driver has them.
class Framebuffer {
 public:
  Framebuffer(const OffscreenContext& context, int width, int height);
  Framebuffer(const Framebuffer&) = delete;
  Framebuffer& operator=(const Framebuffer&) = delete;
  ~Framebuffer();

  Image Read();
  /// The alpha of every pixel, as grey: how much of it was drawn on.
  Image ReadCoverage();

 private:
  struct Functions;
  struct Target;

  void ReadPixels(unsigned format, std::uint8_t* bytes);

  std::unique_ptr<Functions> gl_;
  int width_;
  int height_;
  std::unique_ptr<Target> drawn_;     ///< what is drawn into
  std::unique_ptr<Target> resolved_;  ///< what is read from, where the other has several samples
};

}  // namespace qv3d
