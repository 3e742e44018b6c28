// The foreign interface behind ambient occlusion of meshes: a generator with eight operations, called in this
// order.
#pragma once

namespace qv::platform {

/// What a generator answers for one vertex.
struct VertexOcclusion {
  float direction[3];   ///< where most light comes from
  float accessibility;  ///< share of the light that arrives
};

class OcclusionGenerator {
 public:
  /// Nothing else is called where it answers 0.
  virtual unsigned char initialize() = 0;
  /// Returns the object made of the vertices and normals, with their strides in bytes.
  virtual void* create_object_vn(const float* vertices, int vertexStride, const float* normals,
                                 int normalStride, int vertexCount, int one, const void* connectivity1,
                                 const void* connectivity2) = 0;
  /// Answers 0 where it could not start: then only destroy_object and shutdown follow.
  virtual unsigned char start_ao_gen_vert(void* object, int rays, float offset, float reach, int a, int b,
                                          int c, int d) = 0;
  /// Does one slice of the work.
  virtual void ao_vert_generate(int effort) = 0;
  /// Other than 0 when every vertex is done.
  virtual unsigned char results_ready() = 0;
  /// One record per vertex.
  virtual const VertexOcclusion* get_vert_results() = 0;
  virtual void destroy_object(void* object) = 0;
  virtual void shutdown() = 0;

 protected:
  ~OcclusionGenerator() = default;
};

}  // namespace qv::platform
