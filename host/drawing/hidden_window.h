// A window of Windows that nobody sees, with an OpenGL context. Knows nothing of the library.
#pragma once

#include <string>

namespace qv3d {

class HiddenWindow {
 public:
  HiddenWindow() = default;
  HiddenWindow(const HiddenWindow&) = delete;
  HiddenWindow& operator=(const HiddenWindow&) = delete;
  ~HiddenWindow();

  /// Makes a context current. `pick` gives the window's device context (an HDC) a pixel format and returns
  /// its number, less than 1 where it cannot. Returns what failed, or an empty text.
  std::string Open(int (*pick)(void* device));

 private:
  // Handles of the system: HWND, HDC, HGLRC.
  void* window_ = nullptr;
  void* device_ = nullptr;
  void* context_ = nullptr;
};

}  // namespace qv3d
