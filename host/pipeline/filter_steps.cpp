// Steps that smooth, or keep what smoothing takes away.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "analysis/crop.h"
#include "analysis/frequency_filter.h"
#include "analysis/surface_filter.h"
#include "failure.h"
#include "pipeline/step.h"

namespace qv3d {
namespace {

/// A filter as it was asked for; its lengths become numbers once the samples' distance is known.
struct WantedFilter {
  FilterRequest request;
  Quantity parameter;
  bool residual = false;

  FilterRequest For(const HeightMap& map, const std::string& unit) const {
    FilterRequest resolved = request;
    const double spacing = CommonSpacing(map);
    switch (TraitsOf(request.kind).parameter) {
      case FilterParameter::kLength:
        resolved.length = parameter.Length(unit, spacing);
        break;
      case FilterParameter::kSamples:
        // The odd number that comes nearest to a length.
        if (parameter.kind == Quantity::Kind::kLength) {
          const double half = (parameter.Length(unit, spacing) / spacing - 1) / 2;
          resolved.size = 2 * static_cast<int>(std::lround(std::min(half, 1e8))) + 1;
        }
        break;
      default:
        break;
    }
    CheckRequest(resolved);
    return resolved;
  }
};

void PlanFilter(const WantedFilter& wanted, PlannedGrid& grid) {
  const FilterRequest request = wanted.For(grid.shape, grid.unit);
  CheckRequestFor(request, grid.shape, grid.unit);
  if (TraitsOf(request.kind).takesHolesForHeights) RequireWhole(grid);
  const auto [x, y] = CroppedBy(request, grid.shape);
  HeightMap& shape = grid.shape;
  const double dx = shape.SpacingX(), dy = shape.SpacingY();
  shape.x0 += x * dx;
  shape.y0 += y * dy;
  shape.width -= 2 * x;
  shape.height -= 2 * y;
  shape.xSize = static_cast<float>((shape.width - 1) * dx);
  shape.ySize = static_cast<float>((shape.height - 1) * dy);
}

void RunFilter(const WantedFilter& wanted, PipeState& state) {
  FilteredMap result = ApplyFilter(wanted.For(state.map, state.unit), state.map, state.map);
  state.map = std::move(wanted.residual ? result.residual : result.filtered);
  if (state.measured) state.measured = CropEdges(*state.measured, result.croppedX, result.croppedY);
}

Step MakeFilter(StepWords& words) {
  const auto traits = std::find_if(AllFilters().begin(), AllFilters().end(),
                                   [&](const FilterTraits& t) { return words.Name() == t.name; });
  WantedFilter wanted;
  wanted.request.kind = traits->kind;
  if (traits->parameter != FilterParameter::kNone) {
    const bool isLength = traits->parameter == FilterParameter::kLength;
    wanted.parameter = words.TakePositive(isLength ? "a length" : "a number of samples");
    if (!isLength && wanted.parameter.kind != Quantity::Kind::kLength) {
      wanted.request.size = static_cast<int>(std::min(wanted.parameter.number, 1e9));
      if (wanted.request.size != wanted.parameter.number) wanted.request.size = 0;  // which is refused
      CheckRequest(wanted.request);
    }
  }
  while (!words.AtEnd()) {
    if (words.TakeIf("residual")) {
      wanted.residual = true;
    } else if (wanted.request.kind == FilterKind::kGaussian && words.TakeIf("keep-edges")) {
      wanted.request.keepEdges = true;
    } else {
      break;
    }
  }
  return {[wanted](PlannedGrid& grid) { PlanFilter(wanted, grid); },
          [wanted](PipeState& state) { RunFilter(wanted, state); }};
}

Step MakeFrequencyFilter(StepWords& words) {
  FrequencyFilter filter;
  filter.pass = words.Name() == "low-pass" ? Pass::kLow : Pass::kHigh;
  const Quantity cutoff = words.TakePositive("a cut-off");
  if (words.TakeIf("butterworth")) {
    filter.kind = FrequencyFilterKind::kButterworth;
  } else if (words.TakeIf("ideal")) {
    filter.kind = FrequencyFilterKind::kIdeal;
  } else {
    words.TakeIf("gaussian");
  }
  const auto lengthOn = [cutoff](const HeightMap& map, const std::string& unit) {
    return cutoff.Length(unit, CommonSpacing(map));
  };
  return {[lengthOn](PlannedGrid& grid) {
            CheckCutoff(grid.shape, lengthOn(grid.shape, grid.unit));
            RequireWhole(grid);
          },
          [filter, lengthOn](PipeState& state) {
            FrequencyFilter resolved = filter;
            resolved.cutoff = lengthOn(state.map, state.unit);
            state.map.heights = FilterByFrequency(state.map, resolved).heights;
          }};
}

const char* ParametersOf(const FilterTraits& traits) {
  switch (traits.parameter) {
    case FilterParameter::kNone:
      return "[residual]";
    case FilterParameter::kSamples:
      return "N [residual]";
    default:
      break;
  }
  return traits.kind == FilterKind::kCircle     ? "RADIUS [residual]"
         : traits.kind == FilterKind::kGaussian ? "CUTOFF [residual] [keep-edges]"
                                                : "CUTOFF [residual]";
}

}  // namespace

void AddFilterSteps(std::vector<StepKind>& steps) {
  for (const FilterTraits& traits : AllFilters()) {
    steps.push_back({traits.name, ParametersOf(traits), traits.what, MakeFilter});
  }
  steps.push_back({"low-pass", "CUTOFF [gaussian | butterworth | ideal]",
                   "keep the long waves, by the Fourier transform", MakeFrequencyFilter});
  steps.push_back({"high-pass", "CUTOFF [gaussian | butterworth | ideal]",
                   "keep the short waves, by the Fourier transform", MakeFrequencyFilter});
}

}  // namespace qv3d
