#pragma once

#include <cstddef>

namespace qv::filters {

struct ProfilePoint {
  double x;
  double z;
};

/// Whether the candidate lies on or inside the circle of the radius that passes over the two outer points,
/// its centre on the upper side of their chord; true where no such circle exists.
bool CircleHoldsPoint(const ProfilePoint& first, const ProfilePoint& candidate, const ProfilePoint& last,
                      double radius);

/// How far the arc that hangs from a touched sample lies below it at distance x, |x| <= radius.
double CircleArcDrop(double x, double radius);

/// Writes the ascending indices of the samples that the circle touches and returns their number. contacts: n
/// ints.
std::ptrdiff_t FindContacts(const double* profile, std::ptrdiff_t n, double radius, double dx, int* contacts);

}  // namespace qv::filters
