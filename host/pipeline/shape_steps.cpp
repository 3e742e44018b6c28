// Steps that move, fill, cut and resample a map.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>

#include "analysis/crop.h"
#include "analysis/hole_fill.h"
#include "analysis/resample.h"
#include "failure.h"
#include "pipeline/step.h"

namespace qv3d {
namespace {

void NoPlan(PlannedGrid&) {}

Step MakeLevel(StepWords&) {
  return {NoPlan, [](PipeState& state) { Level(state.map); }};
}

Step MakeCentre(StepWords&) {
  return {NoPlan, [](PipeState& state) { SubtractMean(state.map); }};
}

Step MakeInvert(StepWords&) {
  return {NoPlan,
          [](PipeState& state) { ScaleArrayFloats(state.map.heights.data(), state.map.Count(), -1); }};
}

Step MakeScale(StepWords& words) {
  const Word& word = words.Take("a factor");
  char rest = 0;
  double factor = 0;
  if (std::sscanf(word.text.c_str(), "%lf%c", &factor, &rest) != 1 || !std::isfinite(factor)) {
    StepWords::Refuse(word, fmt::format("\"{}\" is no factor", word.text));
  }
  return {NoPlan, [factor](PipeState& state) {
            ScaleArrayFloats(state.map.heights.data(), state.map.Count(), factor);
          }};
}

Quantity TakeHeight(StepWords& words, const char* what) {
  const Word& word = words.Peek(what);
  const Quantity height = words.TakeQuantity(what);
  if (height.kind == Quantity::Kind::kSamples) {
    StepWords::Refuse(word, fmt::format("{} needs {}, which is no number of samples", words.Name(), what));
  }
  return height;
}

Step MakeOffset(StepWords& words) {
  const Quantity offset = TakeHeight(words, "a height to add");
  return {NoPlan, [offset](PipeState& state) {
            const double add = offset.Length(state.unit, 0);
            for (float& h : state.map.heights) {
              if (!IsMissing(h)) h = static_cast<float>(h + add);
            }
          }};
}

void PlanFill(PlannedGrid& grid) {
  grid.filledHoles = grid.filledHoles.value_or(false) || grid.holes;
  grid.holes = false;
}

Step MakeFill(StepWords& words) {
  const auto filledBy = [](auto fill) {
    return Step{PlanFill, [fill](PipeState& state) {
                  if (!state.measured) state.measured = state.map;
                  fill(state);
                }};
  };
  if (words.TakeIf("lowest")) return filledBy([](PipeState& state) { FillMissing(state.map); });
  if (words.IsNumberNext()) {
    const Quantity height = TakeHeight(words, "a height");
    return filledBy([height](PipeState& state) {
      const auto value = static_cast<float>(height.Length(state.unit, 0));
      if (IsMissing(value)) {
        throw Failure(ExitCode::kUsage, fmt::format("{} stands for a missing sample", value));
      }
      for (float& h : state.map.heights) {
        if (IsMissing(h)) h = value;
      }
    });
  }
  words.TakeIf("around");
  return filledBy([](PipeState& state) { FillFromAround(state.map); });
}

Step MakeUnfill(StepWords&) {
  return {
      [](PlannedGrid& grid) {
        if (!grid.filledHoles) {
          throw Failure(
              ExitCode::kUsage,
              "nothing was filled before, or the map was resampled since: there are no holes to put back");
        }
        grid.holes = *grid.filledHoles;
        grid.filledHoles.reset();
      },
      [](PipeState& state) {
        PutHolesBack(*state.measured, state.map);
        state.measured.reset();
      }};
}

void Shrink(HeightMap& shape, int column, int row, int width, int height) {
  const double dx = shape.SpacingX(), dy = shape.SpacingY();
  shape.x0 += column * dx;
  shape.y0 += row * dy;
  shape.width = width;
  shape.height = height;
  shape.xSize = static_cast<float>((width - 1) * dx);
  shape.ySize = static_cast<float>((height - 1) * dy);
}

struct Block {
  int column, row, width, height;
};

/// Throws Failure (usage) where the block does not lie in the map, or is none.
void RequireInside(const HeightMap& map, const Block& block) {
  if (block.column >= 0 && block.row >= 0 && block.width >= 2 && block.height >= 2 &&
      block.column <= map.width - block.width && block.row <= map.height - block.height) {
    return;
  }
  throw Failure(
      ExitCode::kUsage,
      fmt::format("{} x {} samples from column {}, row {} are not 2 x 2 or more inside a grid of {} x {}",
                  block.width, block.height, block.column, block.row, map.width, map.height));
}

/// A step that cuts to the block which `blockOf(map, unit)` says.
template <class BlockOf>
Step CutTo(BlockOf blockOf) {
  return {[blockOf](PlannedGrid& grid) {
            const Block b = blockOf(grid.shape, grid.unit);
            RequireInside(grid.shape, b);
            Shrink(grid.shape, b.column, b.row, b.width, b.height);
          },
          [blockOf](PipeState& state) {
            const Block b = blockOf(state.map, state.unit);
            state.map = CropBlock(state.map, b.column, b.row, b.width, b.height);
            if (state.measured)
              state.measured = CropBlock(*state.measured, b.column, b.row, b.width, b.height);
          }};
}

/// How many samples a length is, or which sample lies at a position.
int Samples(const Quantity& q, const std::string& unit, double spacing, double first = 0) {
  const double samples =
      q.kind == Quantity::Kind::kSamples ? q.number : (q.Length(unit, spacing) - first) / spacing;
  return static_cast<int>(std::lround(std::clamp(samples, -1e9, 1e9)));
}

Step MakeCrop(StepWords& words) {
  const Quantity x = words.TakeQuantity("x, y, width and height"),
                 y = words.TakeQuantity("y, width and height behind x"),
                 width = words.TakePositive("width and height"), height = words.TakePositive("a height");
  return CutTo([=](const HeightMap& map, const std::string& unit) {
    const double dx = map.SpacingX(), dy = map.SpacingY();
    return Block{Samples(x, unit, dx, map.x0), Samples(y, unit, dy, map.y0), Samples(width, unit, dx),
                 Samples(height, unit, dy)};
  });
}

Step MakeTrim(StepWords& words) {
  const Quantity edge = words.TakePositive("a width");
  return CutTo([=](const HeightMap& map, const std::string& unit) {
    const int x = Samples(edge, unit, map.SpacingX()), y = Samples(edge, unit, map.SpacingY());
    return Block{x, y, map.width - 2 * x, map.height - 2 * y};
  });
}

/// The new size, as it was asked for.
struct NewSize {
  int nx = 0, ny = 0;
  Quantity spacing;  ///< where both numbers are 0

