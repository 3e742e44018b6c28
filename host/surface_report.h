// A report page about one surface: what was measured, what was done to it, its numbers and its pictures.
#pragma once

#include <string>
#include <vector>

#include "drawing/offscreen.h"
#include "pipeline/pipeline.h"
#include "report.h"

namespace qv3d {

struct SurfaceReport {
  const ImportOptions& import;
  const LoadedMap& loaded;   ///< as it was read
  const Pipeline& pipeline;  ///< what was done to it
  const PipeState& state;    ///< what became of it
  std::string title;         ///< empty for the file's name
};

/// The page's contents. Where OpenGL is missing the pictures in space are left out, and `withoutOpenGl` says
/// why.
HtmlReport ContentsOf(const SurfaceReport& report, GlBackend backend, Progress& progress,
                      std::string& withoutOpenGl);

}  // namespace qv3d
