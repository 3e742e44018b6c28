#include "core/diagnostics.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace qv::diagnostics {

void Print(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fflush(stderr);
}

void EndProcess() {
  std::exit(-1);
}

}  // namespace qv::diagnostics
