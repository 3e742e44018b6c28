// A surface as separate profiles, along its columns or its rows, whichever the view angle shows better.
#include <cstddef>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/strip_walk.h"
#include "render/vertex_emitters.h"

namespace {

using namespace qv::render;

/// Both ends of the ranges count as they stand: 45, 135 and 225 show columns, 315 shows rows.
template <class Real>
bool ShowsColumns(Real angle) {
  return angle >= 45 && angle < 315 && !(angle > 135 && angle < 225);
}

template <class Emitters>
unsigned DrawProfiles(int width, int height, int step, bool columns, const GLSink<Emitters>& sink) {
  if (width < 1 || height < 1 || step < 1) return 0;
  if (columns) {
    WalkColumns(width, height, step, step, sink);
  } else {
    WalkRows(width, height, step, step, sink);
  }
  return 0;
}

}  // namespace

unsigned QV_CALL RenderWaterfallSurface(const double* h, int /*unused*/, const double* tex, int width,
                                        int height, int step, unsigned mode, double angle, double zScale) {
  const auto emitters = MakeVertexSink(TextureDouble{tex}, UnitFrame(width, height, h, zScale));
  return DrawProfiles(width, height, step, ShowsColumns(angle),
                      GLSink<decltype(emitters)>{width, mode, emitters});
}

unsigned QV_CALL RenderWaterfallSurfacef(const float* h, int /*unused*/, const float* tex, int width,
                                         int height, int step, unsigned mode, float angle, float zScale,
                                         float xOffset, float yOffset, float xSize, float ySize) {
  const auto emitters =
      MakeVertexSink(Texture{tex}, Frame(width, height, xOffset, yOffset, xSize, ySize, Heights{h, zScale}));
  return DrawProfiles(width, height, step, ShowsColumns(angle),
                      GLSink<decltype(emitters)>{width, mode, emitters});
}
