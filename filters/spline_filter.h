#pragma once

#include <cstddef>

#include "kernels/kernels.h"

namespace qv::filters {

/// The a of the smoothing spline's matrix I + a*Q.
double SplineStiffness(float cutoff, float spacing);

/// Eliminates I + a*Q, Q the fourth differences with free ends, for lines of n >= 3 samples. storage: 5*n
/// doubles, which the result points into.
kernels::BandFactors EliminateSpline(double a, std::ptrdiff_t n, double* storage);

}  // namespace qv::filters
