// How far two pictures are apart.
#pragma once

#include "plots/image.h"

namespace qv3d {

struct ImageDifference {
  double mean = 0;  ///< of all channels of all pixels, 0 to 255
  int largest = 0;  ///< of any channel
  Image picture;    ///< black where they are the same, brighter the more they differ
};

/// The pictures must be of one size.
ImageDifference Compare(const Image& a, const Image& b);

}  // namespace qv3d
