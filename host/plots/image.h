// Pictures in memory: 8-bit RGB, first row on top.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qv3d {

using Colour = std::array<std::uint8_t, 3>;

class Image {
 public:
  Image(int width, int height, Colour fill = {255, 255, 255});

  int width() const { return width_; }
  int height() const { return height_; }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  std::uint8_t* Pixel(int x, int y) { return &bytes_[Index(x, y)]; }
  const std::uint8_t* Pixel(int x, int y) const { return &bytes_[Index(x, y)]; }

  /// Mixes a colour in; outside the picture nothing happens.
  void Blend(int x, int y, Colour colour, double share);
  void FillRectangle(int x, int y, int width, int height, Colour colour);
  void Paste(const Image& other, int x, int y);

 private:
  std::size_t Index(int x, int y) const {
    return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x));
  }

  int width_;
  int height_;
  std::vector<std::uint8_t> bytes_;
};

/// Every pixel becomes the mean of factor x factor pixels.
Image Downsample(const Image& large, int factor);

/// Reads a PNG picture of any kind as RGB. Throws Failure (unreadable, corrupt).
Image ReadPng(const std::filesystem::path& path);

/// The PNG file as bytes, and written to a file. Throws Failure (unreadable) where it cannot be written.
std::string EncodePng(const Image& image);
void WritePng(const std::filesystem::path& path, const Image& image);

}  // namespace qv3d
