#include "tests/support/gl_object_recorder.h"

#include <algorithm>
#include <cstring>

#include <GL/glew.h>

namespace qv::test {
GLAnswers glAnswers;
}

namespace {

using qv::test::glAnswers;

template <class... Values>
void Record(const char* name, Values... values) {
  qv::test::RecordGLCall({name, {static_cast<double>(values)...}, {}});
}

/// A pointer as a number: tests give offsets or what they can name.
double Address(const void* pointer) {
  return static_cast<double>(reinterpret_cast<std::uintptr_t>(pointer));
}

/// The bytes that were uploaded, as text.
void GLAPIENTRY BufferData(GLenum target, GLsizeiptrARB size, const void* data, GLenum usage) {
  const std::string bytes(static_cast<const char*>(data), size > 0 ? static_cast<std::size_t>(size) : 0);
  qv::test::RecordGLCall(
      {"glBufferDataARB",
       {static_cast<double>(target), static_cast<double>(size), static_cast<double>(usage)},
       bytes});
}
void GLAPIENTRY BindBuffer(GLenum target, GLuint buffer) {
  Record("glBindBufferARB", target, buffer);
}
void GLAPIENTRY GenBuffers(GLsizei n, GLuint* buffers) {
  Record("glGenBuffersARB", n);
  for (GLsizei i = 0; i < n; ++i) buffers[i] = glAnswers.nextName++;
}
void GLAPIENTRY DeleteBuffers(GLsizei n, const GLuint* buffers) {
  Record("glDeleteBuffersARB", n, *buffers);
}
void GLAPIENTRY RangeElements(GLenum mode, GLuint start, GLuint end, GLsizei count, GLenum type,
                              const void* indices) {
  Record("glDrawRangeElements", mode, start, end, count, type, Address(indices));
}

GLhandleARB GLAPIENTRY CreateShader(GLenum type) {
  Record("glCreateShaderObjectARB", type);
  return glAnswers.nextName++;
}
GLhandleARB GLAPIENTRY CreateProgram() {
  Record("glCreateProgramObjectARB");
  return glAnswers.nextName++;
}
void GLAPIENTRY InfoLog(GLhandleARB object, GLsizei capacity, GLsizei* length, GLcharARB* text) {
  Record("glGetInfoLogARB", object);
  std::string log;
  if (!glAnswers.infoLogs.empty()) {
    log = glAnswers.infoLogs.front();
    glAnswers.infoLogs.erase(glAnswers.infoLogs.begin());
  }
  const auto count = std::min(log.size(), static_cast<std::size_t>(capacity) - 1);
  std::memcpy(text, log.data(), count);
  text[count] = '\0';
  if (length != nullptr) *length = static_cast<GLsizei>(count);
}
void GLAPIENTRY ShaderSource(GLhandleARB shader, GLsizei count, const GLcharARB** texts,
                             const GLint* lengths) {
  qv::test::RecordGLCall({"glShaderSourceARB",
                          {static_cast<double>(shader), static_cast<double>(count), Address(lengths)},
                          texts[0]});
}
void GLAPIENTRY CompileShader(GLhandleARB shader) {
  Record("glCompileShaderARB", shader);
}
void GLAPIENTRY LinkProgram(GLhandleARB program) {
  Record("glLinkProgramARB", program);
}
void GLAPIENTRY AttachObject(GLhandleARB program, GLhandleARB shader) {
  Record("glAttachObjectARB", program, shader);
}
void GLAPIENTRY DetachObject(GLhandleARB program, GLhandleARB shader) {
  Record("glDetachObjectARB", program, shader);
}
void GLAPIENTRY DeleteObject(GLhandleARB object) {
  Record("glDeleteObjectARB", object);
}
void GLAPIENTRY UseProgram(GLhandleARB program) {
  Record("glUseProgramObjectARB", program);
}
GLint GLAPIENTRY UniformLocation(GLhandleARB program, const GLcharARB* name) {
  qv::test::RecordGLCall({"glGetUniformLocationARB", {static_cast<double>(program)}, name});
  return glAnswers.uniformLocation;
}
void GLAPIENTRY Uniform1i(GLint location, GLint value) {
  Record("glUniform1iARB", location, value);
}

void GLAPIENTRY ActiveStencilFace(GLenum face) {
  Record("glActiveStencilFaceEXT", face);
}
void GLAPIENTRY StencilOpSeparate(GLenum face, GLenum fail, GLenum depthFail, GLenum pass) {
  Record("glStencilOpSeparateATI", face, fail, depthFail, pass);
}
void GLAPIENTRY StencilFuncSeparate(GLenum front, GLenum back, GLint reference, GLuint mask) {
  Record("glStencilFuncSeparateATI", front, back, reference, mask);
}

}  // namespace

