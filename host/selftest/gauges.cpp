#include "selftest/gauges.h"

#include <QV_3D.h>
#include <cmath>
#include <numbers>

#include "random.h"

namespace qv3d {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

/// A map of which `height` gives the sample of a column and row.
template <class Height>
HeightMap MapOf(int width, int height, Height sample) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.xSize = static_cast<float>((width - 1) * kGaugeSpacing);
  map.ySize = static_cast<float>((height - 1) * kGaugeSpacing);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      map.heights.push_back(static_cast<float>(sample(column, row)));
    }
  }
  return map;
}

HeightMap MakeNoise() {
  Random random(NoiseGauge::kSeed);
  return MapOf(NoiseGauge::kSize, NoiseGauge::kSize,
               [&](int, int) { return NoiseGauge::kRange * (random.Uniform() - 0.5); });
}

HeightMap MakeCap() {
  return MapOf(CapGauge::kSize, CapGauge::kSize, [](int column, int row) {
    return CapHeight(column * kGaugeSpacing - CapGauge::kMiddle, row * kGaugeSpacing - CapGauge::kMiddle);
  });
}

RoundProfile MakeLobes() {
  RoundProfile profile;
  for (int i = 0; i < LobesGauge::kSamples; ++i) {
    profile.values.push_back(LobesRadius(kTurn * i / LobesGauge::kSamples));
  }
  return profile;
}

}  // namespace

double SineHeight(double x) {
  return SineGauge::kAmplitude * std::sin(kTurn * x / SineGauge::kWavelength);
}

double CosinesHeight(double x, double y) {
  return CosinesGauge::kAmplitude * std::cos(kTurn * x / CosinesGauge::kWavelength) *
         std::cos(kTurn * y / CosinesGauge::kWavelength);
}

double PlaneHeight(double x, double y) {
  return PlaneGauge::kA * x + PlaneGauge::kB * y + PlaneGauge::kC;
}

double CapHeight(double x, double y) {
  return std::sqrt(CapGauge::kRadius * CapGauge::kRadius - x * x - y * y) - CapGauge::kRadius +
         CapGauge::kPeak;
}

double LobesRadius(double angle) {
  return LobesGauge::kRadius + LobesGauge::kEccentricity * std::cos(angle - LobesGauge::kDirection) +
         LobesGauge::kAmplitude * std::cos(LobesGauge::kLobes * angle);
}

bool IsHole(int column, int row) {
  // Three columns by three rows of them.
  return column % 8 == 7 && row % 7 == 3 && row < 20 && column < 30;
}

Gauges MakeGauges() {
  Gauges g;
  g.sine = MapOf(SineGauge::kWidth, SineGauge::kHeight,
                 [](int column, int) { return SineHeight(column * kGaugeSpacing); });
  g.cosines = MapOf(CosinesGauge::kSize, CosinesGauge::kSize, [](int column, int row) {
    return CosinesHeight(column * kGaugeSpacing, row * kGaugeSpacing);
  });
  g.plane = MapOf(PlaneGauge::kWidth, PlaneGauge::kHeight, [](int column, int row) {
    return PlaneHeight(column * kGaugeSpacing, row * kGaugeSpacing);
  });
  g.cap = MakeCap();
  g.step = MapOf(StepGauge::kWidth, StepGauge::kHeight,
                 [](int column, int) { return column < StepGauge::kColumn ? 0 : StepGauge::kStep; });
  g.noise = MakeNoise();
  g.holes = MapOf(HolesGauge::kWidth, HolesGauge::kHeight, [](int column, int row) {
    return IsHole(column, row) ? QV_BAD_SAMPLE : HolesGauge::kLevel;
  });
  g.flat = MapOf(FlatGauge::kSize, FlatGauge::kSize, [](int, int) { return FlatGauge::kLevel; });
  g.lobes = MakeLobes();
  g.mesh = MeshOf(g.cap);
  return g;
}

std::vector<std::pair<const char*, HeightMap*>> MapsOf(Gauges& g) {
  return {{"sine", &g.sine}, {"cosines", &g.cosines}, {"plane", &g.plane}, {"cap", &g.cap},
          {"step", &g.step}, {"noise", &g.noise},     {"holes", &g.holes}, {"flat", &g.flat}};
}

std::vector<Triangle> MeshOf(const HeightMap& map) {
  const auto corner = [&](int column, int row, Triangle& t, std::size_t k) {
    t[3 * k] = static_cast<float>(column * kGaugeSpacing);
    t[3 * k + 1] = static_cast<float>(row * kGaugeSpacing);
    t[3 * k + 2] = map.At(column, row);
  };
  std::vector<Triangle> mesh;
  for (int row = 0; row + 1 < map.height; ++row) {
    for (int column = 0; column + 1 < map.width; ++column) {
      Triangle lower, upper;
      corner(column, row, lower, 0), corner(column + 1, row, lower, 1), corner(column, row + 1, lower, 2);
      corner(column + 1, row, upper, 0), corner(column + 1, row + 1, upper, 1),
          corner(column, row + 1, upper, 2);
      mesh.push_back(lower);
      mesh.push_back(upper);
    }
  }
  return mesh;
}

}  // namespace qv3d
