#include "mesh/mesh_bounds.h"

#include <cstring>

namespace qv::mesh {
namespace {

constexpr std::size_t kAxes = 3;
// Four vertices at a time: every lane then sees one axis only.
constexpr std::size_t kLanes = 4 * kAxes;
using Floats = float __attribute__((vector_size(16)));

/// Each a variable of its own, not an array: so the compiler keeps them in registers.
struct Extremes {
  Floats low, high;

  void Include(const void* coordinates) {
    Floats v;
    std::memcpy(&v, coordinates, sizeof v);
    low = v < low ? v : low;
    high = v > high ? v : high;
  }
};

/// Widens by `count` coordinates, a multiple of kLanes.
void WidenLanes(const float* coordinates, std::size_t count, Extremes* extremes) {
  Extremes first = extremes[0], second = extremes[1], third = extremes[2];
  for (std::size_t i = 0; i < count; i += kLanes) {
    first.Include(coordinates + i);
    second.Include(coordinates + i + 4);
    third.Include(coordinates + i + 8);
  }
  extremes[0] = first;
  extremes[1] = second;
  extremes[2] = third;
}

void Lower(float value, float* minimum) {
  if (value < *minimum) *minimum = value;
}

void Raise(float value, float* maximum) {
  if (value > *maximum) *maximum = value;
}

/// The lanes have lost which of two zeros came first, the only equal values that differ.
void RestoreFirstZero(const float* coordinates, std::size_t count, std::size_t axis, float before,
                      float* extreme) {
  if (*extreme != 0 || before == 0) return;
  for (std::size_t i = axis; i < count; i += kAxes) {
    if (coordinates[i] == 0) {
      *extreme = coordinates[i];
      return;
    }
  }
}

void RestoreFirstZeros(const float* coordinates, std::size_t count, const MeshBounds& before,
                       MeshBounds* bounds) {
  for (std::size_t axis = 0; axis < kAxes; ++axis) {
    RestoreFirstZero(coordinates, count, axis, before.minimum[axis], &bounds->minimum[axis]);
    RestoreFirstZero(coordinates, count, axis, before.maximum[axis], &bounds->maximum[axis]);
  }
}

}  // namespace

void MeshBounds::Widen(const Vertex* vertices, std::size_t count) {
  const auto* coordinates = reinterpret_cast<const float*>(vertices);
  const std::size_t coordinateCount = count * kAxes;
  const std::size_t inLanes = coordinateCount - coordinateCount % kLanes;
  const MeshBounds before = *this;

  float low[kLanes], high[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) {
    low[i] = minimum[i % kAxes];
    high[i] = maximum[i % kAxes];
  }
  Extremes extremes[3];
  for (std::size_t part = 0; part < 3; ++part) {
    std::memcpy(&extremes[part].low, low + 4 * part, sizeof(Floats));
    std::memcpy(&extremes[part].high, high + 4 * part, sizeof(Floats));
  }
  WidenLanes(coordinates, inLanes, extremes);
  for (std::size_t part = 0; part < 3; ++part) {
    std::memcpy(low + 4 * part, &extremes[part].low, sizeof(Floats));
    std::memcpy(high + 4 * part, &extremes[part].high, sizeof(Floats));
  }

  for (std::size_t i = 0; i < kLanes; ++i) {
    Lower(low[i], &minimum[i % kAxes]);
    Raise(high[i], &maximum[i % kAxes]);
  }
  for (std::size_t i = inLanes; i < coordinateCount; ++i) {
    Lower(coordinates[i], &minimum[i % kAxes]);
    Raise(coordinates[i], &maximum[i % kAxes]);
  }
  RestoreFirstZeros(coordinates, coordinateCount, before, this);
}

void MeshBounds::WidenCopying(const char* from, std::size_t pitch, Triangle* to, std::size_t count) {
  const MeshBounds before = *this;
  if (count == 0) return;
  // A vertex per vector; the fourth lane is whatever follows it, and the next vertex is copied over it.
  // Behind the last triangle there is no room for it.
  const Floats low = {minimum[0], minimum[1], minimum[2], 0}, high = {maximum[0], maximum[1], maximum[2], 0};
  Extremes first = {low, high}, second = first, third = first;
  for (std::size_t i = 0; i < count; ++i, from += pitch) {
    std::memcpy(to + i, from, sizeof(Triangle));
    first.Include(from);
    second.Include(from + sizeof(Vertex));
    third.Include(from + 2 * sizeof(Vertex));
  }
  const Extremes each[] = {first, second, third};
  for (const Extremes& found : each) {
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
      Lower(found.low[axis], &minimum[axis]);
      Raise(found.high[axis], &maximum[axis]);
    }
  }
  RestoreFirstZeros(reinterpret_cast<const float*>(to), count * (sizeof(Triangle) / sizeof(float)), before,
                    this);
}

}  // namespace qv::mesh
