#include "drawing/offscreen.h"

#include <QV_3D.h>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {

std::unique_ptr<OffscreenContext> OffscreenContext::Create(GlBackend backend) {
  std::string reasons;
  std::unique_ptr<OffscreenContext> context;
  for (const GlWay& way : GlWays()) {
    if (context || (backend != GlBackend::kAutomatic && backend != way.backend)) continue;
    std::string reason;
    context = way.create(reason);
    if (!context) reasons += fmt::format("{}{}", reasons.empty() ? "" : "; ", reason);
  }
  if (!context) {
    throw Failure(ExitCode::kNotComputable, fmt::format("cannot draw without a display: {}", reasons),
                  GlAdvice());
  }
  if (const unsigned result = InitGlew(); result != 0) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("the OpenGL entry points cannot be loaded (GLEW: {})", result), GlAdvice());
  }
  return context;
}

}  // namespace qv3d
