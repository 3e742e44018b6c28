#include <algorithm>
#include <cmath>

#include "plots/canvas.h"

namespace qv3d {
namespace {

/// How much of each pixel a line covers: the most of all its pieces, so that joints are not drawn twice.
class Coverage {
 public:
  Coverage(const std::vector<Spot>& points, double reach, int width, int height) {
    double left = width, right = 0, top = height, bottom = 0;
    for (const Spot& p : points) {
      left = std::min(left, p.x), right = std::max(right, p.x);
      top = std::min(top, p.y), bottom = std::max(bottom, p.y);
    }
    left_ = std::clamp(static_cast<int>(std::floor(left - reach)), 0, width);
    top_ = std::clamp(static_cast<int>(std::floor(top - reach)), 0, height);
    width_ = std::clamp(static_cast<int>(std::ceil(right + reach)), left_, width) - left_;
    height_ = std::clamp(static_cast<int>(std::ceil(bottom + reach)), top_, height) - top_;
    shares_.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
  }

  void AddPiece(const Spot& a, const Spot& b, double half) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const bool isSteep = std::abs(dy) > std::abs(dx);
    // Along the longer side, only the pixels near the line.
    const double reach = (half + 1) * 1.5;
    const double from = isSteep ? std::min(a.y, b.y) : std::min(a.x, b.x);
    const double to = isSteep ? std::max(a.y, b.y) : std::max(a.x, b.x);
    const double slope = isSteep ? (dy == 0 ? 0 : dx / dy) : (dx == 0 ? 0 : dy / dx);
    const int start = isSteep ? top_ : left_, end = isSteep ? top_ + height_ : left_ + width_;
    const int first = std::clamp(static_cast<int>(std::floor(from - reach)), start, end);
    const int last = std::clamp(static_cast<int>(std::ceil(to + reach)), start, end);
    for (int i = first; i < last; ++i) {
      const double along = std::clamp(i + 0.5, from, to);
      const double across = isSteep ? a.x + (along - a.y) * slope : a.y + (along - a.x) * slope;
      AddAcross(i, across, reach, isSteep, a, b, half);
    }
  }

  void BlendInto(Image& image, Colour colour) const {
    std::size_t k = 0;
    for (int y = top_; y < top_ + height_; ++y) {
      for (int x = left_; x < left_ + width_; ++x, ++k) {
        if (shares_[k] > 0) image.Blend(x, y, colour, double{shares_[k]});
      }
    }
  }

 private:
  void AddAcross(int along, double across, double reach, bool isSteep, const Spot& a, const Spot& b,
                 double half) {
    const int start = isSteep ? left_ : top_, end = isSteep ? left_ + width_ : top_ + height_;
    const int first = std::clamp(static_cast<int>(std::floor(across - reach)), start, end);
    const int last = std::clamp(static_cast<int>(std::ceil(across + reach)), start, end);
    for (int j = first; j < last; ++j) {
      const int x = isSteep ? j : along, y = isSteep ? along : j;
      Add(x, y, half + 0.5 - Distance({x + 0.5, y + 0.5}, a, b));
    }
  }

  static double Distance(const Spot& p, const Spot& a, const Spot& b) {
    const double dx = b.x - a.x, dy = b.y - a.y, square = dx * dx + dy * dy;
    const double t = square == 0 ? 0 : std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0, 1.0);
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
  }

  void Add(int x, int y, double share) {
    float& kept = shares_[static_cast<std::size_t>(y - top_) * static_cast<std::size_t>(width_) +
                          static_cast<std::size_t>(x - left_)];
    kept = std::max(kept, static_cast<float>(std::clamp(share, 0.0, 1.0)));
  }

  int left_, top_, width_, height_;
  std::vector<float> shares_;
};

}  // namespace

void ImageCanvas::Polyline(const std::vector<Spot>& points, double width, Colour colour) {
  if (points.empty()) return;
  Coverage coverage(points, width / 2 + 1, image_.width(), image_.height());
  if (points.size() == 1) coverage.AddPiece(points[0], points[0], width / 2);
  for (std::size_t i = 1; i < points.size(); ++i) coverage.AddPiece(points[i - 1], points[i], width / 2);
  coverage.BlendInto(image_, colour);
}

void ImageCanvas::Fill(double x, double y, double width, double height, Colour colour) {
  const int left = static_cast<int>(std::lround(x)), top = static_cast<int>(std::lround(y));
  image_.FillRectangle(left, top, static_cast<int>(std::lround(x + width)) - left,
                       static_cast<int>(std::lround(y + height)) - top, colour);
}

void ImageCanvas::Text(double x, double y, const std::string& text, int size, Colour colour, Align align) {
  font_.Draw(image_, static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)), text, size, colour,
             align);
}

}  // namespace qv3d
