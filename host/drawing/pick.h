// Which sample of a surface lies under a pixel of its picture.
#pragma once

#include <optional>

#include "drawing/offscreen.h"
#include "drawing/picture.h"

namespace qv3d {

struct PickedSample {
  int column, row;
  double x, y;   ///< position in the unit of the file
  float height;  ///< in the unit of the file, levelled if the map is
  bool exactly;  ///< false where the pixel lies beside the surface and the sample is the nearest one around
};

/// The nearest sample of the triangle that is seen at the pixel; beside the surface the nearest sample that
/// is drawn within a few pixels. Pixels count from the top left corner.
std::optional<PickedSample> PickSample(const OffscreenContext& context, const HeightMap& map,
                                       const PictureOptions& options, int x, int y);

}  // namespace qv3d
