// Lines over a surface: contour segments at their height, and the wire grid of its rows and columns.
#include <cstddef>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/strip_walk.h"
#include "render/vertex_emitters.h"

using namespace qv::render;

unsigned QV_CALL RenderContourLines(const double* segments, double level, double zScale, int count) {
  const double z = level * zScale;
  glBegin(GL_LINES);
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const double* segment = segments + 4 * i;
    glVertex3d(segment[0], segment[1], z);
    glVertex3d(segment[2], segment[3], z);
  }
  glEnd();
  return 0;
}

unsigned QV_CALL RenderContourLinesf(const float* segments, float level, float zScale, int count) {
  const float z = level * zScale;
  glBegin(GL_LINES);
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const float* segment = segments + 4 * i;
    glVertex3f(segment[0], segment[1], z);
    glVertex3f(segment[2], segment[3], z);
  }
  glEnd();
  return 0;
}

unsigned QV_CALL RenderSilhouetteLines(const float* h, int width, int height, int colStep, int rowStep,
                                       float zScale, float xOffset, float yOffset, float xSize, float ySize) {
  if (width < 1 || height < 1 || colStep < 1 || rowStep < 1) return 0;
  const auto emitters =
      MakeVertexSink(Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
  const GLSink<decltype(emitters)> sink = {width, GL_LINE_STRIP, emitters};
  WalkRows(width, height, colStep, rowStep, sink);
  WalkColumns(width, height, colStep, rowStep, sink);
  return 0;
}
