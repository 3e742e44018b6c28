// SDF, the surface data file of ISO 25178-71: a header, rows of samples, a trailer that nobody needs.
// Reading.
#include <array>
#include <bit>
#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "files/mesh_file.h"
#include "files/number_lines.h"
#include "formats/key_values.h"
#include "formats/readers.h"
#include "formats/samples.h"

namespace qv3d {
namespace {

constexpr std::size_t kVersionBytes = 8, kBinaryHeaderBytes = 81;
constexpr std::string_view kGwyddionVersion = "aBCR-0.0";
constexpr std::array<std::string_view, 5> kVersions{"aISO-1.0", "bISO-1.0", "aBCR-1.0", "bBCR-1.0",
                                                    kGwyddionVersion};
constexpr int kDoubles = 7;
/// Both spellings of a binary number that is none: NaN here, the ends of the range in other programs' files.
constexpr MissingRule kMissing{.lowestInteger = true, .extremeFloat = true};
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

struct Header {
  double points = 0, profiles = 0, scaleX = 0, scaleY = 0, scaleZ = 0;
  double compression = 0, dataType = 0, checkType = 0;
};

SampleType TypeOf(const std::string& name, double dataType) {
  constexpr std::array<SampleType, 8> kTypes{SampleType::kUint8, SampleType::kUint16, SampleType::kUint32,
                                             SampleType::kFloat, SampleType::kInt8,   SampleType::kInt16,
                                             SampleType::kInt32, SampleType::kDouble};
  if (!(dataType >= 0) || dataType >= kTypes.size()) {
    RefuseCorrupt(name,
                  fmt::format("the header announces samples of the type {:g}, which is none", dataType));
  }
  return kTypes[static_cast<std::size_t>(dataType)];
}

/// Takes the scales, all in metres, and the size over. Returns the number of samples.
std::size_t Apply(const std::string& name, const Header& header, FileGrid& grid) {
  if (header.compression != 0) RefuseUnsupported(name, "its samples are compressed, which is not read");
  for (const double scale : {header.scaleX, header.scaleY, header.scaleZ}) {
    if (!(std::abs(scale) > 0) || !std::isfinite(scale)) {
      RefuseCorrupt(name, fmt::format("the header states a scale of {:g}", scale));
    }
  }
  grid.spacingX = std::abs(header.scaleX);
  grid.spacingY = std::abs(header.scaleY);
  grid.lateralMetres = 1;
  grid.heightMetres = header.scaleZ;
  return SetSize(grid, name, header.points, header.profiles);
}

Header BinaryHeader(std::string_view b) {
  Header h;
  h.points = LoadLittle<std::uint16_t>(b, 42);
  h.profiles = LoadLittle<std::uint16_t>(b, 44);
  h.scaleX = LoadLittle<double>(b, 46);
  h.scaleY = LoadLittle<double>(b, 54);
  h.scaleZ = LoadLittle<double>(b, 62);
  h.compression = LoadLittle<std::uint8_t>(b, 78);
  h.dataType = LoadLittle<std::uint8_t>(b, 79);
  h.checkType = LoadLittle<std::uint8_t>(b, 80);
  return h;
}

FileGrid ReadBinary(const std::string& name, std::string_view bytes) {
  if (bytes.size() < kBinaryHeaderBytes) {
    RefuseCorrupt(name, fmt::format("{} bytes; the header alone has {}", bytes.size(), kBinaryHeaderBytes));
  }
  FileGrid grid;
  const Header header = BinaryHeader(bytes);
  const std::size_t count = Apply(name, header, grid);
  const SampleType type = TypeOf(name, header.dataType);
  grid.provenance = FromSdf({std::string(bytes.substr(8, 10)), std::string(bytes.substr(18, 12)),
                             std::string(bytes.substr(30, 12))});
  bytes.remove_prefix(kBinaryHeaderBytes);
  if (bytes.size() / BytesOf(type) < count) {
    RefuseCorrupt(name, fmt::format("the header announces {} x {} samples, but the file ends after {}",
                                    grid.width, grid.height, bytes.size() / BytesOf(type)));
  }
  AppendSamples(bytes, count, type, std::endian::little, kMissing, grid.values);
  grid.kind = fmt::format("SDF, binary, {}", NameOf(type));
  return grid;
}

/// The standard has the row of the lowest y first. Gwyddion does not: it writes what it shows on top. Its
/// version tells its files from those of others that only name it.
std::optional<Origin> OriginOfMaker(std::string_view version, const std::string& maker) {
  return version == kGwyddionVersion && maker == "Gwyddion" ? std::optional(Origin::kTop) : std::nullopt;
}

Header AsciiHeader(const KeyValues& keys) {
  Header h;
  h.points = keys.Number("numpoints");
  h.profiles = keys.Number("numprofiles");
  h.scaleX = keys.Number("xscale");
  h.scaleY = keys.Number("yscale");
  h.scaleZ = keys.Number("zscale");
  h.compression = keys.Number("compression", 0);
  h.dataType = keys.Number("datatype", kDoubles);
  h.checkType = keys.Number("checktype", 0);
  return h;
}

/// Where the line begins that holds an asterisk only; the end of the text where there is none.
std::size_t FindAsterisk(std::string_view text, std::size_t from) {
  while (from < text.size()) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    if (Trim(text.substr(from, end - from)) == "*") return from;
    from = end + 1;
  }
  return text.size();
}

double Sample(const std::string& name, std::string_view word) {
  if (EqualsIgnoringCase(word, "bad")) return kNothing;
  const std::optional<double> number = ParseNumber(word);
  if (!number) RefuseCorrupt(name, fmt::format("\"{}\" is no sample", word.substr(0, 40)));
  return std::isfinite(*number) ? *number : kNothing;
}

void ReadWords(const std::string& name, std::string_view text, std::size_t count, FileGrid& grid) {
  constexpr const char* kBlanks = " \t\r\n";
  // Two bytes make a sample at least.
  grid.values.reserve(std::min(count, text.size() / 2 + 1));
  std::size_t at = text.find_first_not_of(kBlanks);
  while (at != std::string_view::npos && grid.values.size() < count && text[at] != '*') {
    const std::size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
    grid.values.push_back(Sample(name, text.substr(at, end - at)));
    at = text.find_first_not_of(kBlanks, end);
  }
  if (grid.values.size() < count) {
    RefuseCorrupt(name, fmt::format("the header announces {} x {} samples, but only {} are there", grid.width,
                                    grid.height, grid.values.size()));
  }
  if (at != std::string_view::npos && text[at] != '*') {
    grid.remarks.emplace_back("more samples than the header announces; the last were left out");
  }
}

FileGrid ReadAscii(const std::string& name, std::string_view bytes) {
  const std::size_t end = FindAsterisk(bytes, 0);
  if (end == bytes.size()) RefuseCorrupt(name, "no line with an asterisk ends the header");
  FileGrid grid;
  const KeyValues keys(name, bytes.substr(0, end));
  const Header header = AsciiHeader(keys);
  grid.origin = OriginOfMaker(bytes.substr(0, kVersionBytes), keys.Text("manufacid"));
  grid.provenance = FromSdf({keys.Text("manufacid"), keys.Text("createdate"), keys.Text("moddate")});
  TypeOf(name, header.dataType);
  const std::size_t count = Apply(name, header, grid);
  const std::size_t data = std::min(bytes.find('\n', end), bytes.size() - 1) + 1;
  ReadWords(name, bytes.substr(data), count, grid);
  grid.kind = "SDF, text";
  return grid;
}

}  // namespace

bool IsSdf(std::string_view bytes) {
  for (const std::string_view magic : kVersions) {
    if (bytes.substr(0, kVersionBytes) == magic) return true;
  }
  return false;
}

FileGrid ReadSdf(const std::string& name, std::string&& bytes) {
  if (!IsSdf(bytes)) RefuseCorrupt(name, "no SDF file: it begins with neither \"aISO-1.0\" nor \"bISO-1.0\"");
  FileGrid grid = bytes.front() == 'a' ? ReadAscii(name, bytes) : ReadBinary(name, bytes);
  if (grid.heightMetres < 0) {
    grid.heightMetres = -grid.heightMetres;
    for (double& value : grid.values) value = -value;
  }
  return grid;
}

}  // namespace qv3d
