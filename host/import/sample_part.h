// The built-in sample: a small plate cut from a face-turned disc, as a mesh such as an optical scanner
// delivers. Lengths in millimetres. The same bytes on every machine: only operations that IEEE 754 rounds
// correctly.
#pragma once

#include <array>
#include <vector>

#include "files/mesh_file.h"

namespace qv3d {

struct Dimple {
  double x, y;  ///< from the middle of the plate
  double depth;
};

struct SamplePart {
  double side = 10;       ///< length and width of the plate
  int cells = 400;        ///< mesh cells along a side: 25 micrometres
  double tiltX = 0.0018;  ///< clamped askew, rise per length
  double tiltY = -0.0011;
  double bow = 0.004;       ///< how much lower the rim's middles lie than the middle: a convex plate
  double feed = 0.25;       ///< per turn: distance of the turning marks
  double noseRadius = 2.4;  ///< of the cutting edge, which the marks copy
  double turningX = -1.2;   ///< axis of turning, from the middle of the plate
  double turningY = 0.8;
  double ballRadius = 6;  ///< of the ball that left the dimples
  std::array<Dimple, 4> dimples{
      {{-3.1, 3.0, 0.012}, {3.2, 3.1, 0.014}, {-0.4, -3.3, 0.010}, {-3.4, -1.4, 0.012}}};
  double noise = 0.00008;  ///< root mean square
  double holeX = 2.3;
  double holeY = -1.9;
  double holeRadius = 1.25;
  unsigned long long seed = 20240229;
};

/// Height without noise, x and y from the middle of the plate.
double NominalHeight(const SamplePart& part, double x, double y);

/// The mesh, its corner at the origin. There are no triangles over the hole.
std::vector<Triangle> MakeMesh(const SamplePart& part);

}  // namespace qv3d
