// Buffers as recorded calls; index lists against the strips that the immediate-mode walk draws.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "tests/support/gl_object_recorder.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::Call;
using qv::test::GLCall;
using qv::test::GLCalls;
using qv::test::TakeGLCalls;

class EntryPoints : public testing::Test {
 protected:
  EntryPoints() {
    qv::test::SetObjectEntryPoints(true);
    qv::test::glAnswers = {};
  }
  ~EntryPoints() override {
    qv::test::SetObjectEntryPoints(false);
    TakeGLCalls();
  }
};
using BuildVBOsTest = EntryPoints;
using SetPointersToVBOBuffersARBTest = EntryPoints;
using DeleteVBOBuffersTest = EntryPoints;
using DrawRangeElementsTest = EntryPoints;

/// Four streams of two vertices, and the bytes that an upload of each must hold.
struct Streams {
  const float vertices[6] = {1, 2, 3, 4, 5, 6}, tex[2] = {7, 8}, normals[6] = {9, 10, 11, 12, 13, 14},
              colors[6] = {15, 16, 17, 18, 19, 20};
  const float* all[4] = {vertices, tex, normals, colors};
  static constexpr int kFloats[4] = {6, 2, 6, 6};
  GLCall Upload(int stream) const {
    const std::size_t bytes = sizeof(float) * kFloats[stream];
    return Call("glBufferDataARB", {GL_ARRAY_BUFFER_ARB, static_cast<double>(bytes), GL_STATIC_DRAW_ARB},
                std::string(reinterpret_cast<const char*>(all[stream]), bytes));
  }
};

TEST_F(BuildVBOsTest, EveryChoiceOfStreams_ReplacesTheirBuffersInOrder) {
  const Streams s;
  for (int choice = 0; choice < 16; ++choice) {
    for (const unsigned before : {0U, 7U}) {
      std::array<unsigned, 4> names;
      names.fill(before);
      qv::test::glAnswers.nextName = 100;
      EXPECT_EQ(BuildVBOs(2, choice & 1, choice & 2, choice & 4, choice & 8, s.vertices, s.tex, s.normals,
                          s.colors, &names[0], &names[1], &names[2], &names[3]),
                0U);
      GLCalls expected;
      unsigned next = 100;
      for (int stream = 0; stream < 4; ++stream) {
        const bool used = (choice >> stream & 1) != 0;
        EXPECT_EQ(names[stream], used ? next : before);
        if (!used) continue;
        if (before != 0) expected.push_back(Call("glDeleteBuffersARB", {1, 7}));
        expected.push_back(Call("glGenBuffersARB", {1}));
        expected.push_back(Call("glBindBufferARB", {GL_ARRAY_BUFFER_ARB, static_cast<double>(next++)}));
        expected.push_back(s.Upload(stream));
      }
      EXPECT_EQ(TakeGLCalls(), expected);
    }
  }
}

