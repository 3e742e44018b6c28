// Steps that find numbers and leave the map as it is.
#include <cmath>
#include <fmt/format.h>

#include "analysis/correlation.h"
#include "analysis/section.h"
#include "analysis/spectrum.h"
#include "pipeline/step.h"

namespace qv3d {
namespace {

/// What a step's results are called: their own names, with the one that the user gave before them.
std::string TakePrefix(StepWords& words) {
  return words.AtEnd() ? std::string() : words.Take("").text + ".";
}

Step ResultStep(const std::string& prefix, std::function<void(PlannedGrid&)> plan,
                const std::function<std::vector<ResultValue>(const PipeState&)>& find) {
  Step step{std::move(plan), [prefix, find](PipeState& state) {
              for (ResultValue& value : find(state)) {
                value.name = prefix + value.name;
                state.results.push_back(std::move(value));
              }
            }};
  step.hasResults = true;
  step.results = prefix;
  return step;
}

void NoPlan(PlannedGrid&) {}

Step MakeStats(StepWords& words) {
  return ResultStep(TakePrefix(words), NoPlan, [](const PipeState& state) {
    const Statistics s = Measure(state.map);
    return std::vector<ResultValue>{
        {"Sa", ShortNumber(s.sa)},
        {"Sq", ShortNumber(s.sq)},
        {"Sp", ShortNumber(s.sp)},
        {"Sv", ShortNumber(s.sv)},
        {"Sz", ShortNumber(s.sz)},
        {"Ssk", ShortNumber(s.ssk), false},
        {"Sku", ShortNumber(s.sku), false},
        {"tenPointHeight", s.hasTenPoint ? ShortNumber(s.tenPoint) : Json(nullptr)},
        {"missing", CountMissing(state.map), false}};
  });
}

Step MakeSpectrum(StepWords& words) {
  return ResultStep(TakePrefix(words), RequireWhole, [](const PipeState& state) {
    const std::optional<Wave> wave = DominantWave(AmplitudesOf(state.map), state.map);
    const auto known = [&](double Wave::*number) { return wave ? Json((*wave).*number) : Json(nullptr); };
    return std::vector<ResultValue>{{"wavelength", known(&Wave::wavelength)},
                                    {"amplitude", known(&Wave::amplitude)},
                                    {"direction", known(&Wave::direction), false}};
  });
}

Step MakeAutocorrelate(StepWords& words) {
  return ResultStep(TakePrefix(words), RequireWhole, [](const PipeState& state) {
    const CorrelationLength length = LengthOfCorrelation(AutocorrelationOf(state.map), kCorrelationThreshold);
    return std::vector<ResultValue>{
        {"Sal", length.fastest > 0 ? Json(length.fastest) : Json(nullptr)},
        {"Str", length.slowest > 0 ? Json(length.fastest / length.slowest) : Json(nullptr), false}};
  });
}

/// Where a section was asked for.
struct Place {
  bool alongX = true;
  bool byNumber = false;  ///< of the row or column
  Quantity at;

  SectionRequest On(const HeightMap& map, const std::string& unit) const {
    SectionRequest request;
    request.alongX = alongX;
    request.line =
        byNumber || at.kind == Quantity::Kind::kSamples ? at.number : LineAt(map, alongX, at.Length(unit, 0));
    RequireInside(map, request);
    return request;
  }
};

Place TakePlace(StepWords& words) {
  Place place;
  const Word& word = words.Take("row, column, x or y, and where it lies");
  place.alongX = word.text == "row" || word.text == "y";
  place.byNumber = word.text == "row" || word.text == "column";
  if (!place.alongX && word.text != "column" && word.text != "x") {
    StepWords::Refuse(word, fmt::format("\"{}\" is none of row, column, x, y", word.text));
  }
  if (place.byNumber) {
    place.at.number = words.TakeCount("the number of a row or column");
  } else {
    place.at = words.TakeQuantity("a position");
  }
  return place;
}

Step MakeSection(StepWords& words) {
  const Place place = TakePlace(words);
  return ResultStep(
      TakePrefix(words), [place](PlannedGrid& grid) { place.On(grid.shape, grid.unit); },
      [place](const PipeState& state) {
        const ProfileStatistics s = MeasureProfile(ProfileOf(state.map, place.On(state.map, state.unit)));
        return std::vector<ResultValue>{{"Pa", ShortNumber(s.pa)},         {"Pq", ShortNumber(s.pq)},
                                        {"Pp", ShortNumber(s.pp)},         {"Pv", ShortNumber(s.pv)},
                                        {"Pt", ShortNumber(s.pt)},         {"Psk", ShortNumber(s.psk), false},
                                        {"Pku", ShortNumber(s.pku), false}};
      });
}

}  // namespace

void AddResultSteps(std::vector<StepKind>& steps) {
  const StepKind own[] = {
      {"stats", "[NAME]", "Sa, Sq, Sp, Sv, Sz, Ssk, Sku, ten-point height, number of missing samples",
       MakeStats},
      {"spectrum", "[NAME]", "wavelength, amplitude and direction (degrees) of the dominant wave",
       MakeSpectrum},
      {"autocorrelate", "[NAME]", "Sal and Str", MakeAutocorrelate},
      {"section", "row N | column N | y AT | x AT [NAME]", "Pa, Pq, Pp, Pv, Pt, Psk, Pku of a profile",
       MakeSection}};
  steps.insert(steps.end(), std::begin(own), std::end(own));
}

}  // namespace qv3d
