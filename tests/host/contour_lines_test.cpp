// Contour lines: joining segments, and the files they are written to.
#include "analysis/contour_lines.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <sstream>

#include "analysis/contour_map.h"
#include "files/contour_files.h"

namespace qv3d {
namespace {

/// Segments between the corners of a line, in no order and any direction.
std::vector<float> Shuffled(std::vector<std::array<float, 4>> segments, unsigned seed) {
  std::mt19937 random(seed);
  std::shuffle(segments.begin(), segments.end(), random);
  std::vector<float> flat;
  for (const auto& [x1, y1, x2, y2] : segments) {
    if (random() % 2 == 0) {
      flat.insert(flat.end(), {x1, y1, x2, y2});
    } else {
      flat.insert(flat.end(), {x2, y2, x1, y1});
    }
  }
  return flat;
}

double TotalLength(const std::vector<ContourLine>& lines) {
  double length = 0;
  for (const ContourLine& line : lines) length += LengthOf(line);
  return length;
}

TEST(JoinSegments, Nothing_GivesNothing) {
  EXPECT_TRUE(JoinSegments({}).empty());
  EXPECT_TRUE(JoinSegments({1, 2, 1, 2, -0.0f, 0, 0, 0}).empty());
}

TEST(JoinSegments, Loop_IsOneClosedLine) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    const auto lines = JoinSegments(
        Shuffled({{0, 0, 1, 0}, {1, 0, 1, 1}, {1, 1, 0, 1}, {0, 1, 0, 0}, {1, 0, 0, 0}, {1, 1, 0, 1}}, seed));
    ASSERT_EQ(lines.size(), 1u) << seed;
    EXPECT_TRUE(lines[0].closed);
    EXPECT_EQ(lines[0].points.size(), 4u);
    EXPECT_DOUBLE_EQ(LengthOf(lines[0]), 4);
  }
}

TEST(JoinSegments, OpenLine_RunsFromEndToEnd) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    const auto lines = JoinSegments(Shuffled({{0, 0, 1, 0}, {1, 0, 2, 0}, {2, 0, 2, 5}, {9, 9, 8, 8}}, seed));
    ASSERT_EQ(lines.size(), 2u) << seed;
    EXPECT_FALSE(lines[0].closed);
    EXPECT_EQ(lines[0].points.size(), 4u);
    EXPECT_EQ(lines[0].points.front(), (std::array<float, 2>{0, 0}));
    EXPECT_EQ(lines[0].points.back(), (std::array<float, 2>{2, 5}));
    EXPECT_EQ(lines[1].points.size(), 2u);
  }
}

TEST(JoinSegments, Crossings_UseEverySegmentOnce) {
  // An eight, and a line that branches.
  const std::vector<std::array<float, 4>> eight{{0, 0, 1, 1}, {1, 1, 2, 0}, {2, 0, 2, 2},
                                                {2, 2, 1, 1}, {1, 1, 0, 2}, {0, 2, 0, 0}};
  const std::vector<std::array<float, 4>> branch{{0, 0, 1, 0}, {1, 0, 2, 1}, {1, 0, 2, -1}};
  for (unsigned seed = 0; seed < 20; ++seed) {
    const auto loops = JoinSegments(Shuffled(eight, seed));
    EXPECT_NEAR(TotalLength(loops), 4 + 4 * std::numbers::sqrt2, 1e-12);
    for (const ContourLine& line : loops) EXPECT_TRUE(line.closed);
    const auto branches = JoinSegments(Shuffled(branch, seed));
    EXPECT_EQ(branches.size(), 2u);
    EXPECT_NEAR(TotalLength(branches), 1 + 2 * std::numbers::sqrt2, 1e-12);
  }
}

HeightMap MapOf(int width, int height, double spacing, double (*function)(double, double)) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.x0 = 3;
  map.y0 = -2;
  map.xSize = static_cast<float>(spacing * (width - 1));
  map.ySize = static_cast<float>(spacing * (height - 1));
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i)
      map.heights.push_back(static_cast<float>(function(map.x0 + i * spacing, map.y0 + j * spacing)));
  }
  return map;
}

