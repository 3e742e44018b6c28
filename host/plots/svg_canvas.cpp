#include <fmt/format.h>
#include <iterator>

#include "plots/canvas.h"

namespace qv3d {
namespace {

std::string Hex(Colour c) {
  return fmt::format("#{:02x}{:02x}{:02x}", c[0], c[1], c[2]);
}

const char* Anchor(Align align) {
  return align == Align::kLeft ? "start" : align == Align::kCentre ? "middle" : "end";
}

/// Of the font's size: a text's exact width is known only to the program that shows the file.
constexpr double kMeanLetter = 0.62;

}  // namespace

std::string XmlEscaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

SvgCanvas::SvgCanvas(int width, int height)
    : text_(fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" "
                        "viewBox=\"0 0 {0} {1}\" font-family=\"DejaVu Sans, sans-serif\">\n",
                        width, height)) {}

void SvgCanvas::Polyline(const std::vector<Spot>& points, double width, Colour colour) {
  if (points.empty()) return;
  const auto out = std::back_inserter(text_);
  fmt::format_to(out,
                 "<polyline fill=\"none\" stroke=\"{}\" stroke-width=\"{:g}\" stroke-linecap=\"round\" "
                 "stroke-linejoin=\"round\" points=\"",
                 Hex(colour), width);
  for (const Spot& p : points) fmt::format_to(out, "{:.2f},{:.2f} ", p.x, p.y);
  // A single point shows only as a line of no length.
  if (points.size() == 1) fmt::format_to(out, "{:.2f},{:.2f} ", points[0].x, points[0].y);
  text_.back() = '"';
  text_ += "/>\n";
}

void SvgCanvas::Fill(double x, double y, double width, double height, Colour colour) {
  fmt::format_to(std::back_inserter(text_),
                 "<rect x=\"{:g}\" y=\"{:g}\" width=\"{:g}\" height=\"{:g}\" fill=\"{}\"/>\n", x, y, width,
                 height, Hex(colour));
}

void SvgCanvas::Text(double x, double y, const std::string& text, int size, Colour colour, Align align) {
  fmt::format_to(std::back_inserter(text_),
                 "<text x=\"{:g}\" y=\"{:g}\" font-size=\"{}\" fill=\"{}\" text-anchor=\"{}\">{}</text>\n", x,
                 y, size, Hex(colour), Anchor(align), XmlEscaped(text));
}

double SvgCanvas::TextWidth(const std::string& text, int size) {
  double letters = 0;
  for (const char c : text) letters += (static_cast<unsigned char>(c) & 0xC0) == 0x80 ? 0 : 1;
  return kMeanLetter * size * letters;
}

std::string SvgCanvas::Finish() {
  text_ += "</svg>\n";
  return std::move(text_);
}

}  // namespace qv3d
