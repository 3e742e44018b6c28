#include "formats/grid_file.h"

#include <QV_3D.h>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <limits>

#include "failure.h"
#include "files/whole_file.h"
#include "formats/readers.h"
#include "units.h"

namespace qv3d {
namespace {

/// Enough for every format to be known by.
constexpr std::streamsize kFirstBytes = 256;

std::string FirstBytes(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return {};
  std::ifstream file(path, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(kFirstBytes), '\0');
  file.read(bytes.data(), kFirstBytes);
  bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return bytes;
}

Origin OriginOf(const std::string& name, const GridFormat& format, const FileGrid& file,
                const std::optional<Origin>& wanted) {
  if (wanted && format.hasCoordinates) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("{}: every sample of {} has its coordinates: --origin has no meaning", name,
                              format.title));
  }
  return wanted.value_or(file.origin.value_or(format.origin));
}

struct Line {
  double scale = 1, offset = 0;
};

/// From the file's numbers to heights in the unit that was asked for.
Line HeightsOf(const std::string& name, const FileGrid& file, const GridReading& reading) {
  if (reading.zScale) return {*reading.zScale, reading.zOffset.value_or(0)};
  if (!file.foreignUnit.empty()) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("{}: the values are in \"{}\", which is no length", name, file.foreignUnit),
                  "--height-scale says what height a value of 1 stands for.");
  }
  const double metres = UnitInMetres(reading.unit);
  return {file.heightMetres > 0 ? file.heightMetres / metres : 1, reading.zOffset.value_or(0)};
}

/// What is not finite is missing.
float HeightOf(const std::string& name, double value, const Line& line) {
  const double height = value * line.scale + line.offset;
  if (!std::isfinite(value)) return static_cast<float>(QV_BAD_SAMPLE);
  if (!(std::abs(height) <= kMostHeight)) {
    RefuseCorrupt(name, fmt::format("a height of {:g} is more than can be measured", height));
  }
  return static_cast<float>(height);
}

void TakeHeights(const std::string& name, const Line& line, GridContent& content) {
  HeightMap& map = content.map;
  const std::vector<double>& values = content.file.values;
  const auto width = static_cast<std::size_t>(map.width), height = static_cast<std::size_t>(map.height);
  map.heights.resize(values.size());
  for (std::size_t row = 0; row < height; ++row) {
    const std::size_t from = content.origin == Origin::kBottom ? row : height - 1 - row;
    for (std::size_t i = 0; i < width; ++i) {
      map.heights[row * width + i] = HeightOf(name, values[from * width + i], line);
    }
  }
}

float ExtentOf(const std::string& name, double spacing, int samples) {
  const double extent = spacing * (samples - 1);
  if (!(extent >= std::numeric_limits<float>::min()) || !(extent <= std::numeric_limits<float>::max())) {
    RefuseCorrupt(name, fmt::format("samples {:g} apart make no extent that can be held", spacing));
  }
  return static_cast<float>(extent);
}

void TakePlace(const std::string& name, const GridReading& reading, GridContent& content) {
  const FileGrid& file = content.file;
  const double factor = file.lateralMetres > 0 ? file.lateralMetres / UnitInMetres(reading.unit) : 1;
  const auto spacing = [&](double stated) {
    return reading.spacing > 0 ? reading.spacing : stated > 0 ? stated * factor : 1;
  };
  content.map.xSize = ExtentOf(name, spacing(file.spacingX), file.width);
  content.map.ySize = ExtentOf(name, spacing(file.spacingY), file.height);
  content.map.x0 = std::isfinite(file.x0 * factor) ? file.x0 * factor : 0;
  content.map.y0 = std::isfinite(file.y0 * factor) ? file.y0 * factor : 0;
}

}  // namespace

GridContent UnderstandGrid(const std::string& name, const GridFormat& format, std::string bytes,
                           const GridReading& reading) {
  GridContent content;
  content.format = &format;
  content.file = format.read(name, std::move(bytes));
  content.origin = OriginOf(name, format, content.file, reading.origin);
  content.map.width = content.file.width;
  content.map.height = content.file.height;
  TakePlace(name, reading, content);
  TakeHeights(name, HeightsOf(name, content.file, reading), content);
  content.file.values = {};
  return content;
}

bool IsGridFile(const std::filesystem::path& path) {
  return FindReadable(path.string(), FirstBytes(path)) != nullptr;
}

GridContent ReadGridContent(const std::filesystem::path& path, const GridReading& reading) {
  std::string bytes = ReadWholeFile(path);
  const GridFormat* const format = FindReadable(path.string(), bytes);
  if (format == nullptr) {
    throw Failure(ExitCode::kUnreadable, fmt::format("{}: no height map that can be read", path.string()),
                  fmt::format("Height maps are {}.", ExtensionsOf(false)));
  }
  return UnderstandGrid(path.string(), *format, std::move(bytes), reading);
}

void PrintRemarks(const std::filesystem::path& path, const GridContent& content, const GridReading& reading) {
  for (const std::string& remark : content.file.remarks) {
    fmt::print(stderr, "qv3d: warning: {}: {}\n", path.string(), remark);
  }
  if (content.file.scaleMissing && !reading.zScale) {
    fmt::print(stderr,
               "qv3d: warning: {}: the picture does not tell the height of a grey level, so 1 {} was taken: "
               "--height-scale says otherwise\n",
               path.string(), UnitName(reading.unit));
  }
}

void RequireGridFormat(const std::filesystem::path& path) {
  if (FindWritable(path.string()) != nullptr) return;
  throw Failure(ExitCode::kUsage,
                fmt::format("{}: the output must end in {}", path.string(), ExtensionsOf(true)));
}

void WriteGrid(const std::filesystem::path& path, const HeightMap& map, const std::string& unit,
               const GridWriting& writing) {
  if (writing.format == nullptr) RequireGridFormat(path);
  if (CountMissing(map) == map.heights.size()) {
    throw Failure(ExitCode::kNotComputable,
                  fmt::format("{}: every sample is missing: there is nothing to write", path.string()));
  }
  const GridFormat& format = writing.format != nullptr ? *writing.format : *FindWritable(path.string());
  const Origin origin = OriginOf(path.string(), format, {}, writing.origin);
  WriteWholeFile(path, format.write({map, unit, origin, true, writing.provenance}));
}

void WriteGridOfNumbers(const std::filesystem::path& path, const HeightMap& map, const std::string& unit) {
  WriteWholeFile(path, WriteTextMatrix({map, unit, Origin::kBottom, false}));
}

}  // namespace qv3d
