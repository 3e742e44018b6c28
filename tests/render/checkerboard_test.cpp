#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/guarded.h"
#include "tests/support/random_grid.h"

namespace {

using Bytes = std::vector<unsigned char>;

/// The flags as they are told: inverted at every tenth row and column, the first time at the ninth index.
Bytes Reference(Bytes image, const Bytes& mask, int width, int height, unsigned color1, unsigned color2) {
  bool rowFlag = false;
  for (int r = 0; r < height; ++r) {
    if ((r + 1) % 10 == 0) rowFlag = !rowFlag;
    bool columnFlag = false;
    for (int c = 0; c < width; ++c) {
      if ((c + 1) % 10 == 0) columnFlag = !columnFlag;
      const std::size_t index = static_cast<std::size_t>(r) * width + c;
      if (mask[index] != 255) continue;
      const unsigned color = rowFlag == columnFlag ? color2 : color1;
      for (int k = 0; k < 3; ++k) image[3 * index + k] = static_cast<unsigned char>(color >> (8 * k));
    }
  }
  return image;
}

Bytes Ours(const Bytes& image, const Bytes& mask, int width, int height, unsigned color1, unsigned color2) {
  qv::test::Guarded<unsigned char> painted(image);
  EXPECT_EQ(CreateCheckerboardBackground(painted.data(), mask.data(), width, height, color1, color2), 0U);
  return painted.Values();
}

TEST(CreateCheckerboardBackground, RandomMasks_EqualTheReference) {
  qv::test::Random random(3);
  for (int round = 0; round < 40; ++round) {
    const int width = random.Between(1, 45), height = random.Between(1, 45);
    const std::size_t pixels = static_cast<std::size_t>(width) * height;
    Bytes image(3 * pixels), mask(pixels);
    for (auto& byte : image) byte = static_cast<unsigned char>(random.Below(256));
    for (auto& byte : mask) byte = static_cast<unsigned char>(random.Chance(0.5) ? 255 : random.Below(256));
    const auto color1 = static_cast<unsigned>(random.Next()), color2 = static_cast<unsigned>(random.Next());
    EXPECT_EQ(Ours(image, mask, width, height, color1, color2),
              Reference(image, mask, width, height, color1, color2));
  }
}

TEST(CreateCheckerboardBackground, FullMask_FirstSquaresAreNinePixels) {
  const Bytes painted = Ours(Bytes(3 * 30 * 30), Bytes(900, 255), 30, 30, 0x030201, 0x060504);
  const auto red = [&](int column, int row) {
    return painted[3 * static_cast<std::size_t>(row * 30 + column)];
  };
  EXPECT_EQ(red(0, 0), 4);
  EXPECT_EQ(red(8, 8), 4);
  EXPECT_EQ(red(9, 0), 1);
  EXPECT_EQ(red(0, 9), 1);
  EXPECT_EQ(red(9, 9), 4);
  EXPECT_EQ(red(18, 0), 1);
  EXPECT_EQ(red(19, 0), 4);
  EXPECT_EQ((Bytes{painted[0], painted[1], painted[2]}), (Bytes{4, 5, 6}));
}

TEST(CreateCheckerboardBackground, NothingToPaint_LeavesTheImage) {
  const Bytes image(3 * 100, 77);
  EXPECT_EQ(Ours(image, Bytes(100, 0), 10, 10, 1, 2), image);
  EXPECT_EQ(Ours(image, Bytes(100, 254), 10, 10, 1, 2), image);
  EXPECT_EQ(Ours(image, Bytes(100, 255), 10, 0, 1, 2), image);
  EXPECT_EQ(Ours(image, Bytes(100, 255), 0, 10, 1, 2), image);
  EXPECT_EQ(Ours(image, Bytes(100, 255), 10, -1, 1, 2), image);
}

}  // namespace
