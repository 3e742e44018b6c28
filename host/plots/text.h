// Text in pictures, drawn with the DejaVu Sans font that the system provides.
#pragma once

#include <memory>
#include <string>

#include "plots/image.h"

namespace qv3d {

enum class Align { kLeft, kCentre, kRight };

class Font {
 public:
  /// Where the font is not installed, nothing is drawn and IsAvailable() is false.
  Font();
  ~Font();
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;

  bool IsAvailable() const;
  /// Draws UTF-8 text of `size` pixels; (x, y) is the left end, middle or right end of its base line.
  void Draw(Image& image, int x, int y, const std::string& text, int size, Colour colour,
            Align align = Align::kLeft);
  int Width(const std::string& text, int size);

 private:
  struct Face;
  std::unique_ptr<Face> face_;
};

}  // namespace qv3d
