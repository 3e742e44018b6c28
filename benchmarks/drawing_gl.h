// The OpenGL that a drawing benchmark draws with.
#pragma once

namespace qv::bench {

/// "null GL" or "software GL", as cases are named.
const char* GLName();

/// Whether lighting and rasterising make a difference.
bool DrawsPixels();

struct Pipeline {
  bool lit = false;
  bool rasterised = true;  ///< whether anything comes after the vertices
};

/// Makes it ready.
void PrepareGL(const Pipeline& pipeline);

/// Waits until everything is drawn.
void FinishGL();

}  // namespace qv::bench