TEST_F(BuildVBOsTest, UnusedStreams_AreNotRead) {
  EXPECT_EQ(BuildVBOs(2, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0U);
  EXPECT_EQ(
      VBOBufferData(2, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
      0U);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST_F(BuildVBOsTest, Refresh_UploadsIntoTheExistingNames) {
  const Streams s;
  for (int choice = 0; choice < 16; ++choice) {
    std::array<unsigned, 4> names = {11, 12, 13, 14};
    EXPECT_EQ(VBOBufferData(2, choice & 1, choice & 2, choice & 4, choice & 8, s.vertices, s.tex, s.normals,
                            s.colors, &names[0], &names[1], &names[2], &names[3]),
              0U);
    GLCalls expected;
    for (int stream = 0; stream < 4; ++stream) {
      if ((choice >> stream & 1) == 0) continue;
      expected.push_back(Call("glBindBufferARB", {GL_ARRAY_BUFFER_ARB, 11.0 + stream}));
      expected.push_back(s.Upload(stream));
    }
    EXPECT_EQ(TakeGLCalls(), expected) << "choice " << choice;
    EXPECT_EQ(names, (std::array<unsigned, 4>{11, 12, 13, 14}));
  }
}

TEST_F(SetPointersToVBOBuffersARBTest, EveryChoiceOfStreams_AreBoundInOrderAndTheLastStaysBound) {
  const std::array<unsigned, 4> names = {11, 12, 13, 14};
  const GLCall pointers[4] = {
      Call("glVertexPointer", {3, GL_FLOAT, 0, 0}), Call("glTexCoordPointer", {1, GL_FLOAT, 0, 0}),
      Call("glNormalPointer", {GL_FLOAT, 0, 0}), Call("glColorPointer", {3, GL_FLOAT, 0, 0})};
  for (int choice = 0; choice < 16; ++choice) {
    const auto name = [&](int stream) { return (choice >> stream & 1) != 0 ? &names[stream] : nullptr; };
    EXPECT_EQ(SetPointersToVBOBuffersARB(choice & 1, choice & 2, choice & 4, choice & 8, name(0), name(1),
                                         name(2), name(3)),
              0U);
    GLCalls expected;
    for (int stream = 0; stream < 4; ++stream) {
      if (name(stream) == nullptr) continue;
      expected.push_back(Call("glBindBufferARB", {GL_ARRAY_BUFFER_ARB, 11.0 + stream}));
      expected.push_back(pointers[stream]);
    }
    EXPECT_EQ(TakeGLCalls(), expected) << "choice " << choice;
  }
}

TEST_F(DeleteVBOBuffersTest, NamesThatAreSet_AreDeletedAndZeroed) {
  for (int choice = 0; choice < 16; ++choice) {
    std::array<unsigned, 4> names = {};
    GLCalls expected;
    for (int stream = 0; stream < 4; ++stream) {
      if ((choice >> stream & 1) == 0) continue;
      names[stream] = 11U + static_cast<unsigned>(stream);
      expected.push_back(Call("glDeleteBuffersARB", {1, 11.0 + stream}));
    }
    DeleteVBOBuffers(&names[0], &names[1], &names[2], &names[3]);
    EXPECT_EQ(TakeGLCalls(), expected) << "choice " << choice;
    EXPECT_EQ(names, (std::array<unsigned, 4>{}));
    DeleteVBOBuffers(&names[0], &names[1], &names[2], &names[3]);
    EXPECT_EQ(TakeGLCalls(), GLCalls{});
  }
}

TEST_F(DrawRangeElementsTest, Arguments_AreForwarded) {
  const void* offset = reinterpret_cast<const void*>(std::uintptr_t{24});
  DrawRangeElements(GL_TRIANGLE_STRIP, 3, 9, 5, GL_UNSIGNED_INT, offset);
  EXPECT_EQ(TakeGLCalls(),
            (GLCalls{Call("glDrawRangeElements", {GL_TRIANGLE_STRIP, 3, 9, 5, GL_UNSIGNED_INT, 24})}));
}

/// What each export does with everything asked for, on buffers that exist.
void ExpectNothingDone(bool build, bool others) {
  const Streams s;
  std::array<unsigned, 4> names = {11, 12, 13, 14};
  if (build) {
    EXPECT_EQ(BuildVBOs(2, 1, 1, 1, 1, s.vertices, s.tex, s.normals, s.colors, &names[0], &names[1],
                        &names[2], &names[3]),
              0U);
  }
  if (others) {
    EXPECT_EQ(VBOBufferData(2, 1, 1, 1, 1, s.vertices, s.tex, s.normals, s.colors, &names[0], &names[1],
                            &names[2], &names[3]),
              0U);
    EXPECT_EQ(SetPointersToVBOBuffersARB(1, 1, 1, 1, &names[0], &names[1], &names[2], &names[3]), 0U);
    DeleteVBOBuffers(&names[0], &names[1], &names[2], &names[3]);
    DrawRangeElements(GL_TRIANGLE_STRIP, 0, 1, 1, GL_UNSIGNED_INT, nullptr);
  }
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
  EXPECT_EQ(names, (std::array<unsigned, 4>{11, 12, 13, 14}));
}

TEST_F(BuildVBOsTest, FunctionsNotLoaded_NothingIsDone) {
  qv::test::SetObjectEntryPoints(false);
  ExpectNothingDone(true, true);
}

TEST_F(BuildVBOsTest, OneFunctionNotLoaded_NothingIsDone) {
  __glewGenBuffersARB = nullptr;
  ExpectNothingDone(true, false);
  qv::test::SetObjectEntryPoints(true);
  __glewDeleteBuffersARB = nullptr;
  ExpectNothingDone(true, false);
  qv::test::SetObjectEntryPoints(true);
  __glewBindBufferARB = nullptr;
  ExpectNothingDone(true, false);
  qv::test::SetObjectEntryPoints(true);
  __glewBufferDataARB = nullptr;
  ExpectNothingDone(true, false);
}

// ---------------------------------------------------------------------------------------------------------------

TEST(RenderImmediateMode, EveryChoiceOfAttributes_EqualsTheReference) {
  qv::test::Random random(2);
  const auto values = [&](std::size_t count) { return qv::test::RandomSamples(random, count, {}); };
  const auto vertices = values(30), normals = values(30), tex = values(10), rgb = values(30),
             grey = values(10);
  const std::vector<unsigned> indices = {0, 3, 9, 1, 1, 5, 2};
  // The second strip is empty; the last one runs backwards, so that it begins and ends without a vertex.
  const std::vector<int> starts = {0, 3, 3, 7, 6};
  const auto three = [](const char* name, const std::vector<float>& v, unsigned k) {
    return Call(name, {v[3 * k], v[3 * k + 1], v[3 * k + 2]});
  };
  for (int choice = 0; choice < 8; ++choice) {
    const int useTex = choice & 1, useRgb = choice & 2, useGrey = choice & 4;
    EXPECT_EQ(
        RenderImmediateMode(4, starts.data(), indices.data(), vertices.data(), normals.data(),
                            useTex ? tex.data() : nullptr, useRgb ? rgb.data() : nullptr,
                            useGrey ? grey.data() : nullptr, GL_QUAD_STRIP, useTex, useRgb, useGrey, 99),
        0);
    GLCalls expected;
    for (int s = 0; s < 4; ++s) {
      if (starts[s] == starts[s + 1]) continue;
      expected.push_back(Call("glBegin", {GL_QUAD_STRIP}));
      for (int i = starts[s]; i < starts[s + 1]; ++i) {
        const unsigned k = indices[i];
        expected.push_back(three("glNormal3f", normals, k));
        if (useGrey != 0) {
          expected.push_back(Call("glColor3f", {grey[k], grey[k], grey[k]}));
        } else if (useRgb != 0) {
          expected.push_back(three("glColor3f", rgb, k));
        }
        if (useTex != 0) expected.push_back(Call("glTexCoord1f", {tex[k]}));
        expected.push_back(three("glVertex3f", vertices, k));
      }
      expected.push_back(Call("glEnd"));
    }
    EXPECT_EQ(TakeGLCalls(), expected) << "choice " << choice;
  }
}

TEST(RenderImmediateMode, NoStrips_ReturnsTheirNumber) {
  for (const int count : {0, -1, -77}) {
    EXPECT_EQ(RenderImmediateMode(count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  GL_LINES, 1, 1, 1, 0),
              count);
  }
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

// ---------------------------------------------------------------------------------------------------------------
// Index lists

struct IndexList {
  std::vector<unsigned> indices, starts;
};

/// Into buffers of exactly the documented capacities, between guard bands, and not a value behind the last.
IndexList List(const std::vector<float>& h, int width, int height) {
  qv::test::Guarded<unsigned> indices(3 * static_cast<std::size_t>(width) * (height - 1));
  qv::test::Guarded<unsigned> starts(static_cast<std::size_t>(height - 1) * (width / 2 + 1) + 1);
  unsigned indexCount = 77, stripCount = 77;
  EXPECT_EQ(
      CreateIndiciesList(h.data(), width, height, indices.data(), starts.data(), &indexCount, &stripCount),
      indexCount);
  EXPECT_LE(indexCount, indices.size());
  EXPECT_LT(stripCount, starts.size());
  EXPECT_EQ(starts[stripCount], indexCount);
  qv::test::Guarded<unsigned> untouched(indices.size());
  EXPECT_TRUE(std::equal(indices.data() + indexCount, indices.data() + indices.size(), untouched.data()));
  return {{indices.data(), indices.data() + indexCount}, {starts.data(), starts.data() + stripCount + 1}};
}

/// The strips that the surface family draws, as sample numbers, without its closing pair of rows. The
/// placement gives every sample its column and row as coordinates.
std::vector<std::vector<unsigned>> DrawnStrips(const std::vector<float>& h, int width, int height) {
  std::vector<std::vector<unsigned>> strips;
  const float last = static_cast<float>(height - 1);
  RenderSurfacef2(h.data(), width, height, 1, 1, GL_TRIANGLE_STRIP, 1, 0, 0, static_cast<float>(width - 1),
                  last);
  std::vector<std::vector<unsigned>> rowPair;
  for (const GLCall& call : TakeGLCalls()) {
    if (call.name == "glBegin") strips.emplace_back();
    if (call.name == "glVertex3f") {
      strips.back().push_back(static_cast<unsigned>(call.arguments[1] * width + call.arguments[0]));
    }
  }
  return strips;
}

using Triangles = std::vector<std::array<unsigned, 3>>;

/// Those with an area, each turned so that its smallest corner comes first: the winding shows.
Triangles TrianglesOf(const std::vector<unsigned>& strip) {
  Triangles triangles;
  for (std::size_t i = 2; i < strip.size(); ++i) {
    std::array<unsigned, 3> t = {strip[i - 2], strip[i - 1], strip[i]};
    if (i % 2 != 0) std::swap(t[0], t[1]);
    if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0]) continue;
    std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
    triangles.push_back(t);
  }
  return triangles;
}

/// What must be drawn, from the grid alone: per cell the two triangles of its strip, or the one that is left.
void ExpectEveryGoodTriangle(const std::vector<float>& h, int width, int height, const Triangles& drawn) {
  const auto good = [&](unsigned k) { return h[k] != -1e10F; };
  std::size_t expected = 0;
  for (int j = 0; j + 1 < height; ++j) {
    for (int i = 0; i + 1 < width; ++i) {
      const auto k = static_cast<unsigned>(j * width + i), w = static_cast<unsigned>(width);
      const int count = good(k) + good(k + 1) + good(k + w) + good(k + w + 1);
      expected += count == 4 ? 2 : count == 3 ? 1 : 0;
    }
  }
  EXPECT_EQ(drawn.size(), expected);
  for (const auto& t : drawn) EXPECT_TRUE(good(t[0]) && good(t[1]) && good(t[2]));
}

void ExpectDrawnStrips(const std::vector<float>& h, int width, int height) {
  const IndexList list = List(h, width, height);
  auto drawn = DrawnStrips(h, width, height);
  // The closing pair joins the last row to itself: as many strips as a walk over that row alone.
  Triangles ours, theirs;
  ASSERT_GE(drawn.size(), list.starts.size() - 1);
  for (std::size_t s = 0; s + 1 < list.starts.size(); ++s) {
    const std::vector<unsigned> strip(list.indices.begin() + list.starts[s],
                                      list.indices.begin() + list.starts[s + 1]);
    ASSERT_EQ(strip, drawn[s]) << "strip " << s;
    for (const auto& t : TrianglesOf(strip)) ours.push_back(t);
  }
  for (const auto& strip : drawn) {
    for (const auto& t : TrianglesOf(strip)) theirs.push_back(t);
  }
  std::sort(ours.begin(), ours.end());
  std::sort(theirs.begin(), theirs.end());
  EXPECT_EQ(ours, theirs);
  EXPECT_EQ(std::adjacent_find(ours.begin(), ours.end()), ours.end()) << "a triangle is drawn twice";
  if (!testing::Test::HasFailure()) ExpectEveryGoodTriangle(h, width, height, ours);
}

TEST(CreateIndiciesList, EveryHolePatternOfASmallGrid_DrawsTheTrianglesOfTheWalk) {
  for (const auto& [width, height] : {std::array{5, 3}, {3, 5}, {7, 2}, {2, 6}, {4, 4}}) {
    const int samples = width * height;
    for (int pattern = 0; pattern < 1 << samples; ++pattern) {
      std::vector<float> h(static_cast<std::size_t>(samples), 1.0F);
      for (int k = 0; k < samples; ++k) {
        if ((pattern >> k & 1) != 0) h[k] = -1e10F;
      }
      ExpectDrawnStrips(h, width, height);
      ASSERT_FALSE(HasFailure()) << width << " x " << height << ", pattern " << pattern;
    }
  }
}

TEST(CreateIndiciesList, LargerRandomGrids_DrawTheTrianglesOfTheWalk) {
  qv::test::ForEachVariant([] {
    qv::test::Random random(17);
    for (int round = 0; round < 200; ++round) {
      const int width = random.Between(2, 70), height = random.Between(2, 9);
      const double missing = random.Unit() * random.Unit();
      ExpectDrawnStrips(qv::test::RandomSamples(random, static_cast<std::size_t>(width) * height,
                                                {.missing = missing, .nan = 0.02, .infinite = 0.02}),
                        width, height);
      ASSERT_FALSE(HasFailure());
    }
  });
}

TEST(CreateIndiciesList, EveryWidthWithFewHoles_DrawsTheTrianglesOfTheWalk) {
  qv::test::ForEachVariant([] {
    qv::test::Random random(18);
    for (int width = 2; width <= 70; ++width) {
      for (const double missing : {0.0, 0.01, 0.1, 0.5}) {
        ExpectDrawnStrips(
            qv::test::RandomSamples(random, static_cast<std::size_t>(width) * 3, {.missing = missing}), width,
            3);
        ASSERT_FALSE(HasFailure()) << "width " << width;
      }
    }
  });
}

TEST(CreateIndiciesList, NaN_IsAHeight) {
  const auto list = List({0, std::numeric_limits<float>::quiet_NaN(), 0, 0}, 2, 2);
  EXPECT_EQ(list.indices, (std::vector<unsigned>{0, 2, 1, 3}));
  EXPECT_EQ(list.starts, (std::vector<unsigned>{0, 4}));
}

TEST(CreateIndiciesList, AllMissingRowPair_IsAnEmptyStrip) {
  const auto list = List(std::vector<float>(6, -1e10F), 2, 3);
  EXPECT_EQ(list.indices, std::vector<unsigned>{});
  EXPECT_EQ(list.starts, (std::vector<unsigned>{0, 0, 0}));
}

TEST(CreateIndiciesList, TooFewRows_HaveNoStrips) {
  const float h = 0;
  for (const auto& [width, height] : {std::array{4, 1}, {4, 0}, {4, -1}, {0, 4}, {-1, 4}}) {
    qv::test::Guarded<unsigned> starts(1), indices(1);
    unsigned indexCount = 77, stripCount = 77;
    EXPECT_EQ(CreateIndiciesList(&h, width, height, indices.data(), starts.data(), &indexCount, &stripCount),
              0U);
    EXPECT_EQ(indexCount, 0U);
    EXPECT_EQ(stripCount, 0U);
    EXPECT_EQ(starts[0], 0U);
    EXPECT_TRUE(indices.Untouched());
  }
}

}  // namespace
