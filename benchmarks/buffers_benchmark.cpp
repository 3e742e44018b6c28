// The strips of an index list drawn from buffer objects beside the same strips in immediate mode: frames of
// 1024 x 1024 samples, vertices only.
#include <algorithm>
#include <cstddef>
#include <string>
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
  std::vector<float> vertices, normals, tex, rgb;
  std::vector<unsigned> indices;
  std::vector<int> starts;
  std::vector<unsigned> lowest, highest;  // vertex of each strip
  unsigned vertexBuffer = 0, texBuffer = 0, normalBuffer = 0, colorBuffer = 0;

  explicit Strips(double missing)
      : vertices(3 * kVertices), normals(3 * kVertices), tex(kVertices, 0.5F), rgb(3 * kVertices, 0.5F) {
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
    for (std::size_t strip = 0; strip < stripCount; ++strip) {
      const auto begin = indices.begin() + starts[strip], end = indices.begin() + starts[strip + 1];
      lowest.push_back(begin == end ? 0 : *std::min_element(begin, end));
      highest.push_back(begin == end ? 0 : *std::max_element(begin, end));
    }
  }

  int Count() const { return static_cast<int>(starts.size()) - 1; }
};

void Bind(Strips& s) {
  BuildVBOs(static_cast<int>(kVertices), 1, 1, 1, 1, s.vertices.data(), s.tex.data(), s.normals.data(),
            s.rgb.data(), &s.vertexBuffer, &s.texBuffer, &s.normalBuffer, &s.colorBuffer);
  SetPointersToVBOBuffersARB(1, 1, 1, 1, &s.vertexBuffer, &s.texBuffer, &s.normalBuffer, &s.colorBuffer);
  glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
}

/// What the vertices have besides their positions and normals.
enum class With { kTexture, kTextureAndColours };

void UseArrays(With with, void (*change)(GLenum)) {
  for (const GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY}) change(array);
  if (with == With::kTextureAndColours) change(GL_COLOR_ARRAY);
}

void FromBuffers(const Strips& s, With with) {
  UseArrays(with, &glEnableClientState);
  for (std::size_t strip = 0; strip + 1 < s.starts.size(); ++strip) {
    const int count = s.starts[strip + 1] - s.starts[strip];
    if (count == 0) continue;
    DrawRangeElements(GL_TRIANGLE_STRIP, s.lowest[strip], s.highest[strip], count, GL_UNSIGNED_INT,
                      s.indices.data() + s.starts[strip]);
  }
  UseArrays(with, &glDisableClientState);
  qv::bench::FinishGL();
}

void Immediately(const Strips& s, With with) {
  RenderImmediateMode(s.Count(), s.starts.data(), s.indices.data(), s.vertices.data(), s.normals.data(),
                      s.tex.data(), s.rgb.data(), nullptr, GL_TRIANGLE_STRIP, 1,
                      with == With::kTextureAndColours ? 1 : 0, 0, 0);
  qv::bench::FinishGL();
}

void Register(const std::string& title, With with, double missing) {
  const auto strips = [=]() -> Strips& {
    static Strips whole(0), withHoles(0.001);
    return missing > 0 ? withHoles : whole;
  };
  const auto prepare = [=] {
    qv::bench::PrepareGL({.rasterised = false});
    Bind(strips());
  };
  qv::bench::RegisterPair(
      title + ", software GL", "immediate mode", prepare, [=] { FromBuffers(strips(), with); },
      [=] { Immediately(strips(), with); })
      ->Unit(benchmark::kMillisecond)
      ->MinTime(2);
}

const bool kRegistered = [] {
  Register("index list from buffers", With::kTexture, 0);
  Register("index list from buffers, holes", With::kTexture, 0.001);
  Register("index list from buffers, colours", With::kTextureAndColours, 0);
  return true;
}();

}  // namespace
