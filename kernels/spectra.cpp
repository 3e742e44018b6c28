// What the spectra do to whole rows besides the transform. Plain loops, which the compiler turns into
// vectors.
#include "kernels/kernels.h"
#include "kernels/lanes.h"

namespace qv::kernels::QV_KERNEL_ISA {

namespace {

double Sum(const float* samples, std::ptrdiff_t count) {
  Doubles low = {}, high = {};
  std::ptrdiff_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Floats z = Load(samples + i);
    low += WidenLow(z);
    high += WidenHigh(z);
  }
  double lane[kLanes];
  __builtin_memcpy(lane, &low, sizeof low);
  __builtin_memcpy(lane + kLanes / 2, &high, sizeof high);
  for (int k = 0; i + k < count; ++k) lane[k] += static_cast<double>(samples[i + k]);
  __builtin_memcpy(&low, lane, sizeof low);
  __builtin_memcpy(&high, lane + kLanes / 2, sizeof high);
  return Fold(low, high);
}

void Subtract(const float* source, float* destination, std::ptrdiff_t count, double value) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    destination[i] = static_cast<float>(static_cast<double>(source[i]) - value);
  }
}

QV_INLINE double SquareOf(float re, float im) {
  return static_cast<double>(re) * static_cast<double>(re) +
         static_cast<double>(im) * static_cast<double>(im);
}

void Squares(float* real, float* imaginary, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    real[i] = static_cast<float>(SquareOf(real[i], imaginary[i]));
    imaginary[i] = 0;
  }
}

void Magnitudes(const float* real, const float* imaginary, float* out, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    out[i] = static_cast<float>(__builtin_sqrt(SquareOf(real[i], imaginary[i])));
  }
}

void Join(const float* real, const float* imaginary, float* pairs, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    pairs[2 * i] = real[i];
    pairs[2 * i + 1] = imaginary[i];
  }
}

void Separate(const float* pairs, float* real, float* imaginary, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    real[i] = pairs[2 * i];
    imaginary[i] = pairs[2 * i + 1];
  }
}

/// values[i] * gains[i], and the mirror image of the gains on the values that end before mirrored.
void Gain(float* values, float* mirrored, const float* gains, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) values[i] *= gains[i];
  for (std::ptrdiff_t i = 0; i < count; ++i) mirrored[-1 - i] *= gains[i];
}

}  // namespace

extern const SpectraKernels spectra;
const SpectraKernels spectra = {Sum, Subtract, Squares, Magnitudes, Join, Separate, Gain};

}  // namespace qv::kernels::QV_KERNEL_ISA
