// Ambient occlusion of meshes, over whichever generator.
#pragma once

#include "platform/occlusion_generator.h"

namespace qv::render {

/// The body of ComputeAmbientOcclusionData.
unsigned RunOcclusionGenerator(platform::OcclusionGenerator& generator, const float* vertices,
                               const float* normals, int vertexCount, const void* connectivity1,
                               const void* connectivity2, float* ao, float* directions);

}  // namespace qv::render
