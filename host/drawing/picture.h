// A finished picture of a height map: the drawn surface with title, scales and colour bar.
#pragma once

#include <string>

#include "drawing/offscreen.h"
#include "drawing/scene.h"
#include "plots/image.h"

namespace qv3d {

enum class Background { kPlain, kChecker };

struct PictureOptions : SceneOptions {
  int width = 1600;
  int height = 1000;
  ViewAngles angles;
  Background background = Background::kPlain;
  bool bare = false;  ///< the drawing alone: no title, scales, box or colour bar
  std::string title;
  std::string unit = "mm";
};

struct Picture {
  Image image;
  double zScale;  ///< the exaggeration that was used
  bool hasText;   ///< false where there is no font to write with
};

/// Tells the user what is missing from a picture without text.
inline constexpr const char* kNoTextWarning =
    "qv3d: warning: pictures are without titles and scales; install fonts-dejavu-core.\n";

/// Throws Failure where options contradict each other (usage) or every sample is missing (not computable).
void RequireDrawable(const HeightMap& map, const PictureOptions& options);

/// Throws Failure as RequireDrawable does.
Picture DrawPicture(const OffscreenContext& context, const HeightMap& map, const PictureOptions& options);

}  // namespace qv3d
