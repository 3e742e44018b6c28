#include "drawing/gl_ways.h"

namespace qv3d {

const std::vector<GlWay>& GlWays() {
  static const std::vector<GlWay> kWays{{GlBackend::kWgl, "wgl", CreateWglContext}};
  return kWays;
}

const char* GlAdvice() {
  return "Install the driver of the graphics card.";
}

}  // namespace qv3d
