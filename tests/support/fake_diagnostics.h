// Stands in for core/diagnostics.cpp where a test links fake_diagnostics.cpp: messages are collected, and the
// end of the process becomes an exception.
#pragma once

#include <string>
#include <utility>

namespace qv::test {

struct ProcessEnded {};

/// What was printed since the last call.
std::string TakeMessages();

/// Runs body() and says whether it would have ended the process.
template <class Body>
bool EndsProcess(Body body) {
  try {
    body();
  } catch (const ProcessEnded&) {
    return true;
  }
  return false;
}

}  // namespace qv::test
