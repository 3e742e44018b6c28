// Height maps as closed bodies: every side of a triangle has its opposite, and the volume is that of the
// samples.
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <map>

#include "files/ply_file.h"
#include "files/stl_file.h"
#include "format_plate.h"

namespace qv3d {
namespace {

HeightMap Field(int width, int height) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.x0 = 3;
  map.y0 = -2;
  map.xSize = static_cast<float>(width - 1);
  map.ySize = 2 * static_cast<float>(height - 1);
  for (int i = 0; i < map.Count(); ++i) map.heights.push_back(static_cast<float>(i % 7 + i % 5));
  return map;
}

std::vector<Triangle> TrianglesOf(const std::string& stl) {
  std::vector<Triangle> triangles;
  const StlScan scan = ScanStl(stl, [&](const Triangle& t) { triangles.push_back(t); });
  EXPECT_EQ(scan.announced, triangles.size());
  return triangles;
}

std::vector<Triangle> BodyOf(const HeightMap& map) {
  return TrianglesOf(FindById("stl")->write({map, "mm", Origin::kBottom}));
}

using Corner = std::array<float, 3>;

Corner CornerOf(const Triangle& t, std::size_t k) {
  return {t[3 * k], t[3 * k + 1], t[3 * k + 2]};
}

void ExpectClosed(const std::vector<Triangle>& triangles) {
  std::map<std::pair<Corner, Corner>, int> sides;
  for (const Triangle& t : triangles) {
    for (std::size_t k = 0; k < 3; ++k) ++sides[{CornerOf(t, k), CornerOf(t, (k + 1) % 3)}];
  }
  for (const auto& [side, count] : sides) {
    const auto opposite = sides.find({side.second, side.first});
    ASSERT_NE(opposite, sides.end());
    EXPECT_EQ(opposite->second, count);
  }
}

double VolumeOf(const std::vector<Triangle>& triangles) {
  double volume = 0;
  for (const Triangle& t : triangles) {
    volume += (double{t[0]} * (double{t[4]} * t[8] - double{t[5]} * t[7]) -
               double{t[1]} * (double{t[3]} * t[8] - double{t[5]} * t[6]) +
               double{t[2]} * (double{t[3]} * t[7] - double{t[4]} * t[6])) /
              6;
  }
  return volume;
}

float BaseOf(const std::vector<Triangle>& triangles) {
  float base = 1e30f;
  for (const Triangle& t : triangles) base = std::min({base, t[2], t[5], t[8]});
  return base;
}

TEST(WriteSolidStl, WholeMap_IsAClosedBody) {
  const HeightMap map = Field(6, 4);
  const std::vector<Triangle> body = BodyOf(map);
  // 2 for every cell above and below, 2 for every side of the rim.
  EXPECT_EQ(body.size(), 2U * 2 * 15 + 2 * 16);
  ExpectClosed(body);
}

TEST(WriteSolidStl, Volume_IsThatOfTheSurface) {
  HeightMap map = Field(6, 4);
  for (std::size_t k = 0; k < map.heights.size(); ++k) map.heights[k] = static_cast<float>(k % 6);
  const std::vector<Triangle> body = BodyOf(map);
  const double area = 5 * 6, mean = 2.5;
  EXPECT_NEAR(VolumeOf(body), area * (mean - BaseOf(body)), 1e-4);
  EXPECT_LT(BaseOf(body), 0);
}

TEST(WriteSolidStl, HolesAndTouchingCorners_StayClosed) {
  HeightMap map = Field(9, 7);
  for (const int hole : {0, 12, 13, 22, 31, 40, 44, 62})
    map.heights[static_cast<std::size_t>(hole)] = kMissing;
  const std::vector<Triangle> body = BodyOf(map);
  ExpectClosed(body);
  EXPECT_GT(VolumeOf(body), 0);
  // Two cells that touch in one sample.
  map = Field(3, 3);
  map.heights[2] = map.heights[6] = kMissing;
  ExpectClosed(BodyOf(map));
}

TEST(WriteSolidStl, TopOfTheMesh_IsTheMap) {
  const HeightMap map = Field(6, 4);
  std::map<std::pair<float, float>, float> top;
  for (const Triangle& t : BodyOf(map)) {
    for (std::size_t k = 0; k < 3; ++k) {
      float& z = top.try_emplace({t[3 * k], t[3 * k + 1]}, -1e30f).first->second;
      z = std::max(z, t[3 * k + 2]);
    }
  }
  ASSERT_EQ(top.size(), map.heights.size());
  for (int row = 0; row < map.height; ++row) {
    for (int i = 0; i < map.width; ++i) {
      const std::pair<float, float> at(3.0f + static_cast<float>(i), -2 + 2 * static_cast<float>(row));
      EXPECT_EQ(top.at(at), map.At(i, row));
    }
  }
}

TEST(WriteSolidStl, MapWithoutThreeNeighbours_IsNotComputable) {
  HeightMap map = Field(3, 3);
  for (const std::size_t k : {1U, 3U, 4U, 5U, 7U}) map.heights[k] = kMissing;
  EXPECT_THROW(BodyOf(map), Failure);
}

TEST(WriteSolidPly, BothAxes_AreTheBodyOfTheStl) {
  const HeightMap map = Field(6, 4);
  const std::vector<Triangle> body = BodyOf(map);
  for (const char* const id : {"ply", "ply-turned"}) {
    const std::string bytes = FindById(id)->write({map, "mm", Origin::kBottom});
    ASSERT_TRUE(LooksLikePly(bytes));
    const PlyFile file = ReadPly(bytes);
    ASSERT_EQ(file.vertices.size(), 2 * map.heights.size());
    EXPECT_EQ(file.Element("face")->present, body.size());
    const auto& v = file.vertices[7];
    if (id == std::string("ply")) {
      EXPECT_EQ(v[0], 4);
      EXPECT_EQ(v[1], 0);
      EXPECT_EQ(v[2], map.heights[7]);
    } else {
      EXPECT_EQ(v[0], map.heights[7]);
      EXPECT_EQ(v[1], 4);
      EXPECT_EQ(v[2], 0);
    }
  }
}

}  // namespace
}  // namespace qv3d
