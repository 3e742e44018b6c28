#include "mesh/mesh_bounds.h"

#include <cstring>

namespace qv::mesh {
namespace {

constexpr std::size_t kAxes = 3;
// Four vertices at a time: every lane then sees one axis only.
constexpr std::size_t kLanes = 4 * kAxes;
using Floats = float __attribute__((vector_size(16)));

struct Extremes {
  Floats low[3];
  Floats high[3];

  void Include(std::size_t part, const void* coordinates) {
    Floats v;
    std::memcpy(&v, coordinates, sizeof v);
    low[part] = v < low[part] ? v : low[part];
    high[part] = v > high[part] ? v : high[part];
  }
};

/// Widens by `count` coordinates, a multiple of kLanes.
void WidenLanes(const float* coordinates, std::size_t count, Extremes* extremes) {
  Extremes found = *extremes;
  for (std::size_t i = 0; i < count; i += kLanes) {
    for (std::size_t part = 0; part < 3; ++part) found.Include(part, coordinates + i + 4 * part);
  }
  *extremes = found;
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
  Extremes extremes;
  std::memcpy(extremes.low, low, sizeof low);
  std::memcpy(extremes.high, high, sizeof high);
  WidenLanes(coordinates, inLanes, &extremes);
  std::memcpy(low, extremes.low, sizeof low);
  std::memcpy(high, extremes.high, sizeof high);

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
  // A vertex per vector; the fourth lane is whatever follows it.
  const Floats low = {minimum[0], minimum[1], minimum[2], 0}, high = {maximum[0], maximum[1], maximum[2], 0};
  Extremes found = {{low, low, low}, {high, high, high}};
  for (std::size_t i = 0; i < count; ++i, from += pitch) {
    std::memcpy(to + i, from, sizeof(Triangle));
    for (std::size_t vertex = 0; vertex < 3; ++vertex) found.Include(vertex, from + vertex * sizeof(Vertex));
  }
  for (std::size_t vertex = 0; vertex < 3; ++vertex) {
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
      Lower(found.low[vertex][axis], &minimum[axis]);
      Raise(found.high[vertex][axis], &maximum[axis]);
    }
  }
  RestoreFirstZeros(reinterpret_cast<const float*>(to), count * (sizeof(Triangle) / sizeof(float)), before,
                    this);
}

}  // namespace qv::mesh
