// One sheet with a surface in every style.
#pragma once

#include "drawing/offscreen.h"
#include "drawing/picture.h"
#include "progress.h"

namespace qv3d {

/// `options` gives the size of the sheet, the view and the title. Below each picture stands how render is
/// asked for it.
Picture DrawGallery(const OffscreenContext& context, const HeightMap& map, const PictureOptions& options,
                    Progress& progress);

}  // namespace qv3d
