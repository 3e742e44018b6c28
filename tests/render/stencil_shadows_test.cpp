// Triangle neighbours against a search over edges, and shadow volumes as recorded calls.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "tests/support/gl_object_recorder.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"

namespace {

using qv::test::Call;
using qv::test::GLCalls;
using qv::test::TakeGLCalls;

static_assert(sizeof(QV_ShadowTriangle) == 44);

std::vector<QV_ShadowTriangle> Structure(int width, int height) {
  const std::size_t count = 2 * static_cast<std::size_t>(width - 1) * (height - 1);
  qv::test::Guarded<QV_ShadowTriangle> records(count);
  QV_ShadowStructure s = {5, 6, records.data()};
  EXPECT_EQ(CreateShadowStructure(&s, 77, width, height), height - 1);
  EXPECT_EQ(s.counter0, 5);
  EXPECT_EQ(s.counter1, 6);
  EXPECT_EQ(s.triangles, records.data());
  return records.Values();
}

TEST(CreateShadowStructure, AllSmallGrids_HaveTheCellsTrianglesAndTheNeighboursAcrossTheirEdges) {
  for (int width = 2; width <= 7; ++width) {
    for (int height = 2; height <= 7; ++height) {
      const auto triangles = Structure(width, height);
      std::map<std::pair<unsigned, unsigned>, int> byEdge;  // from, to in the order of the triangle
      for (std::size_t t = 0; t < triangles.size(); ++t) {
        const auto cell = static_cast<unsigned>(t / 2), cells = static_cast<unsigned>(width - 1);
        const unsigned w = static_cast<unsigned>(width), k = cell / cells * w + cell % cells;
        const unsigned first[3] = {k, k + 1, k + w + 1}, second[3] = {k, k + w + 1, k + w};
        for (int e = 0; e < 3; ++e) {
          EXPECT_EQ(triangles[t].vertex[e], (t % 2 == 0 ? first : second)[e]);
          byEdge[{triangles[t].vertex[e], triangles[t].vertex[(e + 1) % 3]}] = static_cast<int>(t);
        }
      }
      for (const auto& triangle : triangles) {
        for (int e = 0; e < 3; ++e) {
          const auto across = byEdge.find({triangle.vertex[(e + 1) % 3], triangle.vertex[e]});
          EXPECT_EQ(triangle.neighbour[e], across == byEdge.end() ? -1 : across->second);
        }
      }
    }
  }
}

TEST(CreateShadowStructure, PlanesAndLitFlags_AreNotWritten) {
  qv::test::Guarded<QV_ShadowTriangle> untouched(1);
  for (const auto& triangle : Structure(3, 3)) {
    EXPECT_EQ(std::memcmp(triangle.plane, untouched[0].plane, sizeof triangle.plane), 0);
    EXPECT_EQ(triangle.lit, untouched[0].lit);
  }
}

TEST(CreateShadowStructure, TooSmallGrids_WriteNothing) {
  qv::test::Guarded<QV_ShadowTriangle> records(8);
  QV_ShadowStructure s = {0, 0, records.data()};
  for (const int height : {1, 0, -5}) EXPECT_EQ(CreateShadowStructure(&s, 0, 4, height), height - 1);
  for (const int width : {1, 0, -5}) EXPECT_EQ(CreateShadowStructure(&s, 0, width, 4), 3);
  EXPECT_TRUE(records.Untouched());
}

TEST(CreateShadowStructure, OneRowOrNone_TheStructureIsNotRead) {
  for (const int height : {1, 0, -5}) EXPECT_EQ(CreateShadowStructure(nullptr, 0, 4, height), height - 1);
}

// ---------------------------------------------------------------------------------------------------------------

struct Scene {
  int width = 6, height = 5;
  std::vector<float> vertices;
  std::vector<QV_ShadowTriangle> triangles = Structure(width, height);

  explicit Scene(qv::test::Random& random, double missing) {
    for (int k = 0; k < width * height; ++k) {
      vertices.push_back(static_cast<float>(k % width));
      vertices.push_back(static_cast<float>(k / width));
      const float hole = k % 2 == 0 ? -1e10F : std::numeric_limits<float>::quiet_NaN();
      vertices.push_back(random.Chance(missing) ? hole : static_cast<float>(random.Between(0.0, 3.0)));
    }
    for (auto& triangle : triangles) triangle.lit = random.Chance(0.6) ? 1U << random.Between(0, 31) : 0;
  }

