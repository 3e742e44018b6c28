#include "analysis/surface_filter.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "analysis/crop.h"
#include "analysis/hole_fill.h"
#include "failure.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr float kMissing = static_cast<float>(QV_BAD_SAMPLE);
/// Half a window of the Gaussian filter per cut-off wavelength, and how many windows follow one another.
constexpr double kGaussianHalfWidth = 0.183;
constexpr int kGaussianPasses = 3;

[[noreturn]] void Refuse(const std::string& what, const std::string& advice = {}) {
  throw Failure(ExitCode::kUsage, what, advice);
}

/// Samples to either side of the Gaussian filter's window, rounded as the library does it.
int GaussianReach(double cutoff, double spacing) {
  const double reach = static_cast<float>(cutoff) * kGaussianHalfWidth / static_cast<float>(spacing);
  return static_cast<int>(std::min(reach, 1e9));
}

/// Samples at either end of a line that lack some of their neighbours. At the end it is one more than the
/// windows reach over, and both ends are treated alike.
int GaussianEdge(int reach) {
  return kGaussianPasses * reach + 1;
}

std::string OptionOf(const FilterRequest& request, const std::string& unit) {
  const FilterTraits& traits = TraitsOf(request.kind);
  if (traits.parameter == FilterParameter::kNone) return fmt::format("--{}", traits.name);
  return traits.parameter == FilterParameter::kSamples
             ? fmt::format("--{} {}", traits.name, request.size)
             : fmt::format("--{} {:g} {}", traits.name, request.length, UnitName(unit));
}

/// Side of the square that must fit on the map.
int WindowOf(const FilterRequest& request) {
  return request.kind == FilterKind::kBinomial ? 3 : request.size;
}

void CheckWindow(const FilterRequest& request, const HeightMap& map, const std::string& unit) {
  const int side = WindowOf(request);
  // The mean has results everywhere; of the others two must remain, the least that makes a map.
  const int most = std::min(map.width, map.height) - (request.kind == FilterKind::kMean ? 0 : 1);
  if (side <= most) return;
  Refuse(fmt::format("{}: the window of {} x {} samples is too large for a grid of {} x {}",
                     OptionOf(request, unit), side, side, map.width, map.height),
         "Choose a smaller window or a finer grid.");
}

void CheckGaussian(const FilterRequest& request, const HeightMap& map, const std::string& unit) {
  const double spacing = std::max(map.SpacingX(), map.SpacingY());
  if (GaussianReach(request.length, spacing) < 1) {
    Refuse(fmt::format("{}: such a cut-off smooths nothing where samples are {:.4g} {} apart",
                       OptionOf(request, unit), spacing, UnitName(unit)),
           fmt::format("Choose {:.4g} {} or more, or a finer grid.",
                       NiceStepAbove(spacing / kGaussianHalfWidth), UnitName(unit)));
  }
  const int x = GaussianReach(request.length, map.SpacingX()),
            y = GaussianReach(request.length, map.SpacingY());
  if (2 * x + 1 > map.width || 2 * y + 1 > map.height) {
    Refuse(fmt::format("{}: the filter's window of {} x {} samples is larger than the grid of {} x {}",
                       OptionOf(request, unit), 2 * x + 1, 2 * y + 1, map.width, map.height),
           "Choose a shorter cut-off.");
  }
  if (request.keepEdges) return;
  if (2 * GaussianEdge(x) > map.width - 2 || 2 * GaussianEdge(y) > map.height - 2) {
    Refuse(fmt::format("{}: nothing is left without the edges, {} samples on every side",
                       OptionOf(request, unit), GaussianEdge(std::max(x, y))),
           "Choose a shorter cut-off, or --keep-edges, where heights fall off towards the edges.");
  }
}

void CheckSpline(const FilterRequest& request, const HeightMap& map, const std::string& unit) {
  const double spacing = std::max(map.SpacingX(), map.SpacingY());
  if (request.length > 2 * spacing) return;
  Refuse(fmt::format("{}: no wave is that short where samples are {:.4g} {} apart", OptionOf(request, unit),
                     spacing, UnitName(unit)),
         fmt::format("Choose more than {:.4g} {}, or a finer grid.", 2 * spacing, UnitName(unit)));
}

void CheckCircle(const FilterRequest& request, const HeightMap& map, const std::string& unit) {
  if (request.length > map.SpacingX()) return;
  Refuse(fmt::format("{}: such a circle touches every sample: they are {:.4g} {} apart",
                     OptionOf(request, unit), map.SpacingX(), UnitName(unit)),
         "Choose a larger radius, or a finer grid.");
}

HeightMap FilterGaussian(const HeightMap& map, double cutoff) {
  HeightMap centred = map, filtered = map;
  // Beyond its ends the filter takes a line to go on at 0.
  const double mean = SubtractMean(centred);
  std::fill(filtered.heights.begin(), filtered.heights.end(), kMissing);
  std::vector<float> residual(map.heights.size());
  GaussianFilter(map.width, map.height, static_cast<float>(map.SpacingX()),
                 static_cast<float>(map.SpacingY()), static_cast<float>(cutoff), centred.heights.data(),
                 residual.data(), filtered.heights.data());
  for (float& h : filtered.heights) {
    if (!IsMissing(h)) h = static_cast<float>(h + mean);
  }
  return filtered;
}

