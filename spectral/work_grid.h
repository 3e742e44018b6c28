// The complex grid that the spectral exports work in, and the preparation that they share.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace qv::spectral {

/// The size itself when it is a power of two, else the next one; 0 when that is 2^31, which is no int.
int PaddedSize(int size);

/// Rows of samples, reached through pointers. All rows lie in one block, with room behind each so that
/// vectors may pass the last column, and so that the samples of a column do not all fall on the same lines of
/// the cache.
class Rows {
 public:
  /// False where memory cannot be had.
  bool AllocatePointers(int rows);
  /// The samples have no values yet.
  bool AllocateSamples(int rows, int columns);

  /// Makes samples 0, those behind the last column too.
  void Clear(std::ptrdiff_t row) const;
  void Clear() const;

  float* operator[](std::ptrdiff_t row) const { return pointers_[static_cast<std::size_t>(row)]; }
  float* const* pointers() const { return pointers_.get(); }

 private:
  struct Free {
    void operator()(void* memory) const { std::free(memory); }
  };
  std::unique_ptr<float*[], Free> pointers_;
  std::unique_ptr<float[], Free> samples_;
  std::size_t count_ = 0, pitch_ = 0;
};

struct WorkGrid {
  int rows = 0, columns = 0;
  Rows real, imaginary;

  /// Zeros. 0, or which allocation failed: 2 the row pointers of the real part, 3 its rows, 4 and 5 the same
  /// of the imaginary part.
  unsigned Allocate(int rowCount, int columnCount);
  /// As Allocate, but the real part is without values: for who clears each row right before filling it, while
  /// it stays in the cache.
  unsigned AllocateWithoutReal(int rowCount, int columnCount);
  void Transform(short direction) const;
};

/// Where a height map lies in its padded grid: in the middle, towards the first row and column by half a
/// sample when it cannot.
struct Placement {
  int width, height, rowOffset, columnOffset;
};

/// Heights without their mean in the middle of a padded grid of zeros. Missing samples are not looked for.
struct PreparedGrid {
  WorkGrid grid;
  Placement place = {};

  /// A status as of WorkGrid::Allocate. Sizes must be at least 1.
  unsigned Prepare(const float* heights, int width, int height);
};

/// Calls visit(source row, source column, output index, count) for every run of samples that the crop of the
/// grid takes from consecutive places. With shifted, the grid is first rotated by half its size in both
/// directions, so that frequency (or lag) zero comes to the middle.
template <class Visit>
void ForEachRunOfCrop(const WorkGrid& grid, const Placement& place, bool shifted, Visit visit) {
  const int halfRows = shifted ? grid.rows / 2 : 0, halfColumns = shifted ? grid.columns / 2 : 0;
  const auto rotated = [](int at, int half) { return at < half ? at + half : at - half; };
  const int begin = place.columnOffset, end = place.columnOffset + place.width;
  const int middle = halfColumns < begin ? begin : halfColumns < end ? halfColumns : end;
  for (int r = 0; r < place.height; ++r) {
    const int row = rotated(r + place.rowOffset, halfRows);
    const std::ptrdiff_t out = static_cast<std::ptrdiff_t>(r) * place.width;
    if (middle > begin) visit(row, rotated(begin, halfColumns), out, middle - begin);
    if (end > middle) visit(row, rotated(middle, halfColumns), out + (middle - begin), end - middle);
  }
}

}  // namespace qv::spectral
