#include "surface_report.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

#include "analysis/bearing.h"
#include "analysis/contour_map.h"
#include "analysis/correlation.h"
#include "analysis/hole_fill.h"
#include "analysis/section.h"
#include "drawing/picture.h"
#include "failure.h"
#include "plots/plot.h"
#include "plots/section_plot.h"
#include "plots/spectrum_picture.h"
#include "plots/style.h"
#include "units.h"

namespace qv3d {
namespace {

/// Of pictures that stand side by side: smaller, so that their text is not.
constexpr int kHalfWidth = 800, kHalfHeight = 600;
constexpr int kSectionWidth = 1100, kSectionHeight = 500;
constexpr int kClasses = 100, kBearingSteps = 400, kContours = 8;
constexpr double kDecades = 4;

std::string Extent(double x, double y, const std::string& fileUnit) {
  const Unit unit = HandyUnit(fileUnit, std::max(x, y));
  return fmt::format("{:.4g} × {:.4g} {}", x * unit.factor, y * unit.factor, unit.name);
}

std::string Share(std::size_t missing, const HeightMap& map) {
  return fmt::format("{} ({:.2f} %)", missing,
                     100 * static_cast<double>(missing) / static_cast<double>(map.heights.size()));
}

/// The rows of a grid; `what` tells two of them apart.
void AddGridRows(std::vector<TableRow>& rows, const HeightMap& m, std::size_t missing,
                 const std::string& unit, const char* what) {
  rows.push_back({fmt::format("Samples{}", what), fmt::format("{} × {}", m.width, m.height), ""});
  rows.push_back({fmt::format("Sample spacing{}", what), Extent(m.SpacingX(), m.SpacingY(), unit), ""});
  rows.push_back({fmt::format("Extent{}", what), Extent(m.xSize, m.ySize, unit), ""});
  rows.push_back({fmt::format("Missing samples{}", what), Share(missing, m), ""});
}

std::vector<TableRow> FactsOf(const SurfaceReport& r) {
  const std::string& unit = r.import.unit;
  std::vector<TableRow> rows = {
      {"File", XmlEscaped(r.import.file.filename().string()), ""},
      {"Format", XmlEscaped(r.loaded.fromMesh ? r.loaded.prepared.check.format : r.loaded.file.kind), ""}};
  if (r.loaded.fromMesh) {
    const Bounds& b = r.loaded.mesh.bounds;
    const Unit height = HandyUnit(unit, b.Extent(2));
    rows.push_back({"Mesh", fmt::format("{} triangles", r.loaded.mesh.triangles), ""});
    rows.push_back({"Mesh, extent", Extent(b.Extent(0), b.Extent(1), unit), ""});
    rows.push_back({"Mesh, height", FormatLength(b.Extent(2), height), ""});
  }
  const HeightMap &in = r.loaded.map, &out = r.state.map;
  const std::size_t missing = CountMissing(out);
  const bool same = in.width == out.width && in.height == out.height && missing == r.loaded.missing;
  AddGridRows(rows, in, r.loaded.missing, unit, same ? "" : ", as read");
  if (!same) AddGridRows(rows, out, missing, unit, ", evaluated");
  return rows;
}

/// The numbers of the surface; those that need every sample come from `whole`.
std::vector<TableRow> NumbersOf(const SurfaceReport& r, const HeightMap& whole) {
  const std::string& unit = r.import.unit;
  std::vector<TableRow> rows = RowsOf(Measure(r.state.map), unit);
  rows.push_back({"RMS slope",
                  fmt::format("{:.4g}°", std::atan(RmsSlope(r.state.map)) * 180 / std::numbers::pi),
                  "between neighbouring samples"});
  try {
    const CorrelationLength c = LengthOfCorrelation(AutocorrelationOf(whole), kCorrelationThreshold);
    rows.push_back({"Sal", c.fastest > 0 ? FormatLength(c.fastest, HandyUnit(unit, c.fastest)) : "-",
                    "fastest decay of the autocorrelation to 0.2"});
    rows.push_back({"Str", c.slowest > 0 ? fmt::format("{:.3f}", c.fastest / c.slowest) : "-",
                    c.slowest > 0 ? "texture aspect: fastest over slowest decay"
                                  : "texture aspect; along some direction there is no decay to 0.2"});
  } catch (const Failure&) {
    rows.push_back({"Sal, Str", "-", "the surface is flat"});
  }
  if (CountMissing(r.state.map) > 0) {
    for (TableRow& row : rows) {
      if (row.name == "Sal" || row.name == "Str") row.meaning += "; missing samples filled from around";
    }
  }
  return rows;
}

std::vector<TableRow> ResultsOf(const SurfaceReport& r) {
  std::vector<TableRow> rows;
  for (const ResultValue& value : r.state.results) {
    const double number = value.value.is_null() ? std::nan("") : value.value.get<double>();
    rows.push_back({XmlEscaped(value.name),
                    value.value.is_null() ? "-"
                    : value.isLength      ? FormatLength(number, HandyUnit(r.import.unit, number))
                                          : fmt::format("{:.6g}", number),
                    ""});
  }
  return rows;
}

std::string StepLine(const std::string& text) {
  const std::string name = text.substr(0, text.find_first_of(" \t"));
  const auto kind =
      std::find_if(AllSteps().begin(), AllSteps().end(), [&](const StepKind& k) { return name == k.name; });
  return fmt::format("<code>{}</code>: {}.", XmlEscaped(text),
                     kind == AllSteps().end() ? "" : XmlEscaped(kind->help));
}

/// How the numbers of a height map's file were understood: what it says itself, and what it was told to mean.
std::string UnderstoodAs(const SurfaceReport& r) {
  const FileGrid& file = r.loaded.file;
  const std::string unit = UnitName(r.import.unit);
  std::string text =
      fmt::format(", {}; its first row lies at the {}", XmlEscaped(file.kind), NameOf(r.loaded.origin));
  if (r.import.zScale) {
    text += fmt::format("; a 1 in it was taken for a height of {:g} {}", *r.import.zScale, unit);
  } else {
    text += file.heightMetres > 0 ? "; it states the unit of its heights"
                                  : fmt::format("; it names no unit for its heights, {} was taken", unit);
  }
  if (r.import.zOffset) text += fmt::format("; {:g} {} was added to all heights", *r.import.zOffset, unit);
  if (r.import.grid.spacing > 0) {
    text += fmt::format("; its samples were taken to be {:g} {} apart", r.import.grid.spacing, unit);
  } else if (!file.StatesSpacing()) {
    text += fmt::format("; it does not state how far its samples are apart, 1 {} was taken", unit);
  } else if (file.lateralMetres == 0) {
    text += fmt::format("; it names no unit for the distance of its samples, {} was taken", unit);
  }
  return text;
}

std::vector<std::string> StepsOf(const SurfaceReport& r) {
  const HeightMap& in = r.loaded.map;
  std::vector<std::string> steps = {fmt::format(
      "The file <code>{}</code> was read{}.", XmlEscaped(r.import.file.string()),
      r.loaded.fromMesh ? fmt::format("; its numbers were taken for lengths in {}", UnitName(r.import.unit))
                        : UnderstoodAs(r))};
  for (const std::string& action : r.loaded.prepared.actions) {
    steps.push_back("Mended before the import: " + XmlEscaped(action) + ".");
  }
  if (r.loaded.fromMesh) {
    steps.push_back(
        fmt::format("The mesh was converted to a height map of {} × {} samples; where no triangle lies a "
                    "sample is missing.",
                    in.width, in.height));
  }
  if (r.loaded.missing > 0) {
    steps.push_back(
        fmt::format("Missing samples, {} of {}, take part in nothing but where a step fills them.",
                    r.loaded.missing, in.heights.size()));
  }
  for (const std::string& text : r.pipeline.Texts()) steps.push_back(StepLine(text));
  steps.push_back("The numbers and pictures are those of the surface after the last step.");
  return steps;
}

std::string CaptionOf(const ContourMap& contours, const std::string& unit) {
  if (contours.heights.empty()) return "The surface is flat: there are no lines.";
  std::string caption = "Lines of equal height";
  if (contours.heights.size() > 1) {
    const double step = contours.heights[1] - contours.heights[0];
    caption += fmt::format(", {} apart", FormatLength(step, HandyUnit(unit, step)));
  }
  if (contours.window == 1) return caption + ".";
  return caption +
         fmt::format(
             ". Lines and colours are those of the map smoothed by two moving means of {0} × {0} samples: "
             "as it is, the lines would lie too densely to be told apart.",
             contours.window);
}

std::vector<ReportPicture> DrawnPictures(const SurfaceReport& r, const OffscreenContext& context) {
  const std::string& unit = r.import.unit;
  std::vector<ReportPicture> pictures;
  const auto draw = [&](const HeightMap& map, PictureOptions options, const std::string& caption) {
    const bool half = options.style == Style::kMap;
    if (half) {
      options.width = kHalfWidth;
      options.height = kHalfHeight;
    }
    options.unit = unit;
    const Picture picture = DrawPicture(context, map, options);
    pictures.push_back({options.title, caption, "", EncodePng(picture.image), half});
  };
  PictureOptions options;
  options.title = "View in space";
  draw(r.state.map, options, "Coloured by height; how much heights are exaggerated stands in the picture.");
  options.style = Style::kMap;
  options.title = "Height map";
  draw(r.state.map, options, "Seen from above. Grey samples are missing.");
  const ContourMap contours = ContourMapOf(r.state.map, unit, kContours);
  options.title = "Contour map";
  options.contourHeights = contours.heights;
  draw(contours.map, options, CaptionOf(contours, unit));
  return pictures;
}

ReportPicture HalfPlot(Plot plot, const std::string& title, const std::string& caption) {
  plot.title = title;
  plot.width = kHalfWidth;
  plot.height = kHalfHeight;
  return {title, caption, "", SvgOf(plot), true};
}

ReportPicture HistogramPicture(const HeightMap& map, const Unit& height) {
  const Histogram h = HistogramOf(map, kClasses);
  Plot plot;
  plot.x.name = fmt::format("height / {}", height.name);
  plot.y = {"samples / %", false, 0};
  Curve curve;
  for (std::size_t i = 0; i < h.shares.size(); ++i) {
    // A step: both ends of the class.
    for (const double end : {0.0, 1.0}) {
      curve.x.push_back((h.low + (static_cast<double>(i) + end) * h.step) * height.factor);
      curve.y.push_back(100 * h.shares[i]);
    }
  }
  plot.curves.push_back(std::move(curve));
  return HalfPlot(plot, "Histogram",
                  fmt::format("Shares of the samples in {} classes of height.", h.shares.size()));
}

ReportPicture BearingPicture(const HeightMap& map, const Unit& height) {
  Plot plot;
  plot.x = {"material ratio / %", false, 0, 100};
  plot.y.name = fmt::format("height / {}", height.name);
  Curve curve;
  for (const auto& [ratio, z] : BearingCurve(map, kBearingSteps)) {
    curve.x.push_back(100 * ratio);
    curve.y.push_back(z * height.factor);
  }
  plot.curves.push_back(std::move(curve));
  return HalfPlot(plot, "Bearing curve", "The height that a share of the samples reaches (Abbott curve).");
}

ReportPicture SectionPicture(const HeightMap& map, bool alongX, const std::string& unit) {
  SectionRequest request;
  request.alongX = alongX;
  request.line = ((alongX ? map.height : map.width) - 1) / 2.0;
  const double at = alongX ? map.y0 + request.line * map.SpacingY() : map.x0 + request.line * map.SpacingX();
  const Profile profile = ProfileOf(map, request);
  const std::string place = fmt::format("{} = {}", alongX ? "y" : "x", FormatLength(at, HandyUnit(unit, at)));
  Plot plot = SectionPlot(map, alongX, profile, unit);
  plot.title = alongX ? "Section along x" : "Section along y";
  plot.subtitle = place;
  plot.width = kSectionWidth;
  plot.height = kSectionHeight;
  return {plot.title, fmt::format("Through the middle, at {}. Gaps are missing samples.", place), "",
          SvgOf(plot)};
}

ReportPicture SpectrumPicture(const HeightMap& whole, bool wasFilled, const std::string& unit) {
  const Spectrum spectrum = AmplitudesOf(whole);
  const SpectrumUnits units(unit, whole, spectrum);
  const std::optional<Wave> wave = DominantWave(spectrum, whole);
  FieldPicture picture = PictureOf(spectrum, wave, units, kDecades);
  picture.title = "Spectrum";
  picture.subtitle = wave ? "Dominant wave: " + TextOf(*wave, units) : "The surface is flat.";
  Image image(picture.width, picture.height, kPaper);
  ImageCanvas canvas(image);
  DrawFields(canvas, image, picture);
  const std::string caption = kSpectrumCaption;
  return {"Spectrum", wasFilled ? caption + " Missing samples were filled from around for it." : caption, "",
          EncodePng(image)};
}

}  // namespace

HtmlReport ContentsOf(const SurfaceReport& r, GlBackend backend, Progress& progress,
                      std::string& withoutOpenGl) {
  const HeightMap& map = r.state.map;
  const std::string& unit = r.import.unit;
  HeightMap whole = map;
  FillFromAround(whole);
  const bool wasFilled = CountMissing(map) > 0;
  HtmlReport report;
  report.title = XmlEscaped(r.title.empty() ? r.import.file.filename().string() : r.title);
  report.subtitle = fmt::format("Surface report by qv3d {}.{}.{}", QV_3D_VERSION_MAJOR, QV_3D_VERSION_MINOR,
                                QV_3D_VERSION_PATCH);
  report.statisticsTitle = "Numbers";
  progress.Phase("measuring");
  report.statistics = NumbersOf(r, whole);
  report.facts = FactsOf(r);
  report.results = ResultsOf(r);
  report.steps = StepsOf(r);
  progress.Phase("drawing");
  try {
    report.pictures = DrawnPictures(r, *OffscreenContext::Create(backend));
  } catch (const Failure& failure) {
    withoutOpenGl = failure.what();
    report.steps.push_back("The view in space and the maps were not drawn: " + XmlEscaped(withoutOpenGl) +
                           ".");
  }
  const auto [low, high] = HeightRange(map);
  const Unit height = HandyUnit(unit, std::max(std::abs(low), std::abs(high)));
  report.pictures.push_back(HistogramPicture(map, height));
  report.pictures.push_back(BearingPicture(map, height));
  report.pictures.push_back(SectionPicture(map, true, unit));
  report.pictures.push_back(SectionPicture(map, false, unit));
  report.pictures.push_back(SpectrumPicture(whole, wasFilled, unit));
  return report;
}

}  // namespace qv3d
