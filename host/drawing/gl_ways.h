// The ways to an off-screen context, one attempt each; on failure null, and the reason.
#pragma once

#include "drawing/offscreen.h"

namespace qv3d {

std::unique_ptr<OffscreenContext> CreateEglContext(std::string& reason);
std::unique_ptr<OffscreenContext> CreateGlxContext(std::string& reason);
std::unique_ptr<OffscreenContext> CreateWglContext(std::string& reason);

}  // namespace qv3d
