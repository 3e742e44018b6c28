#include "pipeline/pipeline.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "failure.h"

namespace qv3d {
namespace {

/// The commands' messages name options; steps and their words are called the same, without the dashes.
std::string WithoutDashes(std::string text) {
  for (std::size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at)) text.erase(at, 2);
  return text;
}

/// Characters before a byte of a UTF-8 text.
std::size_t Characters(const std::string& text, std::size_t bytes) {
  return static_cast<std::size_t>(std::count_if(text.begin(),
                                                text.begin() + static_cast<std::ptrdiff_t>(bytes),
                                                [](char c) { return (c & 0xC0) != 0x80; }));
}

[[noreturn]] void Refuse(const std::string& text, std::size_t position, std::size_t step,
                         const std::string& what) {
  throw Failure(
      ExitCode::kUsage,
      fmt::format("step {}: {}\n  {}\n  {:>{}}", step, what, text, "^", Characters(text, position) + 1),
      "qv3d pipe --list names all steps.");
}

/// Single changes (a letter more, less or another) from one word to the other.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t corner = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = corner + (a[i - 1] == b[j - 1] ? 0 : 1);
      corner = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

std::string Unknown(const std::string& name) {
  const auto nearest = std::min_element(
      AllSteps().begin(), AllSteps().end(),
      [&](const StepKind& a, const StepKind& b) { return Distance(name, a.name) < Distance(name, b.name); });
  const bool similar = Distance(name, nearest->name) <= 2;
  return fmt::format("there is no step \"{}\"{}", name,
                     similar ? fmt::format("; is {} meant?", nearest->name) : std::string());
}

/// Lets a Failure of `act` say in which step it happened.
template <class Act>
void NamingStep(std::size_t index, const std::string& text, Act act) {
  try {
    act();
  } catch (const Failure& failure) {
    throw Failure(failure.code(),
                  fmt::format("step {} ({}): {}", index + 1, text, WithoutDashes(failure.what())),
                  WithoutDashes(failure.advice()));
  }
}

/// Throws Failure (not computable) where a step has left nothing, or heights that are no numbers.
void RequireHeights(const HeightMap& map) {
  const auto beyond = std::count_if(map.heights.begin(), map.heights.end(),
                                    [](float h) { return !IsMissing(h) && std::abs(h) > kMostHeight; });
  if (beyond > 0) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("{} heights are now more than {:g}, which is more than can be measured", beyond,
                              kMostHeight));
  }
  if (CountMissing(map) == map.heights.size()) {
    throw Failure(ExitCode::kNotComputable, "every sample is missing now",
                  "Put fill before it, or take more of the map.");
  }
}

}  // namespace

const std::vector<StepKind>& AllSteps() {
  static const std::vector<StepKind> all = [] {
    std::vector<StepKind> steps;
    AddShapeSteps(steps);
    AddFilterSteps(steps);
    AddResultSteps(steps);
    AddOutputSteps(steps);
    return steps;
  }();
  return all;
}

void RequireWhole(const PlannedGrid& grid) {
  if (!grid.holes) return;
  throw Failure(ExitCode::kUsage, "samples are missing here, and this step would take them for heights",
                "Put fill before it, and unfill behind it to have the holes back.");
}

double CommonSpacing(const HeightMap& map) {
  return std::max(map.SpacingX(), map.SpacingY());
}

Pipeline::Pipeline(const std::string& text, bool manyFiles) : text_(text) {
  try {
    for (const std::vector<Word>& words : SplitSteps(text)) Add(words, manyFiles);
  } catch (const TextFault& fault) {
    Refuse(text, fault.position(), parts_.size() + 1, fault.what());
  }
}

Step Pipeline::Make(const std::vector<Word>& words) const {
  const auto kind = std::find_if(AllSteps().begin(), AllSteps().end(),
                                 [&](const StepKind& k) { return words.front().text == k.name; });
  if (kind == AllSteps().end()) StepWords::Refuse(words.front(), Unknown(words.front().text));
  StepWords reader(words);
  try {
    Step step = kind->make(reader);
    reader.RequireEnd();
    return step;
  } catch (const Failure& failure) {
    throw TextFault(words.front().position, WithoutDashes(failure.what()));
  }
}

void Pipeline::Add(const std::vector<Word>& words, bool manyFiles) {
  Step step = Make(words);
  const Word& last = words.back();
  if (step.hasResults) {
    // Two steps of one name would have their numbers in the same columns.
    for (const Part& part : parts_) {
      if (!part.step.hasResults || part.step.results != step.results) continue;
      const std::string name = words.front().text;
      if (part.text.compare(0, name.size(), name) != 0) continue;
      StepWords::Refuse(words.front(), fmt::format("a second {0} of the same name; name one, as in {1} after",
                                                   name, part.text));
    }
  }
  if (!step.output.empty() && manyFiles && step.output.find("{stem}") == std::string::npos) {
    StepWords::Refuse(
        words[1],
        fmt::format("{}: of several files all would go there; give a name with {{stem}} in it", step.output));
  }
  const std::size_t first = words.front().position;
  std::string text = text_.substr(first, text_.find('|', last.position) - first);
  text.erase(text.find_last_not_of(" \t\n") + 1);
  parts_.push_back({std::move(step), std::move(text), first});
}

void Pipeline::Check(const HeightMap& map, const std::string& unit) const {
  PlannedGrid grid;
  grid.shape.width = map.width;
  grid.shape.height = map.height;
  grid.shape.x0 = map.x0;
  grid.shape.y0 = map.y0;
  grid.shape.xSize = map.xSize;
  grid.shape.ySize = map.ySize;
  grid.holes = CountMissing(map) > 0;
  grid.unit = unit;
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    NamingStep(i, parts_[i].text, [&] { parts_[i].step.plan(grid); });
  }
}

void Pipeline::ClaimOutputs(const std::filesystem::path& file, OutputGuard& guard) const {
  for (const Part& part : parts_) {
    if (!part.step.output.empty()) guard.Claim(OutputPath(part.step.output, file));
  }
}

void Pipeline::Run(PipeState& state, Progress& progress) const {
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    progress.Phase(parts_[i].text);
    NamingStep(i, parts_[i].text, [&] {
      parts_[i].step.run(state);
      RequireHeights(state.map);
    });
  }
}

std::vector<std::string> Pipeline::Texts() const {
  std::vector<std::string> texts;
  for (const Part& part : parts_) texts.push_back(part.text);
  return texts;
}

std::string ListOfSteps() {
  std::string list;
  for (const StepKind& kind : AllSteps()) {
    list += fmt::format("  {:<51}{}\n", fmt::format("{} {}", kind.name, kind.parameters), kind.help);
  }
  return list;
}

}  // namespace qv3d
