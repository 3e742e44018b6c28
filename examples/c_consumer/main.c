/* Levels a few samples by their least-squares plane and measures what is left. */
#include <QV_3D.h>
#include <stdio.h>

int main(void) {
  float points[4][3] = {{0, 0, 3.1F}, {2, 0, 3.9F}, {0, 2, 3.4F}, {2, 2, 4.6F}}; /* x, y, z */
  float heights[4], a, b, c, sa, sq;
  int i;
  if (FitLSPlane(points[0], 4, &a, &b, &c) != 1) return 1;
  for (i = 0; i < 4; ++i) heights[i] = points[i][2] - (a * points[i][0] + b * points[i][1] + c);
  if (ComputeAverage(heights, 4, &sa) != 0 || ComputeRMS(heights, 4, &sq) != 0) return 1;
  printf("plane z = %.4g*x + %.4g*y + %.4g\nSa %.4g, Sq %.4g\n", a, b, c, sa, sq);
  return 0;
}
