// The surface from index lists: out of buffer objects, or vertex by vertex where an immediate form does not
// know about holes.
#include <QV_3D.h>

#include "drawing/scene_parts.h"

namespace qv3d {
namespace {

struct Strips {
  std::vector<unsigned> indices;
  std::vector<unsigned> starts;  ///< and the end of the last one
  unsigned count = 0;

  explicit Strips(const DrawnGrid& grid) {
    const auto width = static_cast<std::size_t>(grid.width),
               pairs = static_cast<std::size_t>(grid.height - 1);
    indices.resize(3 * width * pairs);
    starts.resize(pairs * (width / 2 + 1) + 1);
    unsigned used = 0;
    CreateIndiciesList(grid.heights.data(), grid.width, grid.height, indices.data(), starts.data(), &used,
                       &count);
  }
};

/// The streams of a grid in buffer objects; current from its making to its end.
class Buffers {
 public:
  Buffers(const DrawnGrid& grid, const std::vector<float>& texture, const std::vector<float>& rgb)
      : hasTexture_(texture.empty() ? 0 : 1), hasColours_(rgb.empty() ? 0 : 1) {
    BuildVBOs(grid.width * grid.height, 1, hasTexture_, 1, hasColours_, grid.xyz.data(), texture.data(),
              grid.normals.data(), rgb.data(), &vertices_, &texture_, &normals_, &colours_);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    if (hasTexture_ != 0) glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    if (hasColours_ != 0) glEnableClientState(GL_COLOR_ARRAY);
    SetPointersToVBOBuffersARB(1, hasTexture_, 1, hasColours_, &vertices_, &texture_, &normals_, &colours_);
  }
  Buffers(const Buffers&) = delete;
  Buffers& operator=(const Buffers&) = delete;
  ~Buffers() {
    for (const GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_COLOR_ARRAY})
      glDisableClientState(array);
    DeleteVBOBuffers(&vertices_, &texture_, &normals_, &colours_);
  }

 private:
  int hasTexture_, hasColours_;
  unsigned vertices_ = 0, texture_ = 0, normals_ = 0, colours_ = 0;
};

std::vector<float> Threefold(const std::vector<float>& grey) {
  std::vector<float> rgb;
  rgb.reserve(3 * grey.size());
  for (const float g : grey) rgb.insert(rgb.end(), 3, g);
  return rgb;
}

}  // namespace

void DrawFromBuffers(const Scene& scene, const Dress& dress) {
  const DrawnGrid grid(scene);
  const Strips strips(grid);
  std::vector<float> texture, rgb;
  if (dress.texture != nullptr) texture = grid.Pick(dress.texture, 1);
  if (dress.rgb != nullptr) rgb = grid.Pick(dress.rgb, 3);
  if (dress.grey != nullptr) rgb = Threefold(grid.Pick(dress.grey, 1));
  const Buffers buffers(grid, texture, rgb);
  const auto last = static_cast<unsigned>(grid.width * grid.height - 1);
  for (unsigned s = 0; s < strips.count; ++s) {
    const unsigned start = strips.starts[s], end = strips.starts[s + 1];
    DrawRangeElements(GL_TRIANGLE_STRIP, 0, last, static_cast<int>(end - start), GL_UNSIGNED_INT,
                      strips.indices.data() + start);
  }
}

void DrawGreyStrips(const Scene& scene, const float* grey) {
  const DrawnGrid grid(scene);
  const Strips strips(grid);
  const std::vector<int> starts(strips.starts.begin(), strips.starts.end());
  const std::vector<float> levels = grid.Pick(grey, 1);
  RenderImmediateMode(static_cast<int>(strips.count), starts.data(), strips.indices.data(), grid.xyz.data(),
                      grid.normals.data(), nullptr, nullptr, levels.data(), GL_TRIANGLE_STRIP, 0, 0, 1, 0);
}

}  // namespace qv3d
