// The shader programs that hosts know by slot number.
#pragma once

namespace qv::render {

inline constexpr int kShaderSlots = 40;

/// Handles of shader objects, 0 where there is none. A slot is free when its three handles are 0.
struct ShaderSlots {
  unsigned vertex[kShaderSlots];
  unsigned fragment[kShaderSlots];
  unsigned program[kShaderSlots];
};

/// The module's table. InitShaders fills a slot, ReleaseShader empties it; both, like every reader, on the
/// thread of the OpenGL context.
extern ShaderSlots shaderSlots;

inline bool IsShaderSlot(int slot) {
  return slot >= 0 && slot < kShaderSlots;
}

}  // namespace qv::render
