// The smaller parts of the host: grid plan, child process, units, camera, levelling, sample part.
#include <QV_3D.h>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "analysis/height_map.h"
#include "drawing/camera.h"
#include "drawing/colour_map.h"
#include "failure.h"
#include "files/temporary_file.h"
#include "files/whole_file.h"
#include "import/child_process.h"
#include "import/safe_import.h"
#include "import/sample_part.h"
#include "units.h"

namespace qv3d {
namespace {

TEST(PlanGrid, Nothing_GivesTheLongerSide512SquareCells) {
  const GridPlan plan = PlanGrid(10, 5, {});
  EXPECT_EQ(plan.nx, 512);
  EXPECT_EQ(plan.ny, 256);
  EXPECT_DOUBLE_EQ(plan.xOffset, 10.0 / 1024);
  EXPECT_DOUBLE_EQ(plan.xSize, 10.0 * 511 / 512);
  EXPECT_EQ(PlanGrid(5, 10, {}).ny, 512);
  EXPECT_EQ(PlanGrid(1, 1000, {}).nx, 2);
}

TEST(PlanGrid, OneCount_GivesTheOther) {
  GridRequest request;
  request.ny = 100;
  EXPECT_EQ(PlanGrid(10, 5, request).nx, 200);
}

TEST(PlanGrid, Spacing_IsKeptAndCentred) {
  GridRequest request;
  request.spacing = 0.3;
  const GridPlan plan = PlanGrid(10, 5, request);
  EXPECT_EQ(plan.nx, 33);
  EXPECT_NEAR(plan.xSize / (plan.nx - 1), 0.3, 1e-12);
  EXPECT_NEAR(2 * plan.xOffset + plan.xSize, 10, 1e-12);
}

TEST(PlanGrid, TooCoarseOrTooFine_IsAUsageError) {
  GridRequest request;
  for (double spacing : {3.0, 1e-9}) {
    request.spacing = spacing;
    try {
      PlanGrid(10, 5, request);
      ADD_FAILURE() << spacing;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::kUsage);
    }
  }
}

void IgnoreTick(const ChildState&) {}

TEST(RunInChild, OutputErrorsAndStatus_Arrive) {
  const std::string large(3000000, 'x');
  const ChildOutcome outcome = RunInChild(
      {},
      [&](const Reporter& report) {
        std::fputs("to stdout\n", stdout);
        std::fputs("to stderr\n", stderr);
        return report(large.data(), large.size()) ? 7 : 1;
      },
      IgnoreTick);
  EXPECT_EQ(outcome.end, ChildOutcome::End::kExited);
  EXPECT_EQ(outcome.code, 7);
  EXPECT_EQ(outcome.output, large);
  EXPECT_EQ(outcome.errors, "to stderr\n");
}

TEST(RunInChild, ExitAndSignal_AreTold) {
  const ChildOutcome exited = RunInChild(
      {}, [](const Reporter&) -> int { std::exit(-1); }, IgnoreTick);
  EXPECT_EQ(exited.end, ChildOutcome::End::kExited);
  EXPECT_EQ(exited.code, 255);
  const ChildOutcome killed = RunInChild(
      {}, [](const Reporter&) -> int { return raise(SIGKILL); }, IgnoreTick);
  EXPECT_EQ(killed.end, ChildOutcome::End::kSignalled);
  EXPECT_EQ(killed.code, SIGKILL);
  EXPECT_EQ(killed.signal, strsignal(SIGKILL));
}

TEST(RunInChild, Endless_IsStoppedInTime) {
  ChildLimits limits;
  limits.timeoutSeconds = 0.2;
  const ChildOutcome outcome = RunInChild(
      limits,
      [](const Reporter&) -> int {
        for (;;) pause();
      },
      IgnoreTick);
  EXPECT_EQ(outcome.end, ChildOutcome::End::kTimedOut);
}

TEST(RunInChild, BytesThatTheChildReads_AreTold) {
  constexpr std::size_t kBytes = 1000000;
  std::uint64_t most = 0;
  const ChildOutcome outcome = RunInChild(
      {},
      [](const Reporter&) -> int {
        std::vector<char> bytes(kBytes);
        std::FILE* zeros = std::fopen("/dev/zero", "rb");
        const bool complete = std::fread(bytes.data(), 1, kBytes, zeros) == kBytes;
        usleep(300000);
        return complete ? 0 : 1;
      },
      [&](const ChildState& child) { most = std::max(most, child.bytesRead); });
  EXPECT_EQ(outcome.code, 0);
  EXPECT_GE(most, kBytes);
  EXPECT_LT(most, 2 * kBytes);
}

TEST(TemporaryFile, Several_HaveFoldersOfTheirOwnAndGo) {
  namespace fs = std::filesystem;
  fs::path first, second;
  {
    const TemporaryFile a = TemporaryFile::Create();
    TemporaryFile b = TemporaryFile::Create();
    const TemporaryFile moved = std::move(b);
    first = a.path();
    second = moved.path();
    EXPECT_NE(first.parent_path(), second.parent_path());
    for (const fs::path& path : {first, second}) {
      EXPECT_EQ(fs::status(path.parent_path()).permissions(), fs::perms::owner_all);
      WriteWholeFile(path, "bytes");
      EXPECT_EQ(ReadWholeFile(path), "bytes");
    }
  }
  EXPECT_FALSE(fs::exists(first.parent_path()));
  EXPECT_FALSE(fs::exists(second.parent_path()));
}

TEST(HandyUnit, Lengths_GetHandyUnits) {
  EXPECT_EQ(HandyUnit("mm", 0.0017).name, "µm");
  EXPECT_DOUBLE_EQ(HandyUnit("mm", 0.0017).factor, 1000);
  EXPECT_EQ(HandyUnit("mm", 3).name, "mm");
  EXPECT_EQ(HandyUnit("um", 0.02).name, "nm");
  EXPECT_EQ(HandyUnit("m", 0.5).name, "mm");
  EXPECT_EQ(HandyUnit("in", 0.001).name, "in");
  EXPECT_EQ(HandyUnit("mm", 0).name, "mm");
}

TEST(NiceStep, Steps_AreOneTwoOrFive) {
  EXPECT_DOUBLE_EQ(NiceStepAbove(0.3), 0.5);
  EXPECT_DOUBLE_EQ(NiceStepAbove(6), 10);
  EXPECT_DOUBLE_EQ(NiceStepAbove(2), 2);
  EXPECT_DOUBLE_EQ(NiceStepBelow(49), 20);
  EXPECT_DOUBLE_EQ(NiceStepBelow(0.07), 0.05);
}

TEST(Camera, AllPoints_LieInTheAreaAndTouchIt) {
  std::vector<Point> corners;
  for (int i = 0; i < 8; ++i) corners.push_back({i & 1 ? 5. : -5., i & 2 ? 3. : -3., i & 4 ? 1. : -1.});
  const Rectangle area{100, 50, 600, 400};
  for (int azimuth = -180; azimuth < 180; azimuth += 30) {
    for (double elevation : {5.0, 35.0, 90.0}) {
      const Camera camera({double(azimuth), elevation, 1}, corners, area, 800, 600);
      double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
      for (const Point& p : corners) {
        const auto at = camera.Project(p);
        left = std::min(left, at[0]), right = std::max(right, at[0]);
        top = std::min(top, at[1]), bottom = std::max(bottom, at[1]);
      }
      EXPECT_GE(left, 100 - 1e-6);
      EXPECT_LE(right, 700 + 1e-6);
      EXPECT_GE(top, 50 - 1e-6);
      EXPECT_LE(bottom, 450 + 1e-6);
      EXPECT_TRUE(std::abs(right - left - 600) < 1e-6 || std::abs(bottom - top - 400) < 1e-6);
    }
  }
}

TEST(ColourAt, Lightness_RisesEvenly) {
  const auto luma = [](double t) {
    const Colour c = ColourAt(t);
    return 0.30 * c[0] + 0.59 * c[1] + 0.11 * c[2];
  };
  const double step = (luma(1) - luma(0)) / 64;
  for (int i = 0; i < 64; ++i) EXPECT_NEAR(luma((i + 1) / 64.0) - luma(i / 64.0), step, 0.45 * step) << i;
}

HeightMap Tilted(int width, int height, double a, double b) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.xSize = 8;
  map.ySize = 5;
  for (int j = 0; j < height; ++j) {
    for (int i = 0; i < width; ++i) {
      const double x = i * map.SpacingX(), y = j * map.SpacingY();
      map.heights.push_back(static_cast<float>(100 + a * x + b * y + 0.001 * ((i + j) % 2)));
    }
  }
  return map;
}

