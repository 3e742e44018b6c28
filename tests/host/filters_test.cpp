// What the filter commands are made of: holes, crops, checks, resampling, roundness.
#include <QV_3D.h>
#include <cmath>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <numbers>

#include "analysis/crop.h"
#include "analysis/hole_fill.h"
#include "analysis/resample.h"
#include "analysis/round_profile.h"
#include "analysis/surface_filter.h"
#include "failure.h"
#include "files/whole_file.h"
#include "plots/image.h"

namespace qv3d {
namespace {

constexpr float kMissing = static_cast<float>(QV_BAD_SAMPLE);

template <class Height>
HeightMap MakeMap(int width, int height, Height heightAt) {
  HeightMap map;
  map.width = width;
  map.height = height;
  map.xSize = static_cast<float>(width - 1);
  map.ySize = static_cast<float>(height - 1);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      map.heights.push_back(static_cast<float>(heightAt(column, row)));
    }
  }
  return map;
}

ExitCode CodeOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Failure& failure) {
    return failure.code();
  }
  return ExitCode::kOk;
}

TEST(FillFromAround, Holes_GetTheMeanOfTheSmallestSquareWithSamples) {
  HeightMap map = MakeMap(9, 9, [](int column, int) { return column < 7 ? kMissing : 10.0F * (column - 6); });
  map.heights[0] = 5;
  FillFromAround(map);
  EXPECT_EQ(CountMissing(map), 0u);
  EXPECT_EQ(map.At(0, 0), 5);
  EXPECT_EQ(map.At(8, 4), 20);
  EXPECT_EQ(map.At(6, 4), 10);  // 3 x 3 reaches column 7
  EXPECT_EQ(map.At(5, 4), 15);  // 7 x 7 reaches columns 7 and 8
  EXPECT_EQ(map.At(1, 1), 5);
}

TEST(FillFromAround, OneSampleInALargeMap_FillsAll) {
  HeightMap map = MakeMap(70, 40, [](int, int) { return kMissing; });
  map.heights[3] = 7;
  FillFromAround(map);
  for (const float h : map.heights) ASSERT_EQ(h, 7);
}

TEST(PutHolesBack, Holes_AreWhereTheyWere) {
  HeightMap map = MakeMap(3, 2, [](int column, int row) { return column + 10 * row; });
  HeightMap measured = map;
  measured.heights[4] = kMissing;
  PutHolesBack(measured, map);
  EXPECT_EQ(map.heights, measured.heights);
}

TEST(CropEdges, Part_KeepsItsPlaceAndSpacing) {
  HeightMap map = MakeMap(9, 7, [](int column, int row) { return 10 * row + column; });
  map.x0 = 100;
  const HeightMap part = CropEdges(map, 2, 1);
  EXPECT_EQ(part.width, 5);
  EXPECT_EQ(part.height, 5);
  EXPECT_EQ(part.x0, 102);
  EXPECT_EQ(part.y0, 1);
  EXPECT_EQ(part.SpacingX(), 1);
  EXPECT_EQ(part.At(0, 0), 12);
  EXPECT_EQ(part.At(4, 4), 56);
}

TEST(CheckRequest, SizesAndLengthsThatMakeNoSense_AreUsageErrors) {
  for (const int size : {-1, 0, 1, 2, 4, 100}) {
    EXPECT_EQ(CodeOf([&] { CheckRequest({FilterKind::kMedian, size, 0}); }), ExitCode::kUsage) << size;
  }
  for (const double length : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
    EXPECT_EQ(CodeOf([&] { CheckRequest({FilterKind::kGaussian, 0, length}); }), ExitCode::kUsage) << length;
  }
  EXPECT_EQ(CodeOf([&] { CheckRequest({FilterKind::kSpline, 0, 3, true}); }), ExitCode::kUsage);
  EXPECT_EQ(CodeOf([&] { CheckRequest({FilterKind::kMedian, 3, 0}); }), ExitCode::kOk);
}