  std::pair<int, int> For(const HeightMap& map, const std::string& unit) const {
    return PlanResampling(map, nx, ny, nx == 0 ? spacing.Length(unit, 0) : 0);
  }
};

NewSize TakeSize(StepWords& words) {
  const Word word = words.Peek("a size as in 256x200, or a spacing");
  NewSize size;
  char rest = 0;
  if (std::sscanf(word.text.c_str(), "%dx%d%c", &size.nx, &size.ny, &rest) == 2) {
    words.Take("");
    if (size.nx < 2 || size.ny < 2 || size.nx > 65536 || size.ny > 65536) {
      StepWords::Refuse(word, fmt::format("{}: give 2 to 65536 samples along either side", word.text));
    }
    return size;
  }
  size.ny = 0;
  size.spacing = words.TakePositive("a size as in 256x200, or a spacing");
  size.nx = 0;
  if (size.spacing.kind == Quantity::Kind::kLength) return size;
  if (size.spacing.number != std::floor(size.spacing.number) || size.spacing.number < 2 ||
      size.spacing.number > 65536) {
    StepWords::Refuse(word,
                      fmt::format("{}: give 2 to 65536 samples, or a spacing with its unit", word.text));
  }
  size.nx = static_cast<int>(size.spacing.number);
  return size;
}

Step MakeResample(StepWords& words) {
  const NewSize size = TakeSize(words);
  const bool bicubic = words.TakeIf("bicubic");
  if (!bicubic) words.TakeIf("bilinear");
  const Interpolation interpolation = bicubic ? Interpolation::kBicubic : Interpolation::kBilinear;
  return {[=](PlannedGrid& grid) {
            HeightMap& shape = grid.shape;
            const auto [nx, ny] = size.For(shape, grid.unit);
            const double dx = shape.SpacingX() * ResampleStep(shape.width, nx, interpolation),
                         dy = shape.SpacingY() * ResampleStep(shape.height, ny, interpolation);
            if (bicubic) fmt::print(stderr, "{}", BicubicWarning(shape.width, nx));
            shape.width = nx;
            shape.height = ny;
            shape.xSize = static_cast<float>((nx - 1) * dx);
            shape.ySize = static_cast<float>((ny - 1) * dy);
            grid.filledHoles.reset();
          },
          [=](PipeState& state) {
            const auto [nx, ny] = size.For(state.map, state.unit);
            state.map = ResampleMap(state.map, nx, ny, interpolation);
            state.measured.reset();
          }};
}

}  // namespace

void AddShapeSteps(std::vector<StepKind>& steps) {
  const StepKind own[] = {
      {"level", "", "subtract the least-squares plane and the mean", MakeLevel},
      {"centre", "", "subtract the mean", MakeCentre},
      {"invert", "", "turn the heights upside down", MakeInvert},
      {"scale", "FACTOR", "multiply the heights", MakeScale},
      {"offset", "HEIGHT", "add to the heights", MakeOffset},
      {"fill", "[around | lowest | HEIGHT]",
       "give missing samples the mean of those around them (default), the lowest height, or this one",
       MakeFill},
      {"unfill", "", "make those samples missing again that fill filled", MakeUnfill},
      {"crop", "X Y WIDTH HEIGHT", "cut to a block from the sample at X, Y on", MakeCrop},
      {"trim", "WIDTH", "cut so much off all four edges", MakeTrim},
      {"resample", "NXxNY | NX | SPACING [bicubic]", "another number of samples, bilinear by default",
       MakeResample}};
  steps.insert(steps.end(), std::begin(own), std::end(own));
}

}  // namespace qv3d
