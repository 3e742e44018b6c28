#include <windows.h>

#include "exports/QV_3D.h"
#include "tests/support/offscreen_context.h"

namespace qv::test {

std::string Offscreen::Context::Open() {
  const HWND window = CreateWindowA("STATIC", "off-screen", WS_POPUP, 0, 0, 64, 64, nullptr, nullptr,
                                    GetModuleHandleA(nullptr), nullptr);
  if (window == nullptr) return "no window";
  surface = window;
  const HDC dc = GetDC(window);
  display = dc;
  // Accelerated first, with dirty upper bits as a caller may leave them.
  using Dirty = int(QV_CALL*)(void*, unsigned);
  const auto pick = reinterpret_cast<Dirty>(reinterpret_cast<void (*)()>(&PickPixelFormat));
  const int format = pick(dc, 0xABCDEF01U);
  if (format < 1) return "PickPixelFormat: " + std::to_string(format);
  const HGLRC made = wglCreateContext(dc);
  if (made == nullptr) return "no context";
  context = made;
  if (wglMakeCurrent(dc, made) == FALSE) return "the context does not become current";
  return {};
}

void Offscreen::Context::Close() {
  wglMakeCurrent(nullptr, nullptr);
  if (context != nullptr) wglDeleteContext(static_cast<HGLRC>(context));
  if (display != nullptr) ReleaseDC(static_cast<HWND>(surface), static_cast<HDC>(display));
  if (surface != nullptr) DestroyWindow(static_cast<HWND>(surface));
}

void SaveImage(const Image& /*image*/, const std::string& /*path*/) {}

}  // namespace qv::test
