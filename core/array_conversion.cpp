#include <cstddef>
#include <cstdint>

#include "core/samples.h"
#include "exports/QV_3D.h"
#include "kernels/kernels.h"

namespace {

const qv::kernels::ArrayKernels& Arrays() {
  return qv::kernels::Active().arrays;
}
const qv::kernels::StatisticsKernels& Statistics() {
  return qv::kernels::Active().statistics;
}

}  // namespace

unsigned QV_CALL NormalizeArrayDoubles(double* data, int count, double targetMaximum, double targetMinimum,
                                       double* maximum, double* minimum, int extremesOnly) {
  double high = -1e32, low = 1e32;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    if (qv::HasMissingBits(data[i])) continue;
    if (data[i] > high) high = data[i];
    if (data[i] < low) low = data[i];
  }
  *maximum = high;
  *minimum = low;
  if (high == -1e32 || low == 1e32) return 1;
  if (extremesOnly != 0) return 0;

  const double range = high - low;
  const double scale = range == 0 ? 1.0 : (targetMaximum - targetMinimum) / range;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    if (qv::HasMissingBits(data[i])) continue;
    data[i] = (data[i] - low) * scale;
    if (targetMinimum != 0) data[i] += targetMinimum;
  }
  return 0;
}

unsigned QV_CALL NormalizeArrayFloats(float* data, int count, float targetMaximum, float targetMinimum,
                                      float* maximum, float* minimum, int extremesOnly) {
  const auto found = Statistics().extremes(data, count);
  *maximum = found.maximum;
  *minimum = found.minimum;
  if (extremesOnly != 0) return 0;

  // An empty search is not reported: with nothing to use, the stretch changes nothing.
  const double range = static_cast<double>(found.maximum) - found.minimum;
  const double scale = range == 0 ? 1.0 : (static_cast<double>(targetMaximum) - targetMinimum) / range;
  Arrays().stretch(data, count, found.minimum, static_cast<float>(scale), targetMinimum);
  return 0;
}

unsigned QV_CALL NormalizeArrayBytes(unsigned char* data, int count, unsigned char targetMaximum,
                                     unsigned char targetMinimum, unsigned char* maximum,
                                     unsigned char* minimum, int extremesOnly) {
  std::uint8_t high = 0, low = 255;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    high = data[i] > high ? data[i] : high;
    low = data[i] < low ? data[i] : low;
  }
  *maximum = high;
  *minimum = low;
  // The start values are bytes themselves, so all-zero and all-255 arrays fail like empty ones: kept.
  if (high == 0 || low == 255) return 1;
  if (extremesOnly != 0) return 0;

  const int range = high - low;
  const int target = qv::LowByte(targetMinimum);
  const double scale = range == 0 ? 1.0 : static_cast<double>(qv::LowByte(targetMaximum) - target) / range;
  std::uint8_t stretched[256];
  for (int value = low; value <= high; ++value) {
    stretched[value] = static_cast<std::uint8_t>(qv::TruncateToInt((value - low) * scale + target));
  }
  for (std::ptrdiff_t i = 0; i < count; ++i) data[i] = stretched[data[i]];
  return 0;
}

unsigned QV_CALL ConvertFloatsToBytes(const float* source, unsigned char* destination, int count) {
  Arrays().truncateToBytes(source, destination, count);
  return 0;
}

unsigned QV_CALL ConvertFloatsToBytesWithThreshold(const float* source, unsigned char* destination, int count,
                                                   double threshold, unsigned char aboveValue,
                                                   unsigned char atOrBelowValue) {
  Arrays().threshold(source, destination, count, threshold, qv::LowByte(aboveValue),
                     qv::LowByte(atOrBelowValue));
  return 0;
}

unsigned QV_CALL ReplaceBadSamplesWithMinimum(float* data, int count) {
  // With no usable sample the search's start value is what fills: kept.
  Arrays().replaceMissing(data, count, Statistics().extremes(data, count).minimum);
  return 0;
}

unsigned QV_CALL ScaleArrayFloats(float* data, int count, double factor) {
  Arrays().scale(data, count, factor);
  return 0;
}

unsigned QV_CALL RemoveAverage(float* data, int count) {
  const auto sum = Statistics().sum(data, count);
  if (sum.count == 0) return 1;
  Arrays().subtract(data, count, sum.value / static_cast<double>(sum.count));
  return 0;
}
