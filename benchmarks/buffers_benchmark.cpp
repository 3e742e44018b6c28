// The strips of an index list drawn from buffer objects beside the same strips in immediate mode: frames of 1024 x 1024
// samples, vertices only.
#include <cstddef>
#include <vector>

#include <GL/glew.h>

#include "benchmarks/alternating.h"
#include "benchmarks/drawing_gl.h"
#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kSide = 1024;
constexpr auto kVertices = static_cast<std::size_t>(kSide) * kSide;

struct Strips {
  std::vector<float> vertices, normals, tex;
  std::vector<unsigned> indices;
  std::vector<int> starts;
  unsigned vertexBuffer = 0, texBuffer = 0, normalBuffer = 0, colorBuffer = 0;

  explicit Strips(double missing) : vertices(3 * kVertices), normals(3 * kVertices), tex(kVertices, 0.5F) {
    qv::test::Random random(3);
    const std::vector<float> h =
        qv::test::RandomSamples(random, kVertices, {.missing = missing, .magnitude = 0.01});
    CreateSurfaceXYZ(vertices.data(), h.data(), kSide, kSide, 1, -0.5F, 0.5F, 1, 1);
    ComputeSurfaceNormalsf(h.data(), kSide, kSide, normals.data(), 0, 0, 1, 1);
    std::vector<unsigned> begins(kVertices);
    unsigned indexCount = 0, stripCount = 0;
    indices.resize(3 * kVertices);
    CreateIndiciesList(h.data(), kSide, kSide, indices.data(), begins.data(), &indexCount, &stripCount);
    starts.assign(begins.begin(), begins.begin() + stripCount + 1);
  }

  int Count() const { return static_cast<int>(starts.size()) - 1; }
};

void Bind(Strips& s) {
  BuildVBOs(static_cast<int>(kVertices), 1, 1, 1, 0, s.vertices.data(), s.tex.data(), s.normals.data(),
            nullptr, &s.vertexBuffer, &s.texBuffer, &s.normalBuffer, &s.colorBuffer);
  SetPointersToVBOBuffersARB(1, 1, 1, 0, &s.vertexBuffer, &s.texBuffer, &s.normalBuffer, &s.colorBuffer);
  glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
}

void FromBuffers(const Strips& s) {
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  glEnableClientState(GL_NORMAL_ARRAY);
  for (std::size_t strip = 0; strip + 1 < s.starts.size(); ++strip) {
    const int count = s.starts[strip + 1] - s.starts[strip];
    if (count == 0) continue;
    DrawRangeElements(GL_TRIANGLE_STRIP, 0, static_cast<unsigned>(kVertices - 1), count, GL_UNSIGNED_INT,
                      s.indices.data() + s.starts[strip]);
  }
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  glDisableClientState(GL_NORMAL_ARRAY);
  qv::bench::FinishGL();
}

void Immediately(const Strips& s) {
  RenderImmediateMode(s.Count(), s.starts.data(), s.indices.data(), s.vertices.data(), s.normals.data(),
                      s.tex.data(), nullptr, nullptr, GL_TRIANGLE_STRIP, 1, 0, 0, 0);
  qv::bench::FinishGL();
}

void Register(const char* title, double missing) {
  const auto strips = [=]() -> Strips& {
    static Strips whole(0), withHoles(0.001);
    return missing > 0 ? withHoles : whole;
  };
  const auto prepare = [=] {
    qv::bench::PrepareGL({.rasterised = false});
    Bind(strips());
  };
  qv::bench::RegisterPair(
      title, "immediate mode", prepare, [=] { FromBuffers(strips()); }, [=] { Immediately(strips()); })
      ->Unit(benchmark::kMillisecond)
      ->MinTime(2);
}

const bool kRegistered = [] {
  Register("index list from buffers, software GL", 0);
  Register("index list from buffers, software GL, holes", 0.001);
  return true;
}();

}  // namespace
