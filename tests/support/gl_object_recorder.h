// Stands in for the OpenGL that walls, picking, buffers, shader programs and shadows use, beyond what
// gl_recorder.h has: state, names, arrays, and the functions that GLEW loads.
#pragma once

#include <string>
#include <vector>

#include "tests/support/gl_recorder.h"

namespace qv::test {

/// What the stand-in answers from now on.
struct GLAnswers {
  unsigned polygonMode[2] = {};       ///< of glGetIntegerv(GL_POLYGON_MODE)
  unsigned nextName = 100;            ///< of the next buffer, shader or program; counted up
  std::vector<std::string> infoLogs;  ///< of the next calls of glGetInfoLogARB; empty at the end
  unsigned error = 0;                 ///< of glGetError
  int uniformLocation = -1;
};
extern GLAnswers glAnswers;

/// Fills GLEW's pointers with recorders, or empties them.
void SetObjectEntryPoints(bool loaded);

/// A call as it is compared: GLCall{name, {arguments}, text}.
inline GLCall Call(std::string name, std::vector<double> arguments = {}, std::string text = {}) {
  return {std::move(name), std::move(arguments), std::move(text)};
}

}  // namespace qv::test
