// The library's filters of surfaces behind one call that knows what each needs: which sizes and cut-offs make
// sense, which take missing samples for heights, and where results are worth keeping.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "analysis/height_map.h"

namespace qv3d {

enum class FilterKind {
  kMean,
  kMinimum,
  kMaximum,
  kMedian,
  kRank,
  kLaplacian,
  kBinomial,
  kGaussian,
  kSpline,
  kCircle
};

enum class FilterParameter {
  kNone,
  kSamples,  ///< side of a square window, odd
  kLength    ///< in the unit of the file
};

struct FilterTraits {
  FilterKind kind;
  const char* name;  ///< also the name of the option
  FilterParameter parameter;
  bool takesHolesForHeights;
  const char* what;
};

/// All filters, in the order in which help lists them.
const std::vector<FilterTraits>& AllFilters();
const FilterTraits& TraitsOf(FilterKind kind);

struct FilterRequest {
  FilterKind kind = FilterKind::kMean;
  int size = 0;            ///< samples, for windows
  double length = 0;       ///< cut-off wavelength or radius, in the unit of the file
  bool keepEdges = false;  ///< of the Gaussian filter: do not cut off what the edges spoil
};

/// "mean of 5 x 5 samples", "Gaussian type, cut-off 0.8 mm".
std::string DescribeFilter(const FilterRequest& request, const std::string& unit);

struct FilteredMap {
  HeightMap input;     ///< cropped to where there are results
  HeightMap filtered;  ///< of the same size
  HeightMap residual;  ///< input minus filtered
  int croppedX = 0;    ///< samples cut off at either end of a row
  int croppedY = 0;    ///< rows cut off at either end
};

/// Throws Failure (usage) where the filter cannot work with this parameter, whatever the map.
void CheckRequest(const FilterRequest& request);

/// Throws Failure (usage) where the parameter makes no sense for this map, or where the filter would take a
/// missing sample for a height.
void CheckRequestFor(const FilterRequest& request, const HeightMap& map, const std::string& unit);

/// Samples that the filter cuts off at either end of the rows, and rows at either end of the columns.
std::pair<int, int> CroppedBy(const FilterRequest& request, const HeightMap& map);

/// `map` is what is filtered: without holes, where the filter takes them for heights. Where `measured`, a map
/// of the same size, has holes the results get them too. Throws Failure (not computable) where nothing is
/// left.
FilteredMap ApplyFilter(const FilterRequest& request, const HeightMap& map, const HeightMap& measured);

}  // namespace qv3d
