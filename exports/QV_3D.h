/*
 * QV_3D - surface metrology and 3-D display of measured surfaces.
 *
 * CONVENTIONS (they bind every function; an entry below states only what differs)
 *
 * Grids. A height map is a caller-owned, contiguous, row-major array: the sample of column x (0 <= x < width)
 * and row y (0 <= y < height) lies at index y*width + x. Sizes are passed as a pair, width (samples per row)
 * first. Heights, positions and sizes are in whatever unit the host uses; results come in the same unit.
 *
 * Missing samples. The value -1e10 (QV_BAD_SAMPLE) marks a sample that was not measured. "Missing by value"
 * means that a sample equals -1e10 or is a NaN; "missing by bit pattern" means that its bits are exactly
 * those of -1e10 (0xD01502F9 in a float), so that a NaN counts as a height. Each entry says which rule it
 * follows.
 *
 * Names. No suffix: double samples; f: float samples; i: int samples; f2 to f5: later float forms with
 * further parameters. The statistics, conversions and imports take floats and carry no suffix.
 *
 * Results. Most functions return a status, 0 for success and 1 for failure. The exceptions say so.
 *
 * Precision. Sums and differences of float samples are formed in double; a result is rounded to float once,
 * when it is stored. Every result is the same, bit for bit, on every processor, whatever vector instructions
 * it has.
 *
 * Memory. Every array belongs to the caller before, during and after the call. The library keeps no pointer
 * to a caller's array. Input and output arrays must not overlap unless an entry says that it works in place.
 * What a call allocates it releases, with exceptions noted at SetVertices, FilterMinimum, GaussianFilter and
 * SplineFilter.
 *
 * Pointers and capacities are not checked: a null pointer or a buffer that is too small is the caller's
 * fault. Every entry gives the size that its outputs must have.
 *
 * Threads. "Any thread" means: may run on several threads at once on distinct arrays (inputs may be shared).
 * "Import thread" means: one thread at a time over all functions so marked. "GL thread" means: only on the
 * thread on which the OpenGL context is current. The library starts no thread and takes no lock.
 *
 * The process. Only the mesh import ends the host process, and only where its entries say so: it writes a
 * message to the standard error stream and exits with status -1. No other function prints, except the
 * pixel-format choice and LinearInterpolationOfTriangles.
 *
 * Locale and environment. Nothing depends on the locale, on environment variables or on configuration files.
 *
 * This header is plain C (C89) and includes nothing. Exported names are undecorated on every platform; on
 * 32-bit Windows the functions use the stdcall convention.
 */
#ifndef QV_3D_H
#define QV_3D_H

#define QV_3D_VERSION_MAJOR 0
#define QV_3D_VERSION_MINOR 1
#define QV_3D_VERSION_PATCH 0

#if defined(_WIN32) && !defined(_WIN64)
#define QV_CALL __stdcall
#else
#define QV_CALL
#endif

/* On Windows the library itself exports through its .def file, which keeps the names undecorated. */
#if defined(_WIN32)
#if defined(QV_3D_BUILD) || defined(QV_3D_STATIC)
#define QV_API
#else
#define QV_API __declspec(dllimport)
#endif
#else
#define QV_API __attribute__((visibility("default")))
#endif

/* The value that marks a missing sample. As a float it is the float nearest to -1e10, -1e10 exactly. */
#define QV_BAD_SAMPLE (-1e10)

