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

/// A square window moved over an nx x ny grid so that it never leaves it. It reaches `half` samples from its
/// centre, so it has 2 * half + 1 on a side, which an even nominal size is not. Results are packed rows of
/// nx - 2 * half; there is at least one row and one column of them. A NaN among the results is always the
/// positive quiet NaN: which NaN an addition passes on depends on the order of its operands.
struct Window {
  std::ptrdiff_t nx, ny;
  std::ptrdiff_t half;
  double divisor;  ///< of means: the square of the nominal size
};

/// Sums of windows. Each is formed by additions alone, of samples of that window alone, in an order that
/// depends on the window's size and row only: a huge sample leaves no trace outside the windows it lies in.
struct WindowMeanKernels {
  void (*meanDoubles)(const Window& window, const double* in, double* out);
  void (*meanFloats)(const Window& window, const float* in, float* out);
  void (*meanInts)(const Window& window, const std::int32_t* in, std::int32_t* out);
  void (*meanResidual)(const Window& window, const float* in, float* out, float* residual);
  void (*laplacian)(const Window& window, const float* in, float* out, float* residual);
  /// Every sample is a centre; what lies outside the grid, or is missing, is left out. `half` may exceed the
  /// grid.
  void (*clippedMean)(const Window& window, const float* in, float* out, float* residual);
};

/// Extremes of windows, the first of equal ones in row order (it shows in the sign of a zero); a NaN is never
/// one. Residuals are taken against the window's top-left sample.
struct WindowExtremeKernels {
  void (*minimumDoubles)(const Window& window, const double* in, double* out);
  void (*minimumFloats)(const Window& window, const float* in, float* out);
  void (*minimumInts)(const Window& window, const std::int32_t* in, std::int32_t* out);
  void (*minimumResidual)(const Window& window, const float* in, float* out, float* residual);
  void (*maximumDoubles)(const Window& window, const double* in, double* out);
  void (*maximumFloats)(const Window& window, const float* in, float* out);
  void (*maximumInts)(const Window& window, const std::int32_t* in, std::int32_t* out);
  void (*maximumResidual)(const Window& window, const float* in, float* out, float* residual);
};

/// Which sample of a sorted window is the result. The window has 2 * half + 1 samples in each of its first
/// `fullRows` rows, and `oneMore` in the row below, the leftmost: an even size sorts its first size * size
/// samples.
struct RankWindow {
  Window window;
  std::ptrdiff_t fullRows;
  bool oneMore;
  std::ptrdiff_t rank;  ///< position in ascending order, from 0
};

/// Ranks of windows, in the order by value, -0 before 0, NaN last.
struct WindowRankKernels {
  void (*rankDoubles)(const RankWindow& ranked, const double* in, double* out);
  void (*rankFloats)(const RankWindow& ranked, const float* in, float* out);
  void (*rankInts)(const RankWindow& ranked, const std::int32_t* in, std::int32_t* out);
  /// Both results are missing where the sample found is; the residual is taken against the centre.
  void (*rankResidual)(const RankWindow& ranked, const float* in, float* out, float* residual);
};

/// Smoothing works on many lines at once: a block holds kBlockLines lines side by side, sample k of line l at
/// [k*kBlockLines + l], so that every line goes through the sequential description in its own vector lane.
inline constexpr int kBlockLines = 32;

/// What is known of each line of a block: enough to decide whether plain doubles reproduce an extended sum.
struct LineRanges {
  std::uint32_t largest[kBlockLines];   ///< bits of the largest magnitude
  std::uint32_t smallest[kBlockLines];  ///< bits of the smallest magnitude that is not 0, less 1
  std::uint32_t ties[kBlockLines];      ///< not 0 where a result lay exactly between two floats
};

/// The elimination of a symmetric band matrix with two off-diagonals, shared by all lines of a pass.
struct BandFactors {
  const double* diagonal;  ///< after elimination, like the off-diagonals
  const double* first;
  const double* second;
  const double* firstFactor;   ///< first / diagonal
  const double* secondFactor;  ///< second / diagonal
};

