// The surface family: one strip walk over a placement and a list of per-vertex attributes. An export is the
// choice of the three, made at compile time.
#include <cstddef>

#include <GL/glew.h>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "render/shader_slots.h"
#include "render/strip_walk.h"
#include "render/vertex_emitters.h"

namespace {

using namespace qv::render;

/// Where a shader takes the attribute, or -1 where there is nothing to give it to.
GLint AttributeLocation(int slot, const char* name) {
  if (!IsShaderSlot(slot) || glGetAttribLocationARB == nullptr || glVertexAttrib1f == nullptr) return -1;
  return glGetAttribLocationARB(shaderSlots.program[slot], name);
}

// ---------------------------------------------------------------------------------------------------------------
// Drawing

/// What strips the walk makes of the grid.
struct Strips {
  int width, height, colStep, rowStep;
  GLenum mode;
  bool Empty() const { return width < 1 || height < 1 || colStep < 1 || rowStep < 1; }
};

template <class... Emitters>
auto SinkOf(const Strips& strips, Emitters... emitters) {
  const auto list = MakeVertexSink(emitters...);
  return GLSink<decltype(list)>{strips.width, strips.mode, list};
}

/// Draws every sample as a height. The last emitter is the placement.
template <class... Emitters>
unsigned Draw(const Strips& strips, Emitters... emitters) {
  if (strips.Empty()) return 0;
  const auto sink = SinkOf(strips, emitters...);
  ForEachRowPairAndClosing(strips.height, strips.rowStep, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
    WalkStrip(strips.width, strips.colStep, lower, upper, sink);
  });
  return 0;
}

/// Leaves holes where a height is missing. The last emitter is the placement.
template <class IsMissing, class... Emitters>
unsigned DrawAroundHoles(const Strips& strips, IsMissing isMissing, Emitters... emitters) {
  if (strips.Empty()) return 0;
  const auto sink = SinkOf(strips, emitters...);
  const std::ptrdiff_t width = strips.width;
  const auto missing = [=](std::ptrdiff_t column, std::ptrdiff_t row) {
    return isMissing(row * width + column);
  };
  ForEachRowPairAndClosing(strips.height, strips.rowStep, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
    WalkStripAroundHoles(strips.width, strips.colStep, lower, upper, missing, sink);
  });
  return 0;
}

struct MissingIn {
  const float* h;
  bool operator()(std::ptrdiff_t index) const { return qv::HasMissingBits(h[index]); }
};

/// A NaN is neither above nor below the range: it is drawn.
struct MissingOrClipped {
  const float* h;
  float maximum, minimum;
  bool operator()(std::ptrdiff_t index) const {
    return qv::HasMissingBits(h[index]) || h[index] > maximum || h[index] < minimum;
  }
};

/// Where the shader does not take the attribute, the vertices go without.
template <class Placement, class... Emitters>
unsigned DrawShaded(const Strips& strips, const float* h, int shader, const char* name, const float* values,
                    Placement placement, Emitters... emitters) {
  if (strips.Empty()) return 0;
  const GLint location = AttributeLocation(shader, name);
  if (location < 0) return DrawAroundHoles(strips, MissingIn{h}, emitters..., placement);
  const ShaderAttribute attribute = {static_cast<GLuint>(location), values};
  return DrawAroundHoles(strips, MissingIn{h}, emitters..., attribute, placement);
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------
// Exports

unsigned QV_CALL RenderSurface(const double* h, const double* normals, int width, int height,
                               int /*unused*/) {
  const Strips strips = {width, height, 1, 1, GL_QUAD_STRIP};
  if (strips.Empty()) return 0;
  glEnable(GL_NORMALIZE);
  glColor3f(0.5F, 0.5F, 0.5F);
  const auto sink = SinkOf(strips, NormalDouble{normals}, UnitFrame(width, height, h, 1.0));
  ForEachRowPair(height, 1, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
    WalkStrip(width, 1, lower, upper, sink);
  });
  return 0;
}

unsigned QV_CALL RenderSurfacef(const float* h, int width, int height, int step, unsigned mode, float zScale,
                                float xOffset, float yOffset, float xSize, float ySize) {
  return Draw({width, height, step, step, mode},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfacef2(const float* h, int width, int height, int colStep, int rowStep,
                                 unsigned mode, float zScale, float xOffset, float yOffset, float xSize,
                                 float ySize) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithNormalsf(const float* h, const float* normals, int width, int height,
                                           int step, unsigned mode, float zScale, float xOffset,
                                           float yOffset, float xSize, float ySize) {
  return Draw({width, height, step, step, mode}, Normal{normals},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithNormalsf2(const float* h, const float* normals, int width, int height,
                                            int colStep, int rowStep, unsigned mode, float zScale,
                                            float xOffset, float yOffset, float xSize, float ySize) {
  return Draw({width, height, colStep, rowStep, mode}, Normal{normals},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithNormalsf3(const float* h, const float* normals, int width, int height,
                                            int colStep, int rowStep, unsigned mode, float zScale,
                                            float xOffset, float yOffset, float xSize, float ySize) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h}, Normal{normals},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithNormalsf4(const float* h, const float* normals, int width, int height,
                                            int colStep, int rowStep, unsigned mode, float zScale,
                                            float xOffset, float yOffset, float xSize, float ySize, int color,
                                            const float* ao) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h}, Darkened(color, ao),
                         Normal{normals},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithNormalsf5(const float* h, const float* normals, int width, int height,
                                            int colStep, int rowStep, unsigned mode, float zScale,
                                            float xOffset, float yOffset, float xSize, float ySize,
                                            int shader, const float* ao) {
  return DrawShaded({width, height, colStep, rowStep, mode}, h, shader, "ambient_occlusion", ao,
                    Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}),
                    Normal{normals});
}

unsigned QV_CALL RenderSurfaceWithNormalsWithAmbOccf(const float* h, const float* normals, int width,
                                                     int height, int colStep, int rowStep, unsigned mode,
                                                     float zScale, float xOffset, float yOffset, float xSize,
                                                     float ySize, int shader, const float* ao) {
  return DrawShaded({width, height, colStep, rowStep, mode}, h, shader, "Accessibility", ao,
                    Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}),
                    Normal{normals});
}

