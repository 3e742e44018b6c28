// AL3D: tags of fixed length as text, then planes, of which the depth is read. Read only.
#include <bit>
#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "formats/key_values.h"
#include "formats/readers.h"
#include "formats/samples.h"

namespace qv3d {
namespace {

constexpr std::string_view kMagic = "AliconaImaging";  // and a zero and the end of a line
constexpr std::size_t kMagicBytes = 17, kKeyBytes = 20, kTagBytes = 52;
constexpr std::size_t kRowAlignment = 8;

std::string_view UpToZero(std::string_view field) {
  return field.substr(0, field.find('\0'));
}

/// The tags as lines "key=value"; there are two more than announced, the version and their own number.
KeyValues ReadTags(const std::string& name, std::string_view bytes) {
  std::string lines;
  const std::string_view all = bytes.substr(kMagicBytes);
  for (std::size_t i = 0; (i + 1) * kTagBytes <= all.size(); ++i) {
    const std::string_view tag = all.substr(i * kTagBytes, kTagBytes);
    // Another byte than the end of a line is the end of the tags.
    if (tag.substr(kTagBytes - 2) != "\r\n") break;
    const std::string_view value = tag.substr(kKeyBytes, kTagBytes - kKeyBytes - 2);
    lines += fmt::format("{}={}\n", UpToZero(tag.substr(0, kKeyBytes)), UpToZero(value));
  }
  return {name, lines};
}

void ReadDepth(const std::string& name, std::string_view bytes, const KeyValues& tags, FileGrid& grid) {
  const double offset = tags.Number("depthimageoffset");
  const std::size_t used = static_cast<std::size_t>(grid.width) * sizeof(float);
  const std::size_t stride = (used + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
  const std::size_t needed = stride * static_cast<std::size_t>(grid.height);
  if (!(offset > 0) || offset > static_cast<double>(bytes.size()) ||
      bytes.size() - static_cast<std::size_t>(offset) < needed) {
    RefuseCorrupt(name,
                  fmt::format("the header announces {} x {} samples from byte {:g} on, but the file ends "
                              "at {}",
                              grid.width, grid.height, offset, bytes.size()));
  }
  const std::string_view data = bytes.substr(static_cast<std::size_t>(offset));
  for (int row = 0; row < grid.height; ++row) {
    AppendSamples(data.substr(static_cast<std::size_t>(row) * stride, used),
                  static_cast<std::size_t>(grid.width), SampleType::kFloat, std::endian::little, {},
                  grid.values);
  }
}

void MarkInvalid(const KeyValues& tags, std::vector<double>& values) {
  if (!tags.Has("invalidpixelvalue")) return;
  // The samples have fewer digits than the text.
  const auto invalid = static_cast<float>(tags.Number("invalidpixelvalue"));
  for (double& value : values) {
    if (static_cast<float>(value) == invalid) value = std::numeric_limits<double>::quiet_NaN();
  }
}

}  // namespace

bool IsAl3d(std::string_view bytes) {
  return bytes.substr(0, kMagic.size()) == kMagic;
}

FileGrid ReadAl3d(const std::string& name, std::string&& bytes) {
  if (!IsAl3d(bytes) || bytes.size() < kMagicBytes) RefuseCorrupt(name, "no AL3D file");
  const KeyValues tags = ReadTags(name, bytes);
  FileGrid grid;
  grid.kind = "AL3D, 32-bit floats";
  SetSize(grid, name, tags.Number("cols"), tags.Number("rows"));
  ReadDepth(name, bytes, tags, grid);
  MarkInvalid(tags, grid.values);
  grid.spacingX = tags.Number("pixelsizexmeter");
  grid.spacingY = tags.Number("pixelsizeymeter");
  if (!(grid.spacingX > 0) || !(grid.spacingY > 0)) {
    RefuseCorrupt(name,
                  fmt::format("the header states a spacing of {:g} x {:g}", grid.spacingX, grid.spacingY));
  }
  grid.lateralMetres = 1;
  grid.heightMetres = 1;
  return grid;
}

}  // namespace qv3d
