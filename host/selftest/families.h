// The families of built-in checks, a function and a file each. They see the library as any command does.
#pragma once

#include "drawing/offscreen.h"
#include "selftest/check.h"

namespace qv3d {

void CheckStatistics(const Gauges& gauges, Checks& checks);
void CheckConversions(const Gauges& gauges, Checks& checks);
void CheckPlanes(const Gauges& gauges, Checks& checks);
void CheckWindows(const Gauges& gauges, Checks& checks);
void CheckProfileFilters(const Gauges& gauges, Checks& checks);
void CheckRoundness(const Gauges& gauges, Checks& checks);
void CheckResampling(const Gauges& gauges, Checks& checks);
void CheckSpectra(const Gauges& gauges, Checks& checks);
void CheckContours(const Gauges& gauges, Checks& checks);
void CheckMeshImport(const Gauges& gauges, Checks& checks);
void CheckGridding(const Gauges& gauges, Checks& checks);
void CheckNormals(const Gauges& gauges, Checks& checks);
void CheckSurfaceLists(const Gauges& gauges, Checks& checks);
void CheckOcclusion(const Gauges& gauges, Checks& checks);

/// What needs OpenGL; skipped, with the reason, where there is none.
void CheckDrawing(const Gauges& gauges, Checks& checks, GlBackend backend);

}  // namespace qv3d
