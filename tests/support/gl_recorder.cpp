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

void RecordGLCall(GLCall call) { calls.push_back(std::move(call)); }

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

// Elsewhere the library finds these functions by name; on Windows it calls through the pointers that an
// import library would bring, whose names carry the bytes of the arguments on 32 bits.
#if defined(_WIN32)
#if defined(_WIN64)
#define QV_IMPORT_NAME(name, bytes) "__imp_" #name
#else
#define QV_IMPORT_NAME(name, bytes) "__imp__" #name "@" #bytes
#endif
#define QV_RECORD(name, bytes, parameters, body)                                                  \
  static void GLAPIENTRY Recorded_##name parameters body extern "C" {                             \
    extern void(GLAPIENTRY* const import_##name) parameters __asm__(QV_IMPORT_NAME(name, bytes)); \
    void(GLAPIENTRY* const import_##name) parameters = &Recorded_##name;                          \
  }
#else
#define QV_RECORD(name, bytes, parameters, body) extern "C" void name parameters body
#endif

QV_RECORD(glBegin, 4, (GLenum mode), { Record("glBegin", mode); })
QV_RECORD(glEnd, 0, (), { Record("glEnd"); })
QV_RECORD(glEnable, 4, (GLenum what), { Record("glEnable", what); })
QV_RECORD(glVertex3f, 12, (GLfloat x, GLfloat y, GLfloat z), { Record("glVertex3f", x, y, z); })
QV_RECORD(glVertex3d, 24, (GLdouble x, GLdouble y, GLdouble z), { Record("glVertex3d", x, y, z); })
QV_RECORD(glNormal3fv, 4, (const GLfloat* v), { RecordThree("glNormal3f", v); })
QV_RECORD(glNormal3dv, 4, (const GLdouble* v), { RecordThree("glNormal3d", v); })
QV_RECORD(glColor3f, 12, (GLfloat r, GLfloat g, GLfloat b), { Record("glColor3f", r, g, b); })
QV_RECORD(glColor3fv, 4, (const GLfloat* v), { RecordThree("glColor3f", v); })
QV_RECORD(glColor3d, 24, (GLdouble r, GLdouble g, GLdouble b), { Record("glColor3d", r, g, b); })
QV_RECORD(glTexCoord1f, 4, (GLfloat s), { Record("glTexCoord1f", s); })
QV_RECORD(glTexCoord1d, 8, (GLdouble s), { Record("glTexCoord1d", s); })
QV_RECORD(glTexCoord2f, 8, (GLfloat s, GLfloat t), { Record("glTexCoord2f", s, t); })
