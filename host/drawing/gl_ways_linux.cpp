#include "drawing/gl_ways.h"

namespace qv3d {

const std::vector<GlWay>& GlWays() {
  static const std::vector<GlWay> kWays{{GlBackend::kEgl, "egl", CreateEglContext},
                                        {GlBackend::kGlx, "glx", CreateGlxContext}};
  return kWays;
}

const char* GlAdvice() {
  return "Install libegl1 and libgl1-mesa-dri, or xvfb.";
}

}  // namespace qv3d
