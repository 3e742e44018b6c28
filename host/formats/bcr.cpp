// BCR and BCRF: a header of text, 8-bit or 16-bit characters, and 16-bit integers or 32-bit floats. Read
// only.
#include <bit>
#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "formats/key_values.h"
#include "formats/readers.h"
#include "formats/samples.h"

namespace qv3d {
namespace {

constexpr double kHeaderCharacters = 2048, kLongestHeader = 1 << 20;
constexpr double kVoidInteger = 32767, kVoidFloat = 1.7e38;
constexpr const char* kNanometre = "nm";

/// Text of 16-bit characters as 8-bit ones, enough for keys and numbers.
std::string Narrow(std::string_view wide) {
  std::string text;
  for (std::size_t i = 0; i + 1 < wide.size(); i += 2) {
    const bool plain = wide[i + 1] == '\0';
    // The micro sign is all that occurs besides.
    text += plain ? wide[i] : '?';
  }
  return text;
}

bool IsWide(std::string_view bytes) {
  return bytes.size() > 1 && bytes[1] == '\0';
}

std::string_view Begin(std::string_view bytes) {
  return bytes.substr(0, 128);
}

struct Layout {
  bool floats = false, wide = false;
  std::endian order = std::endian::little;
  std::size_t data = 0;  ///< where the samples begin
};

Layout LayoutOf(const std::string& name, const KeyValues& keys, bool wide) {
  Layout layout;
  layout.wide = wide;
  const std::string format = keys.Text("fileformat");
  layout.floats = format == "bcrf" || format == "bcrf_unicode";
  if (!layout.floats && format != "bcrstm" && format != "bcrstm_unicode") {
    RefuseUnsupported(name, fmt::format("the variant \"{}\" of BCR", format.substr(0, 40)));
  }
  const double size = keys.Number("headersize", kHeaderCharacters);
  if (!(size >= 0) || size > kLongestHeader) {
    RefuseCorrupt(name, fmt::format("the header states its own size as {:g}", size));
  }
  layout.data = static_cast<std::size_t>(size) * (wide ? 2 : 1);
  if (keys.Number("intelmode", 1) == 0) layout.order = std::endian::big;
  return layout;
}

double UnitOrNanometre(const KeyValues& keys, const std::string& key, std::string& foreign) {
  const std::string unit = keys.Text(key);
  return UnitOf(unit.empty() ? kNanometre : unit, foreign);
}

void ApplyScales(const std::string& name, const KeyValues& keys, FileGrid& grid) {
  std::string foreign;
  const double x = UnitOrNanometre(keys, "xunit", foreign), y = UnitOrNanometre(keys, "yunit", foreign);
  if (!foreign.empty()) RefuseUnsupported(name, fmt::format("its extent is in \"{}\"", foreign));
  const double width = keys.Number("xlength", 0), height = keys.Number("ylength", 0);
  if (width < 0 || height < 0) {
    RefuseCorrupt(name, fmt::format("the header states an extent of {:g} x {:g}", width, height));
  }
  grid.spacingX = width * x / grid.width;
  grid.spacingY = height * y / grid.height;
  grid.x0 = keys.Number("xoffset", 0) * x + grid.spacingX / 2;
  grid.y0 = keys.Number("yoffset", 0) * y + grid.spacingY / 2;
  grid.lateralMetres = 1;
  grid.heightMetres = UnitOrNanometre(keys, "zunit", grid.foreignUnit);
}

/// The value that stands for nothing is the largest that the samples can have, whatever the header prints.
void MarkVoids(bool floats, double scale, std::vector<double>& values) {
  for (double& value : values) {
    const bool missing = floats ? std::abs(value) >= kVoidFloat : value == kVoidInteger;
    value = missing ? std::numeric_limits<double>::quiet_NaN() : value * scale;
  }
}

}  // namespace

bool IsBcr(std::string_view bytes) {
  const std::string begin = IsWide(bytes) ? Narrow(Begin(bytes)) : std::string(Begin(bytes));
  return begin.rfind("fileformat", 0) == 0 && begin.find("bcr") != std::string::npos;
}

FileGrid ReadBcr(const std::string& name, std::string&& bytes) {
  if (!IsBcr(bytes)) RefuseCorrupt(name, "no BCR file: it does not begin with \"fileformat = bcr\"");
  const bool wide = IsWide(bytes);
  const std::string_view most = std::string_view(bytes).substr(0, std::size_t{2} * 2048);
  const KeyValues keys(name, wide ? Narrow(most) : std::string(most.substr(0, 2048)));
  const Layout layout = LayoutOf(name, keys, wide);
  FileGrid grid;
  const std::size_t count = SetSize(grid, name, keys.Number("xpixels"), keys.Number("ypixels"));
  ApplyScales(name, keys, grid);
  const SampleType type = layout.floats ? SampleType::kFloat : SampleType::kInt16;
  const std::size_t present = bytes.size() < layout.data ? 0 : (bytes.size() - layout.data) / BytesOf(type);
  if (present < count) {
    RefuseCorrupt(name, fmt::format("the header announces {} x {} samples, but the file ends after {}",
                                    grid.width, grid.height, present));
  }
  AppendSamples(std::string_view(bytes).substr(layout.data), count, type, layout.order, {}, grid.values);
  const double scale = keys.Number("bit2nm", 1);
  MarkVoids(layout.floats, scale, grid.values);
  grid.kind = fmt::format("{}, {}", layout.floats ? "BCRF" : "BCR", NameOf(type));
  return grid;
}

}  // namespace qv3d
