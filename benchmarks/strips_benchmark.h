// The OpenGL that a strips benchmark draws with.
#pragma once

namespace qv::bench {

/// Makes it ready; `lit` switches lighting on.
void PrepareGL(bool lit);

/// Waits until everything is drawn.
void FinishGL();

}  // namespace qv::bench
