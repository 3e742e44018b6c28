// The inner loops that are worth compiling once per instruction set, and the table that picks one.
//
// A kernel is written once, in kernels/<family>.cpp, and compiled in each variant of kernels/CMakeLists.txt,
// there in the namespace qv::kernels::QV_KERNEL_ISA. All variants give the same bits: they share one order of
// operations. Those files include nothing that defines an inline function outside that namespace (no <cmath>,
// no <algorithm>, no core/samples.h): the linker keeps one copy of an inline function, and it must not be one
// built for AVX-512.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qv::kernels {

struct Sum {
  double value;          ///< sum over the samples that are not missing
  std::ptrdiff_t count;  ///< their number
};

struct Moments {
  double squares;        ///< sum of z*z over the samples that are not missing
  double powers;         ///< sum of z*z*z or z*z*z*z
  std::ptrdiff_t count;  ///< their number
};

struct Extremes {
  float minimum;  ///< 1e32F where there is no sample
  float maximum;  ///< -1e32F where there is no sample
};

/// Reductions over a flat array of floats; samples missing by value are skipped. Every sum is formed in
/// sixteen lanes, sample i in lane i mod 16, folded in halves at the end.
struct StatisticsKernels {
  Sum (*sum)(const float* samples, std::ptrdiff_t count);
  Sum (*sumAbsolutes)(const float* samples, std::ptrdiff_t count);
  Sum (*sumSquares)(const float* samples, std::ptrdiff_t count);
  Moments (*thirdMoment)(const float* samples, std::ptrdiff_t count);
  Moments (*fourthMoment)(const float* samples, std::ptrdiff_t count);
  Extremes (*extremes)(const float* samples, std::ptrdiff_t count);
};

/// Element by element conversions, in place or to a second array; samples missing by value are left alone.
struct ArrayKernels {
  /// (z - minimum) * scale + offset in double; a zero offset is not added.
  void (*stretch)(float* data, std::ptrdiff_t count, float minimum, float scale, float offset);
  void (*scale)(float* data, std::ptrdiff_t count, double factor);
  void (*subtract)(float* data, std::ptrdiff_t count, double value);
  void (*replaceMissing)(float* data, std::ptrdiff_t count, float value);
  void (*truncateToBytes)(const float* source, std::uint8_t* destination, std::ptrdiff_t count);
  void (*threshold)(const float* source, std::uint8_t* destination, std::ptrdiff_t count, double threshold,
                    std::uint8_t above, std::uint8_t atOrBelow);
};

/// Normals of the samples 1 to width-2 of the row at h, which has rows below and above it, with the spacings
/// dx and dy. Equal to SampleNormal of kernels/normal_formula.h.
struct NormalsKernels {
  void (*fourNeighboursDouble)(const double* h, std::ptrdiff_t width, double dx, double dy, double* normals);
  void (*fourNeighbours)(const float* h, std::ptrdiff_t width, double dx, double dy, float* normals);
  void (*sixNeighbours)(const float* h, std::ptrdiff_t width, double dx, double dy, float* normals);
};

/// Ambient occlusion on a grid.
struct OcclusionKernels {
  /// One row of the 7 x 7 estimate. rows: the seven rows of the window, the middle one the row itself,
  /// widened; column 0 is at index 3. They reach 6 values beyond the next multiple of 16 columns; what is no
  /// sample is minus infinity.
  void (*row)(const double* const* rows, std::ptrdiff_t width, float* ao);
};

/// A box of a tree over triangles. Above 0, count is the number of triangles from `first`; otherwise the
/// boxes `first` and `first + 1` divide this one along axis -count, the lower part first.
struct OcclusionNode {
  float low[3];
  std::int32_t first;
  float high[3];
  std::int32_t count;
};
/// No tree is deeper.
inline constexpr int kOcclusionTreeDepth = 96;

struct OcclusionScene {
  const OcclusionNode* nodes;  ///< the first holds all; null where there are no triangles
  const float* triangles;      ///< nine floats each
};

/// What is seen from a point: directions in packets of sixteen x, then y, then z, turned into the frame of
/// three axes, and followed up to the reach.
struct OcclusionView {
  float origin[3];
  float frame[9];
  const float* rays;
  std::ptrdiff_t packets;
  float reach;
};

struct OcclusionSum {
  float direction[3];  ///< sum of the directions that nothing stops
  int count;           ///< their number
};

struct OcclusionRayKernels {
  OcclusionSum (*view)(const OcclusionScene& scene, const OcclusionView& view);
};

// Every family of kernels: the type of its table and its name.
#define QV_KERNEL_FAMILIES(FAMILY)      \
  FAMILY(StatisticsKernels, statistics) \
  FAMILY(ArrayKernels, arrays)          \
  FAMILY(NormalsKernels, normals)       \
  FAMILY(OcclusionKernels, occlusion)   \
  FAMILY(OcclusionRayKernels, occlusionRays)

struct KernelTable {
  const char* name;     ///< of the instruction set
  bool (*supported)();  ///< by this processor
#define QV_MEMBER(Type, name) Type name;
  QV_KERNEL_FAMILIES(QV_MEMBER)
#undef QV_MEMBER
};

/// The instruction sets that were compiled, the plainest first.
inline constexpr int kVariantCount = 3;
extern const KernelTable* const kVariants[kVariantCount];

/// The best table that this processor supports. Chosen on the first call, without a lock: whoever comes
/// first, all choose the same.
const KernelTable& Active();

/// Makes Active() return this table: lets tests run every instruction set.
void SetActive(const KernelTable& table);

}  // namespace qv::kernels
