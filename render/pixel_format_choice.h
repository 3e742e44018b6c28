// Which pixel format a device context gets, as pure logic over what the device describes.
#pragma once

#include <cstdint>

#include "platform/pixel_formats.h"

namespace qv::render {

/// For a window: returns the index of the format set, or -1 when there is none or it could not be set.
/// Accelerated formats are tried where preferAccelerated is 1; any other value asks for software.
int ChooseWindowFormat(platform::PixelFormats& device, std::uint8_t preferAccelerated);

/// For an off-screen bitmap: returns the index of the format set, 0 when the device has no formats, -1 when
/// none matches or it could not be set.
int ChooseBitmapFormat(platform::PixelFormats& device);

}  // namespace qv::render
