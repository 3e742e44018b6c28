#include "drawing/offscreen.h"

#include <QV_3D.h>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {

std::unique_ptr<OffscreenContext> OffscreenContext::Create(GlBackend backend) {
  std::string eglReason, glxReason;
  std::unique_ptr<OffscreenContext> context;
  if (backend != GlBackend::kGlx) context = CreateEglContext(eglReason);
  if (!context && backend != GlBackend::kEgl) context = CreateGlxContext(glxReason);
  if (!context) {
    const char* const both = eglReason.empty() || glxReason.empty() ? "" : "; ";
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("cannot draw without a display: {}{}{}", eglReason, both, glxReason),
                  "Install libegl1 and libgl1-mesa-dri, or xvfb.");
  }
  if (const unsigned result = InitGlew(); result != 0) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("the OpenGL entry points cannot be loaded (GLEW: {})", result),
                  "Install libgl1-mesa-dri.");
  }
  return context;
}

}  // namespace qv3d