namespace qv::test {

void SetObjectEntryPoints(bool loaded) {
  const auto set = [loaded](auto& pointer, auto recorder) { pointer = loaded ? recorder : nullptr; };
  set(__glewBufferDataARB, &BufferData);
  set(__glewBindBufferARB, &BindBuffer);
  set(__glewGenBuffersARB, &GenBuffers);
  set(__glewDeleteBuffersARB, &DeleteBuffers);
  set(__glewDrawRangeElements, &RangeElements);
  set(__glewCreateShaderObjectARB, &CreateShader);
  set(__glewCreateProgramObjectARB, &CreateProgram);
  set(__glewGetInfoLogARB, &InfoLog);
  set(__glewShaderSourceARB, &ShaderSource);
  set(__glewCompileShaderARB, &CompileShader);
  set(__glewLinkProgramARB, &LinkProgram);
  set(__glewAttachObjectARB, &AttachObject);
  set(__glewDetachObjectARB, &DetachObject);
  set(__glewDeleteObjectARB, &DeleteObject);
  set(__glewUseProgramObjectARB, &UseProgram);
  set(__glewGetUniformLocationARB, &UniformLocation);
  set(__glewUniform1iARB, &Uniform1i);
  set(__glewActiveStencilFaceEXT, &ActiveStencilFace);
  set(__glewStencilOpSeparateATI, &StencilOpSeparate);
  set(__glewStencilFuncSeparateATI, &StencilFuncSeparate);
}

}  // namespace qv::test

extern "C" {

void GLAPIENTRY glVertex3fv(const GLfloat* v) {
  Record("glVertex3f", v[0], v[1], v[2]);
}
void GLAPIENTRY glNormal3f(GLfloat x, GLfloat y, GLfloat z) {
  Record("glNormal3f", x, y, z);
}
void GLAPIENTRY glNormal3d(GLdouble x, GLdouble y, GLdouble z) {
  Record("glNormal3d", x, y, z);
}
void GLAPIENTRY glDisable(GLenum what) {
  Record("glDisable", what);
}
void GLAPIENTRY glPolygonOffset(GLfloat factor, GLfloat units) {
  Record("glPolygonOffset", factor, units);
}
void GLAPIENTRY glPolygonMode(GLenum face, GLenum mode) {
  Record("glPolygonMode", face, mode);
}
void GLAPIENTRY glGetIntegerv(GLenum what, GLint* values) {
  Record("glGetIntegerv", what);
  values[0] = static_cast<GLint>(glAnswers.polygonMode[0]);
  values[1] = static_cast<GLint>(glAnswers.polygonMode[1]);
}
void GLAPIENTRY glLoadName(GLuint name) {
  Record("glLoadName", name);
}
GLenum GLAPIENTRY glGetError(void) {
  return glAnswers.error;
}
void GLAPIENTRY glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
  Record("glVertexPointer", size, type, stride, Address(pointer));
}
void GLAPIENTRY glTexCoordPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
  Record("glTexCoordPointer", size, type, stride, Address(pointer));
}
void GLAPIENTRY glNormalPointer(GLenum type, GLsizei stride, const void* pointer) {
  Record("glNormalPointer", type, stride, Address(pointer));
}
void GLAPIENTRY glColorPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
  Record("glColorPointer", size, type, stride, Address(pointer));
}

}  // extern "C"
