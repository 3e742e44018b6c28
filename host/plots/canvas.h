// What plots are drawn on: an image, or the text of an SVG file. Positions are in pixels from the top left
// corner; whole numbers are the corners of pixels.
#pragma once

#include <string>
#include <vector>

#include "plots/image.h"
#include "plots/text.h"

namespace qv3d {

struct Spot {
  double x, y;
};

class Canvas {
 public:
  Canvas() = default;
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  virtual ~Canvas() = default;

  /// A line through all points, with round ends and joints; one point is a dot.
  virtual void Polyline(const std::vector<Spot>& points, double width, Colour colour) = 0;
  virtual void Fill(double x, double y, double width, double height, Colour colour) = 0;
  /// (x, y) is the left end, middle or right end of the base line.
  virtual void Text(double x, double y, const std::string& text, int size, Colour colour,
                    Align align = Align::kLeft) = 0;
  /// Pixels that the text takes.
  virtual double TextWidth(const std::string& text, int size) = 0;
};

/// Draws antialiased lines and text into an image.
class ImageCanvas : public Canvas {
 public:
  explicit ImageCanvas(Image& image) : image_(image) {}

  void Polyline(const std::vector<Spot>& points, double width, Colour colour) override;
  void Fill(double x, double y, double width, double height, Colour colour) override;
  void Text(double x, double y, const std::string& text, int size, Colour colour, Align align) override;
  double TextWidth(const std::string& text, int size) override { return font_.Width(text, size); }

  bool HasFont() const { return font_.IsAvailable(); }

 private:
  Image& image_;
  Font font_;
};

/// Collects the elements of an SVG picture.
class SvgCanvas : public Canvas {
 public:
  SvgCanvas(int width, int height);

  void Polyline(const std::vector<Spot>& points, double width, Colour colour) override;
  void Fill(double x, double y, double width, double height, Colour colour) override;
  void Text(double x, double y, const std::string& text, int size, Colour colour, Align align) override;
  double TextWidth(const std::string& text, int size) override;

  /// The whole file. Nothing may be drawn afterwards.
  std::string Finish();

 private:
  std::string text_;
};

/// Text as it stands in XML.
std::string XmlEscaped(const std::string& text);

}  // namespace qv3d
