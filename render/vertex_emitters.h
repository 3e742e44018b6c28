// What the drawings of a grid give to OpenGL per sample: the attributes, the placement and the sink of a walk
// that gives both. Each is a function of the sample, known at compile time.
#pragma once

#include <cstddef>
#include <cstdint>

#include <GL/glew.h>

namespace qv::render {

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
  float X(std::ptrdiff_t column) const { return static_cast<float>(column) * dx + xOffset; }
  /// The y offset is subtracted: kept, hosts rely on it.
  float Y(std::ptrdiff_t row) const { return static_cast<float>(row) * dy - yOffset; }
  void operator()(const Sample& s) const { glVertex3f(X(s.column), Y(s.row), elevation(s)); }

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
// Sinks

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

inline VertexSink<> MakeVertexSink() {
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

}  // namespace qv::render
