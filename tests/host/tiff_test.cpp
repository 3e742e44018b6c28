// TIFF pictures as other programs lay them out, written by libtiff: tiles, strips of any height,
// compressions, predictors, orders of bytes. All of them are read as the plainest one.
#include <cstdint>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>
#include <string_view>
#include <vector>

#include "format_plate.h"
#include "formats/memory_tiff.h"

namespace qv3d {
namespace {

// Neither tiles nor strips divide them, but for strips of one row and of all.
constexpr std::uint32_t kWidth = 37, kHeight = 21;

struct Layout {
  std::uint32_t tileWidth = 0, tileHeight = 0;  ///< 0: strips
  std::uint32_t rowsPerStrip = kHeight;
  int compression = COMPRESSION_NONE;
  int predictor = PREDICTOR_NONE;
  const char* mode = "wl";  ///< least or most significant byte first, 8 for BigTIFF
};

std::string NameOf(const Layout& layout) {
  const std::string blocks = layout.tileWidth > 0
                                 ? fmt::format("tiles {} x {}", layout.tileWidth, layout.tileHeight)
                                 : fmt::format("strips of {}", layout.rowsPerStrip);
  return fmt::format("{}, compression {}, predictor {}, {}", blocks, layout.compression, layout.predictor,
                     layout.mode);
}

/// Floats with a missing one, or levels, that neither axis repeats nor mirrors.
template <class Sample>
Sample SampleAt(std::uint32_t column, std::uint32_t row) {
  return static_cast<Sample>(1000 + 311 * row + 7 * column);
}

template <>
float SampleAt<float>(std::uint32_t column, std::uint32_t row) {
  const bool missing = column == 20 && row == 17;
  return missing ? std::numeric_limits<float>::quiet_NaN()
                 : 0.1f * static_cast<float>(row) - 0.37f * static_cast<float>(column);
}

template <>
double SampleAt<double>(std::uint32_t column, std::uint32_t row) {
  return double{SampleAt<float>(column, row)};
}

void SetTags(TIFF* tiff, const Layout& layout, int bits, int format) {
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG), 1);
  ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_COMPRESSION, layout.compression), 1);
  if (layout.predictor != PREDICTOR_NONE) {
    ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_PREDICTOR, layout.predictor), 1);
  }
  if (layout.tileWidth > 0) {
    ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_TILEWIDTH, layout.tileWidth), 1);
    ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_TILELENGTH, layout.tileHeight), 1);
  } else {
    ASSERT_EQ(TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, layout.rowsPerStrip), 1);
  }
}

template <class Sample>
void WriteTiles(TIFF* tiff, const Layout& layout) {
  std::vector<Sample> tile(std::size_t{layout.tileWidth} * layout.tileHeight);
  for (std::uint32_t y = 0; y < kHeight; y += layout.tileHeight) {
    for (std::uint32_t x = 0; x < kWidth; x += layout.tileWidth) {
      for (std::size_t k = 0; k < tile.size(); ++k) {
        // What hangs over the edges must not be seen.
        const auto column = static_cast<std::uint32_t>(x + k % layout.tileWidth),
                   row = static_cast<std::uint32_t>(y + k / layout.tileWidth);
        tile[k] = column < kWidth && row < kHeight ? SampleAt<Sample>(column, row) : Sample{77};
      }
      ASSERT_GT(TIFFWriteTile(tiff, tile.data(), x, y, 0, 0), 0);
    }
  }
}

template <class Sample>
void WriteStrips(TIFF* tiff) {
  for (std::uint32_t y = 0; y < kHeight; ++y) {
    std::vector<Sample> row(kWidth);
    for (std::uint32_t x = 0; x < kWidth; ++x) row[x] = SampleAt<Sample>(x, y);
    ASSERT_EQ(TIFFWriteScanline(tiff, row.data(), y, 0), 1);
  }
}

/// Blocks as they are in another picture, packed.
void CopyBlocks(const std::string& bytes, bool tiles, TIFF* to) {
  const MemoryTiff from(bytes, "rm");
  const std::uint32_t count = tiles ? TIFFNumberOfTiles(from.handle()) : TIFFNumberOfStrips(from.handle());
  for (std::uint32_t block = 0; block < count; ++block) {
    std::string raw(bytes.size(), '\0');
    const auto size = static_cast<tmsize_t>(raw.size());
    const tmsize_t got = tiles ? TIFFReadRawTile(from.handle(), block, raw.data(), size)
                               : TIFFReadRawStrip(from.handle(), block, raw.data(), size);
    ASSERT_GT(got, 0);
    ASSERT_EQ(got, tiles ? TIFFWriteRawTile(to, block, raw.data(), got)
                         : TIFFWriteRawStrip(to, block, raw.data(), got));
  }
}

