#include "analysis/crop.h"

#include <QV_3D.h>

namespace qv3d {

HeightMap CropEdges(const HeightMap& map, int x, int y) {
  if (x == 0 && y == 0) return map;
  HeightMap part;
  part.width = map.width - 2 * x;
  part.height = map.height - 2 * y;
  part.x0 = map.x0 + x * map.SpacingX();
  part.y0 = map.y0 + y * map.SpacingY();
  part.xSize = static_cast<float>((part.width - 1) * map.SpacingX());
  part.ySize = static_cast<float>((part.height - 1) * map.SpacingY());
  part.heights.resize(static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height));
  CropSurface(map.heights.data(), part.heights.data(), x, y, map.width, map.height, part.width, part.height);
  return part;
}

}  // namespace qv3d
