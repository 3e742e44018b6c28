// GSF, a simple field: text lines, some zeros, 32-bit floats from the top row downwards.
#include <bit>
#include <fmt/format.h>
#include <limits>

#include "formats/key_values.h"
#include "formats/readers.h"
#include "formats/samples.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr std::string_view kMagic = "Gwyddion Simple Field 1.0\n";
constexpr std::size_t kAlignment = 4;

void ApplyHeader(const std::string& name, const KeyValues& keys, FileGrid& grid) {
  const double width = keys.Number("xreal", 0), height = keys.Number("yreal", 0);
  if (keys.Has("xreal") && keys.Has("yreal") && (!(width > 0) || !(height > 0))) {
    RefuseCorrupt(name, fmt::format("the header states an extent of {:g} x {:g}", width, height));
  }
  std::string foreign;
  grid.lateralMetres = UnitOf(keys.Text("xyunits"), foreign);
  if (!foreign.empty()) RefuseUnsupported(name, fmt::format("its extent is in \"{}\"", foreign));
  grid.heightMetres = UnitOf(keys.Text("zunits"), grid.foreignUnit);
  grid.spacingX = width / grid.width;
  grid.spacingY = height / grid.height;
  // Offsets are those of the outer edge of a sample's cell.
  grid.x0 = keys.Number("xoffset", 0) + grid.spacingX / 2;
  grid.y0 = keys.Number("yoffset", 0) + grid.spacingY / 2;
}

}  // namespace

bool IsGsf(std::string_view bytes) {
  return bytes.substr(0, kMagic.size()) == kMagic;
}

FileGrid ReadGsf(const std::string& name, std::string&& bytes) {
  if (!IsGsf(bytes)) RefuseCorrupt(name, "no GSF file: its first line is another");
  const std::size_t end = bytes.find('\0');
  if (end == std::string::npos) RefuseCorrupt(name, "the header does not end");
  const KeyValues keys(name, std::string_view(bytes).substr(0, end));
  FileGrid grid;
  grid.kind = "GSF, 32-bit floats";
  const std::size_t count = SetSize(grid, name, keys.Number("xres"), keys.Number("yres"));
  ApplyHeader(name, keys, grid);
  const std::size_t data = (end / kAlignment + 1) * kAlignment;
  const std::size_t present = bytes.size() < data ? 0 : (bytes.size() - data) / sizeof(float);
  if (present < count) {
    RefuseCorrupt(name, fmt::format("the header announces {} x {} samples, but the file ends after {}",
                                    grid.width, grid.height, present));
  }
  AppendSamples(std::string_view(bytes).substr(data), count, SampleType::kFloat, std::endian::little, {},
                grid.values);
  return grid;
}

std::string WriteGsf(const GridToWrite& grid) {
  const HeightMap& map = grid.map;
  // Programs expect plain units, without a prefix.
  const double metres = UnitInMetres(grid.unit), dx = map.SpacingX() * metres, dy = map.SpacingY() * metres;
  std::string bytes(kMagic);
  bytes += fmt::format("XRes = {}\nYRes = {}\nXReal = {:.9g}\nYReal = {:.9g}\n", map.width, map.height,
                       dx * map.width, dy * map.height);
  bytes += fmt::format("XOffset = {:.12g}\nYOffset = {:.12g}\nXYUnits = m\n", map.x0 * metres - dx / 2,
                       map.y0 * metres - dy / 2);
  if (grid.areHeights) bytes += "ZUnits = m\n";
  bytes.append(kAlignment - bytes.size() % kAlignment, '\0');
  const double scale = grid.areHeights ? metres : 1;
  for (int row = 0; row < map.height; ++row) {
    const float* const heights = grid.Row(row);
    for (int i = 0; i < map.width; ++i) {
      StoreLittle(bytes, IsMissing(heights[i]) ? std::numeric_limits<float>::quiet_NaN()
                                               : static_cast<float>(heights[i] * scale));
    }
  }
  return bytes;
}

}  // namespace qv3d