struct SmoothingKernels {
  /// Blocks from and to a row-major grid; `lines` of the kBlockLines are there, the others are zeros.
  void (*packRows)(const float* grid, std::ptrdiff_t pitch, int lines, std::ptrdiff_t n, float* block);
  void (*unpackRows)(const float* block, std::ptrdiff_t n, int lines, float* grid, std::ptrdiff_t pitch);
  void (*packColumns)(const float* grid, std::ptrdiff_t pitch, int lines, std::ptrdiff_t n, float* block);
  /// filtered = block, residual = in - block.
  void (*unpackColumns)(const float* block, std::ptrdiff_t n, int lines, const float* in, float* residual,
                        float* filtered, std::ptrdiff_t pitch);
  /// The ranges of a block; no ties.
  void (*measure)(const float* block, std::ptrdiff_t n, LineRanges* ranges);
  /// One moving average of half-width m and weight w over each line in doubles; of the ranges of the result
  /// the ties, and unless it is the last average the smallest.
  void (*boxAverage)(const float* from, float* to, std::ptrdiff_t n, std::ptrdiff_t m, float w, bool last,
                     LineRanges* ranges);
  /// Forward elimination and back substitution of each line, in place, a float store per value. n >= 3.
  void (*solveBand)(float* block, std::ptrdiff_t n, const BandFactors& factors);
  /// residual = in - smoothed for flat arrays.
  void (*subtract)(const float* in, const float* smoothed, float* residual, std::ptrdiff_t count);
  /// The 3 x 3 binomial mean of `count` windows whose top-left samples are rows[0][0..count-1].
  void (*binomialRow)(const float* const rows[3], std::ptrdiff_t count, float* filtered, float* residual);
};

/// Inner loops of profile filters, in doubles.
struct ProfileKernels {
  /// For each i < n and each weight in turn: out[i] += w * (cycle[i + ahead] + cycle[i + behind]), where
  /// `cycle` holds the profile twice, `ahead` starts at firstAhead and steps up, `behind` starts at
  /// firstBehind and steps down, both modulo n.
  void (*addPairs)(const double* cycle, std::ptrdiff_t n, const double* weights, std::ptrdiff_t count,
                   std::ptrdiff_t firstAhead, std::ptrdiff_t firstBehind, double* out);
  /// out[i] = max(out[i], height - arc[i]), a NaN never winning.
  void (*raiseForward)(double height, const double* arc, std::ptrdiff_t count, double* out);
  /// out[-i] = max(out[-i], height - arc[i]) for i < count, likewise.
  void (*raiseBackward)(double height, const double* arc, std::ptrdiff_t count, double* out);
};

/// One input row at the columns of the output: per output column the samples taps[q][c] times weights[q][c].
struct ColumnTaps {
  std::ptrdiff_t columns;        ///< of the output
  std::ptrdiff_t pitch;          ///< columns filled up to a multiple of 16 with taps that can be read
  std::ptrdiff_t rowLength;      ///< of the input
  const std::int32_t* index[4];  ///< ascending along c and in q
  const double* weight[4];
};

