// The radix-2 transform, in one and two dimensions, of float data held as separate real and imaginary parts.
//
// direction 1: kernel exp(-2 pi i jk/n), every result divided by n. Any other direction: kernel
// exp(+2 pi i jk/n), unscaled. The exports go from heights to spectra with -1 and come back with 1; the signs
// are the reverse of common usage, and kept.
#pragma once

namespace qv::spectral {

inline constexpr short kToSpectrum = -1;
inline constexpr short kToHeights = 1;

/// The greatest m with 2^m <= size; size must be at least 1.
int FloorLog2(int size);

/// Transforms one line of 2^m samples in place (one sample when m <= 0). Arithmetic is double, and every
/// stage is stored as float.
int FFT1D(short direction, int m, float* real, float* imaginary);

/// Transforms every column, then every row, in place. Of a length that is no power of two only the first 2^m
/// samples of each line take part. Rows must have room for a multiple of 16 samples, whose values behind the
/// last column may change. Returns 0, with the columns in part transformed, when no work memory can be had.
int FFT2D(float* const* realRows, float* const* imaginaryRows, int rows, int columns, short direction);

}  // namespace qv::spectral
