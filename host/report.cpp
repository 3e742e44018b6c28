#include "report.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>

#include "units.h"

namespace qv3d {
namespace {

Json AxisRange(const Bounds& bounds, int axis) {
  return Json::array({bounds.min[axis], bounds.max[axis]});
}

const char* NameOf(Severity severity) {
  return severity == Severity::kError ? "error" : severity == Severity::kWarning ? "warning" : "note";
}

}  // namespace

Json ShortNumber(float value) {
  if (!std::isfinite(value)) return nullptr;
  double number = value;
  const std::string text = fmt::format("{}", value);
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

Json JsonOf(const MeshFacts& mesh) {
  return {{"triangles", mesh.triangles},
          {"x", AxisRange(mesh.bounds, 0)},
          {"y", AxisRange(mesh.bounds, 1)},
          {"z", AxisRange(mesh.bounds, 2)}};
}

Json JsonOf(const MeshCheck& check) {
  Json json = {{"format", check.format},          {"bytes", check.fileBytes},
               {"triangles", check.triangles},    {"trianglesNotFinite", check.nonFinite},
               {"trianglesTooSmall", check.tiny}, {"trianglesUpright", check.upright},
               {"findings", Json::array()}};
  if (check.announcedTriangles) json["announcedTriangles"] = *check.announcedTriangles;
  if (check.vertices) json["vertices"] = *check.vertices;
  if (check.faces) json["faces"] = *check.faces;
  for (const Finding& f : check.findings) {
    json["findings"].push_back({{"severity", NameOf(f.severity)},
                                {"id", f.id},
                                {"what", f.what},
                                {"advice", f.advice},
                                {"repairable", f.repairable}});
  }
  return json;
}

Json JsonOf(const Statistics& s) {
  return {{"Sa", ShortNumber(s.sa)},
          {"Sq", ShortNumber(s.sq)},
          {"Sp", ShortNumber(s.sp)},
          {"Sv", ShortNumber(s.sv)},
          {"Sz", ShortNumber(s.sz)},
          {"Ssk", ShortNumber(s.ssk)},
          {"Sku", ShortNumber(s.sku)},
          {"tenPointHeight", s.hasTenPoint ? ShortNumber(s.tenPoint) : Json(nullptr)}};
}

Json JsonOfGrid(const LoadedMap& loaded) {
  const HeightMap& m = loaded.map;
  return {{"width", m.width},
          {"height", m.height},
          {"spacingX", m.SpacingX()},
          {"spacingY", m.SpacingY()},
          {"firstX", m.x0},
          {"firstY", m.y0},
          {"missingSamples", loaded.missing},
          {"missingShare", loaded.MissingShare()}};
}

Json JsonOfSource(const ImportOptions& options, const LoadedMap& loaded) {
  Json json = {{"file", options.file.string()}, {"unit", options.unit}};
  if (loaded.fromMesh) {
    json["mesh"] = JsonOf(loaded.mesh);
    json["mended"] = loaded.prepared.actions;
  }
  json["grid"] = JsonOfGrid(loaded);
  json["filled"] = options.fill;
  json["levelled"] = options.level;
  return json;
}

std::string FormatNumber(float value) {
  return std::isfinite(value) ? fmt::format("{:.3f}", value) : std::string("-");
}

std::vector<TableRow> RowsOf(const Statistics& s, const std::string& fileUnit) {
  const Unit unit = HandyUnit(fileUnit, s.sz);
  return {
      {"Sa", FormatLength(s.sa, unit), "arithmetic mean height"},
      {"Sq", FormatLength(s.sq, unit), "root mean square height"},
      {"Sp", FormatLength(s.sp, unit), "highest peak"},
      {"Sv", FormatLength(s.sv, unit), "deepest valley"},
      {"Sz", FormatLength(s.sz, unit), "highest peak to deepest valley"},
      {"Ssk", FormatNumber(s.ssk), "skewness"},
      {"Sku", FormatNumber(s.sku), "kurtosis"},
      {"ten-point height", s.hasTenPoint ? FormatLength(s.tenPoint, unit) : "- (too few peaks and valleys)",
       "five highest peaks to five lowest valleys, mean"}};
}

}  // namespace qv3d