TEST(CheckRequestFor, Limits_AreThoseOfTheGrid) {
  const HeightMap map = MakeMap(40, 30, [](int, int) { return 0; });
  const auto code = [&](const FilterRequest& request) {
    return CodeOf([&] { CheckRequestFor(request, map, "mm"); });
  };
  EXPECT_EQ(code({FilterKind::kMean, 29, 0}), ExitCode::kOk);
  EXPECT_EQ(code({FilterKind::kMean, 31, 0}), ExitCode::kUsage);
  EXPECT_EQ(code({FilterKind::kMinimum, 29, 0}), ExitCode::kOk);
  EXPECT_EQ(code({FilterKind::kMinimum, 31, 0}), ExitCode::kUsage);
  EXPECT_EQ(code({FilterKind::kGaussian, 0, 5.4}), ExitCode::kUsage);  // half a window of no sample
  EXPECT_EQ(code({FilterKind::kGaussian, 0, 5.5}), ExitCode::kOk);
  EXPECT_EQ(code({FilterKind::kGaussian, 0, 25}), ExitCode::kOk);     // 4 samples, 13 off either end
  EXPECT_EQ(code({FilterKind::kGaussian, 0, 30}), ExitCode::kUsage);  // 5 samples, nothing left of 30 rows
  EXPECT_EQ(code({FilterKind::kGaussian, 0, 30, true}), ExitCode::kOk);
  EXPECT_EQ(code({FilterKind::kGaussian, 0, 90, true}), ExitCode::kUsage);
  EXPECT_EQ(code({FilterKind::kSpline, 0, 2}), ExitCode::kUsage);
  EXPECT_EQ(code({FilterKind::kSpline, 0, 2.1}), ExitCode::kOk);
  EXPECT_EQ(code({FilterKind::kCircle, 0, 1}), ExitCode::kUsage);
}

TEST(CheckRequestFor, MissingSamples_AreRefusedWhereTheyWouldBeHeights) {
  HeightMap map = MakeMap(40, 30, [](int, int) { return 0; });
  map.heights[77] = kMissing;
  for (const FilterTraits& traits : AllFilters()) {
    const ExitCode code = CodeOf([&] { CheckRequestFor({traits.kind, 3, 8}, map, "mm"); });
    EXPECT_EQ(code, traits.takesHolesForHeights ? ExitCode::kUsage : ExitCode::kOk) << traits.name;
  }
}

TEST(ApplyFilter, EveryFilter_SplitsTheInputAndKeepsTheHole) {
  const HeightMap whole =
      MakeMap(48, 40, [](int column, int row) { return 3 + std::sin(column * 0.7) + 0.1 * row; });
  HeightMap holed = whole;
  holed.heights[20 * 48 + 25] = kMissing;
  for (const FilterTraits& traits : AllFilters()) {
    const FilteredMap result = ApplyFilter({traits.kind, 5, 12}, whole, holed);
    ASSERT_EQ(result.filtered.width, 48 - 2 * result.croppedX) << traits.name;
    ASSERT_EQ(result.filtered.height, 40 - 2 * result.croppedY) << traits.name;
    EXPECT_EQ(CountMissing(result.residual), 1u) << traits.name;
    EXPECT_TRUE(IsMissing(result.residual.At(25 - result.croppedX, 20 - result.croppedY))) << traits.name;
    EXPECT_EQ(result.filtered.SpacingX(), 1) << traits.name;
    for (std::size_t i = 0; i < result.input.heights.size(); ++i) {
      if (IsMissing(result.input.heights[i])) continue;
      EXPECT_FLOAT_EQ(result.filtered.heights[i] + result.residual.heights[i], result.input.heights[i]);
    }
  }
}

TEST(ApplyFilter, APlane_StaysWhereTheFilterIsLinear) {
  const HeightMap plane =
      MakeMap(64, 64, [](int column, int row) { return 1000 + 0.5 * column - 0.25 * row; });
  for (const FilterKind kind : {FilterKind::kBinomial, FilterKind::kGaussian, FilterKind::kSpline}) {
    const FilteredMap result = ApplyFilter({kind, 0, 12}, plane, plane);
    for (const float r : result.residual.heights) ASSERT_NEAR(r, 0, 2e-3) << TraitsOf(kind).name;
  }
}

TEST(ApplyFilter, NothingButHolesInTheWindows_IsNotComputable) {
  const HeightMap map =
      MakeMap(6, 6, [](int column, int row) { return (column + row) % 2 == 0 ? 1.0F : kMissing; });
  EXPECT_EQ(CodeOf([&] { ApplyFilter({FilterKind::kLaplacian, 3, 0}, map, map); }), ExitCode::kNotComputable);
}

