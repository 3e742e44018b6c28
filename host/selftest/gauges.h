// Gauges for the built-in checks: surfaces and a profile whose parameters are known in closed form. Lengths
// and heights in micrometres. The same samples on every machine.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "analysis/height_map.h"
#include "analysis/round_profile.h"
#include "files/mesh_file.h"

namespace qv3d {

inline constexpr const char* kGaugeUnit = "um";
inline constexpr double kGaugeSpacing = 10;  ///< of all height maps, along both axes

/// z = amplitude * sin(2 pi x / wavelength): whole waves, a sample on every crest and on every zero.
struct SineGauge {
  static constexpr int kWidth = 256, kHeight = 64;
  static constexpr int kSamples = 32;  ///< per wave
  static constexpr double kAmplitude = 2, kWavelength = kSamples * kGaugeSpacing;
};

/// z = amplitude * cos(2 pi x / wavelength) * cos(2 pi y / wavelength): whole waves along both axes.
struct CosinesGauge {
  static constexpr int kSize = 64;
  static constexpr int kSamples = 16;
  static constexpr double kAmplitude = 3, kWavelength = kSamples * kGaugeSpacing;
};

/// z = a*x + b*y + c.
struct PlaneGauge {
  static constexpr int kWidth = 64, kHeight = 48;
  static constexpr double kA = 0.02, kB = -0.03, kC = 5;
};

/// The top of a sphere above the middle of the map: z = sqrt(radius^2 - x^2 - y^2) - radius + peak.
struct CapGauge {
  static constexpr int kSize = 101;
  static constexpr double kRadius = 2000, kPeak = 100;
  static constexpr double kMiddle = (kSize - 1) / 2.0 * kGaugeSpacing;
};

/// 0 before a column, `height` from it on.
struct StepGauge {
  static constexpr int kWidth = 64, kHeight = 32;
  static constexpr int kColumn = 30;
  static constexpr double kStep = 1;
};

/// White noise, evenly distributed over -range/2 to range/2.
struct NoiseGauge {
  static constexpr int kSize = 128;
  static constexpr double kRange = 1;
  static constexpr unsigned long long kSeed = 20240229;
};

/// A plane parallel to the base with single missing samples, none beside another or at the rim.
struct HolesGauge {
  static constexpr int kWidth = 32, kHeight = 24;
  static constexpr double kLevel = 7;
  static constexpr int kHoles = 9;
};

/// A plane parallel to the base.
struct FlatGauge {
  static constexpr int kSize = 24;
  static constexpr double kLevel = 4;
};

/// Radii of one revolution: an eccentric circle with lobes. Angles in radians.
struct LobesGauge {
  static constexpr int kSamples = 3600;
  static constexpr double kRadius = 20000, kEccentricity = 8, kDirection = 1;
  static constexpr int kLobes = 15;
  static constexpr double kAmplitude = 2;
};

/// All gauges, so that the checks can be given disturbed ones.
struct Gauges {
  HeightMap sine, cosines, plane, cap, step, noise, holes, flat;
  RoundProfile lobes;
  std::vector<Triangle> mesh;  ///< the cap as a mesh, one sample per corner, its first corner at the origin
};

Gauges MakeGauges();

/// The names under which the checks and the files know them. The mesh and the profile are not among them.
std::vector<std::pair<const char*, HeightMap*>> MapsOf(Gauges& gauges);

/// Two triangles per cell of the map, both falling from its left upper to its right lower corner.
std::vector<Triangle> MeshOf(const HeightMap& map);

// What the gauges are made from, at a place.
double SineHeight(double x);
double CosinesHeight(double x, double y);
double PlaneHeight(double x, double y);
/// From the middle of the map.
double CapHeight(double x, double y);
double LobesRadius(double angle);

/// True where the gauge with holes has one.
bool IsHole(int column, int row);

}  // namespace qv3d
