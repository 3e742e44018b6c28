// Options of the commands that draw.
#pragma once

#include "commands/options.h"

namespace qv3d {

/// Where the viewer stands and how much heights are exaggerated.
void AddCameraOptions(CLI::App& command, PictureOptions& picture);

/// The camera, --style and everything that says how the surface is drawn and from where.
void AddViewOptions(CLI::App& command, PictureOptions& picture);

}  // namespace qv3d
