// Picking: every triangle or sample under a name of its own. And the points of a surface as an array.
#include <cstddef>
#include <cstdint>

#include <GL/glew.h>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "render/vertex_emitters.h"

namespace {

using namespace qv::render;

/// Draws primitives of samples, each under its name, unless one of its samples is missing.
struct NamedSamples {
  const float* h;
  std::ptrdiff_t width;
  GLenum mode;
  Frame<Heights> place;

  struct Corner {
    std::ptrdiff_t column, row;
  };

  bool Missing(const Corner& corner) const { return qv::IsMissing(h[corner.row * width + corner.column]); }
  void Vertex(const Corner& corner) const {
    place({corner.column, corner.row, corner.row * width + corner.column});
  }

  /// Names wrap to 32 bits, as OpenGL holds them.
  template <class... Corners>
  void Primitive(std::ptrdiff_t name, const Corners&... corners) const {
    if ((Missing(corners) || ...)) return;
    glLoadName(static_cast<GLuint>(name));
    glBegin(mode);
    (Vertex(corners), ...);
    glEnd();
  }
};

}  // namespace

unsigned QV_CALL CreateSurfaceXYZ(float* xyz, const float* h, int width, int height, float zScale,
                                  float xOffset, float yTop, float xSize, float ySize) {
  if (width < 1 || height < 1) return 0;
  const float dx = xSize / static_cast<float>(width - 1), dy = ySize / static_cast<float>(height - 1);
  for (std::ptrdiff_t row = 0; row < height; ++row) {
    const float y = yTop - static_cast<float>(height - 1 - row) * dy;
    const float* samples = h + row * width;
    float* points = xyz + 3 * row * width;
    for (std::ptrdiff_t column = 0; column < width; ++column) {
      const float z = samples[column];
      points[3 * column] = static_cast<float>(static_cast<int>(column)) * dx + xOffset;
      points[3 * column + 1] = y;
      points[3 * column + 2] = qv::IsMissing(z) ? qv::kBadSampleFloat : zScale * z;
    }
  }
  return 0;
}

unsigned QV_CALL RenderTrianglesForSelection(const float* h, int width, int height, unsigned mode,
                                             float zScale, float xOffset, float yOffset, float xSize,
                                             float ySize) {
  const NamedSamples samples = {h, width, mode,
                                Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale})};
  // Upper triangles have names of their own, above all lower ones.
  const std::int64_t upperNames = std::int64_t{width} * height;
  for (std::ptrdiff_t row = 0; row < std::ptrdiff_t{height} - 1; ++row) {
    for (std::ptrdiff_t column = 0; column < std::ptrdiff_t{width} - 1; ++column) {
      const NamedSamples::Corner here = {column, row}, right = {column + 1, row}, above = {column, row + 1},
                                 across = {column + 1, row + 1};
      const std::ptrdiff_t name = row * width + column;
      samples.Primitive(name, here, right, above);
      samples.Primitive(static_cast<std::ptrdiff_t>(name + upperNames), right, across, above);
    }
  }
  return 0;
}

unsigned QV_CALL RenderPointsForSelection(const float* h, int width, int height, unsigned mode, float zScale,
                                          float xOffset, float yOffset, float xSize, float ySize) {
  const NamedSamples samples = {h, width, mode,
                                Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale})};
  for (std::ptrdiff_t row = 0; row < height; ++row) {
    for (std::ptrdiff_t column = 0; column < width; ++column) {
      samples.Primitive(row * width + column, NamedSamples::Corner{column, row});
    }
  }
  return 0;
}
