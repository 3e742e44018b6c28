// Grey TIFF pictures, of 32-bit floats or 16-bit levels, whose description tells what they mean: reading.
#include <algorithm>
#include <array>
#include <bit>
#include <fmt/format.h>
#include <limits>

#include "formats/memory_tiff.h"
#include "formats/picture_scale.h"
#include "formats/readers.h"
#include "formats/samples.h"

namespace qv3d {
namespace {

struct Layout {
  std::uint32_t width = 0, height = 0;
  std::uint16_t bits = 1, format = SAMPLEFORMAT_UINT, channels = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK, compression = COMPRESSION_NONE;
  std::uint16_t orientation = ORIENTATION_TOPLEFT;
  const char* description = "";
};

Layout LayoutOf(const std::string& name, TIFF* tiff) {
  Layout layout;
  if (TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.width) == 0 ||
      TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.height) == 0) {
    RefuseCorrupt(name, "the picture's size is not told");
  }
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &layout.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &layout.format);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &layout.channels);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.photometric);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &layout.compression);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &layout.orientation);
  char* description = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &description) != 0) layout.description = description;
  return layout;
}

/// Compressions that promise no more than some hundred samples for a byte.
bool IsReadCompression(std::uint16_t compression) {
  constexpr std::array<std::uint16_t, 5> kRead{COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_PACKBITS,
                                               COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE};
  return std::find(kRead.begin(), kRead.end(), compression) != kRead.end();
}

SampleType TypeOf(const std::string& name, const Layout& layout) {
  if (layout.channels != 1 || layout.photometric != PHOTOMETRIC_MINISBLACK) {
    RefuseUnsupported(name,
                      "a picture in colour, or one where white is 0; heights are read from grey levels");
  }
  if (!IsReadCompression(layout.compression)) {
    RefuseUnsupported(name, fmt::format("its compression (number {}) is not read", layout.compression));
  }
  const bool isFloat = layout.format == SAMPLEFORMAT_IEEEFP, isSigned = layout.format == SAMPLEFORMAT_INT;
  if (isFloat && layout.bits == 32) return SampleType::kFloat;
  if (isFloat && layout.bits == 64) return SampleType::kDouble;
  if (!isFloat && layout.bits == 8) return isSigned ? SampleType::kInt8 : SampleType::kUint8;
  if (!isFloat && layout.bits == 16) return isSigned ? SampleType::kInt16 : SampleType::kUint16;
  if (!isFloat && layout.bits == 32) return isSigned ? SampleType::kInt32 : SampleType::kUint32;
  RefuseUnsupported(name, fmt::format("samples of {} bits", layout.bits));
}

Origin OriginOf(const std::string& name, const Layout& layout) {
  if (layout.orientation == ORIENTATION_BOTLEFT) return Origin::kBottom;
  if (layout.orientation != ORIENTATION_TOPLEFT) {
    RefuseUnsupported(name, "the picture is turned or mirrored by its orientation tag");
  }
  return Origin::kTop;
}

[[noreturn]] void RefuseDamaged(const std::string& name) {
  RefuseCorrupt(name, fmt::format("the picture is damaged ({})", TakeTiffError()));
}

/// libtiff has the samples in this machine's order.
void ReadStrips(const std::string& name, TIFF* tiff, SampleType type, FileGrid& grid) {
  const std::size_t rowBytes = static_cast<std::size_t>(grid.width) * BytesOf(type);
  if (static_cast<std::size_t>(std::max<tmsize_t>(TIFFScanlineSize(tiff), 0)) != rowBytes)
    RefuseDamaged(name);
  std::string row(rowBytes, '\0');
  for (int j = 0; j < grid.height; ++j) {
    if (TIFFReadScanline(tiff, row.data(), static_cast<std::uint32_t>(j), 0) != 1) RefuseDamaged(name);
    AppendSamples(row, static_cast<std::size_t>(grid.width), type, std::endian::native, {}, grid.values);
  }
}

void CopyTile(const std::vector<double>& tile, std::size_t tileWidth, std::size_t x, std::size_t y,
              FileGrid& grid) {
  const auto width = static_cast<std::size_t>(grid.width), height = static_cast<std::size_t>(grid.height);
  const std::size_t columns = std::min(tileWidth, width - x);
  for (std::size_t j = 0; j < tile.size() / tileWidth && y + j < height; ++j) {
    const auto from = tile.begin() + static_cast<std::ptrdiff_t>(j * tileWidth);
    std::copy_n(from, columns, grid.values.begin() + static_cast<std::ptrdiff_t>((y + j) * width + x));
  }
}

void ReadTiles(const std::string& name, TIFF* tiff, SampleType type, FileGrid& grid) {
  std::uint32_t tileWidth = 0, tileHeight = 0;
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
  TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
  const std::size_t count = std::size_t{tileWidth} * tileHeight;
  const auto bytes = static_cast<std::size_t>(std::max<tmsize_t>(TIFFTileSize(tiff), 0));
  if (count == 0 || bytes != count * BytesOf(type)) RefuseDamaged(name);
  std::string raw(bytes, '\0');
  const auto height = static_cast<std::uint32_t>(grid.height), width = static_cast<std::uint32_t>(grid.width);
  grid.values.resize(std::size_t{width} * height);
  std::vector<double> tile;
  for (std::uint32_t y = 0; y < height; y += tileHeight) {
    for (std::uint32_t x = 0; x < width; x += tileWidth) {
      if (TIFFReadTile(tiff, raw.data(), x, y, 0, 0) < 0) RefuseDamaged(name);
      tile.clear();
      AppendSamples(raw, count, type, std::endian::native, {}, tile);
      CopyTile(tile, tileWidth, x, y, grid);
    }
  }
}

}  // namespace

bool IsTiff(std::string_view bytes) {
  using namespace std::string_view_literals;
  for (const std::string_view magic : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}) {
    if (bytes.substr(0, magic.size()) == magic) return true;
  }
  return false;
}

FileGrid ReadTiff(const std::string& name, std::string&& bytes) {
  if (!IsTiff(bytes)) RefuseCorrupt(name, "no TIFF picture");
  const MemoryTiff file(std::move(bytes), "rm");
  TIFF* const tiff = file.handle();
  if (tiff == nullptr) RefuseCorrupt(name, fmt::format("no TIFF picture in order ({})", TakeTiffError()));
  const Layout layout = LayoutOf(name, tiff);
  const SampleType type = TypeOf(name, layout);
  FileGrid grid;
  const std::size_t count = SetSize(grid, name, layout.width, layout.height);
  if (count > file.LargestBlock()) {
    RefuseCorrupt(name, fmt::format("{} bytes cannot hold {} x {} samples", file.bytes().size(), grid.width,
                                    grid.height));
  }
  grid.origin = OriginOf(name, layout);
  if (TIFFIsTiled(tiff) != 0) {
    ReadTiles(name, tiff, type, grid);
  } else {
    ReadStrips(name, tiff, type, grid);
  }
  const bool areLevels = type != SampleType::kFloat && type != SampleType::kDouble;
  ApplyNotes(name, layout.description, areLevels, grid);
  grid.origin = OriginOf(name, layout);
  grid.kind = fmt::format("TIFF, {}", NameOf(type));
  return grid;
}

}  // namespace qv3d
