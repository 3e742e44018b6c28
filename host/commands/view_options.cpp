#include "commands/view_options.h"

#include <fmt/format.h>
#include <map>

namespace qv3d {
namespace {

constexpr const char* kGroup = "Picture";

std::map<std::string, Style> StylesByName() {
  std::map<std::string, Style> styles;
  for (const StyleFacts& facts : AllStyles()) styles.emplace(facts.name, facts.style);
  return styles;
}

std::string StyleHelp() {
  std::string text = "How it is drawn:";
  for (const StyleFacts& facts : AllStyles())
    text += fmt::format("\n  {}: {}", facts.name, facts.description);
  return text;
}

const std::map<std::string, Background> kBackgrounds{{"plain", Background::kPlain},
                                                     {"checker", Background::kChecker}};
const std::map<std::string, ShadowCount> kShadowCounts{{"separate", ShadowCount::kSeparateStencil},
                                                       {"two-sides", ShadowCount::kTwoSides},
                                                       {"two-passes", ShadowCount::kTwoPasses}};

void AddStepOption(CLI::App& command, PictureOptions& picture) {
  command
      .add_option_function<std::vector<int>>(
          "--step",
          [&picture](const std::vector<int>& steps) {
            picture.columnStep = steps.front();
            picture.rowStep = steps.back();
          },
          "Draw every so many samples; with two numbers, columns and rows")
      ->delimiter(',')
      ->expected(1, 2)
      ->check(CLI::Range(1, 65536))
      ->type_name("N[,M]")
      ->group(kGroup);
}

void AddClipOption(CLI::App& command, PictureOptions& picture) {
  command
      .add_option_function<std::vector<float>>(
          "--clip",
          [&picture](const std::vector<float>& range) {
            picture.clip = ClipRange{range.front(), range.back()};
          },
          "Leave out what is lower or higher, in the unit of the file")
      ->delimiter(',')
      ->expected(2)
      ->type_name("LOW,HIGH")
      ->group(kGroup);
}

void AddLightOption(CLI::App& command, PictureOptions& picture) {
  command
      .add_option_function<std::vector<double>>(
          "--light",
          [&picture](const std::vector<double>& at) {
            picture.light = {at[0], at[1], at[2]};
          },
          "Style shadows: where the lamp stands, from the middle of the drawn surface whose longer side is 1 "
          "(default: -1,0.7,0.5)")
      ->delimiter(',')
      ->expected(3)
      ->type_name("X,Y,Z")
      ->group(kGroup);
}

}  // namespace

void AddCameraOptions(CLI::App& command, PictureOptions& picture) {
  command
      .add_option("--azimuth", picture.angles.azimuth, "Where the viewer stands, degrees; 0 looks along +y")
      ->capture_default_str()
      ->check(CLI::Range(-360.0, 360.0))
      ->group(kGroup);
  command.add_option("--elevation", picture.angles.elevation, "How high the viewer stands, degrees")
      ->capture_default_str()
      ->check(CLI::Range(5.0, 90.0))
      ->group(kGroup);
  command.add_option("--zoom", picture.angles.zoom, "Larger than 1: nearer")
      ->capture_default_str()
      ->check(CLI::Range(0.05, 50.0))
      ->group(kGroup);
  command
      .add_option("--z-scale", picture.zScale,
                  "Exaggeration of heights (default: chosen to suit, and stated)")
      ->check(CLI::PositiveNumber)
      ->group(kGroup);
}

void AddViewOptions(CLI::App& command, PictureOptions& picture) {
  command.add_option("--style", picture.style, StyleHelp())
      ->transform(CLI::CheckedTransformer(StylesByName()).description(""))
      ->type_name("STYLE")
      ->group(kGroup);
  AddCameraOptions(command, picture);
  AddStepOption(command, picture);
  AddClipOption(command, picture);
  command.add_option("--contours", picture.contours, "Draw so many contour lines over the surface")
      ->check(CLI::Range(0, 200))
      ->type_name("N")
      ->group(kGroup);
  command
      .add_option("--waterfall-angle", picture.waterfallAngle,
                  "Style waterfall: the view, in degrees, for which profiles are chosen (default: --azimuth)")
      ->check(CLI::Range(-360.0, 360.0))
      ->type_name("ANGLE")
      ->group(kGroup);
  AddLightOption(command, picture);
  command.add_flag("--buffers", picture.buffers, "Draw from buffer objects instead of vertex by vertex")
      ->group(kGroup);
  command.add_option("--background", picture.background, "plain or checker")
      ->transform(CLI::CheckedTransformer(kBackgrounds).description(""))
      ->type_name("NAME")
      ->group(kGroup);
  command.add_flag("--bare", picture.bare, "The drawing alone: no title, scales or colour bar")
      ->group(kGroup);
  // For tests: every way of counting gives the same shadows.
  command.add_option("--shadow-count", picture.shadowCount)
      ->transform(CLI::CheckedTransformer(kShadowCounts))
      ->group("");
}

}  // namespace qv3d