TEST(ContoursAt, ConeAcrossStrips_GivesOneClosedCircle) {
  const HeightMap map = MapOf(200, 300, 0.05, [](double x, double y) { return std::hypot(x - 8, y - 5.5); });
  for (const float radius : {0.5f, 1.7f, 4.2f}) {
    const ContourLevel level = ContoursAt(map, radius);
    ASSERT_EQ(level.lines.size(), 1u);
    EXPECT_TRUE(level.lines[0].closed);
    EXPECT_NEAR(LengthOf(level.lines[0]), 2 * std::numbers::pi * radius, 0.5 * 0.05 * 0.05 / radius + 1e-4);
    for (const auto& [x, y] : level.lines[0].points) EXPECT_NEAR(std::hypot(x - 8, y - 5.5), radius, 2e-3);
  }
}

TEST(ContoursAt, AnySurface_LinesEndOnlyAtTheRim) {
  // Neighbouring cells give the ends of their segments with the same bits.
  std::mt19937 random(7);
  HeightMap map = MapOf(90, 150, 0.013, [](double, double) { return 0.0; });
  for (float& h : map.heights) h = static_cast<float>(random() % 10000) * 1.37e-4f;
  const ContourLevel level = ContoursAt(map, 0.61f);
  EXPECT_GT(level.lines.size(), 100u);
  const auto isAtRim = [&map](const std::array<float, 2>& p) {
    const auto is = [](float a, double b) { return std::abs(a - b) < 1e-5; };
    return is(p[0], map.x0) || is(p[0], map.x0 + map.xSize) || is(p[1], map.y0) ||
           is(p[1], map.y0 + map.ySize);
  };
  for (const ContourLine& line : level.lines) {
    EXPECT_TRUE(line.closed || (isAtRim(line.points.front()) && isAtRim(line.points.back())));
  }
  EXPECT_EQ(level.segments.size() % 4, 0u);
}

TEST(ContoursAt, MissingSamples_LeaveAGap) {
  HeightMap map = MapOf(100, 100, 0.1, [](double x, double y) { return std::hypot(x - 8, y - 3); });
  for (int j = 45; j < 55; ++j)
    map.heights[std::size_t{100} * static_cast<std::size_t>(j) + 90] = float{QV_BAD_SAMPLE};
  const ContourLevel level = ContoursAt(map, 4.02f);
  ASSERT_EQ(level.lines.size(), 1u);
  EXPECT_FALSE(level.lines[0].closed);
}

ContourSheet Sheet() {
  ContourSheet sheet{"a & b", "mm", 0, 10, 0, 5, {}};
  sheet.levels.push_back({-0.5f, {}, {{{{0, 0}, {1, 0}, {1, 1}}, true}, {{{2, 2}, {3, 3}}, false}}});
  sheet.levels.push_back({0.25f, {1, 2, 3, 4, 5, 6, 7, 8}, {{{{5, 5}, {6, 5}}, false}}});
  return sheet;
}

int Count(const std::string& text, const std::string& what) {
  int count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST(ContourSvg, LinesAreGroupedByLevelAndClosed) {
  const std::string svg = ContourSvg(Sheet());
  EXPECT_EQ(Count(svg, "<g id=\"level-"), 2);
  EXPECT_EQ(Count(svg, "<path"), 3);
  EXPECT_EQ(Count(svg, "Z\"/>"), 1);
  EXPECT_NE(svg.find("data-height=\"-0.5\""), std::string::npos);
  EXPECT_NE(svg.find("d=\"M0 0L1 0L1 1Z\""), std::string::npos);
  EXPECT_NE(svg.find("a &amp; b"), std::string::npos);
  EXPECT_EQ(Count(svg, "<g "), Count(svg, "</g>"));
}

/// Pairs of group code and value.
std::vector<std::pair<int, std::string>> DxfGroups(const std::string& dxf) {
  std::vector<std::pair<int, std::string>> groups;
  std::istringstream text(dxf);
  std::string code, value;
  while (std::getline(text, code) && std::getline(text, value)) groups.emplace_back(std::stoi(code), value);
  return groups;
}

TEST(ContourDxf, HasAPolylinePerLineOnTheLayerOfItsLevel) {
  const std::string dxf = ContourDxf(Sheet());
  EXPECT_EQ(std::count(dxf.begin(), dxf.end(), '\n') % 2, 0);
  const auto groups = DxfGroups(dxf);
  const auto count = [&groups](int code, const std::string& value) {
    return std::count(groups.begin(), groups.end(), std::pair(code, value));
  };
  EXPECT_EQ(count(0, "POLYLINE"), 3);
  EXPECT_EQ(count(0, "VERTEX"), 7);
  EXPECT_EQ(count(0, "SEQEND"), 3);
  EXPECT_EQ(count(0, "SECTION"), 3);
  EXPECT_EQ(count(0, "ENDSEC"), 3);
  EXPECT_EQ(count(0, "LAYER"), 2);
  EXPECT_EQ(count(1, "AC1009"), 1);
  // 3 + 3 + 1 groups of the first line's entities, 2 + 2 of the others', and the heights of the vertices.
  EXPECT_EQ(count(8, "LEVEL_01"), (1 + 3 + 1) + (1 + 2 + 1));
  EXPECT_EQ(count(8, "LEVEL_02"), 1 + 2 + 1);
  EXPECT_EQ(count(30, "0.25"), 4);
  EXPECT_EQ(groups.back(), std::pair(0, std::string("EOF")));
  // Closed and open.
  const auto first = std::find(groups.begin(), groups.end(), std::pair(0, std::string("POLYLINE")));
  EXPECT_EQ(*(first + 6), std::pair(70, std::string("1")));
  const auto second = std::find(first + 1, groups.end(), std::pair(0, std::string("POLYLINE")));
  EXPECT_EQ(*(second + 6), std::pair(70, std::string("0")));
}

TEST(ContourCsv, HasALinePerSegment) {
  EXPECT_EQ(ContourCsv(Sheet()), "# height, x1, y1, x2, y2 in mm\n0.25,1,2,3,4\n0.25,5,6,7,8\n");
}

HeightMap WavesOf(double length, float noise) {
  HeightMap map;
  map.width = 200;
  map.height = 150;
  map.xSize = 1.99f;
  map.ySize = 1.49f;
  std::mt19937 random(7);
  std::uniform_real_distribution<float> some(-noise, noise);
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column) {
      const double phase = 2 * std::numbers::pi * column * map.SpacingX() / length;
      map.heights.push_back(static_cast<float>(0.004 * std::sin(phase)) + some(random));
    }
  }
  return map;
}

