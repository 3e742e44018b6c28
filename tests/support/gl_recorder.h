// Stands in for OpenGL: a test that links gl_recorder.cpp instead of an OpenGL library draws into a list of
// calls, and needs no context. Only the entry points that the surfaces use are there.
#pragma once

#include <string>
#include <vector>

namespace qv::test {

/// One call. Attributes and vertices keep their arguments as double, which holds floats and ints exactly.
struct GLCall {
  std::string name;
  std::vector<double> arguments;
  std::string text;  ///< of calls that take a name

  friend bool operator==(const GLCall& a, const GLCall& b) = default;
};

std::ostream& operator<<(std::ostream& out, const GLCall& call);

using GLCalls = std::vector<GLCall>;

/// Adds a call, for stand-ins outside gl_recorder.cpp.
void RecordGLCall(GLCall call);

/// The calls since the last time.
GLCalls TakeGLCalls();

/// Fills GLEW's function pointers for vertex attributes with recorders, or empties them.
void SetShaderEntryPoints(bool loaded);

/// What glGetAttribLocationARB answers from now on.
void SetAttributeLocation(int location);

}  // namespace qv::test