unsigned QV_CALL RenderSurfaceWithColorsAndNormals(const double* h, const double* normals, const double* grey,
                                                   int width, int height, int step, unsigned mode,
                                                   double zScale) {
  return Draw({width, height, step, step, mode}, GreyDouble{grey}, NormalDouble{normals},
              UnitFrame(width, height, h, zScale));
}

unsigned QV_CALL RenderSurfaceWithColorsAndNormalsf(const float* h, const float* normals, const float* grey,
                                                    int width, int height, int step, unsigned mode,
                                                    float zScale, float xOffset, float yOffset, float xSize,
                                                    float ySize) {
  return Draw({width, height, step, step, mode}, Grey{grey}, Normal{normals},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithColorsAndNormalsf3(const float* h, const float* normals, const float* rgb,
                                                     int width, int height, int colStep, int rowStep,
                                                     unsigned mode, float zScale, float xOffset,
                                                     float yOffset, float xSize, float ySize) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h}, Rgb{rgb}, Normal{normals},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormals(const double* h, const double* normals, const double* tex,
                                                    int width, int height, int step, unsigned mode,
                                                    double zScale) {
  return Draw({width, height, step, step, mode}, TextureDouble{tex}, NormalDouble{normals},
              UnitFrame(width, height, h, zScale));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf(const float* h, const float* normals, const float* tex,
                                                     int width, int height, int step, unsigned mode,
                                                     float zScale, float xOffset, float yOffset, float xSize,
                                                     float ySize) {
  return Draw({width, height, step, step, mode}, Texture{tex}, Normal{normals},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf2(const float* h, const float* normals, const float* tex,
                                                      int width, int height, int colStep, int rowStep,
                                                      unsigned mode, float zScale, float xOffset,
                                                      float yOffset, float xSize, float ySize) {
  return Draw({width, height, colStep, rowStep, mode}, Texture{tex}, Normal{normals},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf3(const float* h, const float* normals, const float* tex,
                                                      int width, int height, int colStep, int rowStep,
                                                      unsigned mode, float zScale, float xOffset,
                                                      float yOffset, float xSize, float ySize) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h}, Texture{tex}, Normal{normals},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormalsAndClipping(const float* h, const float* normals,
                                                               const float* tex, int width, int height,
                                                               int colStep, int rowStep, unsigned mode,
                                                               float zScale, float xOffset, float yOffset,
                                                               float xSize, float ySize, float clipMax,
                                                               float clipMin) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingOrClipped{h, clipMax, clipMin},
                         Texture{tex}, Normal{normals},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormalsAndAOColorf3(const float* h, const float* normals,
                                                                const float* tex, const float* rgb, int width,
                                                                int height, int colStep, int rowStep,
                                                                unsigned mode, float zScale, float xOffset,
                                                                float yOffset, float xSize, float ySize) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h}, Texture{tex}, Rgb{rgb},
                         Normal{normals},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}

unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf4(const float* h, const float* normals, const float* tex,
                                                      int width, int height, int colStep, int rowStep,
                                                      unsigned mode, float zScale, float xOffset,
                                                      float yOffset, float xSize, float ySize, int shader,
                                                      const float* ao) {
  return DrawShaded({width, height, colStep, rowStep, mode}, h, shader, "ambient_occlusion", ao,
                    Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}), Texture{tex},
                    Normal{normals});
}

unsigned QV_CALL RenderProjectedSurfaceWithTexture(const float* tex, int width, int height, int colStep,
                                                   int rowStep, float zScale, unsigned mode, float zLevel,
                                                   float xOffset, float yOffset, float xSize, float ySize) {
  return Draw({width, height, colStep, rowStep, mode}, Texture{tex},
              Frame(width, height, xOffset, yOffset, xSize, ySize, Level{zScale * zLevel}));
}

unsigned QV_CALL RenderProjectedSurfaceWithTexture2(const float* h, const float* tex, int width, int height,
                                                    int colStep, int rowStep, float zScale, unsigned mode,
                                                    float zLevel, float xOffset, float yOffset, float xSize,
                                                    float ySize) {
  return DrawAroundHoles({width, height, colStep, rowStep, mode}, MissingIn{h}, Texture{tex},
                         Frame(width, height, xOffset, yOffset, xSize, ySize, Level{zScale * zLevel}));
}

unsigned QV_CALL RenderSurfaceWith2DTexturef2(const float* h, int width, int height, int colStep, int rowStep,
                                              unsigned mode, float zScale, float xOffset, float yOffset,
                                              float xSize, float ySize) {
  return Draw({width, height, colStep, rowStep, mode}, Image(width, height),
              Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
}