TEST(ContourMap, RoundHeights_LieInsideAtEqualSteps) {
  const HeightMap map = WavesOf(0.5, 0);
  for (const int count : {1, 2, 5, 8, 12, 100}) {
    const std::vector<double> heights = RoundHeights(HeightRange(map), "mm", count);
    ASSERT_FALSE(heights.empty());
    EXPECT_GT(heights.front(), -0.004);
    EXPECT_LT(heights.back(), 0.004);
    EXPECT_LE(heights.size(), 2 * static_cast<std::size_t>(count) + 1);
    EXPECT_GE(2 * heights.size() + 1, static_cast<std::size_t>(count));
  }
  EXPECT_EQ(RoundHeights(HeightRange(map), "mm", 8).size(), 7U);  // 1 um apart
  HeightMap flat = map;
  std::fill(flat.heights.begin(), flat.heights.end(), 3.0f);
  EXPECT_TRUE(RoundHeights(HeightRange(flat), "mm", 8).empty());
}

TEST(ContourMap, LongWaves_StayAsTheyAre) {
  const HeightMap map = WavesOf(1, 0);
  const ContourMap contours = ContourMapOf(map, "mm", 8);
  EXPECT_EQ(contours.window, 1);
  EXPECT_EQ(contours.map.heights, map.heights);
  EXPECT_EQ(contours.heights, RoundHeights(HeightRange(map, 0.002), "mm", 8));
}

TEST(ContourMap, Noise_IsSmoothedUntilLinesLieApart) {
  HeightMap map = WavesOf(1, 0.002f);
  for (std::size_t k = 0; k < 300; ++k) map.heights[k] = static_cast<float>(QV_BAD_SAMPLE);
  const ContourMap contours = ContourMapOf(map, "mm", 8);
  EXPECT_GT(contours.window, 1);
  EXPECT_LE(contours.window, 37);
  double length = 0;
  for (const double height : contours.heights) {
    for (const ContourLine& line : ContoursAt(contours.map, static_cast<float>(height)).lines)
      length += LengthOf(line);
  }
  // An eightieth of the longer side apart; lines of one direction are estimated a quarter too short.
  EXPECT_LT(length * 1.99 / 80, 1.3 * 1.99 * 1.49);
  for (std::size_t k = 0; k < map.heights.size(); ++k) {
    ASSERT_EQ(IsMissing(contours.map.heights[k]), IsMissing(map.heights[k]));
  }
}

TEST(ContourMap, SmallMaps_Return) {
  HeightMap map;
  map.width = map.height = 2;
  map.xSize = map.ySize = 1;
  map.heights = {0, 1, 1, 0};
  EXPECT_EQ(ContourMapOf(map, "mm", 8).window, 1);
}

}  // namespace
}  // namespace qv3d
