// Exports that keep no state of their own may run on several threads at once, on distinct arrays. The first
// calls of this process are made by the threads: the choice of an instruction set is part of what is tested.
#include <atomic>
#include <cstddef>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <utility>
#include <vector>

#include "exports/QV_3D.h"
#include "tests/support/random_grid.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kThreads = 4;
constexpr int kRounds = 3;
constexpr int kWidth = 61;
constexpr int kHeight = 47;
constexpr int kCount = kWidth * kHeight;

/// Everything that a job returned or wrote, to be compared bit by bit.
class Outcome {
 public:
  template <class T>
  void Add(const T& value) {
    const std::size_t end = bytes_.size();
    bytes_.resize(end + sizeof value);
    std::memcpy(bytes_.data() + end, &value, sizeof value);
  }
  template <class T>
  void Add(const std::vector<T>& values) {
    for (const T& value : values) Add(value);
  }
  Bytes Take() { return std::move(bytes_); }

 private:
  Bytes bytes_;
};

std::vector<float> Heights(int seed) {
  qv::test::Random random(static_cast<std::uint64_t>(seed));
  return qv::test::RandomSamples<float>(random, kCount, {.missing = 0.05, .nan = 0.01, .magnitude = 30});
}

Bytes Statistics(int seed) {
  const std::vector<float> z = Heights(seed);
  Outcome outcome;
  for (auto* statistic : {ComputeAverage, ComputeRMS, ComputePeak, ComputeValley, ComputePeakToValley,
                          ComputeSkewness, ComputeKurtosis}) {
    float result = -7;
    outcome.Add(statistic(z.data(), kCount, &result));
    outcome.Add(result);
  }
  float tenPoint = -7;
  outcome.Add(ComputeTenPointHeight(z.data(), kWidth, kHeight, &tenPoint));
  outcome.Add(tenPoint);
  return outcome.Take();
}

Bytes Normalisation(int seed) {
  std::vector<float> floats = Heights(seed);
  std::vector<double> doubles(floats.begin(), floats.end());
  std::vector<unsigned char> bytes(kCount, 9);
  Outcome outcome;
  float extremes[2] = {};
  outcome.Add(NormalizeArrayFloats(floats.data(), kCount, 250, 3, &extremes[0], &extremes[1], 0));
  outcome.Add(ConvertFloatsToBytes(floats.data(), bytes.data(), kCount));
  double doubleExtremes[2] = {};
  outcome.Add(
      NormalizeArrayDoubles(doubles.data(), kCount, 1, -1, &doubleExtremes[0], &doubleExtremes[1], 0));
  unsigned char byteExtremes[2] = {};
  outcome.Add(NormalizeArrayBytes(bytes.data(), kCount, 200, 10, &byteExtremes[0], &byteExtremes[1], 0));
  outcome.Add(extremes);
  outcome.Add(doubleExtremes);
  outcome.Add(byteExtremes);
  outcome.Add(floats);
  outcome.Add(doubles);
  outcome.Add(bytes);
  return outcome.Take();
}

Bytes Conversions(int seed) {
  std::vector<float> z = Heights(seed);
  std::vector<unsigned char> bytes(kCount, 9);
  Outcome outcome;
  outcome.Add(ConvertFloatsToBytesWithThreshold(z.data(), bytes.data(), kCount, 1.5, 255, 3));
  outcome.Add(RemoveAverage(z.data(), kCount));
  outcome.Add(ScaleArrayFloats(z.data(), kCount, 1.7));
  outcome.Add(ReplaceBadSamplesWithMinimum(z.data(), kCount));
  outcome.Add(z);
  outcome.Add(bytes);
  return outcome.Take();
}

Bytes PlaneAndCrop(int seed) {
  qv::test::Random random(static_cast<std::uint64_t>(seed));
  const std::vector<float> points = qv::test::RandomSamples<float>(random, 3 * kCount, {.magnitude = 10});
  float plane[3] = {};
  Outcome outcome;
  outcome.Add(FitLSPlane(points.data(), kCount, &plane[0], &plane[1], &plane[2]));
  outcome.Add(plane);
  std::vector<float> block(20 * 30, -7.0F);
  outcome.Add(CropSurface(points.data(), block.data(), 5, 7, kWidth, kHeight, 20, 30));
  outcome.Add(block);
  return outcome.Take();
}

Bytes Normals(int seed) {
  const std::vector<float> z = Heights(seed);
  const std::vector<double> doubles(z.begin(), z.end());
  std::vector<double> doubleNormals(3 * kCount, -7.0);
  Outcome outcome;
  outcome.Add(ComputeSurfaceNormals(doubles.data(), kWidth, kHeight, doubleNormals.data()));
  outcome.Add(doubleNormals);
  for (auto* normals : {ComputeSurfaceNormalsf, ComputeSurfaceNormalsf2}) {
    std::vector<float> result(3 * kCount, -7.0F);
    outcome.Add(normals(z.data(), kWidth, kHeight, result.data(), 0.5F, 0.25F, 2.0F, 1.5F));
    outcome.Add(result);
  }
  return outcome.Take();
}

/// Each thread has triangles of its own, some of which lie outside: that is reported, and printed.
Bytes Gridding(int seed) {
  qv::test::Random random(static_cast<std::uint64_t>(seed));
  std::vector<double> records;
  for (int i = 0; i < 9 * 40; ++i) records.push_back(random.Between(0.0, i % 3 == 2 ? 1.0 : 5.0));
  std::vector<float> heights(kWidth * 10, -7.0F);
  Outcome outcome;
  for (const double power : {2.0, 2.5, 40.0}) {
    outcome.Add(InverseDistanceToAPower(records.data(), 120, heights.data(), kWidth, 10, 0.125, 0.5, 0, 0,
                                        power, 0.01));
    outcome.Add(heights);
  }
  for (const double spacing : {0.125, 0.01}) {
    outcome.Add(LinearInterpolationOfTriangles(records.data(), 40, heights.data(), kWidth, 10, spacing, 0.75,
                                               0, 0, 7));
    outcome.Add(heights);
  }
  return outcome.Take();
}

const std::vector<std::function<Bytes(int)>>& Jobs() {
  static const std::vector<std::function<Bytes(int)>> jobs = {Statistics,   Normalisation, Conversions,
                                                              PlaneAndCrop, Normals,       Gridding};
  return jobs;
}

/// The outcomes of thread `number`, each thread beginning with another job.
std::vector<Bytes> Work(int number) {
  const int jobs = static_cast<int>(Jobs().size());
  std::vector<Bytes> outcomes;
  for (int i = 0; i < kRounds * jobs; ++i) {
    const int job = (number + i) % jobs;
    outcomes.push_back(Jobs()[static_cast<std::size_t>(job)](1000 * number + i));
  }
  return outcomes;
}

}  // namespace

TEST(StatelessExports, FirstCallsFromSeveralThreads_EqualThoseOfOneThread) {
  std::vector<std::vector<Bytes>> together(kThreads);
  std::atomic<int> waiting = kThreads;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  Jobs();
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&together, &waiting, number] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      together[static_cast<std::size_t>(number)] = Work(number);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int number = 0; number < kThreads; ++number) {
    EXPECT_TRUE(together[static_cast<std::size_t>(number)] == Work(number)) << "thread " << number;
  }
}
