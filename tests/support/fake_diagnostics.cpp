#include "tests/support/fake_diagnostics.h"

#include <cstdarg>
#include <cstdio>

#include "core/diagnostics.h"

namespace {
std::string messages;
}

namespace qv::diagnostics {

void Print(const char* format, ...) {
  char text[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  messages += text;
}

void EndProcess() {
  throw test::ProcessEnded();
}

}  // namespace qv::diagnostics

std::string qv::test::TakeMessages() {
  return std::exchange(messages, {});
}
