// Walls, profiles, lines, picking and index lists beside the same walk by hand, over an OpenGL that does
// nothing; and the lists that are made for them beside writing as much once. 1024 x 1024 samples.
#include <benchmark/benchmark.h>
#include <cmath>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"

namespace {

constexpr int kSide = 1024;

/// What the arguments are: not known to the compiler.
struct Place {
  int width = kSide, height = kSide, step = 1;
  unsigned mode = GL_TRIANGLE_STRIP;
  float zScale = 1, xOffset = -0.5F, yOffset = 0.5F, xSize = 1, ySize = 1;
  float Dx() const { return xSize / static_cast<float>(width - 1); }
  float Dy() const { return ySize / static_cast<float>(height - 1); }
};

struct Data {
  std::vector<float> h, vertices, normals, tex;
  std::vector<unsigned> indices, starts;
  std::vector<int> signedStarts;
  unsigned indexCount = 0, stripCount = 0;
  std::vector<QV_ShadowTriangle> triangles;

  Data() {
    for (int k = 0; k < kSide * kSide; ++k) {
      const double x = k % kSide / double{kSide - 1}, y = k / kSide / double{kSide - 1};  // NOLINT
      h.push_back(static_cast<float>(0.1 * std::sin(20 * x) * std::cos(15 * y)));
      tex.push_back(static_cast<float>(x));
    }
    vertices.resize(3 * h.size());
    normals.resize(3 * h.size(), 0.5F);
    CreateSurfaceXYZ(vertices.data(), h.data(), kSide, kSide, 1, 0, 0, 1, 1);
    indices.resize(3 * h.size());
    starts.resize(kSide * (kSide / 2 + 1));
    CreateIndiciesList(h.data(), kSide, kSide, indices.data(), starts.data(), &indexCount, &stripCount);
    signedStarts.assign(starts.begin(), starts.begin() + stripCount + 1);
    triangles.resize(2 * h.size());
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

void WallsByHand(const Data& d, const Place& p) {
  const float* h = d.h.data();
  const float dx = p.Dx(), dy = p.Dy(), front = p.yOffset - p.ySize, right = p.xOffset + p.xSize,
              base = -0.005F;
  glColor3f(0.3F, 0.3F, 0.3F);
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(1, 1);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  const auto walk = [&](int count, auto sample) {
    glBegin(GL_TRIANGLE_STRIP);
    glNormal3f(0, 0, 1);
    for (int i = 0; i < count - p.step; i += p.step) sample(i);
    sample(count - 1);
    glEnd();
  };
  walk(p.width, [&](int i) {
    const float x = static_cast<float>(i) * dx + p.xOffset;
    glVertex3f(x, front, p.zScale * h[i]);
    glVertex3f(x, front, base);
  });
  const float* last = h + std::ptrdiff_t{p.height - 1} * p.width;
  walk(p.width, [&](int i) {
    const float x = static_cast<float>(i) * dx + p.xOffset;
    glVertex3f(x, p.yOffset, base);
    glVertex3f(x, p.yOffset, p.zScale * last[i]);
  });
  walk(p.height, [&](int j) {
    const float y = static_cast<float>(j) * dy + front;
    glVertex3f(p.xOffset, y, base);
    glVertex3f(p.xOffset, y, p.zScale * h[std::ptrdiff_t{j} * p.width]);
  });
  walk(p.height, [&](int j) {
    const float y = static_cast<float>(j) * dy + front;
    glVertex3f(right, y, p.zScale * h[std::ptrdiff_t{j} * p.width + p.width - 1]);
    glVertex3f(right, y, base);
  });
  glDisable(GL_POLYGON_OFFSET_FILL);
  glColor3f(0, 0, 0);
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

template <class Draw>
void Register(const std::string& name, Draw draw) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    Data& data = TheData();
    Place place;
    for (auto _ : state) {
      benchmark::DoNotOptimize(place);
      draw(data, place);
      benchmark::ClobberMemory();
    }
  })->Unit(benchmark::kMicrosecond);
}

void RegisterDrawing() {
  Register("walls, null GL/QV_3D", [](const Data& d, const Place& p) {
    RenderSideWallsf(d.h.data(), p.width, p.height, p.step, p.zScale, p.xOffset, p.yOffset, p.xSize, p.ySize);
  });
  Register("walls, null GL/by hand", &WallsByHand);
  Register("waterfall, null GL/QV_3D", [](const Data& d, const Place& p) {
    RenderWaterfallSurfacef(d.h.data(), 0, d.tex.data(), p.width, p.height, p.step, p.mode, 0, p.zScale,
                            p.xOffset, p.yOffset, p.xSize, p.ySize);
  });
  Register("waterfall, null GL/by hand", &WaterfallByHand);
  Register("silhouette lines, null GL/QV_3D", [](const Data& d, const Place& p) {
    RenderSilhouetteLines(d.h.data(), p.width, p.height, p.step, p.step, p.zScale, p.xOffset, p.yOffset,
                          p.xSize, p.ySize);
  });
  Register("silhouette lines, null GL/by hand", &SilhouetteByHand);
  Register("selection of triangles, null GL/QV_3D", [](const Data& d, const Place& p) {
    RenderTrianglesForSelection(d.h.data(), p.width, p.height, p.mode, p.zScale, p.xOffset, p.yOffset,
                                p.xSize, p.ySize);
  });
  Register("selection of triangles, null GL/by hand", &TrianglesByHand);
  Register("selection of points, null GL/QV_3D", [](const Data& d, const Place& p) {
    RenderPointsForSelection(d.h.data(), p.width, p.height, p.mode, p.zScale, p.xOffset, p.yOffset, p.xSize,
                             p.ySize);
  });
  Register("selection of points, null GL/by hand", &PointsByHand);
  Register("index list drawn, null GL/QV_3D", [](const Data& d, const Place& p) {
    RenderImmediateMode(static_cast<int>(d.stripCount), d.signedStarts.data(), d.indices.data(),
                        d.vertices.data(), d.normals.data(), d.tex.data(), nullptr, nullptr, p.mode, 1, 0, 0,
                        0);
  });
  Register("index list drawn, null GL/by hand", &IndexedByHand);
}

void RegisterLists() {
  Register("index list made/QV_3D", [](Data& d, const Place& p) {
    CreateIndiciesList(d.h.data(), p.width, p.height, d.indices.data(), d.starts.data(), &d.indexCount,
                       &d.stripCount);
  });
  Register("index list made/written once", [](Data& d, const Place& /*p*/) {
    for (unsigned i = 0; i < d.indexCount; ++i) d.indices[i] = i;
  });
  Register("shadow structure/QV_3D", [](Data& d, const Place& p) {
    QV_ShadowStructure structure = {0, 0, d.triangles.data()};
    CreateShadowStructure(&structure, 0, p.width, p.height);
  });
  Register("shadow structure/written once", [](Data& d, const Place& p) {
    const std::ptrdiff_t count = 2 * std::ptrdiff_t{p.width - 1} * (p.height - 1);
    for (std::ptrdiff_t t = 0; t < count; ++t) {
      const int i = static_cast<int>(t);
      QV_ShadowTriangle& triangle = d.triangles[static_cast<std::size_t>(t)];
      for (int e = 0; e < 3; ++e) {
        triangle.vertex[e] = static_cast<unsigned>(i);
        triangle.neighbour[e] = i;
      }
    }
  });
}

const bool kRegistered = [] {
  RegisterDrawing();
  RegisterLists();
  return true;
}();

}  // namespace