#ifdef __cplusplus
extern "C" {
#endif

/* One vertex of the list of SetVertices: three floats that the library does not read, then the position. */
typedef struct QV_VertexRecord {
  float attribute[3]; /* the host's own */
  /* the position */
  float x, y, z;
} QV_VertexRecord;

/* One triangle of a shadow structure: 11 words of 32 bits. The library writes the vertices and neighbours;
 * plane and lit are the host's. */
typedef struct QV_ShadowTriangle {
  unsigned vertex[3]; /* numbers of vertices */
  float plane[4];     /* the host's, for its test of what faces the light */
  int neighbour[3];   /* records across the edges a-b, b-c and c-a; -1 for none */
  unsigned lit;       /* the host's: not 0 for a triangle that faces the light */
} QV_ShadowTriangle;

/* The triangles of a grid, in an array that the host allocates. The counters are the host's own. */
typedef struct QV_ShadowStructure {
  /* the host's own */
  int counter0, counter1;
  QV_ShadowTriangle* triangles; /* 2*(width-1)*(height-1) records */
} QV_ShadowStructure;

/* ====================================================================================================
 * Height statistics
 *
 * Each reduces a flat list of `count` heights (for a grid: width*height) to one number, about zero: level the
 * data first (RemoveAverage, FitLSPlane). Missing by value: such samples are skipped and the sums are divided
 * by the number of samples used. *result is written only when 0 is returned. Unit: that of the heights,
 * unless said. Any thread. Not checked: pointers.
 * ==================================================================================================== */

/* Arithmetic mean deviation (Ra of a profile, Sa of a surface; ISO 4287, ISO 25178-2): the mean of |z|.
 * Returns 1 when count < 1 or when every sample is missing. */
QV_API unsigned QV_CALL ComputeAverage(const float* heights, int count, float* result);

/* Root mean square height (Rq, Sq): sqrt(mean of z*z). Returns 1 when count < 1 or when every sample is
 * missing. */
QV_API unsigned QV_CALL ComputeRMS(const float* heights, int count, float* result);

/* Highest sample (Rp, Sp). Always returns 0; with no usable sample (or count < 1) the result is the float
 * -1e32. */
QV_API unsigned QV_CALL ComputePeak(const float* heights, int count, float* result);

/* Magnitude of the lowest sample, |min z| (Rv, Sv): positive also where every sample lies above zero. Always
 * returns 0; with no usable sample (or count < 1) the result is the float 1e32. */
QV_API unsigned QV_CALL ComputeValley(const float* heights, int count, float* result);

/* Highest minus lowest sample (Rt, Sz). Always returns 0; with no usable sample the result is about -2e32. */
QV_API unsigned QV_CALL ComputePeakToValley(const float* heights, int count, float* result);

/* Skewness (Rsk, Ssk): mean(z*z*z) / Rq^3, without unit, with Rq rounded to float as ComputeRMS gives it. The
 * mean is not removed. NaN with status 0 when every used sample is 0. Returns 1 where ComputeRMS does. */
QV_API unsigned QV_CALL ComputeSkewness(const float* heights, int count, float* result);

/* Kurtosis (Rku, Sku): mean(z^4) / Rq^4, without unit; 3 for normally distributed heights. Otherwise as
 * ComputeSkewness. */
QV_API unsigned QV_CALL ComputeKurtosis(const float* heights, int count, float* result);

/* Ten-point height over a grid of width x height samples: the mean of the five highest local peaks minus the
 * mean of the five lowest local valleys. A peak (valley) is an inner sample strictly above (below) all its
 * eight neighbours, none of which is missing. Returns 1 with fewer than 3 rows or columns, and with fewer
 * than 5 peaks and fewer than 5 valleys; when only one of the lists is short its absent entries count as
 * height 0. Returns 0 without writing the result when the work memory (8 bytes per sample) cannot be had. */
QV_API unsigned QV_CALL ComputeTenPointHeight(const float* heights, int width, int height, float* result);

/* ====================================================================================================
 * Normalisation and conversion
 *
 * Each works on `count` consecutive elements, in place or from a source to a destination of `count` elements.
 * Missing samples keep their value (or leave the destination element untouched). count < 1 does nothing.
 * Any thread. Not checked: pointers.
 * ==================================================================================================== */

/* Stretches the values linearly so that [minimum, maximum] of the data becomes [targetMinimum,
 * targetMaximum], and reports the extremes found. A constant array becomes targetMinimum everywhere. With
 * extremesOnly non-zero the extremes are reported and the data stay as they are. Missing by bit pattern of
 * the double -1e10. Returns 1, with -1e32 and 1e32 in *maximum and *minimum and the data untouched, when no
 * usable element was found. */
QV_API unsigned QV_CALL NormalizeArrayDoubles(double* data, int count, double targetMaximum,
                                              double targetMinimum, double* maximum, double* minimum,
                                              int extremesOnly);

/* As NormalizeArrayDoubles for floats, missing by value. Always returns 0; with no usable element the
 * extremes hold the floats -1e32 and 1e32. The factor is rounded to float, each new value is formed in
 * double. */
QV_API unsigned QV_CALL NormalizeArrayFloats(float* data, int count, float targetMaximum, float targetMinimum,
                                             float* maximum, float* minimum, int extremesOnly);

/* As NormalizeArrayDoubles for bytes, of which none is missing. New values are truncated toward zero and
 * reduced to their low 8 bits. Returns 1, with the data untouched, when the maximum found is 0 or the minimum
 * found is 255: all-zero and all-255 arrays cannot be normalised. Of the byte arguments only the low 8 bits
 * are used. */
QV_API unsigned QV_CALL NormalizeArrayBytes(unsigned char* data, int count, unsigned char targetMaximum,
                                            unsigned char targetMinimum, unsigned char* maximum,
                                            unsigned char* minimum, int extremesOnly);

/* destination[i] = the low 8 bits of source[i] truncated toward zero to a 32-bit integer (300 gives 44, -1
 * gives 255, a value outside the 32-bit range gives 0). Missing by value. Returns 0. */
QV_API unsigned QV_CALL ConvertFloatsToBytes(const float* source, unsigned char* destination, int count);

/* destination[i] = aboveValue where source[i] > threshold (compared in double), else atOrBelowValue. Missing
 * by value. Returns 0. */
QV_API unsigned QV_CALL ConvertFloatsToBytesWithThreshold(const float* source, unsigned char* destination,
                                                          int count, double threshold,
                                                          unsigned char aboveValue,
                                                          unsigned char atOrBelowValue);

/* Overwrites every missing sample (by value, so NaN too) with the smallest of the others; with the float 1e32
 * when there are no others. Returns 0. */
QV_API unsigned QV_CALL ReplaceBadSamplesWithMinimum(float* data, int count);

/* Multiplies every sample by factor (in double, rounded to float). Missing by value. Returns 0. */
QV_API unsigned QV_CALL ScaleArrayFloats(float* data, int count, double factor);

/* Subtracts the mean of the samples from every sample. Missing by value. Returns 1, with the data untouched,
 * when count < 1 or every sample is missing. */
QV_API unsigned QV_CALL RemoveAverage(float* data, int count);

/* ====================================================================================================
 * Plane fit, extremes of a vertex list, cropping
 * ==================================================================================================== */

/* Fits the least-squares plane z = a*x + b*y + c to `count` points (3 floats x, y, z each; 3*count floats).
 * Returns 1 when a plane was found and 0 when the normal equations are singular (fewer than three points, or
 * all on a line); then a, b and c are the float 1e32. No point counts as missing: leave them out. The sums of
 * y*y and y*z are carried as floats, so give coordinates near the origin. Any thread. */
QV_API int QV_CALL FitLSPlane(const float* points, int count, float* a, float* b, float* c);

/* Sets the number of vertices that ComputeExtremes scans and returns it. The list that ComputeExtremes reads
 * is not set: a copy of `count` records is taken and never used (with the default build it is never released
 * either). Import thread. */
QV_API int QV_CALL SetVertices(int count, const QV_VertexRecord* records);

/* Writes the extremes of the module's vertex list: -1e32 (maxima) and 1e32 (minima) as floats while the count
 * of SetVertices is below 1. With a count of 1 or more it reads through the list pointer, which nothing sets:
 * the process faults. Returns 0. Import thread. */
QV_API unsigned QV_CALL ComputeExtremes(float* maximumX, float* minimumX, float* maximumY, float* minimumY,
                                        float* maximumZ, float* minimumZ);

/* Copies the block of cropWidth x cropHeight samples at (firstColumn, firstRow) of a width x height grid of
 * 4-byte samples, clipped to the grid, to a packed destination of (min(width, firstColumn + cropWidth) -
 * max(0, firstColumn)) columns and as many rows by the same rule; nothing where the block lies outside.
 * Samples are copied bit for bit. Returns 1, always. Any thread. */
QV_API int QV_CALL CropSurface(const void* source, void* destination, int firstColumn, int firstRow,
                               int width, int height, int cropWidth, int cropHeight);

/* ====================================================================================================
 * Neighbourhood filters
 *
 * A square window of `size` samples a side moves over a grid of nx x ny samples; each result is a statistic
 * of the samples inside it. With half = size / 2 (integer division, toward zero) the window reaches half
 * samples from its centre to every side. Give odd sizes: an even one visits (size+1) x (size+1) samples, as
 * the entries say. Sizes 1, 0 and -1 visit the centre alone.
 *
 * Results exist where the window lies inside the grid: out, and residual where there is one, are packed grids
 * of (nx - 2*half) x (ny - 2*half) elements, and the result for the centre (row r, column c) lies at
 * (r-half)*(nx-2*half) + (c-half). nx*ny elements are always enough. Where no window fits, or size is below
 * -1, nothing is written. FilterMeanf3 differs: its results have the shape of the input. Unit: that of the
 * samples.
 *
 * The residual is a sample of the input minus the unrounded statistic: THE WINDOW'S TOP-LEFT SAMPLE, not its
 * centre (a plane that rises by s per column leaves -s*half), except in FilterMedianf2 and FilterMeanf3,
 * which take the centre.
 *
 * Missing samples: forms without suffix, f and i treat -1e10 as a height like any other; f2 and f3 look for
 * missing samples by value, as their entries say. A result that is a NaN is always the positive quiet NaN.
 * The cost per sample does not grow with the window's area.
 *
 * All return 0, also where work memory cannot be had; then nothing is written. Any thread. In and out must be
 * distinct arrays. Not checked: pointers.
 * ==================================================================================================== */

/* Moving mean: the sum of the window in double, divided by size*size (also where an even size visited more
 * samples; size 0 divides by zero). A sentinel or a huge sample affects the windows it lies in and no other.
 */
QV_API unsigned QV_CALL FilterMean(int size, int nx, int ny, const double* in, double* out);

/* As FilterMean, rounded to float. Where the heights near it let it be, the sum is exact. */
QV_API unsigned QV_CALL FilterMeanf(int size, int nx, int ny, const float* in, float* out);

/* The sum wraps at 32 bits and is divided by size*size toward zero. Size 0 writes nothing. */
QV_API unsigned QV_CALL FilterMeani(int size, int nx, int ny, const int* in, int* out);

/* As FilterMeanf, with a residual. A window with a missing sample gives -1e10 in both grids. */
QV_API unsigned QV_CALL FilterMeanf2(int size, int nx, int ny, const float* in, float* out, float* residual);

/* Mean of the samples that are not missing, over the window clipped at the grid's edges: out and residual
 * have nx*ny elements, and the sum is divided by the number of samples used, whatever the size. With none to
 * use, or with size below -1, both get -1e10. The residual is the centre minus the mean even where the centre
 * is missing: -1e10 minus the mean is then not marked as missing. */
QV_API unsigned QV_CALL FilterMeanf3(int size, int nx, int ny, const float* in, float* out, float* residual);

/* Smallest sample of the window (erosion by a square), at most 1e32. A NaN is passed over; of a zero and a
 * negative zero the first in row order is taken. The default build leaves a block of nx*ny doubles allocated
 * at every call. */
QV_API unsigned QV_CALL FilterMinimum(int size, int nx, int ny, const double* in, double* out);

/* As FilterMinimum, at most the float 1e32, and without the block. */
QV_API unsigned QV_CALL FilterMinimumf(int size, int nx, int ny, const float* in, float* out);

/* As FilterMinimumf, at most 1000000000. */
QV_API unsigned QV_CALL FilterMinimumi(int size, int nx, int ny, const int* in, int* out);

/* As FilterMinimumf, with a residual. Where the minimum is -1e10 both grids get it: a window that holds -1e10
 * and nothing lower. A NaN does not mark the window. */
QV_API unsigned QV_CALL FilterMinimumf2(int size, int nx, int ny, const float* in, float* out,
                                        float* residual);

/* Largest sample of the window (dilation by a square), at least -1e32; otherwise as FilterMinimum, without
 * the block. */
QV_API unsigned QV_CALL FilterMaximum(int size, int nx, int ny, const double* in, double* out);

/* As FilterMaximum, at least the float -1e32. */
QV_API unsigned QV_CALL FilterMaximumf(int size, int nx, int ny, const float* in, float* out);

/* As FilterMaximum, at least -1000000000. */
QV_API unsigned QV_CALL FilterMaximumi(int size, int nx, int ny, const int* in, int* out);

/* As FilterMaximumf, with a residual. Both grids get -1e10 where the maximum is -1e10: missing samples beside
 * others are passed over. */
QV_API unsigned QV_CALL FilterMaximumf2(int size, int nx, int ny, const float* in, float* out,
                                        float* residual);

/* A LOW RANK, not the median: the sample at position size/2 (from 0) of the sorted window, the second
 * smallest of 3 x 3, the third smallest of 5 x 5. FilterMedianf2 gives the true median. Sorted are the
 * window's first size*size samples in row order (all of them, when size is odd). Order: by value, -0 before
 * 0, NaN last. Size 0 writes nothing. */
QV_API unsigned QV_CALL FilterMedian(int size, int nx, int ny, const double* in, double* out);

/* As FilterMedian. */
QV_API unsigned QV_CALL FilterMedianf(int size, int nx, int ny, const float* in, float* out);

/* As FilterMedian. */
QV_API unsigned QV_CALL FilterMediani(int size, int nx, int ny, const int* in, int* out);

/* True median: position (size*size)/2 of the same sorted samples, with a residual against the centre sample.
 * Where the median itself is missing (-1e10, or a NaN) both grids get -1e10. Size 0 writes nothing. */
QV_API unsigned QV_CALL FilterMedianf2(int size, int nx, int ny, const float* in, float* out,
                                       float* residual);

/* (size*size * centre - sum of the other samples) / (size*size), and the residual. The centre's weight is
 * size*size, not one less: a flat surface of height h gives h / (size*size). A window with a missing sample
 * gives -1e10 in both grids. */
QV_API unsigned QV_CALL FilterLaplacianf2(int size, int nx, int ny, const float* in, float* out,
                                          float* residual);

/* ====================================================================================================
 * Gaussian, spline and radius filters
 *
 * The two separable filters split a grid into a smooth part and the remainder, residual = in - filtered. MIND
 * THE ORDER: they take the residual first and the filtered grid second; FilterGaussianf2 takes the filtered
 * grid first. dx and dy are the spacings along a row and between rows, cutoff the cut-off wavelength, all in
 * one unit. Only FilterGaussianf2 knows missing samples: to the others -1e10 is a height, so fill holes first
 * and put them back afterwards. All return 0, also when work memory cannot be had (then nothing is written).
 * Any thread. Not checked: pointers and the parameters.
 * ==================================================================================================== */

/* Separable filter of Gaussian type: along the rows, then along the columns, three moving averages of
 * 2*m + 1 samples each, m = cutoff*0.183/spacing truncated. Where m is below 1 (a cutoff of 0 or too short, a
 * negative ratio) or beyond the range of an int that direction is not smoothed. residual, filtered: nx*ny
 * floats each.
 * THE EDGES ARE NOT CORRECTED: samples beyond the line count as 0 and the weights are not renormalised, so
 * over about 3*m samples at the start of a line the result falls towards 0, and at its end further still,
 * because each moving average there lacks one more sample (the one before its last full window). Remove the
 * mean first (RemoveAverage) and crop 3*m + 1 samples afterwards. Where a line is not longer than a window
 * the same holds for all of it. Sums are carried in 64-bit mantissas, every average is rounded to float.
 * The residual is taken against the input.
 * With the default build each call leaves memory allocated: 12 bytes per sample for the rows and again for
 * the columns, untouched (QV_3D_KEEP_LEAKS=OFF turns it off). */
QV_API unsigned QV_CALL GaussianFilter(int nx, int ny, float dx, float dy, float cutoff, const float* in,
                                       float* residual, float* filtered);

/* Separable cubic smoothing spline (profile filter of ISO 16610-22 type, 50 % transmission at the cutoff):
 * along the rows, then along the columns. The ends are free, so straight lines pass unchanged but for
 * rounding, which grows with cutoff/spacing: every value of the solution is rounded to float on its way. A
 * cutoff of 0 does nothing; lines of fewer than 3 samples are left as they are. residual, filtered: nx*ny
 * floats each. One NaN or infinity spoils its row and then the grid.
 * With the default build each call leaves nx*ny floats allocated, untouched (QV_3D_KEEP_LEAKS=OFF turns it
 * off). */
QV_API unsigned QV_CALL SplineFilter(int nx, int ny, float dx, float dy, float cutoff, const float* in,
                                     float* residual, float* filtered);

/* 3 x 3 binomial smoothing (1 2 1, 2 4 2, 1 2 1, over 16). filtered, residual: (nx-2)*(ny-2) floats each,
 * packed: the window centred at (c, r) goes to column c-1, row r-1. Missing by value: one missing sample in
 * the window makes both outputs -1e10. The residual is taken against the TOP-LEFT sample of the window, not
 * its centre. nx or ny below 3: nothing is written. */
QV_API unsigned QV_CALL FilterGaussianf2(int nx, int ny, const float* in, float* filtered, float* residual);

/* Rolls a circle over a profile of n heights with spacing dx (heights, dx and radius in one unit): finds the
 * samples that the circle touches and gives, at each sample, the highest of the arcs that hang from the
 * touched samples within reach, an arc at distance x lying radius - sqrt(radius^2 - x^2) lower. out: n
 * doubles. Where no touched sample lies within radius/dx samples the result is -9.99e33, where one does but
 * its distance exceeds the radius, -9.9e33. n below 1: nothing is written; n of 1 or 2: the ends are touched.
 * The time grows with n and with the number of touched samples within reach. */
QV_API unsigned QV_CALL Convolve_Radius(const double* profile, double* out, int n, double radius, double dx);

/* ====================================================================================================
 * Polar filters
 *
 * Low-pass filters of a closed profile: n equally spaced samples of one revolution, the sample after the last
 * being the first. in, out: n doubles each, not the same array. spacing and cutoff in one unit. No sample
 * counts as missing. All return 0 and do nothing when n < 1. Any thread. Not checked: pointers and the
 * parameters.
 * ==================================================================================================== */

/* Gaussian weights out to 0.1 % (M samples to each side, in time proportional to n*M), wrapped around the
 * ends as often as needed. The weights are not renormalised, and the partner of sample i+j is i-j-1: THE
 * WINDOW IS SHIFTED by half a sample towards the start, so the result lags by half a sample. A cutoff so
 * short that M < 5, or so long that M is not a number, copies the input. */
QV_API unsigned QV_CALL FilterGaussianPolar(const double* in, double* out, double spacing, double cutoff,
                                            int n);

/* Two RC stages, causal: the result lags. Started n/4 samples before the first with the input itself. Here
 * cutoff is the factor of the bilinear substitution. */
QV_API unsigned QV_CALL Filter2RCPolar(const double* in, double* out, double spacing, double cutoff, int n);

/* One RC stage forwards, then backwards (no lag). The backward run starts from 0, about n/4 samples after the
 * last (none for n = 1, whose result is 0): with few samples the last results still feel it. Nothing is
 * written when the work memory (12*n bytes) cannot be had. */
QV_API unsigned QV_CALL Filter2RCPCPolar(const double* in, double* out, double spacing, double cutoff, int n);

/* ====================================================================================================
 * Resampling
 *
 * A grid of inNx x inNy samples becomes one of outNx x outNy; output column c lies at input column c*sx, row
 * r at r*sy. Output rows start every outStride floats (out: (outNy-1)*outStride + outNx floats). Missing by
 * value: an output sample is -1e10 where one of the input samples it is made from is missing.
 * REVERSED STATUS: 1 for done; 0, with nothing written, for refused (a null pointer, a size below 1, in ==
 * out) or out of memory. Any thread.
 * ==================================================================================================== */

/* Bilinear. sx = inNx/outNx, but (inNx - inNx/outNx)/outNx when enlarging; likewise sy. Indices beyond the
 * last sample repeat it. Also refused: inStride < inNx, outStride < outNx. With equal sizes and equal strides
 * inNx*inNy consecutive floats are copied, whatever the strides are. */
QV_API int QV_CALL Resample(int outNx, int outNy, int inNx, int inNy, const float* in, float* out,
                            int inStride, int outStride);

/* Cubic convolution over 4 x 4 samples; sx = inNx/outNx, sy = inNy/outNy. inStride is ignored, input rows
 * start every inNx floats; outStride is not checked (at least outNx). With equal sizes inNx*inNy consecutive
 * floats are copied. The last horizontal weight has the sign opposite to the usual kernel's: a constant v
 * comes out as v*(1 + 2*t^2 - 2*t^3), t being the fraction of the column's position. Kept: callers rely on
 * the values. Near the right and lower edges samples are repeated one position early. */
QV_API int QV_CALL ResampleBicubic(int outNx, int outNy, int inNx, int inNy, const float* in, float* out,
                                   int inStride, int outStride);

/* ====================================================================================================
 * Spectra
 *
 * Radix-2 transforms of a width x height grid. Sizes that are no power of two are padded: padded(n) is n
 * itself when it is a power of two, else the next power of two (300 gives 512). The heights, less the mean of
 * all samples, lie in the padded grid at column (padded(width) - width)/2 and row (padded(height) - height)/2
 * (integer divisions); the rest is 0. Heights to spectrum uses the kernel exp(+2 pi i jk/n) and is not
 * scaled; spectrum to heights uses exp(-2 pi i jk/n) and divides by the number of samples. Every stage of a
 * transform is rounded to float.
 *
 * No sample counts as missing: -1e10 enters the mean and the transform, and a NaN spreads everywhere. Replace
 * such samples first (ReplaceBadSamplesWithMinimum). The samples of the mean are counted in a float, so grids
 * of more than 2^24 samples are divided by 2^24.
 *
 * A spectrum is a row-major grid of pairs, real then imaginary part: the term of column c and row r starts at
 * float 2*(r*columns + c).
 *
 * All return 0, or one of four statuses when memory runs out, with the output untouched: 2 and 3 for the row
 * pointers and the samples of the real part, 4 and 5 for those of the imaginary part. A padded size of 2^31
 * gives 3. Work memory: about 8 bytes per padded sample. A width or height below 1 gives 0 and writes
 * nothing. The output may be the input array where it is large enough: all input is read before output is
 * written. Any thread. Not checked: pointers.
 * ==================================================================================================== */

/* The spectrum of a height map. spectrum: 2 * padded(width) * padded(height) floats; columns = padded(width).
 * The term of frequency zero comes first, at (0, 0). */
QV_API unsigned QV_CALL ComputeFFTGrid(const float* heights, int width, int height, float* spectrum);

/* The heights of a spectrum of width x height terms (the padded sizes of ComputeFFTGrid; note the order of
 * the arguments): width*height floats, the padded grid without its mean. Imaginary parts are dropped. Of a
 * size that is no power of two, say 2^m < width < 2^(m+1), only the first 2^m terms of each row (of each
 * column) are transformed; the others pass unchanged. */
QV_API unsigned QV_CALL DoFFTInverse(int width, int height, const float* spectrum, float* heights);

/* The amplitudes |X| of the spectrum (not their squares, in spite of the name; not scaled), rotated so that
 * frequency zero lies at column padded(width)/2 and row padded(height)/2 of the padded grid, of which the
 * middle is written: spectrum holds width*height floats, and column c of it is column c + (padded(width) -
 * width)/2 of the rotated grid (rows alike). With padded sizes the highest frequencies are thus cut off.
 * linear 0: log10 of the amplitude, and 0 where the amplitude is 0. Unit: that of the heights, or decades of
 * it. */
QV_API unsigned QV_CALL PowerSpectrum(const float* heights, int width, int height, int linear,
                                      float* spectrum);

/* The circular autocorrelation of the padded grid: the sum over all positions of f(x, y)*f(x+dx, y+dy),
 * neither divided by the number of samples nor by its value at lag zero. correlation holds width*height
 * floats, cut from the middle as in PowerSpectrum; lag zero lies at column padded(width)/2 - (padded(width) -
 * width)/2 (rows alike). Unit: the square of that of the heights. */
QV_API unsigned QV_CALL Autocorrelate(const float* heights, int width, int height, float* correlation);

/* Filters by frequency and writes width*height heights, the mean of which is not added back. R is half the
 * larger padded size, k the rounded distance in bins from frequency zero, p = parameter1: 2, 3  Butterworth
 * of first order, low and high pass: gain 1/(1 + 0.414*q) and 1 less that, q = (k/(R*p))^2 4, 5  Gaussian,
 * low and high pass: gain exp(-k*k/(2*s*s)) and 1 less that, s = R*p/sqrt(ln 2) 0, 1  ideal, measured from
 * the wrong end: the distance d of a term (truncated) is taken from the middle of the array, where the
 * highest frequencies lie; 0 clears the terms with d/R > p, which takes the long waves away, and 1 clears
 * those with d/R < p, which takes the short ones away Any other type passes the heights, less their mean.
 * parameter2 is not read. The gains of types 2 to 5 are mirrored one bin off the conjugate terms, so that the
 * result is slightly asymmetric, and leave a grid of one row or one column unchanged. Besides the statuses
 * above, 5 when the tables of the gains find no memory. */
QV_API unsigned QV_CALL FFTFilter(const float* heights, int width, int height, int filterType,
                                  float parameter1, float parameter2, float* filtered);

/* ====================================================================================================
 * Contours and sections
 * ==================================================================================================== */

/* The line of one level through a height map, as unconnected straight segments x1, y1, x2, y2. The sample of
 * column i and row j lies at (xCoordinates[i], yCoordinates[j]): width and height coordinates, of any
 * spacing. Each cell is split into four triangles around its centre (the mean of its corners), of which each
 * gives at most one segment; they come row by row, cell by cell. Returns the number of segments (0 for a
 * width or height below 2). segments: room for the worst case of 4 segments per cell, 16*(width-1)*(height-1)
 * values. A triangle side that lies exactly on the level is emitted by both triangles that share it, and a
 * cell that is flat on the level emits its four sides; so flat regions give each inner side twice. No sample
 * counts as missing: contours run around -1e10 as around any height. Any thread. Not checked: pointers,
 * capacity. */
QV_API int QV_CALL ComputeContours(const double* heights, int width, int height, const double* xCoordinates,
                                   const double* yCoordinates, double level, double* segments);

/* As ComputeContours for floats, but a cell with a corner missing by bit pattern gives nothing. The sign of a
 * NaN height counts as on the level. Heights relative to the level are rounded to float. */
QV_API int QV_CALL ComputeContoursf(const float* heights, int width, int height, const float* xCoordinates,
                                    const float* yCoordinates, float level, float* segments);

/* A profile along a row (direction 0, profile: width floats) or along a column (direction 1, height floats,
 * from the last row to the first). position is the fraction 0..1 across the rows (columns): the centre is
 * position*(height-1). The band runs from floor(centre - halfBand) to floor(centre + halfBand), both clamped
 * to the grid. When that is one line, the profile is interpolated linearly between it and the next; a missing
 * sample gives -1e10, a missing neighbour the sample itself. Otherwise it is the greatest (bandMode 0), the
 * mean (1, in single precision) or the smallest (2) of the band's samples, missing by value skipped; where
 * there are none it is -1e32, a NaN or 1e32. Another bandMode leaves the values of a band as they were,
 * another direction does nothing at all. Finally every value other than -1e10 is multiplied by scale, those
 * just mentioned too. A sample of the single line is missing by bit pattern; in direction 1 by value (its
 * neighbour by bit pattern). `unused` is not read. Returns 0. Any thread. Not checked: pointers. */
QV_API unsigned QV_CALL ComputeCrossSectionProfile(int width, int height, int direction, int bandMode,
                                                   int unused, float position, float halfBand,
                                                   const float* heights, float* profile, float scale);

/* Draws the cut of `count` triangles (9 doubles each: three vertices x, y, z) by a plane, one pair of
 * GL_LINES vertices per cut triangle. normal and point hold 3 doubles. GIVE A UNIT NORMAL: the direction of
 * the plane comes from normal/|normal|, its offset from -normal*point without that division, so a longer
 * normal cuts elsewhere. A triangle that lies in the plane or only touches it draws nothing. One with a
 * vertex in the plane between the two others is drawn, unless that is its first or second vertex, the third
 * lies below and the other above. Returns 0. GL thread. */
QV_API unsigned QV_CALL ComputeCrossSectionLines(const double* triangles, const double* normal,
                                                 const double* point, int count);

/* ====================================================================================================
 * Mesh import
 *
 * Parse, then Convert (or CleanUp): the mesh is kept inside the library in between, one at a time. Import
 * thread. A HOST THAT MUST SURVIVE BAD FILES RUNS THE IMPORT IN A CHILD PROCESS.
 * ==================================================================================================== */

/* Loads the triangles of an STL file, binary or ASCII, and reports their bounding box (unit of the file) and
 * number. A file whose first five characters are "solid", in any letter case, is read as ASCII, any other as
 * binary. Facet normals and attribute words are ignored. Numbers are read with a decimal point whatever the
 * locale. The announced count is not trusted: the triangles that are there are kept. Returns 0. Ends the
 * process (exit status -1) after "Failed to open or recognise the STL file\n" when the file cannot be opened,
 * is empty, is binary and shorter than its 80-byte header or does not fit into memory, and after "Failed to
 * read any triangles\n" when it holds none. A truncated or malformed record prints a "ReadSTL - ..." line on
 * the standard error stream and reading stops with the triangles so far. A mesh still loaded from an earlier
 * call is replaced. */
QV_API unsigned QV_CALL ParseSTLFile(const char* fileName, float* minX, float* maxX, float* minY, float* maxY,
                                     float* minZ, float* maxZ, int* triangleCount);

/* Releases the loaded mesh, for a host that parses but does not convert. Without a mesh it does nothing.
 * Returns 0. */
QV_API unsigned QV_CALL CleanUpSTL(void);

/* Turns the loaded mesh into heights on a grid of (nx+1) x (ny+1) samples, nx and ny being numbers of
 * intervals, and releases the mesh. The grid starts at (minX + xOffset, minY + yOffset) of the mesh and spans
 * xSize x ySize. heights: (nx+1)*(ny+1) floats, row-major, rows along y. A sample takes the height of the
 * first triangle (in file order, pieces made by the refinement of long edges after the whole ones) that
 * covers it in x-y, -1e10 where none does, and 0.0 where that triangle's doubled area in x-y is 1e-6 or less:
 * scale meshes of tiny units up first. nx or ny of 0: all missing; negative: nothing written. Returns 1 when
 * no mesh is loaded, when memory runs out, and when the refinement would make more triangles than an int
 * counts (a mesh very long against its width, or one whose coordinates have no digits left for halving its
 * edges). Time and memory (36 bytes) go with the pieces: edges are halved until they are shorter than L, 0.95
 * of the shorter side of a cell, of which min(sqrt(0.005 * triangleCount), 80) lie along each side of the
 * mesh's box; a triangle of area A and longest edge s makes at least A / (0.43 L^2) and s / L of them. Scans
 * make few; big triangles all along a narrow mesh make millions. Ends the process (exit status -1) after "Bad
 * cell index - shouldn't happen\n" when the mesh has fewer than 200 triangles, no extent in x or in y, or an
 * x or y that is not finite. */
QV_API unsigned QV_CALL ConvertSTLFile(int nx, int ny, float xOffset, float yOffset, float xSize, float ySize,
                                       float* heights);

/* Loads the vertices and faces of a PLY file, ASCII or binary in either byte order, and reports the bounding
 * box (unit of the file) and the numbers of both. The file's y axis becomes the grid's x axis, its z axis,
 * negated, the grid's y axis, and its x axis the height; the box is in these axes. Read are the properties
 * "x", "y" and "z" of the element "vertex" and the list "vertex_indices" of the element "face", of any of the
 * format's types; other elements and properties are set aside. A property that is not there prints "Warning:
 * Can't find property '...' in element '...'\n" (two blanks behind the colon) and counts as 0; without the
 * list no face has a triangle. A word of an ASCII file is read by its type's rule, whatever it looks like
 * ("1e2" in a column of ints is 1), with a decimal point whatever the locale; words that a line lacks are 0,
 * and so is what a binary file lacks. Announced numbers above both 1,000,000 and the file's bytes are not
 * believed. Returns 1, with nothing written, when the file cannot be opened, is no PLY file, has no vertices,
 * or does not fit into memory ("Memory allocation bombed on line ... in ply\n"). Ends the process (exit
 * status -1) after "ply_get_element: unexpected end of file\n" when an ASCII file has fewer lines than it
 * announces, and after "get_ascii_item: bad type = 0\n" or "get_binary_item: bad type = 0\n" when a value of
 * a type that does not exist would have to be read. A mesh still loaded from an earlier call is released
 * first. */
QV_API unsigned QV_CALL ParsePLYFile(const char* fileName, float* minX, float* maxX, float* minY, float* maxY,
                                     float* minZ, float* maxZ, int* vertexCount, int* faceCount);

/* Releases the loaded PLY mesh, for a host that parses but does not convert. Without a mesh it does nothing.
 * Returns 0. */
QV_API unsigned QV_CALL CleanUpPLY(void);

/* Turns the loaded PLY mesh into heights, as ConvertSTLFile does, and releases it. What differs: a face makes
 * one triangle, of its first three corners; one with fewer corners (by the low 8 bits of their number), or
 * with an index that no vertex has, makes none. The rectangle of the grid is pulled inside by 1e-8 at each
 * end. Heights are 0.0 only where the covering triangle's doubled area in x-y is 1e-9 or less. Without any
 * triangle every sample is missing, and 0 is returned. Ends the process where ConvertSTLFile does; it is the
 * number of all faces that must not be below 200. */
QV_API unsigned QV_CALL ConvertPLYFile(int nx, int ny, float xOffset, float yOffset, float xSize, float ySize,
                                       float* heights);

/* ====================================================================================================
 * Gridding of scattered points and triangles
 *
 * Heights on a grid of nx x ny nodes, nx and ny being numbers of nodes: node (c, r) lies at x0 + c*dx,
 * y0 + r*dy; the spacings may be negative. out: nx*ny floats, row-major, WRITTEN LAST ROW FIRST: its first
 * row holds the nodes r = ny-1, its last those of r = 0. Nothing is written when nx or ny is below 1. All
 * positions are doubles in one unit; z and out share another. Any thread. Not checked: pointers.
 * ==================================================================================================== */

/* Inverse-distance weighting. points: count records of x, y, z. A node takes the mean of the z of all points
 * with the weights 1 / D^power, where D = sqrt(dist^2 + smoothing^2) and dist is the distance in x-y; there
 * is no search radius. Where D is 0, the node takes the z of the first point at which it is, whatever the
 * others hold. Without points (count < 1), and where all weights vanish, a node is 0. A power of 0 gives the
 * plain mean; negative powers weigh distant points most. No z is a missing one: -1e10 is a height, and a NaN
 * makes every node NaN that no point coincides with. Weights are within 1e-12 of what the formula gives. The
 * time grows with nx * ny * count; powers of magnitude above 32, distances beyond 1e30 or so and heights
 * beyond 1e30 (or below 1e-30, but for 0) take some twenty times as long. Returns 0. */
QV_API unsigned QV_CALL InverseDistanceToAPower(const double* points, int count, float* out, int nx, int ny,
                                                double dx, double dy, double x0, double y0, double power,
                                                double smoothing);

/* Heights of triangles. triangles: count records of three vertices x, y, z. A node takes the height, at its
 * place, of the plane of the first triangle (in the order of the array) that covers it in x-y, edges and
 * corners included; -1e10 where none does; 0.0 where that triangle's doubled area in x-y is 1e-9 or less:
 * scale triangles of tiny units up first. For the search the grid's extent, from the first node to the last,
 * is divided into cells x cells cells; the number only matters for triangles without area, which take all
 * nodes on their line (without any extent: all nodes) within the cells that their corners span.
 *
 * Every vertex must lie within the grid's extent (up to a cell's width around it is still accepted). Returns
 * 0; 1 when memory runs out; -1, with "Bad cell index - shouldn't happen\n" on the standard error stream and
 * nothing written, when a vertex lies elsewhere or is not finite in x or y, and, if there are triangles, when
 * nx or ny is 1, when a spacing is 0 and when cells < 1. Without triangles (count < 1) every node is missing
 * and 0 is returned. */
QV_API int QV_CALL LinearInterpolationOfTriangles(const double* triangles, int count, float* out, int nx,
                                                  int ny, double dx, double dy, double x0, double y0,
                                                  int cells);

/* ====================================================================================================
 * GL context
 *
 * Creating a rendering context and making it current is the host's business.
 * ==================================================================================================== */

/* Chooses a double-buffered RGBA window format with a depth buffer for a Windows device context (HDC), sets
 * it and returns its 1-based index. Most colour bits win, then most depth bits, then the first. Only when
 * (the low 8 bits of) preferAccelerated is 1 are accelerated formats tried first, and a driver's format is
 * not given up for a generic accelerated one; otherwise only software formats are considered. Returns -1
 * after a message box when there is none, and -1 when it cannot be set. On other platforms: -1 and the
 * message on the standard error stream. */
QV_API int QV_CALL PickPixelFormat(void* dc, unsigned char preferAccelerated);

/* Chooses and sets the first 24-bit RGBA format without palette that draws to bitmaps, for an off-screen
 * Windows device context. Returns its index, 0 when the device reports no formats, -1 when none matches or it
 * cannot be set. On other platforms: 0. */
QV_API int QV_CALL PickMemoryPixelFormat(void* dc);

/* Loads the OpenGL extension entry points; call it once a context is current and before any function that
 * uses buffer objects, separate stencil operations or shader objects. Returns GLEW's result, 0 for success.
 * On Linux a context made through EGL counts as success too, though GLEW reports its missing GLX display. GL
 * thread. */
QV_API unsigned QV_CALL InitGlew(void);

/* Returns 0 when every name in the space-separated list of extensions and versions ("GL_VERSION_2_0
 * GL_ARB_shader_objects") is supported, else 1. Call InitGlew first. GL thread. */
QV_API unsigned QV_CALL IsExtensionSupported(const char* names);

/* ====================================================================================================
 * Surface normals
 *
 * One unit normal (x, y, z) per sample of a width x height grid: normals holds 3*width*height values, sample
 * order. Sample (i, j) lies at x = i*xSize/(width-1) + xOffset, y = j*ySize/(height-1) - yOffset, z = the raw
 * height; the offsets do not influence normals. Each normal is the normalised sum of the unit normals of the
 * triangles that the sample makes with adjacent neighbours inside the grid. All return 0. A grid of width or
 * height 1 gives (0, 0, 0), one below 1 writes nothing. Any thread. Not checked: pointers.
 * ==================================================================================================== */

/* Double samples, 4 neighbours, unit frame (xSize = ySize = 1). No sample counts as missing. */
QV_API unsigned QV_CALL ComputeSurfaceNormals(const double* h, int width, int height, double* normals);

/* Float samples, 4 neighbours. Missing by value: a triangle with a missing neighbour is left out (the sample
 * itself is not tested), and a sample that loses all its triangles gets (0, 0, 0), except at the corners: (0,
 * 0, 1) at the last column and last row, (1, 0, 0) at the other three. */
QV_API unsigned QV_CALL ComputeSurfaceNormalsf(const float* h, int width, int height, float* normals,
                                               float xOffset, float yOffset, float xSize, float ySize);

/* As ComputeSurfaceNormalsf with the 6 neighbours of the grid whose cells are split along the diagonal from
 * (i+1, j) to (i, j+1). */
QV_API unsigned QV_CALL ComputeSurfaceNormalsf2(const float* h, int width, int height, float* normals,
                                                float xOffset, float yOffset, float xSize, float ySize);

/* ====================================================================================================
 * Surface drawing
 *
 * Draw a width x height grid in OpenGL immediate mode, one strip per pair of rows. `mode` is the primitive
 * given to glBegin (GL_TRIANGLE_STRIP, GL_QUAD_STRIP ...). Projection, lighting, textures and materials are
 * the host's; no GL state is changed (but see RenderSurface) or restored. GL thread. All return 0. Not
 * checked: pointers, sizes; a width, height or step below 1 draws nothing, a width or height of 1 divides by
 * zero in the placement.
 *
 * Placement: x = i*(xSize/(width-1)) + xOffset, y = j*(ySize/(height-1)) - yOffset, z = zScale*h; yOffset is
 * subtracted. The double forms place x = i/(width-1) - 0.5, y = j/(height-1) - 0.5, z = zScale*h.
 *
 * Steps: every step-th (colStep-th, rowStep-th) column and row is drawn; the last column and row always are,
 * for which one more strip follows the regular ones (of no area where the step lands on the last row).
 *
 * Per-sample arrays, sample order: normals 3 values; grey 1 value in 0..1; rgb 3 values in 0..1; tex 1 value,
 * the coordinate into the 1-D texture that the host has bound; ao 1 value in 0..1.
 *
 * Missing samples: forms marked [holes] draw no triangle that touches a sample missing by bit pattern; the
 * strip is broken and taken up again behind the hole, and each pair of vertices goes lower row first. The
 * other forms draw missing samples as heights, upper row first.
 *
 * shader: the slot number of a shader program. The named vertex attribute is looked up in it once per call; a
 * slot outside 0..39 or an attribute that the program does not have leaves the attribute out.
 * ==================================================================================================== */

/* Normals, every sample, unit frame, GL_QUAD_STRIP. Enables GL_NORMALIZE and sets the colour to grey 0.5, and
 * leaves both so. `unused` is not read. No closing strip. */
QV_API unsigned QV_CALL RenderSurface(const double* h, const double* normals, int width, int height,
                                      int unused);

/* Vertices only. */
QV_API unsigned QV_CALL RenderSurfacef(const float* h, int width, int height, int step, unsigned mode,
                                       float zScale, float xOffset, float yOffset, float xSize, float ySize);

/* Vertices only, separate steps. [holes] */
QV_API unsigned QV_CALL RenderSurfacef2(const float* h, int width, int height, int colStep, int rowStep,
                                        unsigned mode, float zScale, float xOffset, float yOffset,
                                        float xSize, float ySize);

/* Normals. */
QV_API unsigned QV_CALL RenderSurfaceWithNormalsf(const float* h, const float* normals, int width, int height,
                                                  int step, unsigned mode, float zScale, float xOffset,
                                                  float yOffset, float xSize, float ySize);

/* Normals, separate steps. */
QV_API unsigned QV_CALL RenderSurfaceWithNormalsf2(const float* h, const float* normals, int width,
                                                   int height, int colStep, int rowStep, unsigned mode,
                                                   float zScale, float xOffset, float yOffset, float xSize,
                                                   float ySize);

/* Normals, separate steps. [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithNormalsf3(const float* h, const float* normals, int width,
                                                   int height, int colStep, int rowStep, unsigned mode,
                                                   float zScale, float xOffset, float yOffset, float xSize,
                                                   float ySize);

/* Normals, and one colour (red in bits 0-7, green in 8-15, blue in 16-23) darkened by ao per vertex. [holes]
 */
QV_API unsigned QV_CALL RenderSurfaceWithNormalsf4(const float* h, const float* normals, int width,
                                                   int height, int colStep, int rowStep, unsigned mode,
                                                   float zScale, float xOffset, float yOffset, float xSize,
                                                   float ySize, int color, const float* ao);

/* Normals, and ao as the vertex attribute "ambient_occlusion" of the shader. [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithNormalsf5(const float* h, const float* normals, int width,
                                                   int height, int colStep, int rowStep, unsigned mode,
                                                   float zScale, float xOffset, float yOffset, float xSize,
                                                   float ySize, int shader, const float* ao);

/* Normals, and ao as the vertex attribute "Accessibility" of the shader. [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithNormalsWithAmbOccf(const float* h, const float* normals, int width,
                                                            int height, int colStep, int rowStep,
                                                            unsigned mode, float zScale, float xOffset,
                                                            float yOffset, float xSize, float ySize,
                                                            int shader, const float* ao);

/* Grey levels and normals, doubles, unit frame. */
QV_API unsigned QV_CALL RenderSurfaceWithColorsAndNormals(const double* h, const double* normals,
                                                          const double* grey, int width, int height, int step,
                                                          unsigned mode, double zScale);

/* Grey levels and normals. */
QV_API unsigned QV_CALL RenderSurfaceWithColorsAndNormalsf(const float* h, const float* normals,
                                                           const float* grey, int width, int height, int step,
                                                           unsigned mode, float zScale, float xOffset,
                                                           float yOffset, float xSize, float ySize);

/* RGB colours and normals, separate steps. [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithColorsAndNormalsf3(const float* h, const float* normals,
                                                            const float* rgb, int width, int height,
                                                            int colStep, int rowStep, unsigned mode,
                                                            float zScale, float xOffset, float yOffset,
                                                            float xSize, float ySize);

/* 1-D texture coordinates and normals, doubles, unit frame. */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormals(const double* h, const double* normals,
                                                           const double* tex, int width, int height, int step,
                                                           unsigned mode, double zScale);

/* 1-D texture coordinates and normals. */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf(const float* h, const float* normals,
                                                            const float* tex, int width, int height, int step,
                                                            unsigned mode, float zScale, float xOffset,
                                                            float yOffset, float xSize, float ySize);

/* 1-D texture coordinates and normals, separate steps. */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf2(const float* h, const float* normals,
                                                             const float* tex, int width, int height,
                                                             int colStep, int rowStep, unsigned mode,
                                                             float zScale, float xOffset, float yOffset,
                                                             float xSize, float ySize);

/* 1-D texture coordinates and normals, separate steps. [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf3(const float* h, const float* normals,
                                                             const float* tex, int width, int height,
                                                             int colStep, int rowStep, unsigned mode,
                                                             float zScale, float xOffset, float yOffset,
                                                             float xSize, float ySize);

/* As RenderSurfaceWithTextureAndNormalsf3; a sample above clipMax or below clipMin counts as missing too.
 * [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormalsAndClipping(const float* h, const float* normals,
                                                                      const float* tex, int width, int height,
                                                                      int colStep, int rowStep, unsigned mode,
                                                                      float zScale, float xOffset,
                                                                      float yOffset, float xSize, float ySize,
                                                                      float clipMax, float clipMin);

/* 1-D texture coordinates, normals and RGB colours (for instance ambient occlusion as colour). [holes] */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormalsAndAOColorf3(
    const float* h, const float* normals, const float* tex, const float* rgb, int width, int height,
    int colStep, int rowStep, unsigned mode, float zScale, float xOffset, float yOffset, float xSize,
    float ySize);

/* 1-D texture coordinates, normals, and ao as the vertex attribute "ambient_occlusion" of the shader. [holes]
 */
QV_API unsigned QV_CALL RenderSurfaceWithTextureAndNormalsf4(const float* h, const float* normals,
                                                             const float* tex, int width, int height,
                                                             int colStep, int rowStep, unsigned mode,
                                                             float zScale, float xOffset, float yOffset,
                                                             float xSize, float ySize, int shader,
                                                             const float* ao);

/* A flat map: 1-D texture coordinates on the plane z = zScale*zLevel, separate steps. No sample is missing.
 */
QV_API unsigned QV_CALL RenderProjectedSurfaceWithTexture(const float* tex, int width, int height,
                                                          int colStep, int rowStep, float zScale,
                                                          unsigned mode, float zLevel, float xOffset,
                                                          float yOffset, float xSize, float ySize);

/* As RenderProjectedSurfaceWithTexture, left open where h is missing. [holes] */
QV_API unsigned QV_CALL RenderProjectedSurfaceWithTexture2(const float* h, const float* tex, int width,
                                                           int height, int colStep, int rowStep, float zScale,
                                                           unsigned mode, float zLevel, float xOffset,
                                                           float yOffset, float xSize, float ySize);

/* 2-D texture coordinates i/(width-1), j/(height-1), for an image draped over the surface; separate steps. */
QV_API unsigned QV_CALL RenderSurfaceWith2DTexturef2(const float* h, int width, int height, int colStep,
                                                     int rowStep, unsigned mode, float zScale, float xOffset,
                                                     float yOffset, float xSize, float ySize);

/* ====================================================================================================
 * Lines, walls, waterfall
 *
 * Companions of a drawn surface, in immediate mode, with the placement and the steps of the surface drawing:
 * every step-th column and row, and always the last one. GL thread. All return 0. Missing samples are drawn
 * as heights. Not checked: pointers, sizes; a width, height or step below 1 draws nothing and changes no GL
 * state, a width or height of 1 divides by zero in the placement. h and tex hold width*height samples.
 * ==================================================================================================== */

/* Contour segments: `count` records (x1, y1, x2, y2) as the contour extraction makes them, drawn as lines at
 * the height level*zScale. One batch of GL_LINES, also where count < 1. */
QV_API unsigned QV_CALL RenderContourLines(const double* segments, double level, double zScale, int count);

/* As RenderContourLines, for float records. */
QV_API unsigned QV_CALL RenderContourLinesf(const float* segments, float level, float zScale, int count);

/* The four walls from the border of the surface down to the plane z = -0.005, grey (0x505050), each with one
 * outward normal, and black edges; unit frame. Uses the polygon offset, which is disabled on return. The
 * polygon modes of both faces are restored; the colour stays black. */
QV_API unsigned QV_CALL RenderSideWalls(const double* h, int width, int height, int step, double zScale);

/* As RenderSideWalls with float samples. The back wall (last row) lies at y = yBack, the front wall (row 0)
 * at yBack - ySize; the left wall at x = xOffset, the right wall at xOffset + xSize. The polygon mode stays
 * GL_FILL. */
QV_API unsigned QV_CALL RenderSideWallsf(const float* h, int width, int height, int step, float zScale,
                                         float xOffset, float yBack, float xSize, float ySize);

/* As RenderSideWallsf, separate steps. */
QV_API unsigned QV_CALL RenderSideWallsf2(const float* h, int width, int height, int colStep, int rowStep,
                                          float zScale, float xOffset, float yBack, float xSize, float ySize);

/* Separate profiles with 1-D texture coordinates (tex: 1 value per sample), unit frame; `mode` is usually
 * GL_LINE_STRIP. angle is the view's, in degrees: from 45 (included) to 315 (excluded), except strictly
 * between 135 and 225, one strip per column; otherwise, or where it is a NaN, one per row. `unused` is not
 * read. */
QV_API unsigned QV_CALL RenderWaterfallSurface(const double* h, int unused, const double* tex, int width,
                                               int height, int step, unsigned mode, double angle,
                                               double zScale);

/* As RenderWaterfallSurface with float samples and the placement of RenderSurfacef. */
QV_API unsigned QV_CALL RenderWaterfallSurfacef(const float* h, int unused, const float* tex, int width,
                                                int height, int step, unsigned mode, float angle,
                                                float zScale, float xOffset, float yOffset, float xSize,
                                                float ySize);

/* A wire grid: one GL_LINE_STRIP per visited row, then one per visited column. */
QV_API unsigned QV_CALL RenderSilhouetteLines(const float* h, int width, int height, int colStep, int rowStep,
                                              float zScale, float xOffset, float yOffset, float xSize,
                                              float ySize);

/* ====================================================================================================
 * Points and selection
 *
 * A surface as an array of points, and its triangles or samples drawn each under a name of its own
 * (glLoadName) for picking. The host sets up selection: glSelectBuffer, glRenderMode(GL_SELECT), glInitNames,
 * glPushName. Missing by value. All return 0. Not checked: pointers, sizes; a width or height below 1 does
 * nothing, one of 1 divides by zero in the placement.
 * ==================================================================================================== */

/* One point per sample: xyz holds 3*width*height values, sample order. x as RenderSurfacef places it, y =
 * yTop - (height-1-j)*ySize/(height-1), so that the last row lies at yTop; z = zScale*h, or -1e10, not
 * scaled, where the sample is missing. Any thread. */
QV_API unsigned QV_CALL CreateSurfaceXYZ(float* xyz, const float* h, int width, int height, float zScale,
                                         float xOffset, float yTop, float xSize, float ySize);

/* Two triangles per cell, each its own primitive of `mode`, unless a corner is missing. The lower one, (i,
 * j), (i+1, j), (i, j+1), has the name j*width + i; the upper one, (i+1, j), (i+1, j+1), (i, j+1), has the
 * name width*height + j*width + i. GL thread. */
QV_API unsigned QV_CALL RenderTrianglesForSelection(const float* h, int width, int height, unsigned mode,
                                                    float zScale, float xOffset, float yOffset, float xSize,
                                                    float ySize);

/* One vertex per sample that is not missing, its own primitive of `mode` with the name j*width + i. GL
 * thread. */
QV_API unsigned QV_CALL RenderPointsForSelection(const float* h, int width, int height, unsigned mode,
                                                 float zScale, float xOffset, float yOffset, float xSize,
                                                 float ySize);

/* ====================================================================================================
 * Vertex buffers and index lists
 *
 * Four parallel streams of n vertices, always in this order: vertices (3 floats), texture coordinates (1),
 * normals (3), colours (3). A flag (useVertices ...) that is 0 leaves its stream out; its pointers are not
 * read. Buffer names live in the host's variables, 0 for none. GL thread. Return 0 unless said. Where the
 * buffer functions were not loaded (InitGlew), the call does nothing. Not checked: pointers, capacities.
 * ==================================================================================================== */

/* The strips of a width x height grid as sample numbers j*width + i, one strip per pair of rows, broken at
 * samples missing by bit pattern: the same vertices, in the same order, as the drawing forms marked [holes]
 * give with steps of 1, without the closing strip. Strip s covers indices[stripStarts[s]] up to, not
 * including, indices[stripStarts[s+1]]; stripStarts[*stripCount] is *indexCount. A pair of rows without any
 * drawable sample makes an empty strip. Capacities: indices 3*width*(height-1), stripStarts
 * (height-1)*(width/2+1) + 1 values, at least 1 (also for a width or height below 1, which gives no strips).
 * Returns the number of indices, as *indexCount. Any thread. */
QV_API unsigned QV_CALL CreateIndiciesList(const float* h, int width, int height, unsigned* indices,
                                           unsigned* stripStarts, unsigned* indexCount, unsigned* stripCount);

/* Creates a buffer per stream and uploads the arrays (12*n, 4*n, 12*n and 12*n bytes, GL_STATIC_DRAW). A name
 * variable that is not 0 has its buffer deleted first: initialise the variables to 0. */
QV_API unsigned QV_CALL BuildVBOs(int n, int useVertices, int useTex, int useNormals, int useColors,
                                  const float* vertices, const float* tex, const float* normals,
                                  const float* colors, unsigned* vertexBuffer, unsigned* texBuffer,
                                  unsigned* normalBuffer, unsigned* colorBuffer);

/* Uploads as BuildVBOs into the buffers that exist. */
QV_API unsigned QV_CALL VBOBufferData(int n, int useVertices, int useTex, int useNormals, int useColors,
                                      const float* vertices, const float* tex, const float* normals,
                                      const float* colors, unsigned* vertexBuffer, unsigned* texBuffer,
                                      unsigned* normalBuffer, unsigned* colorBuffer);

/* Makes the buffers the fixed-function arrays (glVertexPointer and so on, offset and stride 0). The client
 * states are the host's to enable. The last buffer stays bound. */
QV_API unsigned QV_CALL SetPointersToVBOBuffersARB(int useVertices, int useTex, int useNormals, int useColors,
                                                   const unsigned* vertexBuffer, const unsigned* texBuffer,
                                                   const unsigned* normalBuffer, const unsigned* colorBuffer);

/* Deletes the buffers whose names are not 0, and sets the names to 0. Returns nothing. */
QV_API void QV_CALL DeleteVBOBuffers(unsigned* vertexBuffer, unsigned* texBuffer, unsigned* normalBuffer,
                                     unsigned* colorBuffer);

/* glDrawRangeElements, for hosts that load no GL functions of their own. Returns nothing. */
QV_API void QV_CALL DrawRangeElements(unsigned mode, unsigned start, unsigned end, int count, unsigned type,
                                      const void* indices);

/* Draws an index list of CreateIndiciesList without buffers: normals (always), one colour (grey, 1 value per
 * vertex, where useGrey is not 0; else rgb where useRgb is not 0), the texture coordinate where useTex is not
 * 0, and the vertex. stripStarts holds stripCount + 1 values; empty strips are skipped. `unused` is not read.
 * Returns 0, or stripCount itself where it is below 1. */
QV_API int QV_CALL RenderImmediateMode(int stripCount, const int* stripStarts, const unsigned* indices,
                                       const float* vertices, const float* normals, const float* tex,
                                       const float* rgb, const float* grey, unsigned mode, int useTex,
                                       int useRgb, int useGrey, int unused);

/* ====================================================================================================
 * Shaders
 *
 * Up to 40 GLSL programs, each of one vertex and one fragment shader, known by slot numbers 0 to 39, all free
 * at load. Nothing is printed. GL thread, after InitGlew; where the shader functions were not loaded, or with
 * a slot outside 0..39, no GL call is made and the result is that of a failure, or 0 where there is none.
 * ==================================================================================================== */

/* Reads, compiles and links the two files into a slot, whose previous objects are deleted first. Returns 0 on
 * success; 1 where a name is empty or null, the slot is none, or the vertex shader object cannot be created;
 * 2 where the fragment shader object cannot; 3 and 4 where the vertex or the fragment shader does not compile
 * (its log contains "fail", in any letter case). What was created before a failure is deleted by the next
 * ReleaseShader or InitShaders of the slot. A file that cannot be read is an empty source. Failure to link is
 * not detected. */
QV_API unsigned QV_CALL InitShaders(int slot, const char* vertexShaderFile, const char* fragmentShaderFile);

/* Deletes the objects of a slot, which is free then. Returns 0. */
QV_API unsigned QV_CALL ReleaseShader(int slot);

/* Uses the slot's program; a free slot gives fixed-function drawing. Returns 0. */
QV_API unsigned QV_CALL TurnOn(int slot);

/* Back to fixed-function drawing. Returns 0. */
QV_API unsigned QV_CALL TurnOff(void);

/* Sets an integer uniform (for instance a texture unit), looked up in the slot's program. It is set in the
 * program that is in use: call TurnOn(slot) first. Returns its location, or -1, with nothing set, where the
 * program does not use the name. A null name is an empty one. */
QV_API int QV_CALL SetupUniformVariable(int slot, int value, const char* uniformName);

/* ====================================================================================================
 * Stencil shadows
 *
 * Shadow volumes of a surface. The host builds the structure once per grid, decides which triangles face the
 * light (their lit flags), prepares and clears the stencil buffer, and draws the passes around DoShadowPass.
 * Not checked: pointers.
 * ==================================================================================================== */

/* Writes the vertices and neighbours of the triangles of a width x height grid into s->triangles, which holds
 * 2*(width-1)*(height-1) records: per cell, row by row, first (k, k+1, k+width+1), then (k, k+width+1,
 * k+width), with k = j*width + i. Neighbours are record numbers, across the edges a-b, b-c and c-a; -1 at the
 * border. Planes, lit flags and the two counters are not written. `unused` is not read. Returns height - 1;
 * with a width or height below 2 there are no records. Any thread. */
QV_API int QV_CALL CreateShadowStructure(QV_ShadowStructure* s, int unused, int width, int height);

/* Draws the shadow volumes: for every edge between a lit triangle and one that is not, a GL_TRIANGLE_STRIP
 * from the edge to the edge moved away from the light by sqrt(3) times its distance from it. Edges at the
 * border, and edges with a vertex whose z is missing by value, cast none. light holds x, y, z; vertices 3
 * floats per vertex; `triangles` points to the QV_ShadowTriangle records. Returns 0, or triangleCount itself
 * where it is below 1. GL thread. */
QV_API int QV_CALL DoShadowPass(const float* light, int triangleCount, const float* vertices,
                                const unsigned* triangles);

/* glActiveStencilFaceEXT (GL_EXT_stencil_two_side); nothing where it was not loaded. Returns nothing. GL
 * thread. */
QV_API void QV_CALL SetActiveStencilFace(unsigned face);

/* Two-sided stencil operations (GL_ATI_separate_stencil): where the depth test passes, back faces decrement,
 * front faces increment, both wrapping; the stencil test always passes. Nothing where the functions were not
 * loaded. Returns nothing. GL thread. */
QV_API void QV_CALL SetupATIStencilShadows(void);

/* ====================================================================================================
 * Ambient occlusion, checkerboard
 * ==================================================================================================== */

/* A cheap estimate on the grid: every sample is darkened by the samples of the 7 x 7 window around it that
 * are higher, each by half its height difference over its distance in samples. ao holds width*height values:
 * 1 minus the sum, or 0.2 where the sum is above 0.8. Heights are used as they stand, so the result depends
 * on their unit: scale them first. A missing neighbour is never higher; a missing sample gets 0.2 where any
 * sample of its window was measured. `unused` is not read. Returns 0. Any thread. Not checked: pointers. */
QV_API unsigned QV_CALL ComputeAmbientOcclusionArray(int unused, int width, int height, const float* h,
                                                     float* ao);

/* Ambient occlusion of a triangle mesh: per vertex the share of the hemisphere about its normal, weighted by
 * the cosine, that is not hidden by the mesh, in 0..1 (ao: vertexCount values), and the mean direction of
 * what is not hidden, of unit length (directions: 3*vertexCount values). vertices and normals hold 3 floats
 * per vertex. The connectivity arguments are the number of triangles, passed as a pointer-sized number below
 * 2^31, and a pointer to 3 unsigned vertex numbers per triangle, in either order (in 32-bit processes, and on
 * Windows, the number comes first). With anything else, nulls included, or with a vertex number out of range,
 * occlusion is estimated from the vertices and normals alone. Deterministic, with 512 rays per vertex: of the
 * order of a minute for a million triangles. Returns 0, or 1 where the generator cannot start; where memory
 * is short, 0 without results. Any thread. */
QV_API unsigned QV_CALL ComputeAmbientOcclusionData(const float* vertices, const float* normals,
                                                    int vertexCount, const void* connectivity1,
                                                    const void* connectivity2, float* ao, float* directions);

/* Paints a checkerboard into the background of an image. image holds width*height pixels of 3 bytes (red,
 * green, blue), mask width*height bytes: pixels whose mask byte is 255 are painted, all others stay. The
 * squares are 10 pixels wide and high, those of the first row and column 9. The square at the first pixel has
 * color2, its neighbours color1 (red in bits 0-7, green in 8-15, blue in 16-23). Returns 0. Any thread. Not
 * checked: pointers; a width or height below 1 does nothing. */
QV_API unsigned QV_CALL CreateCheckerboardBackground(unsigned char* image, const unsigned char* mask,
                                                     int width, int height, unsigned color1, unsigned color2);

#ifdef __cplusplus
}
#endif

#endif /* QV_3D_H */
