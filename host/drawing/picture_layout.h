// Where the parts of a picture lie. Drawing a picture and finding what lies under one of its pixels share it.
#pragma once

#include "drawing/camera.h"
#include "drawing/picture.h"

namespace qv3d {

/// Sizes of the parts of a picture, all in proportion to it.
struct Layout {
  int width, height;
  int unit;        ///< size of ordinary text
  Rectangle plot;  ///< what is drawn and its scales lie in here

  explicit Layout(const PictureOptions& options);
};

/// The view of every style but the map, for the whole picture.
Camera CameraOf(const Surface& surface, const PictureOptions& options, const Layout& layout);

/// The pixels that the map fills.
struct PixelBox {
  int x, y, width, height;
};
PixelBox MapBox(const HeightMap& map, const PictureOptions& options, const Layout& layout);

}  // namespace qv3d