HeightMap FilterSpline(const HeightMap& map, double cutoff) {
  HeightMap filtered = map;
  std::fill(filtered.heights.begin(), filtered.heights.end(), kMissing);
  std::vector<float> residual(map.heights.size());
  SplineFilter(map.width, map.height, static_cast<float>(map.SpacingX()), static_cast<float>(map.SpacingY()),
               static_cast<float>(cutoff), map.heights.data(), residual.data(), filtered.heights.data());
  return filtered;
}

/// The circle rolls along every row.
HeightMap RollCircle(const HeightMap& map, double radius) {
  HeightMap rolled = map;
  const auto width = static_cast<std::size_t>(map.width);
  std::vector<double> row(width), out(width);
  for (std::size_t first = 0; first < map.heights.size(); first += width) {
    std::copy_n(map.heights.begin() + static_cast<std::ptrdiff_t>(first), width, row.begin());
    Convolve_Radius(row.data(), out.data(), map.width, radius, map.SpacingX());
    // Far below any height: no touched sample was within reach.
    std::transform(out.begin(), out.end(), rolled.heights.begin() + static_cast<std::ptrdiff_t>(first),
                   [](double h) { return h < -1e33 ? kMissing : static_cast<float>(h); });
  }
  return rolled;
}

/// A grid as the exports with windows write it: packed, without the edges. `call` gets the output and the
/// place for the library's residual, which is not used: in most forms it is that of the window's corner.
template <class Call>
HeightMap InsideWindows(const HeightMap& map, int half, Call call) {
  HeightMap filtered = CropEdges(map, half, half);
  std::vector<float> out(map.heights.size(), kMissing), residual(map.heights.size());
  call(out.data(), residual.data());
  std::copy_n(out.begin(), filtered.heights.size(), filtered.heights.begin());
  return filtered;
}

HeightMap FilterByWindow(const FilterRequest& request, const HeightMap& map) {
  using WithResidual = unsigned(QV_CALL*)(int, int, int, const float*, float*, float*);
  const int n = request.size, nx = map.width, ny = map.height;
  const float* const in = map.heights.data();
  const auto run = [&](WithResidual filter, int half) {
    return InsideWindows(map, half,
                         [&](float* out, float* residual) { filter(n, nx, ny, in, out, residual); });
  };
  switch (request.kind) {
    case FilterKind::kMean:
      return run(FilterMeanf3, 0);
    case FilterKind::kMinimum:
      return run(FilterMinimumf2, n / 2);
    case FilterKind::kMaximum:
      return run(FilterMaximumf2, n / 2);
    case FilterKind::kMedian:
      return run(FilterMedianf2, n / 2);
    case FilterKind::kLaplacian:
      return run(FilterLaplacianf2, n / 2);
    case FilterKind::kRank:
      return InsideWindows(map, n / 2, [&](float* out, float*) { FilterMedianf(n, nx, ny, in, out); });
    default:
      return InsideWindows(map, 1,
                           [&](float* out, float* residual) { FilterGaussianf2(nx, ny, in, out, residual); });
  }
}

HeightMap Filter(const FilterRequest& request, const HeightMap& map) {
  switch (request.kind) {
    case FilterKind::kGaussian:
      return FilterGaussian(map, request.length);
    case FilterKind::kSpline:
      return FilterSpline(map, request.length);
    case FilterKind::kCircle:
      return RollCircle(map, request.length);
    default:
      return FilterByWindow(request, map);
  }
}

HeightMap Difference(const HeightMap& input, const HeightMap& filtered) {
  HeightMap residual = input;
  for (std::size_t i = 0; i < residual.heights.size(); ++i) {
    float& r = residual.heights[i];
    const float f = filtered.heights[i];
    r = IsMissing(r) || IsMissing(f) ? kMissing : static_cast<float>(double{r} - f);
  }
  return residual;
}

}  // namespace

const std::vector<FilterTraits>& AllFilters() {
  using Parameter = FilterParameter;
  static const std::vector<FilterTraits> all = {
      {FilterKind::kMean, "mean", Parameter::kSamples, false, "mean of N x N samples, fewer at the edges"},
      {FilterKind::kMinimum, "min", Parameter::kSamples, false, "lowest of N x N samples (erosion)"},
      {FilterKind::kMaximum, "max", Parameter::kSamples, false, "highest of N x N samples (dilation)"},
      {FilterKind::kMedian, "median", Parameter::kSamples, true, "median of N x N samples"},
      {FilterKind::kRank, "rank", Parameter::kSamples, true,
       "low rank: the (N/2+1)-th lowest of N x N samples"},
      {FilterKind::kLaplacian, "laplacian", Parameter::kSamples, false,
       "the sample N*N-fold, less all others of N x N, over N*N"},
      {FilterKind::kBinomial, "binomial", Parameter::kNone, false, "weights 1 2 1 over 3 x 3 samples"},
      {FilterKind::kGaussian, "gaussian", Parameter::kLength, true,
       "Gaussian type (three moving averages), 50 % at this wavelength"},
      {FilterKind::kSpline, "spline", Parameter::kLength, true,
       "cubic smoothing spline, 50 % at this wavelength"},
      {FilterKind::kCircle, "circle", Parameter::kLength, true,
       "a circle of this radius, rolled along every row"}};
  return all;
}

