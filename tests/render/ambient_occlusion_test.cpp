#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/occlusion_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

// Scratch memory of the library, made to fail through the linker's --wrap.
namespace {
int mallocsFailed = 0;
bool mallocFails = false;
}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
  if (!mallocFails) return __real_malloc(size);
  ++mallocsFailed;
  return nullptr;
}
}

namespace {

using qv::test::GridKind;

std::vector<float> Ours(const std::vector<float>& h, int width, int height) {
  const qv::test::Guarded<float> input(h);
  qv::test::Guarded<float> ao(h.size());
  EXPECT_EQ(ComputeAmbientOcclusionArray(12345, width, height, input.data(), ao.data()), 0U);
  EXPECT_TRUE(qv::test::SameBits(input.data(), h.data(), h.size()));
  return ao.Values();
}

void ExpectReference(const std::vector<float>& h, int width, int height) {
  const std::vector<float> expected = qv::test::OcclusionArray(h, width, height);
  const std::vector<float> actual = Ours(h, width, height);
  EXPECT_TRUE(qv::test::SameBits(actual.data(), expected.data(), expected.size()))
      << width << " x " << height;
}

TEST(ComputeAmbientOcclusionArray, RandomGridsOfAllSizes_EqualTheReferenceOnEveryInstructionSet) {
  const GridKind kinds[] = {{.magnitude = 0.01},
                            {.magnitude = 1},
                            {.missing = 0.2, .nan = 0.1, .infinite = 0.1, .repeated = 0.5, .magnitude = 0.05},
                            {.magnitude = 1e38}};
  qv::test::ForEachVariant([&] {
    qv::test::Random random(41);
    for (const GridKind& kind : kinds) {
      for (int width = 1; width <= 40; ++width) {
        const int height = random.Between(1, 12);
        ExpectReference(qv::test::RandomSamples(random, static_cast<std::size_t>(width) * height, kind),
                        width, height);
      }
    }
  });
}

TEST(ComputeAmbientOcclusionArray, FlatGrid_IsNotDarkened) {
  EXPECT_EQ(Ours(std::vector<float>(35 * 9, 3.5F), 35, 9), std::vector<float>(35 * 9, 1.0F));
}

TEST(ComputeAmbientOcclusionArray, PitOfOneUnit_JumpsToTheLowestValue) {
  std::vector<float> h(49, 1.0F);
  h[24] = 0;
  const auto ao = Ours(h, 7, 7);
  EXPECT_EQ(ao[24], 0.2F);
  EXPECT_EQ(ao[0], 1.0F);
}

TEST(ComputeAmbientOcclusionArray, JustBelowAndAboveTheJump_AreContinuousAndFixed) {
  // One neighbour at distance 1 hides half its height.
  EXPECT_EQ(Ours({0.0F, 1.5F}, 2, 1)[0], 0.25F);
  EXPECT_EQ(Ours({0.0F, 1.625F}, 2, 1)[0], 0.2F);
}

TEST(ComputeAmbientOcclusionArray, MissingSamples_HideNothingAndAreDark) {
  const auto ao = Ours({0.0F, -1e10F, 0.0F}, 3, 1);
  EXPECT_EQ(ao, (std::vector<float>{1.0F, 0.2F, 1.0F}));
}

TEST(ComputeAmbientOcclusionArray, WithoutScratchMemory_GivesTheSame) {
  qv::test::Random random(7);
  const auto h = qv::test::RandomSamples(random, 23 * 17, {.missing = 0.1, .nan = 0.05, .magnitude = 0.1});
  const auto expected = Ours(h, 23, 17);
  std::vector<float> ao(h.size());
  mallocsFailed = 0;
  mallocFails = true;
  const unsigned status = ComputeAmbientOcclusionArray(0, 23, 17, h.data(), ao.data());
  mallocFails = false;
  EXPECT_EQ(status, 0U);
  EXPECT_EQ(mallocsFailed, 1);
  EXPECT_TRUE(qv::test::SameBits(ao.data(), expected.data(), ao.size()));
}

TEST(ComputeAmbientOcclusionArray, NoSamples_WritesNothing) {
  const float h = 0;
  qv::test::Guarded<float> ao(4);
  for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, -1}}) {
    EXPECT_EQ(ComputeAmbientOcclusionArray(0, width, height, &h, ao.data()), 0U);
  }
  EXPECT_TRUE(ao.Untouched());
}

}  // namespace
