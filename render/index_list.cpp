// The strips of a surface as lists of sample numbers.
#include <cstddef>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "render/strip_walk.h"

namespace {

/// Writes down what the walk makes of the grid.
struct IndexSink {
  std::ptrdiff_t width;
  unsigned* indices;
  unsigned* stripStarts;
  unsigned* next = indices;

  void Begin() { *stripStarts++ = static_cast<unsigned>(next - indices); }
  void Vertex(std::ptrdiff_t column, std::ptrdiff_t row) {
    *next++ = static_cast<unsigned>(row * width + column);
  }
  static void End() {}
};

}  // namespace

unsigned QV_CALL CreateIndiciesList(const float* h, int width, int height, unsigned* indices,
                                    unsigned* stripStarts, unsigned* indexCount, unsigned* stripCount) {
  IndexSink sink = {width, indices, stripStarts};
  if (width >= 1) {
    const auto missing = [=](std::ptrdiff_t column, std::ptrdiff_t row) {
      return qv::HasMissingBits(h[row * width + column]);
    };
    qv::render::ForEachRowPair(height, 1, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
      qv::render::WalkStripAroundHoles(width, 1, lower, upper, missing, sink);
    });
  }
  *indexCount = static_cast<unsigned>(sink.next - indices);
  *stripCount = static_cast<unsigned>(sink.stripStarts - stripStarts);
  *sink.stripStarts = *indexCount;
  return *indexCount;
}
