// An OpenGL that does nothing, so that what remains is the walk and the calls. Apart from the walks, so that
// none is inlined.
#include <GL/glew.h>

#include "benchmarks/drawing_gl.h"

namespace qv::bench {

const char* GLName() {
  return "null GL";
}
bool DrawsPixels() {
  return false;
}
void PrepareGL(const Pipeline& /*pipeline*/) {}
void FinishGL() {}

}  // namespace qv::bench

extern "C" {

void GLAPIENTRY glBegin(GLenum /*mode*/) {}
void GLAPIENTRY glEnd(void) {}
void GLAPIENTRY glVertex3f(GLfloat /*x*/, GLfloat /*y*/, GLfloat /*z*/) {}
void GLAPIENTRY glVertex3fv(const GLfloat* /*v*/) {}
void GLAPIENTRY glNormal3f(GLfloat /*x*/, GLfloat /*y*/, GLfloat /*z*/) {}
void GLAPIENTRY glNormal3fv(const GLfloat* /*v*/) {}
void GLAPIENTRY glTexCoord1f(GLfloat /*s*/) {}
void GLAPIENTRY glColor3f(GLfloat /*r*/, GLfloat /*g*/, GLfloat /*b*/) {}
void GLAPIENTRY glLoadName(GLuint /*name*/) {}
void GLAPIENTRY glEnable(GLenum /*what*/) {}
void GLAPIENTRY glDisable(GLenum /*what*/) {}
void GLAPIENTRY glPolygonMode(GLenum /*face*/, GLenum /*mode*/) {}
void GLAPIENTRY glPolygonOffset(GLfloat /*factor*/, GLfloat /*units*/) {}

}  // extern "C"
