// Draws off-screen, by Mesa's software renderer where there is no other.
#include <cstdio>
#include <cstdlib>

#include <GL/glew.h>

#include "benchmarks/strips_benchmark.h"
#include "tests/support/offscreen.h"

namespace qv::bench {

void PrepareGL(bool lit) {
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
  if (lit) {
    glEnable(GL_LIGHTING);
  } else {
    glDisable(GL_LIGHTING);
  }
}

void FinishGL() {
  glFinish();
}

}  // namespace qv::bench
