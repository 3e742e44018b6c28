// What drawings call beyond strips_null_gl.cpp, doing nothing. Apart from the walks, so that none is inlined.
#include <GL/glew.h>

extern "C" {
void GLAPIENTRY glVertex3fv(const GLfloat* /*v*/) {}
void GLAPIENTRY glNormal3f(GLfloat /*x*/, GLfloat /*y*/, GLfloat /*z*/) {}
void GLAPIENTRY glColor3f(GLfloat /*r*/, GLfloat /*g*/, GLfloat /*b*/) {}
void GLAPIENTRY glLoadName(GLuint /*name*/) {}
void GLAPIENTRY glEnable(GLenum /*what*/) {}
void GLAPIENTRY glDisable(GLenum /*what*/) {}
void GLAPIENTRY glPolygonMode(GLenum /*face*/, GLenum /*mode*/) {}
void GLAPIENTRY glPolygonOffset(GLfloat /*factor*/, GLfloat /*units*/) {}
}
