// The four walls that close a surface down to a base plane, with black edges.
#include <cstddef>
#include <cstdint>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/strip_walk.h"

namespace {

// The two types of samples and the calls that take them.
void Vertex(float x, float y, float z) {
  glVertex3f(x, y, z);
}
void Vertex(double x, double y, double z) {
  glVertex3d(x, y, z);
}
void Direction(float x, float y, float z) {
  glNormal3f(x, y, z);
}
void Direction(double x, double y, double z) {
  glNormal3d(x, y, z);
}

/// Where the walls stand. Columns go from left to right, rows from the front to the back.
template <class Real>
struct Box {
  Real left, right, front, back;
};

template <class Real>
struct Walls {
  const Real* h;
  std::ptrdiff_t width, height, colStep, rowStep;
  Real zScale;
  Box<Real> box;

  static constexpr Real kBase = static_cast<Real>(-0.005);

  Real Top(std::ptrdiff_t column, std::ptrdiff_t row) const { return zScale * h[row * width + column]; }

  /// The walls to the front and back: x is the position of a column.
  template <class X>
  void AlongColumns(X x) const {
    glBegin(GL_TRIANGLE_STRIP);
    Direction(Real{0}, Real{-1}, Real{0});
    qv::render::ForEachColumn(width, colStep, [&](std::ptrdiff_t column) {
      Vertex(x(column), box.front, Top(column, 0));
      Vertex(x(column), box.front, kBase);
    });
    glEnd();
    glBegin(GL_TRIANGLE_STRIP);
    Direction(Real{0}, Real{1}, Real{0});
    qv::render::ForEachColumn(width, colStep, [&](std::ptrdiff_t column) {
      Vertex(x(column), box.back, kBase);
      Vertex(x(column), box.back, Top(column, height - 1));
    });
    glEnd();
  }

  /// The walls to the left and right: y is the position of a row.
  template <class Y>
  void AlongRows(Y y) const {
    glBegin(GL_TRIANGLE_STRIP);
    Direction(Real{-1}, Real{0}, Real{0});
    qv::render::ForEachColumn(height, rowStep, [&](std::ptrdiff_t row) {
      Vertex(box.left, y(row), kBase);
      Vertex(box.left, y(row), Top(0, row));
    });
    glEnd();
    glBegin(GL_TRIANGLE_STRIP);
    Direction(Real{1}, Real{0}, Real{0});
    qv::render::ForEachColumn(height, rowStep, [&](std::ptrdiff_t row) {
      Vertex(box.right, y(row), Top(width - 1, row));
      Vertex(box.right, y(row), kBase);
    });
    glEnd();
  }

  static void BaseEdge(Real x1, Real y1, Real x2, Real y2) {
    Vertex(x1, y1, kBase);
    Vertex(x2, y2, kBase);
  }

  void CornerEdge(std::ptrdiff_t column, std::ptrdiff_t row, Real x, Real y) const {
    Vertex(x, y, Top(column, row));
    Vertex(x, y, kBase);
  }

  void Edges() const {
    glBegin(GL_LINES);
    CornerEdge(0, 0, box.left, box.front);
    CornerEdge(width - 1, 0, box.right, box.front);
    CornerEdge(0, height - 1, box.left, box.back);
    CornerEdge(width - 1, height - 1, box.right, box.back);
    BaseEdge(box.left, box.back, box.right, box.back);
    BaseEdge(box.left, box.front, box.right, box.front);
    BaseEdge(box.left, box.front, box.left, box.back);
    BaseEdge(box.right, box.front, box.right, box.back);
    glEnd();
  }

  /// The polygon mode stays filled and the colour black: hosts rely on it.
  template <class X, class Y>
  void Draw(X x, Y y) const {
    constexpr float kGrey = static_cast<float>(0x50) * 0.003921569F;
    glColor3f(kGrey, kGrey, kGrey);
    // The walls give way to the edges, which lie in them.
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(1.0F, 1.0F);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    AlongColumns(x);
    AlongRows(y);
    glDisable(GL_POLYGON_OFFSET_FILL);
    glColor3f(0.0F, 0.0F, 0.0F);
    Edges();
  }
};

bool Nothing(int width, int height, int colStep, int rowStep) {
  return width < 1 || height < 1 || colStep < 1 || rowStep < 1;
}

unsigned DrawFloats(const float* h, int width, int height, int colStep, int rowStep, float zScale,
                    float xOffset, float yBack, float xSize, float ySize) {
  if (Nothing(width, height, colStep, rowStep)) return 0;
  const float dx = xSize / static_cast<float>(width - 1), dy = ySize / static_cast<float>(height - 1);
  const float front = yBack - ySize;
  const Box<float> box = {xOffset, xOffset + xSize, front, yBack};
  Walls<float>{h, width, height, colStep, rowStep, zScale, box}.Draw(
      [=](std::ptrdiff_t column) { return static_cast<float>(column) * dx + xOffset; },
      [=](std::ptrdiff_t row) { return static_cast<float>(row) * dy + front; });
  return 0;
}

}  // namespace

unsigned QV_CALL RenderSideWalls(const double* h, int width, int height, int step, double zScale) {
  if (Nothing(width, height, step, step)) return 0;
  GLint mode[2] = {GL_FILL, GL_FILL};
  glGetIntegerv(GL_POLYGON_MODE, mode);
  const double columns = static_cast<double>(width) - 1, rows = static_cast<double>(height) - 1;
  Walls<double>{h, width, height, step, step, zScale, {-0.5, 0.5, -0.5, 0.5}}.Draw(
      [=](std::ptrdiff_t column) { return static_cast<double>(column) / columns - 0.5; },
      [=](std::ptrdiff_t row) { return static_cast<double>(row) / rows - 0.5; });
  glPolygonMode(GL_FRONT, static_cast<GLenum>(mode[0]));
  glPolygonMode(GL_BACK, static_cast<GLenum>(mode[1]));
  return 0;
}

unsigned QV_CALL RenderSideWallsf(const float* h, int width, int height, int step, float zScale,
                                  float xOffset, float yBack, float xSize, float ySize) {
  return DrawFloats(h, width, height, step, step, zScale, xOffset, yBack, xSize, ySize);
}

unsigned QV_CALL RenderSideWallsf2(const float* h, int width, int height, int colStep, int rowStep,
                                   float zScale, float xOffset, float yBack, float xSize, float ySize) {
  return DrawFloats(h, width, height, colStep, rowStep, zScale, xOffset, yBack, xSize, ySize);
}
