#pragma once

#include <cstddef>

namespace qv::benchmarks {

/// Inverse-distance weights by a plain loop over nodes and points with the compiler's vector pow. The points
/// come in an array per coordinate; no node coincides with one.
void VectorPowGridding(const double* x, const double* y, const double* z, std::ptrdiff_t count, float* out,
                       int nx, int ny, double dx, double dy, double power);

}  // namespace qv::benchmarks
