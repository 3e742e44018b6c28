// What all mesh files have in common: triangles, and numbers as text.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace qv3d {

/// x, y, z of the three corners, in file order.
using Triangle = std::array<float, 9>;

/// Twice the area of the triangle's projection on the x-y plane, with a sign.
double DoubledArea(const Triangle& t);

/// A number in the C locale; false where the word is none. A decimal comma is understood too, and reported.
bool ParseForgivingly(std::string_view word, double& value, bool& hasComma);

bool EqualsIgnoringCase(std::string_view text, std::string_view lower);

}  // namespace qv3d