TEST(ResampleMap, Positions_AreThoseOfTheSteps) {
  const HeightMap ramp = MakeMap(40, 20, [](int column, int row) { return 7 + column + 100 * row; });
  for (const auto& [width, height] : {std::pair(20, 10), std::pair(60, 35), std::pair(13, 50)}) {
    const HeightMap result = ResampleMap(ramp, width, height, Interpolation::kBilinear);
    for (int row = 0; row < height; ++row) {
      for (int column = 0; column < width; ++column) {
        const double x = column * result.SpacingX(), y = row * result.SpacingY();
        if (x > 39 || y > 19) continue;  // repeats the last sample
        ASSERT_NEAR(result.At(column, row), 7 + x + 100 * y, 2e-3) << width << ' ' << column << ' ' << row;
      }
    }
  }
}

TEST(ResampleMap, BicubicError_IsWhatIsForetold) {
  // A constant about which the mean is not zero: one half up, one half down, looked at in the middles.
  const HeightMap steps = MakeMap(64, 64, [](int, int row) { return row < 32 ? 1 : -1; });
  for (const int width : {96, 128, 32, 64}) {
    const HeightMap result = ResampleMap(steps, width, 64, Interpolation::kBicubic);
    float most = 0;
    for (int column = 0; column < width; ++column) most = std::max(most, std::abs(result.At(column, 10) - 1));
    EXPECT_NEAR(most, BicubicError(64, width), 1e-6) << width;
  }
  EXPECT_EQ(BicubicError(64, 32), 0);
  EXPECT_EQ(BicubicError(64, 64), 0);
  EXPECT_NEAR(BicubicError(64, 128), 0.25, 1e-12);
}

RoundProfile Wave(std::size_t samples, double upr, double phase = 0) {
  RoundProfile profile{std::vector<double>(samples), 10};
  for (std::size_t i = 0; i < samples; ++i) {
    profile.values[i] = std::cos(upr * profile.AngleOf(i) * std::numbers::pi / 180 - phase);
  }
  return profile;
}

/// Share of a wave that passes, and by how many radians it lags.
std::pair<double, double> Transmission(RoundFilter filter, double cutoff, std::size_t samples, double upr) {
  const RoundProfile in = Wave(samples, upr), quarter = Wave(samples, upr, std::numbers::pi / 2),
                     out = FilterRound(filter, cutoff, in);
  double a = 0, b = 0;
  for (std::size_t i = 0; i < samples; ++i) {
    a += 2 * out.values[i] * in.values[i] / static_cast<double>(samples);
    b += 2 * out.values[i] * quarter.values[i] / static_cast<double>(samples);
  }
  return {std::hypot(a, b), std::atan2(b, a)};
}

/// What the mean of the library's forward and backward results passes: sample j to one side goes with j + 1
/// to the other.
double PolarGaussian(double cutoff, double samples, double upr) {
  const double g = cutoff / (samples * 0.469718639349826), omega = 2 * std::numbers::pi * upr / samples;
  double sum = g;
  for (int j = 1; j < 2000; ++j) {
    sum +=
        g * std::exp(-std::numbers::pi * g * g * j * j) * (std::cos(omega * j) + std::cos(omega * (j + 1)));
  }
  return sum;
}

TEST(FilterRound, Gaussian_DoesNotLagAndPassesAboutHalfAtTheCutoff) {
  for (const std::size_t samples : {720u, 3600u}) {
    for (const double upr : {15.0, 50.0, 120.0}) {
      const auto [passed, lag] = Transmission(RoundFilter::kGaussian, 50, samples, upr);
      EXPECT_NEAR(passed, std::abs(PolarGaussian(50, static_cast<double>(samples), upr)), 1e-5) << upr;
      if (upr <= 50) {
        EXPECT_NEAR(lag, 0, 1e-6) << upr;
      }
    }
  }
  EXPECT_NEAR(Transmission(RoundFilter::kGaussian, 15, 7200, 15).first, 0.5, 0.01);
}

TEST(FilterRound, TwoRc_PassesThreeQuartersAtTheCutoff) {
  for (const double cutoff : {15.0, 50.0, 150.0}) {
    for (const RoundFilter filter : {RoundFilter::kTwoRc, RoundFilter::kTwoRcPhaseCorrected}) {
      EXPECT_NEAR(Transmission(filter, cutoff, 720, cutoff).first, 0.75, 1e-3) << cutoff;
    }
    EXPECT_NEAR(Transmission(RoundFilter::kTwoRcPhaseCorrected, cutoff, 720, cutoff).second, 0, 1e-3);
    EXPECT_GT(Transmission(RoundFilter::kTwoRc, cutoff, 720, cutoff).second, 1);
  }
}

