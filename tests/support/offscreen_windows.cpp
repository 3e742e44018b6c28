#include "drawing/hidden_window.h"
#include "exports/QV_3D.h"
#include "tests/support/offscreen_context.h"

namespace qv::test {
namespace {

/// Accelerated first, with dirty upper bits as a caller may leave them.
int PickWithDirtyBits(void* device) {
  using Dirty = int(QV_CALL*)(void*, unsigned);
  return reinterpret_cast<Dirty>(reinterpret_cast<void (*)()>(&PickPixelFormat))(device, 0xABCDEF01U);
}

}  // namespace

std::string Offscreen::Context::Open() {
  auto* const window = new qv3d::HiddenWindow;
  surface = window;
  return window->Open(PickWithDirtyBits);
}

void Offscreen::Context::Close() {
  delete static_cast<qv3d::HiddenWindow*>(surface);
}

void SaveImage(const Image& /*image*/, const std::string& /*path*/) {}

}  // namespace qv::test
