// Levels a few samples by their least-squares plane and measures what is left.
#include <QV_3D.h>
#include <cstdio>
#include <vector>

struct Point {
  float x, y, z;
};

int main() {
  const std::vector<Point> points = {{0, 0, 3.1F}, {2, 0, 3.9F}, {0, 2, 3.4F}, {2, 2, 4.6F}};
  float a = 0, b = 0, c = 0, sa = 0, sq = 0;
  if (FitLSPlane(&points[0].x, static_cast<int>(points.size()), &a, &b, &c) != 1) return 1;
  std::vector<float> heights;
  for (const Point& p : points) heights.push_back(p.z - (a * p.x + b * p.y + c));
  if (ComputeAverage(heights.data(), 4, &sa) != 0 || ComputeRMS(heights.data(), 4, &sq) != 0) return 1;
  std::printf("plane z = %.4g*x + %.4g*y + %.4g\nSa %.4g, Sq %.4g\n", a, b, c, sa, sq);
}