const FilterTraits& TraitsOf(FilterKind kind) {
  return *std::find_if(AllFilters().begin(), AllFilters().end(),
                       [&](const FilterTraits& traits) { return traits.kind == kind; });
}

std::string DescribeFilter(const FilterRequest& request, const std::string& unit) {
  const std::string window = fmt::format("{0} x {0} samples", request.size);
  const std::string length = fmt::format("{:g} {}", request.length, UnitName(unit));
  switch (request.kind) {
    case FilterKind::kMean:
      return "mean of " + window;
    case FilterKind::kMinimum:
      return "lowest of " + window;
    case FilterKind::kMaximum:
      return "highest of " + window;
    case FilterKind::kMedian:
      return "median of " + window;
    case FilterKind::kRank:
      return fmt::format("rank {} of ", request.size / 2 + 1) + window;
    case FilterKind::kLaplacian:
      return "Laplacian of " + window;
    case FilterKind::kBinomial:
      return "binomial, 3 x 3 samples";
    case FilterKind::kGaussian:
      return "Gaussian type, cut-off " + length;
    case FilterKind::kSpline:
      return "spline, cut-off " + length;
    case FilterKind::kCircle:
      break;
  }
  return fmt::format("circle of radius {} along the rows", length);
}

void CheckRequest(const FilterRequest& request) {
  const FilterTraits& traits = TraitsOf(request.kind);
  if (traits.parameter == FilterParameter::kSamples && (request.size < 3 || request.size % 2 == 0)) {
    Refuse(fmt::format("--{} {}: the window must be an odd number of samples, 3 or more", traits.name,
                       request.size));
  }
  if (traits.parameter == FilterParameter::kLength && !(request.length > 0 && request.length < 1e30)) {
    Refuse(fmt::format("--{} {}: give a length greater than 0", traits.name, request.length));
  }
  if (request.keepEdges && request.kind != FilterKind::kGaussian) {
    Refuse("--keep-edges is for --gaussian alone");
  }
}

void CheckRequestFor(const FilterRequest& request, const HeightMap& map, const std::string& unit) {
  switch (request.kind) {
    case FilterKind::kGaussian:
      CheckGaussian(request, map, unit);
      break;
    case FilterKind::kSpline:
      CheckSpline(request, map, unit);
      break;
    case FilterKind::kCircle:
      CheckCircle(request, map, unit);
      break;
    default:
      CheckWindow(request, map, unit);
  }
  const std::size_t holes = CountMissing(map);
  if (holes == 0 || !TraitsOf(request.kind).takesHolesForHeights) return;
  Refuse(fmt::format("{}: {} samples are missing, and this filter would take them for heights",
                     OptionOf(request, unit), holes),
         "--fill fills them from around before filtering and puts the holes back afterwards.");
}

std::pair<int, int> CroppedBy(const FilterRequest& request, const HeightMap& map) {
  switch (request.kind) {
    case FilterKind::kGaussian:
      if (request.keepEdges) return {0, 0};
      return {GaussianEdge(GaussianReach(request.length, map.SpacingX())),
              GaussianEdge(GaussianReach(request.length, map.SpacingY()))};
    case FilterKind::kMean:
    case FilterKind::kSpline:
    case FilterKind::kCircle:
      return {0, 0};
    default:
      return {WindowOf(request) / 2, WindowOf(request) / 2};
  }
}

FilteredMap ApplyFilter(const FilterRequest& request, const HeightMap& map, const HeightMap& measured) {
  FilteredMap result;
  HeightMap filtered = Filter(request, map);
  const auto [x, y] = CroppedBy(request, map);
  result.croppedX = x;
  result.croppedY = y;
  // The windows have cut their edges off themselves.
  if (filtered.width == map.width) filtered = CropEdges(filtered, x, y);
  result.filtered = std::move(filtered);
  result.input = CropEdges(measured, result.croppedX, result.croppedY);
  PutHolesBack(result.input, result.filtered);
  result.residual = Difference(result.input, result.filtered);
  if (CountMissing(result.residual) == result.residual.heights.size()) {
    throw Failure(ExitCode::kNotComputable,
                  "the filter left no sample: each has a missing one within its window",
                  "Choose a smaller window, or --fill.");
  }
  return result;
}

}  // namespace qv3d