template <class Sample>
std::string Picture(const Layout& layout) {
  constexpr int kFormat = std::numeric_limits<Sample>::is_integer ? SAMPLEFORMAT_UINT : SAMPLEFORMAT_IEEEFP;
  MemoryTiff file({}, layout.mode);
  SetTags(file.handle(), layout, 8 * static_cast<int>(sizeof(Sample)), kFormat);
  if (layout.predictor == PREDICTOR_FLOATINGPOINT && std::string_view(layout.mode).back() == 'b') {
    // This predictor sorts bytes by their weight, the highest first in either order. libtiff 4.5 writes them
    // the other way round into files of the order that is not the machine's, and reads them as it should.
    Layout little = layout;
    little.mode = "wl";
    CopyBlocks(Picture<Sample>(little), layout.tileWidth > 0, file.handle());
    return file.Close();
  }
  layout.tileWidth > 0 ? WriteTiles<Sample>(file.handle(), layout) : WriteStrips<Sample>(file.handle());
  return file.Close();
}

std::vector<Layout> Layouts(const std::vector<int>& predictors) {
  std::vector<Layout> all;
  for (const int compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW,
                                COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE}) {
    const bool predicts = compression != COMPRESSION_NONE && compression != COMPRESSION_PACKBITS;
    for (const int predictor : predictors) {
      if (predictor != PREDICTOR_NONE && !predicts) continue;
      for (const char* const mode : {"wl", "wb", "w8l", "w8b"}) {
        for (const std::uint32_t rows : {1U, 4U, kHeight})
          all.push_back({0, 0, rows, compression, predictor, mode});
        all.push_back({16, 16, 0, compression, predictor, mode});
        all.push_back({32, 16, 0, compression, predictor, mode});
        all.push_back({64, 32, 0, compression, predictor, mode});
      }
    }
  }
  return all;
}

template <class Sample>
void ExpectAllAlike(const std::vector<int>& predictors) {
  GridReading reading;
  reading.zScale = 1;
  const std::vector<Layout> layouts = Layouts(predictors);
  EXPECT_GE(layouts.size(), 5U * 4 * 6);
  for (const Layout& layout : layouts) {
    SCOPED_TRACE(NameOf(layout));
    const std::string bytes = Picture<Sample>(layout);
    const GridContent content = Understand("a.tif", bytes, reading);
    EXPECT_EQ(content.origin, Origin::kTop);
    ASSERT_EQ(content.map.width, static_cast<int>(kWidth));
    ASSERT_EQ(content.map.height, static_cast<int>(kHeight));
    for (std::uint32_t y = 0; y < kHeight; ++y) {
      for (std::uint32_t x = 0; x < kWidth; ++x) {
        const auto wanted = static_cast<float>(SampleAt<Sample>(x, kHeight - 1 - y));
        const float height = content.map.At(static_cast<int>(x), static_cast<int>(y));
        EXPECT_EQ(height, std::isnan(wanted) ? kMissing : wanted) << x << ", " << y;
      }
    }
  }
}

TEST(ReadTiff, FloatsInAnyLayout_AreTheSameHeights) {
  ExpectAllAlike<float>({PREDICTOR_NONE, PREDICTOR_HORIZONTAL, PREDICTOR_FLOATINGPOINT});
}

TEST(ReadTiff, DoublesInAnyLayout_AreTheSameHeights) {
  ExpectAllAlike<double>({PREDICTOR_NONE, PREDICTOR_FLOATINGPOINT});
}

TEST(ReadTiff, LevelsOf16BitsInAnyLayout_AreTheSameHeights) {
  ExpectAllAlike<std::uint16_t>({PREDICTOR_NONE, PREDICTOR_HORIZONTAL});
}

TEST(ReadTiff, LevelsOf8And32BitsInAnyLayout_AreTheSameHeights) {
  ExpectAllAlike<std::uint8_t>({PREDICTOR_NONE, PREDICTOR_HORIZONTAL});
  ExpectAllAlike<std::uint32_t>({PREDICTOR_NONE, PREDICTOR_HORIZONTAL});
}

TEST(ReadTiff, DamagedTiles_AreRefused) {
  for (const int compression : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
    std::string bytes = Picture<float>({16, 16, 0, compression, PREDICTOR_NONE, "wl"});
    // The header has 8 bytes; the tiles follow it.
    std::fill(bytes.begin() + 8, bytes.begin() + 200, '\xFF');
    EXPECT_THROW(Understand("a.tif", bytes, {}), Failure) << compression;
  }
}

}  // namespace
}  // namespace qv3d