TEST(CheckRoundCutoff, CutoffsThatFilterNothing_AreUsageErrors) {
  const auto code = [](RoundFilter filter, double cutoff) {
    return CodeOf([&] { CheckRoundCutoff(filter, cutoff, 360); });
  };
  EXPECT_EQ(code(RoundFilter::kGaussian, 50), ExitCode::kOk);
  EXPECT_EQ(code(RoundFilter::kGaussian, 120), ExitCode::kUsage);
  EXPECT_EQ(code(RoundFilter::kTwoRc, 120), ExitCode::kOk);
  EXPECT_EQ(code(RoundFilter::kTwoRc, 180), ExitCode::kUsage);
  EXPECT_EQ(code(RoundFilter::kTwoRc, 0.5), ExitCode::kUsage);
  EXPECT_EQ(code(RoundFilter::kTwoRc, std::nan("")), ExitCode::kUsage);
  // The limit is the library's: just within it the filter changes something.
  double most = 50;
  while (code(RoundFilter::kGaussian, most + 1) == ExitCode::kOk) ++most;
  const RoundProfile wave = Wave(360, 100);
  EXPECT_NE(FilterRound(RoundFilter::kGaussian, most, wave).values, wave.values);
  EXPECT_EQ(FilterRound(RoundFilter::kGaussian, most + 1, wave).values, wave.values);
}

TEST(FitCircle, EccentricCircle_IsFoundAndTakenAway) {
  RoundProfile profile = Wave(100, 1, 0.5);
  for (double& value : profile.values) value = 25 + 0.01 * value;
  const MeanCircle circle = FitCircle(profile);
  EXPECT_NEAR(circle.radius, 25, 1e-12);
  EXPECT_NEAR(circle.x, 0.01 * std::cos(0.5), 1e-12);
  EXPECT_NEAR(circle.y, 0.01 * std::sin(0.5), 1e-12);
  EXPECT_NEAR(MeasureRoundness(DeviationsFrom(circle, profile)).t, 0, 1e-12);
}

TEST(MeasureRoundness, Lobes_HaveTheirHeight) {
  const Roundness roundness = MeasureRoundness(Wave(360, 3, std::numbers::pi / 6));
  EXPECT_NEAR(roundness.t, 2, 1e-9);
  EXPECT_NEAR(roundness.p, 1, 1e-9);
  EXPECT_NEAR(roundness.v, 1, 1e-9);
  EXPECT_NEAR(roundness.q, std::sqrt(0.5), 1e-9);
}

class RoundReader : public testing::Test {
 protected:
  RoundProfile Read(const std::string& text) {
    WriteWholeFile(path_, text);
    return ReadRoundProfile(path_);
  }
  void TearDown() override { std::filesystem::remove(path_); }

 private:
  std::filesystem::path path_ = std::filesystem::temp_directory_path() /
                                (std::string("round_profile_") +
                                 testing::UnitTest::GetInstance()->current_test_info()->name() + ".csv");
};

TEST_F(RoundReader, OneAndTwoColumns_AreRead) {
  const std::vector<double> values{1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(Read("# mm\nradius\n1\n2\r\n3\n4\n\n5\n6\n7\n8\n").values, values);
  const RoundProfile profile = Read("angle;r\n5;1\n50;2\n95;3\n140;4\n185;5\n230;6\n275;7\n320;8\n365;1\n");
  EXPECT_EQ(profile.values, values);
  EXPECT_EQ(profile.firstAngle, 5);
  EXPECT_NEAR(profile.AngleOf(7), 320, 1e-12);
}

TEST_F(RoundReader, WhatIsNoProfile_IsCorrupt) {
  for (const char* text : {"", "1\n2\n3\n", "1\n2\n3\n4\n5\n6\n7\nx\n", "1\n2\n3\n4\n5\n6\n7\nnan\n",
                           "1 2 3\n", "0,1\n45,2\n90,3\n135,4\n180,5\n225,6\n270,7\n8\n",
                           "0,1\n45,2\n90,3\n135,4\n180,5\n225,6\n270,7\n300,8\n",
                           "0,1\n10,2\n20,3\n30,4\n40,5\n50,6\n60,7\n70,8\n"}) {
    EXPECT_EQ(CodeOf([&] { Read(text); }), ExitCode::kCorrupt) << text;
  }
}

}  // namespace
}  // namespace qv3d
