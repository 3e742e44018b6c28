// X3P: writing, as 64-bit floats in metres with a validity mask.
#include <algorithm>
#include <bit>
#include <fmt/format.h>
#include <limits>

#include "formats/md5.h"
#include "formats/readers.h"
#include "formats/samples.h"
#include "formats/x3p_provenance.h"
#include "formats/zip_archive.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr const char* kSamples = "bindata/data.bin";
constexpr const char* kMask = "bindata/valid.bin";

struct Samples {
  std::string bytes, mask;  ///< one bit for every sample, the lowest of a byte first
  bool anyMissing = false;
};

Samples Collect(const GridToWrite& grid, double metres) {
  const HeightMap& map = grid.map;
  Samples samples;
  samples.bytes.reserve(map.heights.size() * sizeof(double));
  samples.mask.resize((map.heights.size() + 7) / 8);
  std::size_t k = 0;
  for (int row = 0; row < map.height; ++row) {
    const float* const heights = grid.Row(row);
    for (int i = 0; i < map.width; ++i, ++k) {
      if (IsMissing(heights[i])) {
        StoreLittle(samples.bytes, std::numeric_limits<double>::quiet_NaN());
        samples.anyMissing = true;
      } else {
        StoreLittle(samples.bytes, heights[i] * metres);
        samples.mask[k / 8] = static_cast<char>(samples.mask[k / 8] | 1 << k % 8);
      }
    }
  }
  return samples;
}

std::string Axis(const char* name, double increment, double offset) {
  return fmt::format(
      "      <{0}>\n        <AxisType>I</AxisType>\n        <DataType>D</DataType>\n"
      "        <Increment>{1:.9g}</Increment>\n        <Offset>{2}</Offset>\n      </{0}>\n",
      name, increment, offset);
}

/// Without the characters that XML keeps for itself, or does not know.
std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    const bool unknown = c >= '\0' && c < ' ' && c != '\t' && c != '\n';
    escaped += unknown ? " " : c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  }
  return escaped;
}

/// What is told of the measurement; nothing where nothing is.
std::string Record2(const Provenance& provenance) {
  const bool any = std::any_of(kX3pNotes.begin(), kX3pNotes.end(),
                               [&](const X3pNote& note) { return provenance.count(note.key) != 0; });
  if (!any) return {};
  std::string text = "  <Record2>\n";
  const char* open = "";
  const auto change = [&](const char* group) {
    if (std::string_view(open) == group) return;
    if (*open != '\0') text += fmt::format("    </{}>\n", open);
    if (*group != '\0') text += fmt::format("    <{}>\n", group);
    open = group;
  };
  for (const X3pNote& note : kX3pNotes) {
    const std::string told = TextOf(provenance, note.key, note.untold);
    change(note.group);
    if (!told.empty())
      text += fmt::format("{0}    <{1}>{2}</{1}>\n", *open != '\0' ? "  " : "", note.element, Escaped(told));
  }
  return text + "  </Record2>\n";
}

std::string Describe(const GridToWrite& grid, double metres, const Samples& samples) {
  const HeightMap& map = grid.map;
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n"
      "<p:ISO5436_2 xmlns:p=\"http://www.opengps.eu/2008/ISO5436_2\">\n"
      "  <Record1>\n    <Revision>ISO5436 - 2000</Revision>\n    <FeatureType>SUR</FeatureType>\n    "
      "<Axes>\n";
  text += Axis("CX", map.SpacingX() * metres, map.x0 * metres);
  text += Axis("CY", map.SpacingY() * metres, map.y0 * metres);
  text +=
      "      <CZ>\n        <AxisType>A</AxisType>\n        <DataType>D</DataType>\n      </CZ>\n    </Axes>\n"
      "  </Record1>\n";
  text += Record2(grid.provenance);
  text += fmt::format(
      "  <Record3>\n    <MatrixDimension>\n      <SizeX>{}</SizeX>\n      <SizeY>{}</SizeY>\n"
      "      <SizeZ>1</SizeZ>\n    </MatrixDimension>\n    <DataLink>\n"
      "      <PointDataLink>{}</PointDataLink>\n      <MD5ChecksumPointData>{}</MD5ChecksumPointData>\n",
      map.width, map.height, kSamples, Md5Of(samples.bytes));
  if (samples.anyMissing) {
    text += fmt::format(
        "      <ValidPointsLink>{}</ValidPointsLink>\n"
        "      <MD5ChecksumValidPoints>{}</MD5ChecksumValidPoints>\n",
        kMask, Md5Of(samples.mask));
  }
  return text +
         "    </DataLink>\n  </Record3>\n  <Record4>\n    <ChecksumFile>md5checksum.hex</ChecksumFile>\n"
         "  </Record4>\n</p:ISO5436_2>\n";
}

}  // namespace

std::string WriteX3p(const GridToWrite& grid) {
  const double metres = UnitInMetres(grid.unit);
  const Samples samples = Collect(grid, metres);
  const std::string description = Describe(grid, metres, samples);
  std::vector<std::pair<std::string, std::string>> members{
      {"main.xml", description},
      {"md5checksum.hex", fmt::format("{} *main.xml\n", Md5Of(description))},
      {kSamples, samples.bytes}};
  if (samples.anyMissing) members.emplace_back(kMask, samples.mask);
  return WriteZip(members);
}

}  // namespace qv3d
