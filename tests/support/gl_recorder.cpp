#include "tests/support/gl_recorder.h"

#include <ostream>
#include <utility>

#include <GL/glew.h>

namespace {

qv::test::GLCalls calls;
int attributeLocation = -1;

template <class... Values>
void Record(const char* name, Values... values) {
  calls.push_back({name, {static_cast<double>(values)...}, {}});
}

template <class Value>
void RecordThree(const char* name, const Value* v) {
  Record(name, v[0], v[1], v[2]);
}

void GLAPIENTRY VertexAttrib1f(GLuint location, GLfloat x) {
  Record("glVertexAttrib1f", location, x);
}

GLint GLAPIENTRY GetAttribLocation(GLhandleARB program, const GLcharARB* name) {
  calls.push_back({"glGetAttribLocationARB", {static_cast<double>(program)}, name});
  return attributeLocation;
}

}  // namespace

namespace qv::test {

std::ostream& operator<<(std::ostream& out, const GLCall& call) {
  out << call.name << '(' << call.text;
  for (const double argument : call.arguments) out << ' ' << argument;
  return out << ')';
}

void RecordGLCall(GLCall call) {
  calls.push_back(std::move(call));
}

GLCalls TakeGLCalls() {
  return std::exchange(calls, {});
}

void SetShaderEntryPoints(bool loaded) {
  __glewGetAttribLocationARB = loaded ? &GetAttribLocation : nullptr;
  __glewVertexAttrib1f = loaded ? &VertexAttrib1f : nullptr;
}

void SetAttributeLocation(int location) {
  attributeLocation = location;
}

}  // namespace qv::test

extern "C" {

void GLAPIENTRY glBegin(GLenum mode) {
  Record("glBegin", mode);
}
void GLAPIENTRY glEnd(void) {
  Record("glEnd");
}
void GLAPIENTRY glEnable(GLenum what) {
  Record("glEnable", what);
}
void GLAPIENTRY glVertex3f(GLfloat x, GLfloat y, GLfloat z) {
  Record("glVertex3f", x, y, z);
}
void GLAPIENTRY glVertex3d(GLdouble x, GLdouble y, GLdouble z) {
  Record("glVertex3d", x, y, z);
}
void GLAPIENTRY glNormal3fv(const GLfloat* v) {
  RecordThree("glNormal3f", v);
}
void GLAPIENTRY glNormal3dv(const GLdouble* v) {
  RecordThree("glNormal3d", v);
}
void GLAPIENTRY glColor3f(GLfloat r, GLfloat g, GLfloat b) {
  Record("glColor3f", r, g, b);
}
void GLAPIENTRY glColor3fv(const GLfloat* v) {
  RecordThree("glColor3f", v);
}
void GLAPIENTRY glColor3d(GLdouble r, GLdouble g, GLdouble b) {
  Record("glColor3d", r, g, b);
}
void GLAPIENTRY glTexCoord1f(GLfloat s) {
  Record("glTexCoord1f", s);
}
void GLAPIENTRY glTexCoord1d(GLdouble s) {
  Record("glTexCoord1d", s);
}
void GLAPIENTRY glTexCoord2f(GLfloat s, GLfloat t) {
  Record("glTexCoord2f", s, t);
}

}  // extern "C"
