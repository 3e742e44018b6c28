#include "render/shader_slots.h"

namespace qv::render {

ShaderSlots shaderSlots = {};

}  // namespace qv::render
