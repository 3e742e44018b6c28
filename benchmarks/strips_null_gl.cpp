// An OpenGL that does nothing, so that what remains is the walk and the calls.
#include <GL/glew.h>

#include "benchmarks/strips_benchmark.h"

namespace qv::bench {

void PrepareGL(bool /*lit*/) {}
void FinishGL() {}

}  // namespace qv::bench

extern "C" {

void GLAPIENTRY glBegin(GLenum /*mode*/) {}
void GLAPIENTRY glEnd(void) {}
void GLAPIENTRY glVertex3f(GLfloat /*x*/, GLfloat /*y*/, GLfloat /*z*/) {}
void GLAPIENTRY glNormal3fv(const GLfloat* /*v*/) {}
void GLAPIENTRY glTexCoord1f(GLfloat /*s*/) {}

}  // extern "C"
