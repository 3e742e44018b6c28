// The strips of a surface as lists of sample numbers.
#include <cstddef>

#include "exports/QV_3D.h"
#include "kernels/kernels.h"
#include "render/strip_walk.h"

unsigned QV_CALL CreateIndiciesList(const float* h, int width, int height, unsigned* indices,
                                    unsigned* stripStarts, unsigned* indexCount, unsigned* stripCount) {
  qv::kernels::IndexListEnd end = {indices, stripStarts};
  const std::ptrdiff_t rowLength = width;
  if (rowLength >= 1) {
    const auto append = qv::kernels::Active().stripIndices.append;
    qv::render::ForEachRowPair(height, 1, [&](std::ptrdiff_t lower, std::ptrdiff_t upper) {
      end = append({h + lower * rowLength, h + upper * rowLength, rowLength,
                    static_cast<unsigned>(lower * rowLength), static_cast<unsigned>(upper * rowLength)},
                   indices, end);
    });
  }
  *indexCount = static_cast<unsigned>(end.index - indices);
  *stripCount = static_cast<unsigned>(end.start - stripStarts);
  *end.start = *indexCount;
  return *indexCount;
}
