#include "drawing/hidden_window.h"

#include <windows.h>

namespace qv3d {

std::string HiddenWindow::Open(int (*pick)(void* device)) {
  const HWND window = CreateWindowA("STATIC", "off-screen", WS_POPUP, 0, 0, 64, 64, nullptr, nullptr,
                                    GetModuleHandleA(nullptr), nullptr);
  if (window == nullptr) return "there can be no window";
  window_ = window;
  const HDC device = GetDC(window);
  device_ = device;
  // Asked for here: where there is none, a choice may end in a message box.
  if (DescribePixelFormat(device, 1, 0, nullptr) < 1) return "windows have no pixel format";
  if (const int format = pick(device); format < 1) return "no pixel format fits: " + std::to_string(format);
  const HGLRC context = wglCreateContext(device);
  if (context == nullptr) return "Windows cannot make an OpenGL context";
  context_ = context;
  if (wglMakeCurrent(device, context) == FALSE) return "the OpenGL context does not become current";
  return {};
}

HiddenWindow::~HiddenWindow() {
  wglMakeCurrent(nullptr, nullptr);
  if (context_ != nullptr) wglDeleteContext(static_cast<HGLRC>(context_));
  if (device_ != nullptr) ReleaseDC(static_cast<HWND>(window_), static_cast<HDC>(device_));
  if (window_ != nullptr) DestroyWindow(static_cast<HWND>(window_));
}

}  // namespace qv3d