struct ResamplingKernels {
  /// True where a row has a missing sample.
  bool (*anyMissing)(const float* row, std::ptrdiff_t count);
  /// picked[q*pitch + c] = tap q of column c, for the first two taps.
  void (*pickTwo)(const float* row, const ColumnTaps& taps, float* picked);
  /// The sum of four samples by weight, q ascending.
  void (*bicubicRow)(const float* row, const ColumnTaps& taps, double* sums);
  /// missing[c] = all bits set where one of the first `count` taps of column c is missing, else 0.
  void (*missingTaps)(const float* row, const ColumnTaps& taps, int count, std::uint32_t* missing);
  /// Between two rows of picked taps (near, then far): far1*fx*fy + near1*(1-fx)*fy + far0*fx*(1-fy) +
  /// near0*(1-fx)*(1-fy), left to right; fx is weight[1].
  void (*blendTwoRows)(const float* const picked[2], const ColumnTaps& taps, double fy, float* out);
  /// The sum of four rows by weight, p ascending.
  void (*blendFourRows)(const double* const rows[4], const double weights[4], std::ptrdiff_t columns,
                        float* out);
  /// out[c] = the sentinel where one of `rows` masks is set.
  void (*markMissing)(const std::uint32_t* const* masks, int rows, std::ptrdiff_t columns, float* out);
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

/// Decimal logarithms.
struct DecadeKernels {
  /// Each positive value becomes the float nearest to its logarithm, any other value and a NaN 0.
  void (*replace)(float* values, std::ptrdiff_t count);
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
struct BandKernels {
  using Band = void (*)(const float* first, std::ptrdiff_t lines, std::ptrdiff_t stride, std::ptrdiff_t count,
                        float* out);
  Band rows[3];     ///< out[k] from first[k + i * stride]
  Band columns[3];  ///< out[k] from first[k * stride + i]
};

/// Ambient occlusion on a grid.
struct OcclusionKernels {
  /// One row of the 7 x 7 estimate. rows: the seven rows of the window, the middle one the row itself,
  /// widened; column 0 is at index 3. They reach 6 values beyond the next multiple of 16 columns; what is
  /// no sample is minus infinity.
  void (*row)(const double* const* rows, std::ptrdiff_t width, float* ao);
};

/// A box of a tree over triangles. Above 0, count is the number of triangles from `first`; otherwise the
/// boxes `first` and `first + 1` divide this one along axis -count, the lower part first. Of the box only the
/// slab between two planes across `normal` is filled: what lies on a slope is thinner than any box.
struct OcclusionNode {
  float low[3];
  std::int32_t first;
  float high[3];
  std::int32_t count;
  float normal[3];
  float least, most;  ///< of the products of normal and corners, rounding included
};
/// What rounding may do to a product of three pairs, as a share of it: the margin of slabs and of rays.
inline constexpr float kOcclusionRounding = 1e-6F;
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

/// Two rows of samples, and the numbers of their first samples.
struct StripRows {
  const float* lower;
  const float* upper;
  std::ptrdiff_t width;
  unsigned lowerNumber, upperNumber;
};

/// Where a list of strips goes on.
struct IndexListEnd {
  unsigned* index;
  unsigned* start;
};

struct StripIndexKernels {
  /// Appends the strips that render/strip_walk.h draws of two rows around samples missing by bit pattern:
  /// their sample numbers, and where in the list each of them begins. Writes nothing behind the end that it
  /// returns.
  IndexListEnd (*append)(const StripRows& rows, const unsigned* list, IndexListEnd end);
};

/// Points as they are seen from one row of nodes.
struct ScatteredPoints {
  const double* x;
  const double* z;
  const double* rowTerm;  ///< what the square of a distance has besides the square of its x part
  std::ptrdiff_t count;
};

/// Nodes come in runs of a multiple of this.
inline constexpr int kNodeStep = 32;

/// The sums so far of a run of nodes.
struct NodeSums {
  double* weighted;  ///< of weights times z
  double* weight;
  double* least;  ///< see GriddingKernels
};

/// With q the square of the distance of a point from a node: adds a weight of each point to the sums of
/// `count` nodes at `nodes`, one node row. What is in `least` is lowered to the smallest q, and for
/// inverse squares to the smallest product of the q of four points, groups counted from the first, or of the
/// q of one of the last points that fill no group. Everything must be finite; where a q is 0, or a power of
/// one no normal double, the sums are undefined, and `least` tells.
struct GriddingKernels {
  /// 1 / q
  void (*inverseSquares)(const ScatteredPoints& points, const double* nodes, std::ptrdiff_t count,
                         const NodeSums& sums);
  /// q to the power of `exponent`, 4e-13 off at most for |exponent| <= 16
  void (*powers)(const ScatteredPoints& points, const double* nodes, std::ptrdiff_t count, double exponent,
                 const NodeSums& sums);
};

// Every family of kernels: the type of its table and its name.
#define QV_KERNEL_FAMILIES(FAMILY)             \
  FAMILY(StatisticsKernels, statistics)        \
  FAMILY(ArrayKernels, arrays)                 \
  FAMILY(NormalsKernels, normals)              \
  FAMILY(WindowMeanKernels, windowMeans)       \
  FAMILY(WindowExtremeKernels, windowExtremes) \
  FAMILY(WindowRankKernels, windowRanks)       \
  FAMILY(SmoothingKernels, smoothing)          \
  FAMILY(ProfileKernels, profiles)             \
  FAMILY(ResamplingKernels, resampling)        \
  FAMILY(FftKernels, fft)                      \
  FAMILY(SpectraKernels, spectra)              \
  FAMILY(DecadeKernels, decades)               \
  FAMILY(ContourKernels, contours)             \
  FAMILY(BandKernels, bands)                   \
  FAMILY(OcclusionKernels, occlusion)          \
  FAMILY(OcclusionRayKernels, occlusionRays)   \
  FAMILY(StripIndexKernels, stripIndices)      \
  FAMILY(GriddingKernels, gridding)

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
