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

/// What a transform of lines of 2^stages samples needs to know.
struct FftLine {
  int stages;
  float scale;                ///< of every result: 1, or 1 / 2^stages
  const double* factors;      ///< pairs u1, u2: one for the first stage, two for the second, four ...
  const std::int32_t* order;  ///< 2^stages positions in bit-reversed order
};

/// Transforms of sixteen lines at once, in place. work: 32 floats per sample of a line.
struct FftKernels {
  /// The columns `column` to column + 15 of the rows at real and imaginary.
  void (*columns)(const FftLine& plan, float* const* real, float* const* imaginary, std::ptrdiff_t column,
                  float* work);
  /// Sixteen rows; the same row may be listed more than once at the end.
  void (*rows)(const FftLine& plan, float* const* real, float* const* imaginary, float* work);
};

/// Element by element steps of the spectra. No sample is missing.
struct SpectraKernels {
  double (*sum)(const float* samples, std::ptrdiff_t count);  ///< in sixteen lanes, as the statistics
  void (*subtract)(const float* source, float* destination, std::ptrdiff_t count, double value);
  void (*squares)(float* real, float* imaginary, std::ptrdiff_t count);  ///< re*re + im*im, 0
  void (*magnitudes)(const float* real, const float* imaginary, float* out, std::ptrdiff_t count);
  void (*join)(const float* real, const float* imaginary, float* pairs, std::ptrdiff_t count);
  void (*separate)(const float* pairs, float* real, float* imaginary, std::ptrdiff_t count);
  /// values[i] *= gains[i] and mirrored[-1 - i] *= gains[i]
  void (*gain)(float* values, float* mirrored, const float* gains, std::ptrdiff_t count);
};

/// Segments of the level in one row of cells, between the samples at lower (y0) and upper (y1), which have
/// cells + 1 samples each; returns their number. Float samples with the bits of the sentinel make no
/// segments.
struct ContourKernels {
  std::ptrdiff_t (*doubles)(const double* lower, const double* upper, std::ptrdiff_t cells, const double* x,
                            double y0, double y1, double level, double* segments);
  std::ptrdiff_t (*floats)(const float* lower, const float* upper, std::ptrdiff_t cells, const float* x,
                           float y0, float y1, float level, float* segments);
  /// 1 where all samples of a row lie above the level, -1 where all lie below, else 0.
  int (*sideOfDoubles)(const double* row, std::ptrdiff_t count, double level);
  int (*sideOfFloats)(const float* row, std::ptrdiff_t count, float level);
};

/// The greatest, the mean or the smallest (in this order) of a band of neighbouring lines, without the
/// samples missing by value: out[k] from `lines` samples, in order. Sums are single precision.
struct ProfileKernels {
  using Band = void (*)(const float* first, std::ptrdiff_t lines, std::ptrdiff_t stride, std::ptrdiff_t count,
                        float* out);
  Band rows[3];     ///< out[k] from first[k + i * stride]
  Band columns[3];  ///< out[k] from first[k * stride + i]
};

// Every family of kernels: the type of its table and its name.
#define QV_KERNEL_FAMILIES(FAMILY)      \
  FAMILY(StatisticsKernels, statistics) \
  FAMILY(ArrayKernels, arrays)          \
  FAMILY(NormalsKernels, normals)       \
  FAMILY(FftKernels, fft)               \
  FAMILY(SpectraKernels, spectra)       \
  FAMILY(ContourKernels, contours)      \
  FAMILY(ProfileKernels, profiles)

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
