#include "import/sample_part.h"

#include <algorithm>
#include <cmath>

#include "random.h"

namespace qv3d {
namespace {

double Form(const SamplePart& part, double x, double y) {
  const double half = part.side / 2;
  return part.tiltX * x + part.tiltY * y - part.bow * (x * x + y * y) / (half * half);
}

/// The arcs that the tool's nose leaves side by side, lowest in the middle of each.
double TurningMarks(const SamplePart& part, double x, double y) {
  const double dx = x - part.turningX, dy = y - part.turningY;
  const double turns = std::sqrt(dx * dx + dy * dy) / part.feed;
  const double fromMiddle = (turns - std::floor(turns) - 0.5) * part.feed;
  return fromMiddle * fromMiddle / (2 * part.noseRadius);
}

/// The ball presses flat what lies above it.
double PressDimples(const SamplePart& part, double x, double y, double z) {
  const double r = part.ballRadius;
  for (const Dimple& dimple : part.dimples) {
    const double dx = x - dimple.x, dy = y - dimple.y;
    const double squared = r * r - dx * dx - dy * dy;
    if (squared <= 0) continue;
    const double ball = Form(part, dimple.x, dimple.y) + r - dimple.depth - std::sqrt(squared);
    z = std::min(z, ball);
  }
  return z;
}

}  // namespace

double NominalHeight(const SamplePart& part, double x, double y) {
  return PressDimples(part, x, y, Form(part, x, y) + TurningMarks(part, x, y));
}

std::vector<Triangle> MakeMesh(const SamplePart& part) {
  const auto cells = static_cast<std::size_t>(part.cells);
  const std::size_t points = cells + 1;
  const double spacing = part.side / part.cells, half = part.side / 2;
  std::vector<float> heights(points * points);
  Random random(part.seed);
  for (std::size_t j = 0; j < points; ++j) {
    for (std::size_t i = 0; i < points; ++i) {
      const double x = static_cast<double>(i) * spacing - half, y = static_cast<double>(j) * spacing - half;
      heights[j * points + i] = static_cast<float>(NominalHeight(part, x, y) + part.noise * random.Normal());
    }
  }
  const auto corner = [&](std::size_t i, std::size_t j, Triangle& t, std::size_t k) {
    t[3 * k] = static_cast<float>(static_cast<double>(i) * spacing);
    t[3 * k + 1] = static_cast<float>(static_cast<double>(j) * spacing);
    t[3 * k + 2] = heights[j * points + i];
  };
  std::vector<Triangle> mesh;
  mesh.reserve(2 * cells * cells);
  for (std::size_t j = 0; j < cells; ++j) {
    for (std::size_t i = 0; i < cells; ++i) {
      const double dx = (static_cast<double>(i) + 0.5) * spacing - half - part.holeX;
      const double dy = (static_cast<double>(j) + 0.5) * spacing - half - part.holeY;
      if (dx * dx + dy * dy < part.holeRadius * part.holeRadius) continue;
      Triangle lower, upper;
      corner(i, j, lower, 0), corner(i + 1, j, lower, 1), corner(i, j + 1, lower, 2);
      corner(i + 1, j, upper, 0), corner(i + 1, j + 1, upper, 1), corner(i, j + 1, upper, 2);
      mesh.push_back(lower);
      mesh.push_back(upper);
    }
  }
  return mesh;
}

}  // namespace qv3d
