// The plate that tests/host/data/formats holds in every format, and the reading of bytes without a file.
#pragma once

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "files/mesh_file.h"
#include "formats/grid_file.h"

namespace qv3d {

constexpr float kMissing = static_cast<float>(QV_BAD_SAMPLE);

/// Micrometres: 5 x 3 samples, 20 x 50 apart, the row of the lowest y first; no two alike, one missing.
inline HeightMap Plate() {
  HeightMap map;
  map.width = 5;
  map.height = 3;
  map.xSize = 80;
  map.ySize = 100;
  map.heights = {1.5f, 2, 3.5f, 4, 5, 6, 7.5f, kMissing, 9, 10, 11, 12, 13, -14.5f, 15};
  return map;
}

inline std::vector<std::filesystem::path> SampleFiles() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(QV3D_FORMAT_SAMPLES)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// What a file of these bytes would be read as.
inline GridContent Understand(const std::string& name, const std::string& bytes, const GridReading& reading) {
  const GridFormat* const format = FindReadable(name, bytes);
  if (format == nullptr) throw Failure(ExitCode::kUnreadable, name + ": no format");
  return UnderstandGrid(name, *format, bytes, reading);
}

inline void ExpectSameMap(const HeightMap& map, const HeightMap& wanted, float tolerance) {
  ASSERT_EQ(map.width, wanted.width);
  ASSERT_EQ(map.height, wanted.height);
  EXPECT_NEAR(map.xSize, wanted.xSize, 1e-6 * wanted.xSize);
  EXPECT_NEAR(map.ySize, wanted.ySize, 1e-6 * wanted.ySize);
  for (std::size_t i = 0; i < wanted.heights.size(); ++i) {
    EXPECT_EQ(IsMissing(map.heights[i]), IsMissing(wanted.heights[i])) << i;
    EXPECT_NEAR(map.heights[i], wanted.heights[i], IsMissing(wanted.heights[i]) ? 0 : tolerance) << i;
  }
}

}  // namespace qv3d
