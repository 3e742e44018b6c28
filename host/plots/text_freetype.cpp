#include <cstdint>
#include <ft2build.h>
#include <vector>

#include "plots/text.h"

#include FT_FREETYPE_H

namespace qv3d {
namespace {

constexpr const char* kFontFiles[] = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    "/usr/share/fonts/dejavu-sans-fonts/DejaVuSans.ttf",
    "/usr/share/fonts/TTF/DejaVuSans.ttf",
    "/usr/share/fonts/dejavu/DejaVuSans.ttf",
};

/// Code points of well-formed UTF-8; the program's own texts are.
std::vector<std::uint32_t> CodePoints(const std::string& text) {
  std::vector<std::uint32_t> points;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) == 0x80 && !points.empty()) {
      points.back() = points.back() << 6 | (byte & 0x3Fu);
    } else {
      points.push_back(byte < 0x80   ? byte
                       : byte < 0xE0 ? byte & 0x1Fu
                       : byte < 0xF0 ? byte & 0x0Fu
                                     : byte & 0x07u);
    }
  }
  return points;
}

}  // namespace

struct Font::Face {
  FT_Library library = nullptr;
  FT_Face face = nullptr;

  Face() {
    if (FT_Init_FreeType(&library) != 0) return;
    for (const char* file : kFontFiles) {
      if (FT_New_Face(library, file, 0, &face) == 0) return;
      face = nullptr;
    }
  }
  Face(const Face&) = delete;
  Face& operator=(const Face&) = delete;
  ~Face() {
    if (face != nullptr) FT_Done_Face(face);
    if (library != nullptr) FT_Done_FreeType(library);
  }

  /// Calls use(glyph, pen position) for every character and returns the width.
  template <typename Use>
  int ForEachGlyph(const std::string& text, int size, Use use) {
    if (face == nullptr || FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size)) != 0) return 0;
    FT_Pos pen = 0;
    for (const std::uint32_t point : CodePoints(text)) {
      if (FT_Load_Char(face, point, FT_LOAD_RENDER | FT_LOAD_TARGET_LIGHT) != 0) continue;
      use(face->glyph, static_cast<int>(pen >> 6));
      pen += face->glyph->advance.x;
    }
    return static_cast<int>(pen >> 6);
  }
};

Font::Font() : face_(std::make_unique<Face>()) {}
Font::~Font() = default;

bool Font::IsAvailable() const {
  return face_->face != nullptr;
}

int Font::Width(const std::string& text, int size) {
  return face_->ForEachGlyph(text, size, [](FT_GlyphSlot, int) {});
}

void Font::Draw(Image& image, int x, int y, const std::string& text, int size, Colour colour, Align align) {
  if (align != Align::kLeft) x -= align == Align::kRight ? Width(text, size) : Width(text, size) / 2;
  face_->ForEachGlyph(text, size, [&](FT_GlyphSlot glyph, int pen) {
    const FT_Bitmap& bitmap = glyph->bitmap;
    for (unsigned row = 0; row < bitmap.rows; ++row) {
      const unsigned char* const line = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
      for (unsigned column = 0; column < bitmap.width; ++column) {
        image.Blend(x + pen + glyph->bitmap_left + static_cast<int>(column),
                    y - glyph->bitmap_top + static_cast<int>(row), colour, line[column] / 255.0);
      }
    }
  });
}

}  // namespace qv3d
