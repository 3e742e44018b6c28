// The surface family: one strip walk over a placement and a list of per-vertex attributes. An export is the
// choice of the three, made at compile time.
#include <cstddef>
#include <cstdint>

#include <GL/glew.h>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "render/shader_slots.h"
#include "render/strip_walk.h"

namespace {

struct Sample {
  std::ptrdiff_t column, row, index;
};

// ---------------------------------------------------------------------------------------------------------------
// Per-vertex attributes

struct Normal {
  const float* normals;
  void operator()(const Sample& s) const { glNormal3fv(normals + 3 * s.index); }
};

struct NormalDouble {
  const double* normals;
  void operator()(const Sample& s) const { glNormal3dv(normals + 3 * s.index); }
};

struct Grey {
  const float* grey;
  void operator()(const Sample& s) const { glColor3f(grey[s.index], grey[s.index], grey[s.index]); }
};

struct GreyDouble {
  const double* grey;
  void operator()(const Sample& s) const { glColor3d(grey[s.index], grey[s.index], grey[s.index]); }
};

struct Rgb {
  const float* rgb;
  void operator()(const Sample& s) const { glColor3fv(rgb + 3 * s.index); }
};

struct Texture {
  const float* tex;
  void operator()(const Sample& s) const { glTexCoord1f(tex[s.index]); }
};

struct TextureDouble {
  const double* tex;
  void operator()(const Sample& s) const { glTexCoord1d(tex[s.index]); }
};

/// An image draped over the whole grid.
struct Image {
  Image(int width, int height)
      : columns(static_cast<float>(std::int64_t{width} - 1)),
        rows(static_cast<float>(std::int64_t{height} - 1)) {}
  void operator()(const Sample& s) const {
    glTexCoord2f(static_cast<float>(s.column) / columns, static_cast<float>(s.row) / rows);
  }

 private:
  float columns, rows;
};

/// One colour, darkened sample by sample.
struct Darkened {
  Darkened(int color, const float* darkness)
      : red(Channel(color, 0)), green(Channel(color, 8)), blue(Channel(color, 16)), ao(darkness) {}
  void operator()(const Sample& s) const {
    const float factor = ao[s.index];
    glColor3f(red * factor, green * factor, blue * factor);
  }

 private:
  static float Channel(int color, int shift) {
    return static_cast<float>((static_cast<unsigned>(color) >> shift) & 0xFFU) * 0.003921569F;
  }
  float red, green, blue;
  const float* ao;
};

struct ShaderAttribute {
  GLuint location;
  const float* values;
  void operator()(const Sample& s) const { glVertexAttrib1f(location, values[s.index]); }
};

/// Where a shader takes the attribute, or -1 where there is nothing to give it to.
GLint AttributeLocation(int slot, const char* name) {
  if (!qv::render::IsShaderSlot(slot) || glGetAttribLocationARB == nullptr || glVertexAttrib1f == nullptr)
    return -1;
  return glGetAttribLocationARB(qv::render::shaderSlots.program[slot], name);
}

// ---------------------------------------------------------------------------------------------------------------
// Placements

struct Heights {
  const float* h;
  float zScale;
  float operator()(const Sample& s) const { return zScale * h[s.index]; }
};

struct Level {
  float z;
  float operator()(const Sample& /*s*/) const { return z; }
};

/// Single precision throughout; the spacings are rounded quotients.
template <class Elevation>
struct Frame {
  Frame(int width, int height, float xShift, float yShift, float xSize, float ySize, Elevation z)
      : dx(xSize / static_cast<float>(std::int64_t{width} - 1)),
        dy(ySize / static_cast<float>(std::int64_t{height} - 1)),
        xOffset(xShift),
        yOffset(yShift),
        elevation(z) {}
  /// The y offset is subtracted: kept, hosts rely on it.
  void operator()(const Sample& s) const {
    glVertex3f(static_cast<float>(s.column) * dx + xOffset, static_cast<float>(s.row) * dy - yOffset,
               elevation(s));
  }

 private:
  float dx, dy, xOffset, yOffset;
  Elevation elevation;
};

/// The square from -0.5 to 0.5.
struct UnitFrame {
  UnitFrame(int width, int height, const double* heights, double scale)
      : columns(static_cast<double>(width) - 1),
        rows(static_cast<double>(height) - 1),
        h(heights),
        zScale(scale) {}
  void operator()(const Sample& s) const {
    glVertex3d(static_cast<double>(s.column) / columns - 0.5, static_cast<double>(s.row) / rows - 0.5,
               zScale * h[s.index]);
  }

 private:
  double columns, rows;
  const double* h;
  double zScale;
};

// ---------------------------------------------------------------------------------------------------------------
// Drawing

/// What strips the walk makes of the grid.
struct Strips {
  int width, height, colStep, rowStep;
  GLenum mode;
  bool Empty() const { return width < 1 || height < 1 || colStep < 1 || rowStep < 1; }
};

/// The sink of the walk: the attributes in order, then the vertex.
template <class... Emitters>
struct VertexSink;

template <>
struct VertexSink<> {
  void Emit(const Sample& /*s*/) const {}
};

template <class First, class... Rest>
struct VertexSink<First, Rest...> {
  First first;
  VertexSink<Rest...> rest;
  void Emit(const Sample& s) const {
    first(s);
    rest.Emit(s);
  }
};

VertexSink<> MakeVertexSink() {
  return {};
}

template <class First, class... Rest>
VertexSink<First, Rest...> MakeVertexSink(First first, Rest... rest) {
  return {first, MakeVertexSink(rest...)};
}

template <class Emitters>
struct GLSink {
  std::ptrdiff_t width;
  GLenum mode;
  Emitters emitters;
  void Begin() const { glBegin(mode); }
  void Vertex(std::ptrdiff_t column, std::ptrdiff_t row) const {
    emitters.Emit({column, row, row * width + column});
  }
  void End() const { glEnd(); }
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
  qv::render::ForEachRowPairAndClosing(
      strips.height, strips.rowStep, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
        qv::render::WalkStrip(strips.width, strips.colStep, lower, upper, sink);
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
  qv::render::ForEachRowPairAndClosing(
      strips.height, strips.rowStep, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
        qv::render::WalkStripAroundHoles(strips.width, strips.colStep, lower, upper, missing, sink);
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
  qv::render::ForEachRowPair(height, 1, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
    qv::render::WalkStrip(width, 1, lower, upper, sink);
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
