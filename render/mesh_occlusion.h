// The system's own occlusion generator: cosine-weighted rays from every vertex against the mesh.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "platform/occlusion_generator.h"
#include "render/occlusion_mesh.h"
#include "render/triangle_tree.h"

namespace qv::render {

/// One object at a time. Deterministic: the same rays for every vertex, in the same order, on one thread.
class MeshOcclusion final : public platform::OcclusionGenerator {
 public:
  unsigned char initialize() override { return 1; }
  void* create_object_vn(const float* vertices, int vertexStride, const float* normals, int normalStride,
                         int vertexCount, int one, const void* connectivity1,
                         const void* connectivity2) override;
  /// `rays` per vertex, rounded up to a multiple of 16; `offset` of their starts above the surface, in
  /// lengths of the edges there; their `reach`, in diagonals of the mesh. The others are not read. Answers 0
  /// where memory is short.
  unsigned char start_ao_gen_vert(void* object, int rays, float offset, float reach, int a, int b, int c,
                                  int d) override;
  /// Does `effort` times 64 vertices.
  void ao_vert_generate(int effort) override;
  unsigned char results_ready() override { return done_ >= arrays_.count ? 1 : 0; }
  const platform::VertexOcclusion* get_vert_results() override { return results_.data(); }
  void destroy_object(void* object) override;
  void shutdown() override {}

 private:
  void Start(int rays, float offset, float reach);
  platform::VertexOcclusion LookFrom(std::ptrdiff_t vertex) const;

  VertexArrays arrays_ = {};
  Connectivity connectivity_;
  OcclusionMesh mesh_;
  std::optional<TriangleTree> tree_;
  std::vector<std::ptrdiff_t> order_;  // in which the vertices are done
  std::vector<float> rays_;            // in packets of 16 x, y, z
  float reach_ = 0;
  std::ptrdiff_t done_ = 0;
  std::vector<platform::VertexOcclusion> results_;
};

}  // namespace qv::render