TEST(Level, ATiltedPlane_IsRemovedAndMissingSamplesStay) {
  HeightMap map = Tilted(300, 200, 0.02, -0.3);
  for (std::size_t k = 100; k < 20000; k += 7) map.heights[k] = static_cast<float>(QV_BAD_SAMPLE);
  const std::size_t missing = CountMissing(map);
  const Plane plane = Level(map);
  EXPECT_NEAR(plane.a, 0.02, 1e-5);
  EXPECT_NEAR(plane.b, -0.3, 1e-5);
  EXPECT_EQ(CountMissing(map), missing);
  const auto [low, high] = HeightRange(map);
  EXPECT_NEAR(high - low, 0.001, 5e-5);
  EXPECT_NEAR(Measure(map).sa, 0.0005, 1e-5);
}

TEST(Level, AllMissing_IsNotComputable) {
  HeightMap map = Tilted(10, 10, 0, 0);
  for (float& h : map.heights) h = static_cast<float>(QV_BAD_SAMPLE);
  EXPECT_THROW(Level(map), Failure);
  EXPECT_THROW(Measure(map), Failure);
}

TEST(SamplePart, Mesh_LeavesTheHoleOutAndIsFineEnough) {
  const SamplePart part;
  const std::vector<Triangle> mesh = MakeMesh(part);
  double area = 0;
  for (const Triangle& t : mesh) {
    EXPECT_GT(DoubledArea(t), 100e-6);
    area += DoubledArea(t) / 2;
  }
  const double hole = M_PI * part.holeRadius * part.holeRadius;
  EXPECT_NEAR(area, part.side * part.side - hole, 0.01 * hole);
}

}  // namespace
}  // namespace qv3d
