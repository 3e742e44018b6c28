// A tree of boxes over triangles, for the rays of ambient occlusion.
#pragma once

#include <cstddef>
#include <vector>

#include "kernels/kernels.h"

namespace qv::render {

/// Built once from the corners of the triangles, nine floats each, all finite. Throws std::bad_alloc.
class TriangleTree {
 public:
  explicit TriangleTree(const std::vector<float>& corners);

  kernels::OcclusionScene Scene() const {
    return {nodes_.empty() ? nullptr : nodes_.data(), corners_.data()};
  }

 private:
  std::vector<kernels::OcclusionNode> nodes_;
  std::vector<float> corners_;  // in the order of the leaves
};

}  // namespace qv::render
