// The steps of a pipeline: what they are called, and what they do to a height map in memory.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "analysis/height_map.h"
#include "files/output_guard.h"
#include "pipeline/words.h"
#include "report.h"

namespace qv3d {

/// What the steps so far will have made of a map: enough to judge a step before any work is done.
struct PlannedGrid {
  HeightMap shape;                  ///< without heights
  bool holes = false;               ///< whether samples are missing
  std::optional<bool> filledHoles;  ///< whether "unfill" will find any; empty where nothing was filled
  std::string unit;                 ///< of the file
};

/// The file that a pattern means for an input.
std::filesystem::path OutputPath(const std::string& pattern, const std::filesystem::path& file);

/// A number that a step found. Lengths are in the unit of the file.
struct ResultValue {
  std::string name;
  Json value;  ///< a number, or null
  bool isLength = true;
};

/// One file on its way through the steps.
struct PipeState {
  HeightMap map;
  std::optional<HeightMap> measured;  ///< with the holes that were filled, cut like the map
  std::string unit;
  std::filesystem::path file;
  std::vector<ResultValue> results;
  std::vector<std::string> written;
};

struct Step {
  std::function<void(PlannedGrid&)> plan;  ///< throws Failure where the step cannot be done
  std::function<void(PipeState&)> run;
  std::string results = {};  ///< the names of its results begin with this; only of steps that have any
  bool hasResults = false;
  std::string output = {};  ///< the pattern of the file that it writes
};

struct StepKind {
  const char* name;
  const char* parameters;
  const char* help;
  Step (*make)(StepWords& words);
};

/// All steps, in the order in which a list shows them.
const std::vector<StepKind>& AllSteps();

// Makers of steps, by what they do; each file has its own part of the table.
void AddShapeSteps(std::vector<StepKind>& steps);
void AddFilterSteps(std::vector<StepKind>& steps);
void AddResultSteps(std::vector<StepKind>& steps);
void AddOutputSteps(std::vector<StepKind>& steps);

/// Throws Failure (usage) where samples will be missing, which this step would take for heights.
void RequireWhole(const PlannedGrid& grid);

/// A spacing for lengths that hold along both axes: the larger one.
double CommonSpacing(const HeightMap& map);

}  // namespace qv3d
