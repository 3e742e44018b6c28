#include "analysis/crop.h"

#include <QV_3D.h>

namespace qv3d {

HeightMap CropBlock(const HeightMap& map, int column, int row, int width, int height) {
  HeightMap part;
  part.width = width;
  part.height = height;
  part.x0 = map.x0 + column * map.SpacingX();
  part.y0 = map.y0 + row * map.SpacingY();
  part.xSize = static_cast<float>((width - 1) * map.SpacingX());
  part.ySize = static_cast<float>((height - 1) * map.SpacingY());
  part.heights.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  CropSurface(map.heights.data(), part.heights.data(), column, row, map.width, map.height, width, height);
  return part;
}

HeightMap CropEdges(const HeightMap& map, int x, int y) {
  if (x == 0 && y == 0) return map;
  return CropBlock(map, x, y, map.width - 2 * x, map.height - 2 * y);
}

}  // namespace qv3d
