// Where there is no FreeType: no font.
#include "plots/text.h"

namespace qv3d {

struct Font::Face {};

Font::Font() = default;
Font::~Font() = default;

bool Font::IsAvailable() const {
  return false;
}

int Font::Width(const std::string& /*text*/, int /*size*/) {
  return 0;
}

void Font::Draw(Image& /*image*/, int /*x*/, int /*y*/, const std::string& /*text*/, int /*size*/,
                Colour /*colour*/, Align /*align*/) {}

}  // namespace qv3d
