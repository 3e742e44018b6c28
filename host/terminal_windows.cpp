#include <windows.h>

#include "terminal.h"

namespace qv3d {

bool CanRewriteLines() {
  const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
  DWORD mode = 0;
  // Consoles that do not know escape sequences refuse the mode.
  return GetConsoleMode(console, &mode) != 0 &&
         SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

}  // namespace qv3d
