// Steps in a row, in memory: parsed and judged before any work is done.
#pragma once

#include <string>
#include <vector>

#include "import/load.h"
#include "pipeline/step.h"

namespace qv3d {

class Pipeline {
 public:
  /// Throws Failure (usage) that shows the text and the place. With many files every output needs {stem} in
  /// its name.
  Pipeline(const std::string& text, bool manyFiles);

  /// Throws Failure (usage) where a step cannot be done to this map, before any is.
  void Check(const HeightMap& map, const std::string& unit) const;

  /// Takes the files that the steps will write of an input. Throws Failure (usage) where one is taken
  /// already.
  void ClaimOutputs(const std::filesystem::path& file, OutputGuard& guard) const;

  /// The state's map has been checked. Throws Failure, which names the step.
  void Run(PipeState& state, Progress& progress) const;

  /// The steps as written, one after the other.
  std::vector<std::string> Texts() const;

 private:
  struct Part {
    Step step;
    std::string text;
    std::size_t position;
  };

  void Add(const std::vector<Word>& words, bool manyFiles);
  Step Make(const std::vector<Word>& words) const;

  std::string text_;
  std::vector<Part> parts_;
};

/// A line per step, with its parameters and what it does.
std::string ListOfSteps();

}  // namespace qv3d
