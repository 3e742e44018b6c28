// Reads a grid from standard input (two ints: width, height; one double: level; then doubles: x, y, heights)
// and writes the segments of ComputeContours to standard output, as doubles.
#include <cstdio>
#include <vector>

#include "exports/QV_3D.h"

namespace {

template <class T>
std::vector<T> Read(std::size_t count) {
  std::vector<T> values(count);
  if (std::fread(values.data(), sizeof(T), count, stdin) != count) values.clear();
  return values;
}

}  // namespace

int main() {
  const auto size = Read<int>(2);
  if (size.empty() || size[0] < 2 || size[1] < 2) return 1;
  const auto width = static_cast<std::size_t>(size[0]), height = static_cast<std::size_t>(size[1]);
  const auto level = Read<double>(1), x = Read<double>(width), y = Read<double>(height);
  const auto heights = Read<double>(width * height);
  if (heights.empty()) return 1;
  std::vector<double> segments(16 * (width - 1) * (height - 1));
  const int count =
      ComputeContours(heights.data(), size[0], size[1], x.data(), y.data(), level[0], segments.data());
  const auto values = 4 * static_cast<std::size_t>(count);
  return std::fwrite(segments.data(), sizeof(double), values, stdout) == values ? 0 : 1;
}
