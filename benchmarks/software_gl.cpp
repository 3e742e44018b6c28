// Draws off-screen, by Mesa's software renderer where there is no other.
#include <cstdio>
#include <cstdlib>

#include <GL/glew.h>

#include "benchmarks/drawing_gl.h"
#include "tests/support/offscreen.h"

namespace qv::bench {

namespace {

void Switch(GLenum what, bool on) {
  if (on) {
    glEnable(what);
  } else {
    glDisable(what);
  }
}

}  // namespace

const char* GLName() {
  return "software GL";
}

bool DrawsPixels() {
  return true;
}

void PrepareGL(const Pipeline& pipeline) {
  static test::Offscreen screen(512, 512);
  if (!screen.Problem().empty()) {
    std::fprintf(stderr, "%s\n", screen.Problem().c_str());
    std::exit(1);
  }
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-0.5, 0.5, -0.5, 0.5, -10, 10);
  glEnable(GL_DEPTH_TEST);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glEnable(GL_LIGHT0);
  Switch(GL_LIGHTING, pipeline.lit);
  Switch(GL_RASTERIZER_DISCARD, !pipeline.rasterised);
}

void FinishGL() {
  glFinish();
}

}  // namespace qv::bench
