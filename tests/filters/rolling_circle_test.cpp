#include "filters/rolling_circle.h"

#include <climits>

#include "tests/filters/smoothing_support.h"

namespace {

using namespace qv::test;
using qv::reference::RollCircle;

std::vector<double> Roll(const std::vector<double>& profile, double radius, double dx) {
  const Guarded<double> input(profile);
  Guarded<double> out(profile.size());
  EXPECT_EQ(Convolve_Radius(input.data(), out.data(), static_cast<int>(profile.size()), radius, dx), 0U);
  EXPECT_TRUE(SameBits(input.data(), profile.data(), profile.size()));
  return out.Values();
}

void ExpectReference(const std::vector<double>& profile, double radius, double dx) {
  const std::vector<double> expected = RollCircle(profile, radius, dx);
  ForEachVariant([&] { ASSERT_TRUE(SameNumbers(Roll(profile, radius, dx), expected)); });
}

TEST(ConvolveRadius, HorizontalProfile_IsItsOwnEnvelope) {
  const std::vector<double> flat(500, 2.5);
  ForEachVariant([&] {
    for (const double radius : {0.4, 1.0, 7.3, 1e5}) {
      EXPECT_TRUE(SameNumbers(Roll(flat, radius, 1), flat)) << radius;
    }
  });
}

TEST(ConvolveRadius, OnePeak_CarriesAnArc) {
  std::vector<double> profile(201, 0.0);
  profile[100] = 50;
  ForEachVariant([&] {
    const auto out = Roll(profile, 30, 1);
    EXPECT_EQ(out[100], 50);
    EXPECT_EQ(out[110], 50 - (30 - std::sqrt(30.0 * 30 - 10 * 10)));
    EXPECT_EQ(out[90], out[110]);
    EXPECT_EQ(out[130], 20);
    for (std::size_t i = 0; i < profile.size(); ++i) EXPECT_GE(out[i], 0) << i;
  });
}

TEST(ConvolveRadius, NoContactWithinReach_GivesTheTwoMarks) {
  ForEachVariant([&] {
    EXPECT_TRUE(SameNumbers(Roll({5, 6}, -1.0, 1), {-9.99e33, -9.99e33})) << "empty windows";
    EXPECT_TRUE(SameNumbers(Roll({5, 6}, -1.0, -1), {-9.9e33, -9.9e33})) << "contacts in, but out of reach";
  });
}

TEST(FindContacts, Hollow_IsTouchedAtItsRimsAlone) {
  std::vector<double> profile;
  for (int i = 0; i < 21; ++i) profile.push_back(0.9 * (i - 10) * (i - 10));
  std::vector<int> contacts(profile.size());
  contacts.resize(
      static_cast<std::size_t>(qv::filters::FindContacts(profile.data(), 21, 60, 1, contacts.data())));
  EXPECT_EQ(contacts, (std::vector<int>{0, 20}));
}

TEST(ConvolveRadius, ShortProfiles_TouchTheirEnds) {
  EXPECT_EQ(Roll({7}, 3, 1), std::vector<double>{7});
  EXPECT_EQ(Roll({7, 3}, 0.5, 1), (std::vector<double>{7, 3}));
  ExpectReference({7, 3}, 5, 1);
  ExpectReference({7, 3, 9}, 5, 1);
  ExpectReference({9, 3, 9}, 5, 1);
  ExpectReference({3, 9, 3}, 5, 1);
  Guarded<double> out(0);
  const double in = 1;
  for (const int n : {0, -1, INT_MIN}) EXPECT_EQ(Convolve_Radius(&in, out.data(), n, 3, 1), 0U);
}

TEST(ConvolveRadius, CandidatesDroppedAtTheStart_CloseOnTheFirstSample) {
  // Every candidate lies below the chord from the first sample, so nothing is pushed before the end.
  std::vector<double> profile;
  for (int i = 0; i < 30; ++i) profile.push_back(0.05 * (i - 15) * (i - 15));
  for (const double radius : {20.0, 100.0, 1e6}) ExpectReference(profile, radius, 1);
}

TEST(ConvolveRadius, RandomProfiles_EqualTheReference) {
  Random random(31);
  for (int round = 0; round < 600; ++round) {
    const auto n = static_cast<std::size_t>(random.Between(1, 300));
    GridKind kind{.missing = random.Chance(0.1) ? 0.05 : 0, .repeated = random.Unit()};
    kind.magnitude = std::pow(10.0, random.Between(-3, 4));
    const auto profile = RandomSamples<double>(random, n, kind);
    const double radius = std::pow(10.0, random.Between(-1.0, 4.0)),
                 dx = std::pow(10.0, random.Between(-1.0, 1.0));
    SCOPED_TRACE(testing::Message() << n << " samples, radius " << radius << ", dx " << dx);
    ASSERT_NO_FATAL_FAILURE(ExpectReference(profile, radius, dx));
  }
}

TEST(ConvolveRadius, StrangeParameters_EqualTheReference) {
  Random random(32);
  auto profile = RandomSamples<double>(random, 60, {});
  const double infinity = std::numeric_limits<double>::infinity(),
               nan = std::numeric_limits<double>::quiet_NaN();
  for (int round = 0; round < 3; ++round) {
    for (const double radius : {0.0, -2.0, 1e300, infinity, -infinity, nan}) {
      for (const double dx : {1.0, 0.0, -1.0, 1e-300, 1e300, infinity, nan}) {
        if (std::isinf(radius) && std::isinf(dx)) continue;  // no sample's distance can be told
        SCOPED_TRACE(testing::Message() << radius << " " << dx);
        ASSERT_NO_FATAL_FAILURE(ExpectReference(profile, radius, dx));
      }
    }
    profile[static_cast<std::size_t>(random.Below(60))] = round == 0 ? nan : -infinity;
  }
}

}  // namespace
