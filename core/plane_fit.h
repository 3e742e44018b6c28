#pragma once

namespace qv {

/// Solves a 3 x 3 system, matrix given row by row, by Cramer's rule through the adjugate. Returns false, and
/// writes nothing, when the determinant is below 1e-32 in magnitude.
bool SolveLinear3x3(const float matrix[9], const float rightSide[3], float solution[3]);

}  // namespace qv
