// TIFF: writing, not compressed, as 32-bit floats or 16-bit grey levels.
#include <fmt/format.h>
#include <limits>

#include "formats/memory_tiff.h"
#include "formats/picture_scale.h"
#include "formats/readers.h"

namespace qv3d {
namespace {

constexpr std::size_t kLargestFile = std::size_t{4'000'000'000};

[[noreturn]] void FailToWrite() {
  throw Failure(ExitCode::kNotComputable, fmt::format("the picture cannot be encoded ({})", TakeTiffError()));
}

void SetLayout(TIFF* tiff, const GridToWrite& grid, int bits, int format, const PictureNotes& notes) {
  std::string description = "QV_3D height map\n";
  for (const auto& [key, value] : notes) description += fmt::format("{}: {}\n", key, value);
  const bool bottom = grid.origin == Origin::kBottom;
  const bool done =
      TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, grid.map.width) != 0 &&
      TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, grid.map.height) != 0 &&
      TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits) != 0 &&
      TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format) != 0 &&
      TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1) != 0 &&
      TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK) != 0 &&
      TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) != 0 &&
      TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) != 0 &&
      TIFFSetField(tiff, TIFFTAG_ORIENTATION, bottom ? ORIENTATION_BOTLEFT : ORIENTATION_TOPLEFT) != 0 &&
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0)) != 0 &&
      TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str()) != 0;
  if (!done) FailToWrite();
}

/// `rowOf` gives the samples of a row of the file; libtiff may change them.
template <class RowOf>
std::string Write(const GridToWrite& grid, int bits, int format, const PictureNotes& notes, RowOf rowOf) {
  const std::size_t size = grid.map.heights.size() * static_cast<std::size_t>(bits / 8);
  MemoryTiff file({}, size > kLargestFile ? "w8l" : "wl");
  TIFF* const tiff = file.handle();
  if (tiff == nullptr) FailToWrite();
  SetLayout(tiff, grid, bits, format, notes);
  for (int row = 0; row < grid.map.height; ++row) {
    if (TIFFWriteScanline(tiff, rowOf(row), static_cast<std::uint32_t>(row), 0) != 1) FailToWrite();
  }
  return file.Close();
}

}  // namespace

std::string WriteFloatTiff(const GridToWrite& grid) {
  std::vector<float> samples(static_cast<std::size_t>(grid.map.width));
  return Write(grid, 32, SAMPLEFORMAT_IEEEFP, NotesOf(grid, nullptr), [&](int row) {
    const float* const heights = grid.Row(row);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = IsMissing(heights[i]) ? std::numeric_limits<float>::quiet_NaN() : heights[i];
    }
    return samples.data();
  });
}

std::string WriteGreyTiff(const GridToWrite& grid) {
  GreyLevels grey = LevelsOf(grid);
  return Write(grid, 16, SAMPLEFORMAT_UINT, NotesOf(grid, &grey), [&](int row) {
    return grey.levels.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(grid.map.width);
  });
}

}  // namespace qv3d
