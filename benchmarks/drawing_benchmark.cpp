// Walls, profiles, lines, picking and index lists beside the same walk by hand, which makes the same calls in
// the same order. 1024 x 1024 samples over an OpenGL that does nothing, 256 x 256 where there is one; what
// comes after the vertices is left out.
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "benchmarks/alternating.h"
#include "benchmarks/drawing_gl.h"
#include "exports/QV_3D.h"

namespace {

int Side() {
  return qv::bench::DrawsPixels() ? 256 : 1024;
}

/// What the arguments are: not known to the compiler.
struct Place {
  int width = Side(), height = Side(), step = 1;
  unsigned mode = GL_TRIANGLE_STRIP;
  float zScale = 1, xOffset = -0.5F, yOffset = 0.5F, xSize = 1, ySize = 1;
  float Dx() const { return xSize / static_cast<float>(width - 1); }
  float Dy() const { return ySize / static_cast<float>(height - 1); }
};

struct Data {
  std::vector<float> h, vertices, normals, tex, segments;
  std::vector<unsigned> indices, starts;
  std::vector<int> signedStarts;
  unsigned indexCount = 0, stripCount = 0;

  Data() {
    const int side = Side();
    for (int k = 0; k < side * side; ++k) {
      const double x = k % side / double(side - 1), y = k / side / double(side - 1);  // NOLINT
      h.push_back(static_cast<float>(0.1 * std::sin(20 * x) * std::cos(15 * y)));
      tex.push_back(static_cast<float>(x));
      for (const double v : {x, y, x + 0.001, y + 0.001}) segments.push_back(static_cast<float>(v - 0.5));
    }
    vertices.resize(3 * h.size());
    normals.resize(3 * h.size(), 0.5F);
    CreateSurfaceXYZ(vertices.data(), h.data(), side, side, 1, 0, 0, 1, 1);
    indices.resize(3 * h.size());
    starts.resize(h.size());
    CreateIndiciesList(h.data(), side, side, indices.data(), starts.data(), &indexCount, &stripCount);
    signedStarts.assign(starts.begin(), starts.begin() + stripCount + 1);
  }
};

Data& TheData() {
  static Data data;
  return data;
}

// ---------------------------------------------------------------------------------------------------------------
// By hand

void WaterfallByHand(const Data& d, const Place& p) {
  const float* h = d.h.data();
  const float* tex = d.tex.data();
  const float dx = p.Dx(), dy = p.Dy();
  const auto row = [&](int j) {
    const float y = static_cast<float>(j) * dy - p.yOffset;
    const auto sample = [&](int i) {
      const std::ptrdiff_t k = std::ptrdiff_t{j} * p.width + i;
      glTexCoord1f(tex[k]);
      glVertex3f(static_cast<float>(i) * dx + p.xOffset, y, p.zScale * h[k]);
    };
    glBegin(p.mode);
    for (int i = 0; i < p.width - p.step; i += p.step) sample(i);
    sample(p.width - 1);
    glEnd();
  };
  for (int j = 0; j < p.height - p.step; j += p.step) row(j);
  row(p.height - 1);
}

void SilhouetteByHand(const Data& d, const Place& p) {
  const float* h = d.h.data();
  const float dx = p.Dx(), dy = p.Dy();
  const auto sample = [&](int i, int j) {
    glVertex3f(static_cast<float>(i) * dx + p.xOffset, static_cast<float>(j) * dy - p.yOffset,
               p.zScale * h[std::ptrdiff_t{j} * p.width + i]);
  };
  const auto row = [&](int j) {
    glBegin(GL_LINE_STRIP);
    for (int i = 0; i < p.width - p.step; i += p.step) sample(i, j);
    sample(p.width - 1, j);
    glEnd();
  };
  const auto column = [&](int i) {
    glBegin(GL_LINE_STRIP);
    for (int j = 0; j < p.height - p.step; j += p.step) sample(i, j);
    sample(i, p.height - 1);
    glEnd();
  };
  for (int j = 0; j < p.height - p.step; j += p.step) row(j);
  row(p.height - 1);
  for (int i = 0; i < p.width - p.step; i += p.step) column(i);
  column(p.width - 1);
}

bool Missing(float z) {
  return !(z < -1e10F || z > -1e10F);
}

void TrianglesByHand(const Data& d, const Place& p) {
  const float* h = d.h.data();
  const float dx = p.Dx(), dy = p.Dy();
  for (int j = 0; j < p.height - 1; ++j) {
    for (int i = 0; i < p.width - 1; ++i) {
      const std::ptrdiff_t k = std::ptrdiff_t{j} * p.width + i;
      const float z00 = h[k], z10 = h[k + 1], z01 = h[k + p.width], z11 = h[k + p.width + 1];
      const float x0 = static_cast<float>(i) * dx + p.xOffset,
                  x1 = static_cast<float>(i + 1) * dx + p.xOffset;
      const float y0 = static_cast<float>(j) * dy - p.yOffset,
                  y1 = static_cast<float>(j + 1) * dy - p.yOffset;
      if (!Missing(z00) && !Missing(z10) && !Missing(z01)) {
        glLoadName(static_cast<GLuint>(k));
        glBegin(p.mode);
        glVertex3f(x0, y0, p.zScale * z00);
        glVertex3f(x1, y0, p.zScale * z10);
        glVertex3f(x0, y1, p.zScale * z01);
        glEnd();
      }
      if (!Missing(z10) && !Missing(z11) && !Missing(z01)) {
        glLoadName(static_cast<GLuint>(k + std::ptrdiff_t{p.width} * p.height));
        glBegin(p.mode);
        glVertex3f(x1, y0, p.zScale * z10);
        glVertex3f(x1, y1, p.zScale * z11);
        glVertex3f(x0, y1, p.zScale * z01);
        glEnd();
      }
    }
  }
}

void PointsByHand(const Data& d, const Place& p) {
  const float* h = d.h.data();
  const float dx = p.Dx(), dy = p.Dy();
  for (int j = 0; j < p.height; ++j) {
    const float y = static_cast<float>(j) * dy - p.yOffset;
    for (int i = 0; i < p.width; ++i) {
      const std::ptrdiff_t k = std::ptrdiff_t{j} * p.width + i;
      if (Missing(h[k])) continue;
      glLoadName(static_cast<GLuint>(k));
      glBegin(p.mode);
      glVertex3f(static_cast<float>(i) * dx + p.xOffset, y, p.zScale * h[k]);
      glEnd();
    }
  }
}

void EdgesByHand(const Data& d, const Place& p, float left, float right, float front) {
  const float* h = d.h.data();
  const float back = p.yOffset, base = -0.005F;
  const float* last = h + std::ptrdiff_t{p.height - 1} * p.width;
  const auto line = [](float x1, float y1, float z1, float x2, float y2, float z2) {
    glVertex3f(x1, y1, z1);
    glVertex3f(x2, y2, z2);
  };
  glBegin(GL_LINES);
  line(left, front, p.zScale * h[0], left, front, base);
  line(right, front, p.zScale * h[p.width - 1], right, front, base);
  line(left, back, p.zScale * last[0], left, back, base);
  line(right, back, p.zScale * last[p.width - 1], right, back, base);
  line(left, back, base, right, back, base);
  line(left, front, base, right, front, base);
  line(left, front, base, left, back, base);
  line(right, front, base, right, back, base);
  glEnd();
}

void WallsByHand(const Data& d, const Place& p) {
  const float* h = d.h.data();
  const float dx = p.Dx(), dy = p.Dy(), front = p.yOffset - p.ySize, right = p.xOffset + p.xSize,
              base = -0.005F, grey = 80 * 0.003921569F;
  glColor3f(grey, grey, grey);
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(1, 1);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  const auto walk = [&](int count, float normalX, float normalY, auto sample) {
    glBegin(GL_TRIANGLE_STRIP);
    glNormal3f(normalX, normalY, 0);
    for (int i = 0; i < count - p.step; i += p.step) sample(i);
    sample(count - 1);
    glEnd();
  };
  walk(p.width, 0, -1, [&](int i) {
    const float x = static_cast<float>(i) * dx + p.xOffset;
    glVertex3f(x, front, p.zScale * h[i]);
    glVertex3f(x, front, base);
  });
  const float* last = h + std::ptrdiff_t{p.height - 1} * p.width;
  walk(p.width, 0, 1, [&](int i) {
    const float x = static_cast<float>(i) * dx + p.xOffset;
    glVertex3f(x, p.yOffset, base);
    glVertex3f(x, p.yOffset, p.zScale * last[i]);
  });
  walk(p.height, -1, 0, [&](int j) {
    const float y = static_cast<float>(j) * dy + front;
    glVertex3f(p.xOffset, y, base);
    glVertex3f(p.xOffset, y, p.zScale * h[std::ptrdiff_t{j} * p.width]);
  });
  walk(p.height, 1, 0, [&](int j) {
    const float y = static_cast<float>(j) * dy + front;
    glVertex3f(right, y, p.zScale * h[std::ptrdiff_t{j} * p.width + p.width - 1]);
    glVertex3f(right, y, base);
  });
  glDisable(GL_POLYGON_OFFSET_FILL);
  glColor3f(0, 0, 0);
  EdgesByHand(d, p, p.xOffset, right, front);
}

void ContoursByHand(const Data& d, const Place& p) {
  const float z = 0.25F * p.zScale;
  const std::size_t count = d.segments.size();
  const float* segments = d.segments.data();
  glBegin(GL_LINES);
  for (std::size_t i = 0; i < count; i += 4) {
    glVertex3f(segments[i], segments[i + 1], z);
    glVertex3f(segments[i + 2], segments[i + 3], z);
  }
  glEnd();
}

void IndexedByHand(const Data& d, const Place& p) {
  const unsigned* indices = d.indices.data();
  const float* vertices = d.vertices.data();
  const float* normals = d.normals.data();
  const float* tex = d.tex.data();
  for (unsigned s = 0; s < d.stripCount; ++s) {
    if (d.signedStarts[s] == d.signedStarts[s + 1]) continue;
    glBegin(p.mode);
    for (int i = d.signedStarts[s]; i < d.signedStarts[s + 1]; ++i) {
      const std::size_t k = indices[i];
      glNormal3fv(normals + 3 * k);
      glTexCoord1f(tex[k]);
      glVertex3fv(vertices + 3 * k);
    }
    glEnd();
  }
}

// ---------------------------------------------------------------------------------------------------------------
// By the library

void Walls(const Data& d, const Place& p) {
  RenderSideWallsf(d.h.data(), p.width, p.height, p.step, p.zScale, p.xOffset, p.yOffset, p.xSize, p.ySize);
}

void Waterfall(const Data& d, const Place& p) {
  RenderWaterfallSurfacef(d.h.data(), 0, d.tex.data(), p.width, p.height, p.step, p.mode, 0, p.zScale,
                          p.xOffset, p.yOffset, p.xSize, p.ySize);
}

void Silhouette(const Data& d, const Place& p) {
  RenderSilhouetteLines(d.h.data(), p.width, p.height, p.step, p.step, p.zScale, p.xOffset, p.yOffset,
                        p.xSize, p.ySize);
}

void Contours(const Data& d, const Place& p) {
  RenderContourLinesf(d.segments.data(), 0.25F, p.zScale, static_cast<int>(d.segments.size() / 4));
}

void Triangles(const Data& d, const Place& p) {
  RenderTrianglesForSelection(d.h.data(), p.width, p.height, p.mode, p.zScale, p.xOffset, p.yOffset, p.xSize,
                              p.ySize);
}

void Points(const Data& d, const Place& p) {
  RenderPointsForSelection(d.h.data(), p.width, p.height, p.mode, p.zScale, p.xOffset, p.yOffset, p.xSize,
                           p.ySize);
}

void Indexed(const Data& d, const Place& p) {
  RenderImmediateMode(static_cast<int>(d.stripCount), d.signedStarts.data(), d.indices.data(),
                      d.vertices.data(), d.normals.data(), d.tex.data(), nullptr, nullptr, p.mode, 1, 0, 0,
                      0);
}

// ---------------------------------------------------------------------------------------------------------------

using Draw = void (*)(const Data&, const Place&);

void Register(const std::string& what, unsigned mode, Draw ours, Draw byHand) {
  const auto call = [=](Draw draw) {
    return [=] {
      Place place;
      place.mode = mode;
      benchmark::DoNotOptimize(place);
      draw(TheData(), place);
      qv::bench::FinishGL();
    };
  };
  const auto prepare = [] { qv::bench::PrepareGL({.rasterised = false}); };
  qv::bench::RegisterPair(what + ", " + qv::bench::GLName(), "by hand", prepare, call(ours), call(byHand))
      ->Unit(benchmark::kMicrosecond)
      ->MinTime(qv::bench::DrawsPixels() ? 1 : 0.5);
}

const bool kRegistered = [] {
  Register("walls", GL_TRIANGLE_STRIP, &Walls, &WallsByHand);
  Register("waterfall", GL_LINE_STRIP, &Waterfall, &WaterfallByHand);
  Register("silhouette lines", GL_LINE_STRIP, &Silhouette, &SilhouetteByHand);
  Register("contour lines", GL_LINES, &Contours, &ContoursByHand);
  Register("selection of triangles", GL_TRIANGLES, &Triangles, &TrianglesByHand);
  Register("selection of points", GL_POINTS, &Points, &PointsByHand);
  Register("index list drawn", GL_TRIANGLE_STRIP, &Indexed, &IndexedByHand);
  return true;
}();

}  // namespace
