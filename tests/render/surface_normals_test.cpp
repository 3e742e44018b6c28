#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/reference/surface_normals_reference.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"
#include "tests/support/variants.h"

namespace {

using qv::test::ForEachVariant;
using qv::test::GridKind;
using qv::test::Guarded;
using qv::test::Random;
using qv::test::SameBits;

constexpr float kBad = -1e10F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using FloatForm = unsigned(QV_CALL*)(const float*, int, int, float*, float, float, float, float);

const struct {
  const char* name;
  bool six;
  FloatForm compute;
} kFloatForms[] = {{"ComputeSurfaceNormalsf", false, &ComputeSurfaceNormalsf},
                   {"ComputeSurfaceNormalsf2", true, &ComputeSurfaceNormalsf2}};

std::vector<float> Normals(FloatForm compute, const std::vector<float>& h, int width, int height,
                           float xSize = 1, float ySize = 1) {
  const Guarded<float> heights(h);
  Guarded<float> normals(3 * h.size());
  EXPECT_EQ(compute(heights.data(), width, height, normals.data(), 0.3F, -0.2F, xSize, ySize), 0U);
  EXPECT_TRUE(SameBits(heights.data(), h.data(), h.size()));
  return normals.Values();
}

std::vector<double> NormalsOfDoubles(const std::vector<double>& h, int width, int height) {
  const Guarded<double> heights(h);
  Guarded<double> normals(3 * h.size());
  EXPECT_EQ(ComputeSurfaceNormals(heights.data(), width, height, normals.data()), 0U);
  EXPECT_TRUE(SameBits(heights.data(), h.data(), h.size()));
  return normals.Values();
}

template <class Real>
void ExpectNormal(const std::vector<Real>& normals, std::size_t index, Real x, Real y, Real z) {
  const Real expected[3] = {x, y, z};
  EXPECT_TRUE(SameBits(normals.data() + 3 * index, expected, 3)) << "at sample " << index;
}

template <class Real>
void ExpectEverywhere(const std::vector<Real>& normals, Real x, Real y, Real z, Real tolerance) {
  for (std::size_t k = 0; k < normals.size(); k += 3) {
    ASSERT_NEAR(normals[k], x, tolerance) << k / 3;
    ASSERT_NEAR(normals[k + 1], y, tolerance) << k / 3;
    ASSERT_NEAR(normals[k + 2], z, tolerance) << k / 3;
  }
}

void ExpectEqualToReference(const std::vector<float>& h, int width, int height, float xSize, float ySize) {
  for (const auto& form : kFloatForms) {
    SCOPED_TRACE(std::string(form.name) + ", " + std::to_string(width) + " x " + std::to_string(height));
    const std::vector<float> expected =
        qv::test::reference::SurfaceNormals(form.six, h, width, height, xSize, ySize);
    ForEachVariant([&] {
      const std::vector<float> normals = Normals(form.compute, h, width, height, xSize, ySize);
      ASSERT_TRUE(SameBits(normals.data(), expected.data(), expected.size()));
    });
  }
}

TEST(ComputeSurfaceNormals, FlatSurface_StraightUp) {
  ForEachVariant([] {
    for (const auto& form : kFloatForms) {
      const auto normals = Normals(form.compute, std::vector<float>(20 * 5, 3.5F), 20, 5, 2.0F, 3.0F);
      ExpectEverywhere(normals, 0.0F, 0.0F, 1.0F, 0.0F);
    }
    const auto normals = NormalsOfDoubles(std::vector<double>(20 * 5, 3.5), 20, 5);
    ExpectEverywhere(normals, 0.0, 0.0, 1.0, 0.0);
  });
}

TEST(ComputeSurfaceNormals, PlaneRisingAlongX_SameEverywhere) {
  const int width = 33, height = 7;
  const double slope = 0.75, x = -slope / std::hypot(slope, 1), z = 1 / std::hypot(slope, 1);
  std::vector<float> h;
  std::vector<double> doubles;
  for (int k = 0; k < width * height; ++k) {
    h.push_back(static_cast<float>(slope * (k % width) / 8));  // spacing 4 / 32
    doubles.push_back(slope * (k % width) / 32);
  }
  ForEachVariant([&] {
    for (const auto& form : kFloatForms) {
      ExpectEverywhere(Normals(form.compute, h, width, height, 4.0F, 1.0F), static_cast<float>(x), 0.0F,
                       static_cast<float>(z), 1e-7F);
    }
    ExpectEverywhere(NormalsOfDoubles(doubles, width, height), x, 0.0, z, 1e-15);
  });
}

TEST(ComputeSurfaceNormals, PlaneRisingAlongY_LeansAgainstIt) {
  std::vector<float> h;
  for (int k = 0; k < 5 * 5; ++k)
    h.push_back(static_cast<float>(k / 5));  // NOLINT(bugprone-integer-division)
  for (const auto& form : kFloatForms) {
    ExpectEverywhere(Normals(form.compute, h, 5, 5, 4.0F, 4.0F), 0.0F, -std::sqrt(0.5F), std::sqrt(0.5F),
                     1e-6F);
  }
}

TEST(ComputeSurfaceNormals, OffsetsAndHugeOffsets_NoInfluence) {
  Random random(1);
  const auto h = qv::test::RandomSamples(random, 20 * 9, GridKind{});
  for (const auto& form : kFloatForms) {
    std::vector<float> normals(3 * h.size());
    form.compute(h.data(), 20, 9, normals.data(), 1e7F, -1e7F, 1.0F, 1.0F);
    EXPECT_TRUE(SameBits(normals.data(), Normals(form.compute, h, 20, 9).data(), normals.size()));
  }
}

TEST(ComputeSurfaceNormalsf, AllNeighboursMissing_ZeroVector) {
  for (const float missing : {kBad, kNaN}) {
    std::vector<float> h(5 * 5, 1.0F);
    h[11] = h[13] = h[7] = h[17] = missing;  // around sample 12
    ExpectNormal(Normals(&ComputeSurfaceNormalsf, h, 5, 5), 12, 0.0F, 0.0F, 0.0F);
    const auto six = Normals(&ComputeSurfaceNormalsf2, h, 5, 5);
    ExpectNormal(six, 12, 0.0F, 0.0F, 0.0F);  // each of the six triangles has one of these four
  }
}

TEST(ComputeSurfaceNormalsf, SampleItselfMissing_UsedAsAHeight) {
  std::vector<float> h(5 * 5, 1.0F);
  h[12] = kBad;
  const auto normals = Normals(&ComputeSurfaceNormalsf, h, 5, 5, 4.0F, 4.0F);
  // Four walls a unit wide and 1e10 high, leaning outwards: the sum points up.
  ExpectNormal(normals, 12, 0.0F, 0.0F, 1.0F);
}

TEST(ComputeSurfaceNormalsf, SampleItselfNaN_AllNaN) {
  std::vector<float> h(20 * 5, 1.0F);
  h[47] = kNaN;
  ForEachVariant([&] {
    for (const auto& form : kFloatForms) ExpectNormal(Normals(form.compute, h, 20, 5), 47, kNaN, kNaN, kNaN);
  });
}

TEST(ComputeSurfaceNormalsf, MissingNeighbourOfACorner_FallbackOfThatCorner) {
  const int width = 4, height = 3;
  for (const float missing : {kBad, kNaN}) {
    // The neighbours that the corner's triangles cannot do without: in the six-neighbour form the corners at
    // the other diagonal have two triangles, which share one neighbour.
    for (const auto& form : kFloatForms) {
      SCOPED_TRACE(form.name);
      std::vector<float> h(width * height, 1.0F);
      h[1] = h[2] = h[width + 3] = h[width] = h[width + 2] = h[9] = h[10] = missing;
      const auto normals = Normals(form.compute, h, width, height);
      ExpectNormal(normals, 0, 1.0F, 0.0F, 0.0F);
      ExpectNormal(normals, 3, 1.0F, 0.0F, 0.0F);
      ExpectNormal(normals, 8, 1.0F, 0.0F, 0.0F);
      ExpectNormal(normals, 11, 0.0F, 0.0F, 1.0F);
    }
  }
}

TEST(ComputeSurfaceNormalsf2, CornerLosesOneOfTwoTriangles_TheOtherRemains) {
  std::vector<float> h(4 * 3, 1.0F);
  h[2] = kBad;  // left neighbour of the corner (3, 0): its triangle (p, U, UL) remains
  const auto normals = Normals(&ComputeSurfaceNormalsf2, h, 4, 3);
  ExpectNormal(normals, 3, 0.0F, 0.0F, 1.0F);
}

TEST(ComputeSurfaceNormals, WidthOrHeightOne_ZeroVectors) {
  for (const auto& form : kFloatForms) {
    for (const auto& [width, height] : {std::pair{1, 7}, {7, 1}, {1, 1}}) {
      const auto normals = Normals(form.compute, std::vector<float>(7, 2.0F), width, height);
      for (int k = 0; k < width * height; ++k) ExpectNormal(normals, k, 0.0F, 0.0F, 0.0F);
    }
  }
  const auto normals = NormalsOfDoubles(std::vector<double>(7, 2.0), 7, 1);
  for (int k = 0; k < 7; ++k) ExpectNormal(normals, k, 0.0, 0.0, 0.0);
}

TEST(ComputeSurfaceNormals, SizeBelowOne_NothingWritten) {
  for (const int size : {0, -1, std::numeric_limits<int>::min()}) {
    Guarded<float> normals(12);
    EXPECT_EQ(ComputeSurfaceNormalsf(nullptr, size, 2, normals.data(), 0, 0, 1, 1), 0U);
    EXPECT_EQ(ComputeSurfaceNormalsf2(nullptr, 2, size, normals.data(), 0, 0, 1, 1), 0U);
    EXPECT_TRUE(normals.Untouched());
    EXPECT_EQ(ComputeSurfaceNormals(nullptr, size, size, nullptr), 0U);
  }
}

TEST(ComputeSurfaceNormals, EverySmallSize_EqualToReference) {
  Random random(2);
  for (int height = 1; height <= 4; ++height) {
    for (int width = 1; width <= 40; ++width) {
      const auto h = qv::test::RandomSamples(random, static_cast<std::size_t>(width) * height,
                                             {.missing = 0.05, .nan = 0.02, .repeated = 0.3});
      ExpectEqualToReference(h, width, height, 1.7F, 0.9F);
    }
  }
}

TEST(ComputeSurfaceNormals, EveryKindOfSample_EqualToReference) {
  Random random(3);
  const GridKind kinds[] = {{},
                            {.missing = 0.3},
                            {.nan = 0.3},
                            {.infinite = 0.1},
                            {.missing = 0.2, .nan = 0.1, .infinite = 0.1, .repeated = 0.3},
                            {.repeated = 1.0},
                            {.magnitude = 1e-42},
                            {.magnitude = 1e-30},
                            {.magnitude = 1e30},
                            {.magnitude = 3e38}};
  const float sizes[] = {1.0F, -2.0F, 1e-20F, 1e-40F, 1e20F, 3e38F, 0.0F, -0.0F, kInfinity, kNaN};
  for (const GridKind& kind : kinds) {
    const auto h = qv::test::RandomSamples(random, 37 * 6, kind);
    for (const float xSize : sizes) {
      for (const float ySize : sizes) ExpectEqualToReference(h, 37, 6, xSize, ySize);
    }
  }
}

TEST(ComputeSurfaceNormals, LargeRandomSurface_EqualToReference) {
  Random random(4);
  ExpectEqualToReference(qv::test::RandomSamples(random, 700 * 500, {.missing = 0.01}), 700, 500, 70.0F,
                         50.0F);
}

TEST(ComputeSurfaceNormals, Doubles_EqualToReference) {
  Random random(5);
  const GridKind kinds[] = {{},
                            {.missing = 0.2},
                            {.nan = 0.1},
                            {.infinite = 0.1},
                            {.repeated = 1.0},
                            {.magnitude = 1e-300},
                            {.magnitude = 1e160},
                            {.magnitude = 1e308},
                            {.magnitude = 0.01}};
  for (const GridKind& kind : kinds) {
    for (int width = 2; width <= 21; ++width) {
      const auto h = qv::test::RandomSamples<double>(random, static_cast<std::size_t>(width) * 4, kind);
      const auto expected = qv::test::reference::SurfaceNormals<double>(false, h, width, 4, 1.0, 1.0);
      ForEachVariant([&] {
        const auto normals = NormalsOfDoubles(h, width, 4);
        ASSERT_TRUE(SameBits(normals.data(), expected.data(), expected.size())) << width;
      });
    }
  }
}

}  // namespace
