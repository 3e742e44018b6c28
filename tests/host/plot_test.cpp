// Line plots, and what they are drawn on.
#include "plots/plot.h"

#include <cmath>
#include <gtest/gtest.h>

#include "plots/style.h"
#include "plots/ticks.h"

namespace qv3d {
namespace {

std::vector<std::string> Labels(const std::vector<Tick>& ticks) {
  std::vector<std::string> labels;
  for (const Tick& tick : ticks) labels.push_back(tick.label);
  return labels;
}

using Strings = std::vector<std::string>;

TEST(Ticks, Linear_AreRoundNumbersInside) {
  EXPECT_EQ(Labels(LinearTicks(-0.2, 0.21, 5)), (Strings{"\u22120.2", "\u22120.1", "0", "0.1", "0.2"}));
  EXPECT_EQ(Labels(LinearTicks(0, 1, 5)), (Strings{"0", "0.2", "0.4", "0.6", "0.8", "1"}));
  EXPECT_TRUE(LinearTicks(1, 1, 5).empty());
}

TEST(Ticks, Logarithmic_AreDecadesAndTheirParts) {
  EXPECT_EQ(Labels(LogarithmicTicks(0.1, 10, 10)), (Strings{"0.1", "0.2", "0.5", "1", "2", "5", "10"}));
  EXPECT_EQ(Labels(LogarithmicTicks(1e-6, 1e-2, 5)), (Strings{"10⁻⁶", "10⁻⁵", "0.0001", "0.001", "0.01"}));
  EXPECT_LE(LogarithmicTicks(1e-30, 1e30, 6).size(), 8u);
  EXPECT_EQ(Labels(LogarithmicTicks(2, 4, 4)), Labels(LinearTicks(2, 4, 4)));
}

TEST(Ticks, Labels_HaveATrueMinusAndRaisedPowers) {
  EXPECT_EQ(TickLabel(-2.5), "\u22122.5");
  EXPECT_EQ(TickLabel(2e-7), "2·10⁻⁷");
  EXPECT_EQ(TickLabel(-1e12), "\u221210¹²");
  EXPECT_EQ(TickLabel(-0.0), "0");
}

double Ink(const Image& image) {
  double sum = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) sum += (255 - image.Pixel(x, y)[0]) / 255.0;
  }
  return sum;
}

constexpr Colour kBlack{0, 0, 0};

TEST(ImageCanvas, Line_CoversItsLengthTimesItsWidthInEveryDirection) {
  for (int degrees = 0; degrees < 360; degrees += 15) {
    Image image(200, 200);
    ImageCanvas canvas(image);
    const double a = degrees * 3.14159265358979 / 180;
    canvas.Polyline(
        {{100 - 80 * std::cos(a), 100 - 80 * std::sin(a)}, {100 + 80 * std::cos(a), 100 + 80 * std::sin(a)}},
        4, kBlack);
    EXPECT_NEAR(Ink(image), 160 * 4 + 3.14159 * 4, 14) << degrees;
  }
}

TEST(ImageCanvas, Joints_AreNotDrawnTwice) {
  Image once(100, 40), often(100, 40);
  ImageCanvas(once).Polyline({{10, 20.3}, {90, 20.3}}, 2, kBlack);
  std::vector<Spot> points;
  for (int x = 10; x <= 90; ++x) points.push_back({1.0 * x, 20.3});
  ImageCanvas(often).Polyline(points, 2, kBlack);
  EXPECT_EQ(once.bytes(), often.bytes());
}

TEST(ImageCanvas, OnePoint_IsADotAndOutsideNothingHappens) {
  Image image(40, 40);
  ImageCanvas canvas(image);
  canvas.Polyline({{20, 20}}, 6, kBlack);
  EXPECT_NEAR(Ink(image), 3.14159 * 9, 2);
  const double before = Ink(image);
  canvas.Polyline({{-500, -20}, {-100, 900}, {-50, 20}}, 3, kBlack);
  canvas.Polyline({}, 3, kBlack);
  EXPECT_EQ(Ink(image), before);
}

Plot Waves() {
  Plot plot;
  plot.title = "a < b & c";
  plot.x.name = "x / mm";
  plot.y.name = "height / µm";
  plot.curves.resize(2);
  for (int i = 0; i < 100; ++i) {
    for (std::size_t c = 0; c < 2; ++c) {
      plot.curves[c].x.push_back(i * 0.1);
      plot.curves[c].y.push_back(std::sin(i * 0.1 * (c + 1.0)));
    }
  }
  plot.curves[0].name = "first";
  plot.curves[1].name = "second";
  return plot;
}

int Count(const std::string& text, const std::string& what) {
  int count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST(Plot, Svg_HasTitleAxesLegendAndCurves) {
  const std::string svg = SvgOf(Waves());
  for (const char* text : {"a &lt; b &amp; c", ">x / mm<", ">height / µm<", ">first<", ">second<", ">0.5<"})
    EXPECT_NE(svg.find(text), std::string::npos) << text;
  // Two curves and two pieces of line in the legend.
  EXPECT_EQ(Count(svg, "<polyline"), 4);
  EXPECT_EQ(Count(svg, "<svg"), Count(svg, "</svg>"));
}

TEST(Plot, MissingSamples_AreGaps) {
  Plot plot = Waves();
  plot.curves.pop_back();
  EXPECT_EQ(Count(SvgOf(plot), "<polyline"), 1);
  plot.curves[0].y[0] = plot.curves[0].y[40] = plot.curves[0].y[41] = std::nan("");
  plot.curves[0].y[43] = HUGE_VAL;
  EXPECT_EQ(Count(SvgOf(plot), "<polyline"), 3);
}

TEST(Plot, LogarithmicAxis_LeavesOutWhatIsNotPositive) {
  Plot plot;
  plot.x.logarithmic = plot.y.logarithmic = true;
  plot.curves.push_back({"", {0, 1, 10, 100, 1000}, {1, 1, -1, 100, 10000}});
  const std::string svg = SvgOf(plot);
  EXPECT_EQ(Count(svg, "<polyline"), 2);
  EXPECT_NE(svg.find(">1000<"), std::string::npos);
}

TEST(Plot, NothingOrOneValue_IsDrawnAllTheSame) {
  for (const std::vector<double>& values : {std::vector<double>{}, {5}, {0, 0}, {std::nan("")}}) {
    Plot plot;
    plot.curves.push_back({"", values, values});
    const std::string svg = SvgOf(plot);
    EXPECT_EQ(svg.find("nan"), std::string::npos);
    EXPECT_EQ(svg.find("inf"), std::string::npos);
  }
}

TEST(Plot, Png_ShowsTheCurveWhereItIs) {
  Plot plot;
  plot.y.low = 0;
  plot.y.high = 2;
  plot.curves.push_back({"", {0, 1}, {1, 1}});
  Image image(plot.width, plot.height, kPaper);
  ImageCanvas canvas(image);
  DrawPlot(canvas, plot);
  // In the middle column the only pixels of the curve's colour lie in the middle of the frame.
  int top = -1, bottom = -1, row = -1;
  for (int y = 0; y < image.height(); ++y) {
    const std::uint8_t* const p = image.Pixel(plot.width / 2 + 31, y);
    const Colour c{p[0], p[1], p[2]};
    if (c == kQuiet && top < 0) top = y;
    if (c == kQuiet) bottom = y;
    if (c == kCurveColours[0]) row = y;
  }
  EXPECT_NEAR(row, (top + bottom) / 2.0, 1.5);
}

}  // namespace
}  // namespace qv3d
