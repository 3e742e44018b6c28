// Steps that write files.
#include <cstdio>
#include <fmt/format.h>

#include "drawing/picture.h"
#include "failure.h"
#include "formats/grid_file.h"
#include "import/child_process.h"
#include "pipeline/step.h"

namespace qv3d {
namespace {

constexpr const char* kStem = "{stem}";

void Write(PipeState& state, const std::string& pattern,
           const std::function<void(const std::filesystem::path&)>& write) {
  const std::filesystem::path path = OutputPath(pattern, state.file);
  write(path);
  state.written.push_back(path.string());
}

void NoPlan(PlannedGrid&) {}

Step MakeWrite(StepWords& words) {
  const std::string pattern = words.Take("a file").text;
  RequireGridFormat(pattern);
  Step step{NoPlan, [pattern](PipeState& state) {
              Write(state, pattern,
                    [&](const std::filesystem::path& path) { WriteGrid(path, state.map, state.unit); });
            }};
  step.output = pattern;
  return step;
}

/// Draws in a child process: the imports of the files to come must not inherit a driver.
void Draw(const HeightMap& map, const PictureOptions& options, const std::filesystem::path& path) {
  const auto draw = [&](const Reporter& report) {
    try {
      const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(GlBackend::kAutomatic);
      const Picture picture = DrawPicture(*context, map, options);
      WritePng(path, picture.image);
      if (!picture.hasText) std::fputs(kNoTextWarning, stderr);
      return 0;
    } catch (const Failure& failure) {
      const std::string what = failure.what();
      report(what.data(), what.size());
      return static_cast<int>(failure.code());
    }
  };
  const ChildOutcome outcome = RunInChild(ChildLimits{}, draw, [](const ChildState&) {});
  if (outcome.end == ChildOutcome::End::kExited && outcome.code == 0) {
    fmt::print(stderr, "{}", outcome.errors);
    return;
  }
  const bool told = outcome.end == ChildOutcome::End::kExited && !outcome.output.empty();
  throw Failure(told ? static_cast<ExitCode>(outcome.code) : ExitCode::kNotComputable,
                told ? outcome.output : fmt::format("{}: drawing ended early", path.string()));
}

Step MakeRender(StepWords& words) {
  const Word file = words.Take("a file");
  if (std::filesystem::path(file.text).extension() != ".png") {
    StepWords::Refuse(file, fmt::format("{}: a picture ends in .png", file.text));
  }
  Style style = Style::kTexture;
  if (!words.AtEnd()) {
    const Word& name = words.Take("");
    const auto known = std::find_if(AllStyles().begin(), AllStyles().end(),
                                    [&](const StyleFacts& facts) { return facts.name == name.text; });
    if (known == AllStyles().end()) {
      StepWords::Refuse(name,
                        fmt::format("there is no style \"{}\"; qv3d render --help lists them", name.text));
    }
    style = known->style;
  }
  const std::string pattern = file.text;
  Step step{NoPlan, [pattern, style](PipeState& state) {
              Write(state, pattern, [&](const std::filesystem::path& path) {
                PictureOptions options;
                options.style = style;
                options.title = state.file.filename().string();
                options.unit = state.unit;
                Draw(state.map, options, path);
              });
            }};
  step.output = pattern;
  return step;
}

}  // namespace

std::filesystem::path OutputPath(const std::string& pattern, const std::filesystem::path& file) {
  std::string name = pattern;
  const std::string stem = file.stem().string();
  for (std::size_t at = name.find(kStem); at != std::string::npos; at = name.find(kStem, at + stem.size())) {
    name.replace(at, std::string(kStem).size(), stem);
  }
  return name;
}

void AddOutputSteps(std::vector<StepKind>& steps) {
  const StepKind own[] = {
      {"write", "FILE",
       "write the map as it is here, in the format of the name's end; {stem} in it is the input's",
       MakeWrite},
      {"render", "FILE [STYLE]", "draw the map as it is here, a .png picture; {stem} as above", MakeRender}};
  steps.insert(steps.end(), std::begin(own), std::end(own));
}

}  // namespace qv3d
