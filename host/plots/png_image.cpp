// PNG files by libpng.
#include <cstring>
#include <fmt/format.h>
#include <png.h>

#include "failure.h"
#include "files/whole_file.h"
#include "plots/image.h"

namespace qv3d {
namespace {

std::string Encode(const std::uint8_t* bytes, int width, int height, png_uint_32 format) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(width);
  png.height = static_cast<png_uint_32>(height);
  png.format = format;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
  std::string encoded(size, '\0');
  if (png_image_write_to_memory(&png, encoded.data(), &size, 0, bytes, 0, nullptr) == 0) {
    throw Failure(ExitCode::kNotComputable, fmt::format("the picture cannot be encoded: {}", png.message));
  }
  encoded.resize(size);
  return encoded;
}

constexpr png_uint_32 kMostPixels = 32768;

[[noreturn]] void Refuse(const std::filesystem::path& path, png_image& png) {
  const std::string why = png.message;
  png_image_free(&png);
  throw Failure(ExitCode::kCorrupt, fmt::format("{}: not a picture in PNG format ({})", path.string(),
                                                why.empty() ? "too large" : why));
}

}  // namespace

std::string EncodePng(const Image& image) {
  return Encode(image.bytes().data(), image.width(), image.height(), PNG_FORMAT_RGB);
}

Image ReadPng(const std::filesystem::path& path) {
  const std::string bytes = ReadWholeFile(path);
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()) == 0) Refuse(path, png);
  png.format = PNG_FORMAT_RGB;
  if (png.width > kMostPixels || png.height > kMostPixels) Refuse(path, png);
  Image image(static_cast<int>(png.width), static_cast<int>(png.height));
  const png_color white{255, 255, 255};
  if (png_image_finish_read(&png, &white, image.Pixel(0, 0), 0, nullptr) == 0) Refuse(path, png);
  return image;
}

void WritePng(const std::filesystem::path& path, const Image& image) {
  WriteWholeFile(path, EncodePng(image));
}

}  // namespace qv3d
