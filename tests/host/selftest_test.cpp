// The built-in checks hold, and each of them fails where its gauge is not what it should be.
#include "selftest/selftest.h"

#include <gtest/gtest.h>
#include <set>

namespace qv3d {
namespace {

Checks RunWithoutDrawing(const Gauges& gauges) {
  Progress quiet(true);
  SelftestRequest request;
  request.draw = false;  // the program's test draws
  return RunChecks(gauges, request, quiet);
}

TEST(RunChecks, UndisturbedGauges_AllHold) {
  const Checks checks = RunWithoutDrawing(MakeGauges());
  for (const Check& check : checks.all()) {
    if (check.family == "drawing") continue;
    EXPECT_EQ(check.state, CheckState::kOk)
        << check.gauge << " " << check.name << check.remark << ": " << check.expected << " " << check.found;
  }
  EXPECT_GT(checks.Number(CheckState::kOk), 80u);
  EXPECT_EQ(checks.Number(CheckState::kSkipped), 1u);
}

TEST(RunChecks, DisturbedGauge_EveryCheckOfItFailsAndNoOther) {
  std::set<std::string> names{"lobes"};
  Gauges all = MakeGauges();
  for (const auto& [name, map] : MapsOf(all)) names.insert(name);
  for (const std::string& name : names) {
    Gauges gauges = MakeGauges();
    ASSERT_TRUE(Disturb(gauges, name));
    std::size_t failed = 0;
    const Checks checks = RunWithoutDrawing(gauges);
    for (const Check& check : checks.all()) {
      if (check.family == "drawing") continue;
      const bool isOfIt = check.gauge == name || (check.gauge.empty() && !check.remark.empty());
      EXPECT_EQ(check.state, isOfIt ? CheckState::kFailed : CheckState::kOk)
          << name << ", " << check.gauge << ": " << check.name << check.remark << " " << check.expected << " "
          << check.found;
      failed += check.state == CheckState::kFailed;
    }
    EXPECT_GT(failed, 1u) << name;
  }
  Gauges gauges = MakeGauges();
  EXPECT_FALSE(Disturb(gauges, "none"));
}

TEST(MakeGauges, Always_TheSameSamples) {
  Gauges a = MakeGauges(), b = MakeGauges();
  const auto mapsOfA = MapsOf(a), mapsOfB = MapsOf(b);
  for (std::size_t i = 0; i < mapsOfA.size(); ++i) {
    EXPECT_EQ(mapsOfA[i].second->heights, mapsOfB[i].second->heights) << mapsOfA[i].first;
    EXPECT_EQ(mapsOfA[i].second->Count(), static_cast<int>(mapsOfA[i].second->heights.size()));
  }
  EXPECT_EQ(a.lobes.values, b.lobes.values);
}

TEST(Checks, NotANumber_Fails) {
  Checks checks;
  checks.Begin("family");
  checks.Near("gauge", "nothing", 1, std::nan(""), 1e9);
  checks.Near("gauge", "edge", 1, 1.5, 0.5);
  checks.Near("gauge", "beyond", 1, 1.51, 0.5);
  checks.Count("gauge", "count", 3, 4);
  EXPECT_EQ(checks.Number(CheckState::kFailed), 3u);
  EXPECT_EQ(checks.Number(CheckState::kOk), 1u);
  checks.Skip("reason");
  EXPECT_EQ(checks.Number(CheckState::kOk), 1u);
}

}  // namespace
}  // namespace qv3d
