#include "files/contour_files.h"

#include <cmath>
#include <fmt/format.h>
#include <iterator>

#include "drawing/colour_map.h"
#include "plots/canvas.h"

namespace qv3d {
namespace {

using Out = std::back_insert_iterator<std::string>;

/// Colours that every program has, by number.
constexpr int kDxfColours = 6;

std::string LayerName(std::size_t level) {
  // Letters, digits, $, - and _ are all that the format allows.
  return fmt::format("LEVEL_{:02}", level + 1);
}

void DxfHeader(Out out, const ContourSheet& sheet) {
  double low = 0, high = 0;
  if (!sheet.levels.empty()) low = sheet.levels.front().height, high = sheet.levels.back().height;
  fmt::format_to(out, "999\n{}, lengths in {}\n", sheet.title, sheet.unit);
  for (std::size_t k = 0; k < sheet.levels.size(); ++k)
    fmt::format_to(out, "999\n{} lies at {}\n", LayerName(k), sheet.levels[k].height);
  fmt::format_to(out, "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n");
  fmt::format_to(out, "9\n$EXTMIN\n10\n{:.9g}\n20\n{:.9g}\n30\n{:.9g}\n", sheet.left, sheet.bottom, low);
  fmt::format_to(out, "9\n$EXTMAX\n10\n{:.9g}\n20\n{:.9g}\n30\n{:.9g}\n", sheet.right, sheet.top, high);
  fmt::format_to(out, "0\nENDSEC\n");
}

void DxfTables(Out out, const ContourSheet& sheet) {
  fmt::format_to(out,
                 "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLTYPE\n70\n1\n0\nLTYPE\n2\nCONTINUOUS\n70\n0\n3\nSolid "
                 "line\n72\n65\n73\n0\n40\n0.0\n0\nENDTAB\n");
  fmt::format_to(out, "0\nTABLE\n2\nLAYER\n70\n{}\n", sheet.levels.size());
  for (std::size_t k = 0; k < sheet.levels.size(); ++k) {
    fmt::format_to(out, "0\nLAYER\n2\n{}\n70\n0\n62\n{}\n6\nCONTINUOUS\n", LayerName(k), 1 + k % kDxfColours);
  }
  fmt::format_to(out, "0\nENDTAB\n0\nENDSEC\n");
}

void DxfLine(Out out, const ContourLine& line, const std::string& layer, float height) {
  fmt::format_to(out, "0\nPOLYLINE\n8\n{}\n66\n1\n10\n0.0\n20\n0.0\n30\n{:.9g}\n70\n{}\n", layer, height,
                 line.closed ? 1 : 0);
  for (const auto& [x, y] : line.points) {
    fmt::format_to(out, "0\nVERTEX\n8\n{}\n10\n{:.9g}\n20\n{:.9g}\n30\n{:.9g}\n", layer, x, y, height);
  }
  fmt::format_to(out, "0\nSEQEND\n8\n{}\n", layer);
}

}  // namespace

std::string ContourSvg(const ContourSheet& sheet) {
  constexpr int kLongerSide = 1000;
  constexpr double kLineWidth = 1.2;
  const double width = sheet.right - sheet.left, height = sheet.top - sheet.bottom;
  const double scale = kLongerSide / std::max(width, height);
  std::string text = fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{:.6g}\" height=\"{:.6g}\" "
      "viewBox=\"{:.9g} {:.9g} {:.9g} {:.9g}\">\n"
      "<title>{}</title>\n<desc>Contour lines; lengths in {}, y upwards</desc>\n"
      "<g transform=\"scale(1,-1)\" fill=\"none\" stroke-width=\"{:.6g}\" stroke-linejoin=\"round\">\n",
      width * scale, height * scale, sheet.left, -sheet.top, width, height, XmlEscaped(sheet.title),
      sheet.unit, kLineWidth / scale);
  const Out out = std::back_inserter(text);
  for (std::size_t k = 0; k < sheet.levels.size(); ++k) {
    const ContourLevel& level = sheet.levels[k];
    // The lightest colours do not show on paper.
    const Colour c =
        ColourAt(0.8 * (static_cast<double>(k) + 0.5) / static_cast<double>(sheet.levels.size()));
    fmt::format_to(out, "<g id=\"level-{}\" data-height=\"{}\" stroke=\"#{:02x}{:02x}{:02x}\">\n", k + 1,
                   level.height, c[0], c[1], c[2]);
    for (const ContourLine& line : level.lines) {
      const char* command = "M";
      text += "<path d=\"";
      for (const auto& [x, y] : line.points) {
        fmt::format_to(out, "{}{:.9g} {:.9g}", command, x, y);
        command = "L";
      }
      text += line.closed ? "Z\"/>\n" : "\"/>\n";
    }
    text += "</g>\n";
  }
  return text + "</g>\n</svg>\n";
}

std::string ContourDxf(const ContourSheet& sheet) {
  std::string text;
  const Out out = std::back_inserter(text);
  DxfHeader(out, sheet);
  DxfTables(out, sheet);
  text += "0\nSECTION\n2\nENTITIES\n";
  for (std::size_t k = 0; k < sheet.levels.size(); ++k) {
    for (const ContourLine& line : sheet.levels[k].lines)
      DxfLine(out, line, LayerName(k), sheet.levels[k].height);
  }
  return text + "0\nENDSEC\n0\nEOF\n";
}

std::string ContourCsv(const ContourSheet& sheet) {
  std::string text = fmt::format("# height, x1, y1, x2, y2 in {}\n", sheet.unit);
  const Out out = std::back_inserter(text);
  for (const ContourLevel& level : sheet.levels) {
    const std::vector<float>& s = level.segments;
    for (std::size_t k = 0; k + 3 < s.size(); k += 4)
      fmt::format_to(out, "{},{},{},{},{}\n", level.height, s[k], s[k + 1], s[k + 2], s[k + 3]);
  }
  return text;
}

}  // namespace qv3d
