// A height map as a closed body for mesh programs: the surface, walls around it and around its holes, and a
// base.
#include <algorithm>
#include <array>
#include <cstdint>
#include <fmt/format.h>
#include <limits>

#include "files/stl_file.h"
#include "formats/readers.h"
#include "formats/samples.h"

namespace qv3d {
namespace {

using Corner = std::array<float, 3>;
using Face = std::array<std::uint32_t, 3>;

/// The base lies this share of the heights' range, or of the longer side, below the lowest sample.
constexpr double kBelowRange = 0.1, kBelowSide = 0.02;

struct Body {
  std::vector<Corner> corners;  ///< those of the surface, then as many of the base
  std::vector<Face> faces;      ///< the surface first, from outside against the clock
};

constexpr std::uint32_t kNoCorner = std::numeric_limits<std::uint32_t>::max();

/// Numbers the samples that are there.
std::vector<std::uint32_t> AddCorners(const HeightMap& map, Body& body) {
  std::vector<std::uint32_t> numbers(map.heights.size(), kNoCorner);
  std::size_t k = 0;
  for (int row = 0; row < map.height; ++row) {
    for (int column = 0; column < map.width; ++column, ++k) {
      if (IsMissing(map.heights[k])) continue;
      numbers[k] = static_cast<std::uint32_t>(body.corners.size());
      body.corners.push_back({static_cast<float>(map.x0 + column * map.SpacingX()),
                              static_cast<float>(map.y0 + row * map.SpacingY()), map.heights[k]});
    }
  }
  return numbers;
}

/// Two triangles for a cell with four samples, one for a cell with three.
void AddCell(const std::array<std::uint32_t, 4>& around, std::vector<Face>& faces) {
  std::vector<std::uint32_t> there;
  std::copy_if(around.begin(), around.end(), std::back_inserter(there),
               [](std::uint32_t number) { return number != kNoCorner; });
  if (there.size() < 3) return;
  faces.push_back({there[0], there[1], there[2]});
  if (there.size() == 4) faces.push_back({there[0], there[2], there[3]});
}

void AddSurface(const HeightMap& map, Body& body) {
  const std::vector<std::uint32_t> numbers = AddCorners(map, body);
  const auto width = static_cast<std::size_t>(map.width), height = static_cast<std::size_t>(map.height);
  for (std::size_t row = 0; row + 1 < height; ++row) {
    for (std::size_t column = 0; column + 1 < width; ++column) {
      const std::size_t k = row * width + column;
      AddCell({numbers[k], numbers[k + 1], numbers[k + width + 1], numbers[k + width]}, body.faces);
    }
  }
}

/// The sides of faces that no other face has the other way round.
std::vector<std::array<std::uint32_t, 2>> Rim(const std::vector<Face>& faces) {
  struct Side {
    std::uint32_t low, high;
    bool rising;
    bool operator<(const Side& other) const { return low != other.low ? low < other.low : high < other.high; }
  };
  std::vector<Side> sides;
  sides.reserve(3 * faces.size());
  for (const Face& face : faces) {
    for (std::size_t k = 0; k < 3; ++k) {
      const std::uint32_t a = face[k], b = face[(k + 1) % 3];
      sides.push_back({std::min(a, b), std::max(a, b), a < b});
    }
  }
  std::sort(sides.begin(), sides.end());
  std::vector<std::array<std::uint32_t, 2>> rim;
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const bool twice = i + 1 < sides.size() && !(sides[i] < sides[i + 1]);
    if (twice) {
      ++i;
    } else if (sides[i].rising) {
      rim.push_back({sides[i].low, sides[i].high});
    } else {
      rim.push_back({sides[i].high, sides[i].low});
    }
  }
  return rim;
}

void AddWallsAndBase(const HeightMap& map, Body& body) {
  const auto [low, high] = HeightRange(map);
  const double depth =
      std::max(kBelowRange * (double{high} - low), kBelowSide * std::max(map.xSize, map.ySize));
  const auto base = static_cast<float>(low - depth);
  const std::vector<std::array<std::uint32_t, 2>> rim = Rim(body.faces);
  const auto below = static_cast<std::uint32_t>(body.corners.size());
  body.corners.reserve(2 * body.corners.size());
  for (std::uint32_t k = 0; k < below; ++k)
    body.corners.push_back({body.corners[k][0], body.corners[k][1], base});
  const std::size_t surface = body.faces.size();
  body.faces.reserve(2 * surface + 2 * rim.size());
  for (const auto& [a, b] : rim) {
    body.faces.push_back({b, a, a + below});
    body.faces.push_back({b, a + below, b + below});
  }
  for (std::size_t i = 0; i < surface; ++i) {
    const Face& top = body.faces[i];
    body.faces.push_back({top[0] + below, top[2] + below, top[1] + below});
  }
}

Body MakeBody(const GridToWrite& grid) {
  // Corners are numbered twice with 32 bits, and an STL file counts its triangles with as many.
  if (grid.map.heights.size() > std::size_t{1} << 28) {
    throw Failure(ExitCode::kUsage, "more samples than a mesh file can hold",
                  "qv3d resample makes them fewer.");
  }
  Body body;
  AddSurface(grid.map, body);
  if (body.faces.empty()) {
    throw Failure(ExitCode::kNotComputable, "no three neighbouring samples are there: no mesh");
  }
  AddWallsAndBase(grid.map, body);
  return body;
}

template <class Turn>
std::string Ply(const GridToWrite& grid, const char* axes, Turn turn) {
  const Body body = MakeBody(grid);
  std::string bytes = fmt::format(
      "ply\nformat binary_little_endian 1.0\ncomment QV_3D height map, {}, lengths in {}\n"
      "element vertex {}\nproperty float x\nproperty float y\nproperty float z\n"
      "element face {}\nproperty list uchar int vertex_indices\nend_header\n",
      axes, grid.unit, body.corners.size(), body.faces.size());
  for (const Corner& corner : body.corners) StoreLittle(bytes, turn(corner));
  for (const Face& face : body.faces) {
    bytes += '\3';
    StoreLittle(bytes, face);
  }
  return bytes;
}

}  // namespace

std::string WriteSolidStl(const GridToWrite& grid) {
  const Body body = MakeBody(grid);
  std::vector<Triangle> triangles;
  triangles.reserve(body.faces.size());
  for (const Face& face : body.faces) {
    const Corner &a = body.corners[face[0]], &b = body.corners[face[1]], &c = body.corners[face[2]];
    triangles.push_back({a[0], a[1], a[2], b[0], b[1], b[2], c[0], c[1], c[2]});
  }
  return StlBytes(triangles, fmt::format("QV_3D height map, lengths in {}", grid.unit));
}

std::string WriteSolidPly(const GridToWrite& grid) {
  return Ply(grid, "z is the height", [](const Corner& c) { return c; });
}

std::string WriteTurnedPly(const GridToWrite& grid) {
  return Ply(grid, "x is the height", [](const Corner& c) { return Corner{c[2], c[0], -c[1]}; });
}

}  // namespace qv3d
