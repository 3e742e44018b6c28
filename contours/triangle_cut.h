// Where a plane cuts a triangle.
#pragma once

namespace qv::contours {

/// The plane of the points P with unit * P + offset == 0.
struct Plane {
  double unit[3];
  double offset;
};

/// The offset is taken with the normal as given, not with the unit normal: with a normal of another length
/// the plane lies elsewhere. Kept: hosts pass unit normals or count on it.
Plane PlaneThrough(const double* normal, const double* point);

/// Cuts the triangle of nine doubles. Returns 0 when no vertex lies below the plane, 4 when one lies above
/// and two below, -1 when the first or second lies in the plane with the other above it and the third below,
/// else 3. segment: two points, written where *drawn is set.
int CutTriangle(const Plane& plane, const double* triangle, double segment[6], bool* drawn);

}  // namespace qv::contours