  int Draw(const float (&light)[3], int count) const {
    std::vector<unsigned> words(11 * triangles.size());
    std::memcpy(words.data(), triangles.data(), words.size() * sizeof(unsigned));
    return DoShadowPass(light, count, vertices.data(), words.data());
  }
};

/// Of the first `count` triangles, whose neighbours may be among the others.
GLCalls Volumes(const Scene& scene, const float (&light)[3], std::size_t count) {
  GLCalls calls;
  const float f = std::sqrt(3.0F);
  const auto missing = [](float z) { return z == -1e10F || z != z; };
  for (std::size_t t = 0; t < count; ++t) {
    const QV_ShadowTriangle& triangle = scene.triangles[t];
    for (int e = 0; e < 3 && triangle.lit != 0; ++e) {
      if (triangle.neighbour[e] == -1 || scene.triangles[triangle.neighbour[e]].lit != 0) continue;
      const float* ends[2] = {&scene.vertices[3 * triangle.vertex[e]],
                              &scene.vertices[3 * triangle.vertex[(e + 1) % 3]]};
      if (missing(ends[0][2]) || missing(ends[1][2])) continue;
      calls.push_back(Call("glBegin", {GL_TRIANGLE_STRIP}));
      for (const float* p : ends) {
        calls.push_back(Call("glVertex3f", {p[0], p[1], p[2]}));
        calls.push_back(Call("glVertex3f", {p[0] + (p[0] - light[0]) * f, p[1] + (p[1] - light[1]) * f,
                                            p[2] + (p[2] - light[2]) * f}));
      }
      calls.push_back(Call("glEnd"));
    }
  }
  return calls;
}

TEST(DoShadowPass, RandomFlags_EqualTheReference) {
  qv::test::Random random(9);
  std::size_t drawn = 0;
  for (int round = 0; round < 50; ++round) {
    const Scene scene(random, 0.1);
    const float light[3] = {1.5F, -2.25F, 10.0F};
    const std::size_t count = round % 2 == 0 ? scene.triangles.size() : scene.triangles.size() / 2;
    EXPECT_EQ(scene.Draw(light, static_cast<int>(count)), 0);
    const GLCalls expected = Volumes(scene, light, count);
    ASSERT_EQ(TakeGLCalls(), expected);
    drawn += expected.size();
  }
  EXPECT_GT(drawn, 1000U);
}

TEST(DoShadowPass, AllLitOrAllDark_DrawsNothing) {
  qv::test::Random random(9);
  Scene scene(random, 0);
  const float light[3] = {0, 0, 10};
  for (const unsigned lit : {0U, 1U}) {
    for (auto& triangle : scene.triangles) triangle.lit = lit;
    EXPECT_EQ(scene.Draw(light, static_cast<int>(scene.triangles.size())), 0);
    EXPECT_EQ(TakeGLCalls(), GLCalls{});
  }
}

TEST(DoShadowPass, NoTriangles_ReturnsTheirNumber) {
  for (const int count : {0, -1, -9}) EXPECT_EQ(DoShadowPass(nullptr, count, nullptr, nullptr), count);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST(SetupATIStencilShadows, Loaded_SetsBothFaces) {
  qv::test::SetObjectEntryPoints(true);
  SetupATIStencilShadows();
  SetActiveStencilFace(GL_BACK);
  qv::test::SetObjectEntryPoints(false);
  EXPECT_EQ(TakeGLCalls(),
            (GLCalls{Call("glStencilOpSeparateATI", {GL_BACK, GL_KEEP, GL_KEEP, GL_DECR_WRAP_EXT}),
                     Call("glStencilOpSeparateATI", {GL_FRONT, GL_KEEP, GL_KEEP, GL_INCR_WRAP_EXT}),
                     Call("glStencilFuncSeparateATI", {GL_ALWAYS, GL_ALWAYS, 0, 4294967295.0}),
                     Call("glActiveStencilFaceEXT", {GL_BACK})}));
}

TEST(SetupATIStencilShadows, NotLoaded_DoesNothing) {
  qv::test::SetObjectEntryPoints(false);
  SetupATIStencilShadows();
  SetActiveStencilFace(GL_FRONT);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST(SetupATIStencilShadows, OneOfTheTwoNotLoaded_DoesNothing) {
  qv::test::SetObjectEntryPoints(true);
  __glewStencilOpSeparateATI = nullptr;
  SetupATIStencilShadows();
  qv::test::SetObjectEntryPoints(true);
  __glewStencilFuncSeparateATI = nullptr;
  SetupATIStencilShadows();
  qv::test::SetObjectEntryPoints(false);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

}  // namespace
