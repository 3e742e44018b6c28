// X3P, the surface archive of ISO 25178-72: a zip archive of a description in XML and binary samples.
// Reading.
#include <array>
#include <bit>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <pugixml.hpp>

#include "files/mesh_file.h"
#include "formats/key_values.h"
#include "formats/md5.h"
#include "formats/readers.h"
#include "formats/samples.h"
#include "formats/x3p_provenance.h"
#include "formats/zip_archive.h"

namespace qv3d {
namespace {

constexpr const char* kDescription = "main.xml";
constexpr std::size_t kLongestDescription = std::size_t{1} << 28;
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

/// A child by its name without the prefix of a name space, which every program chooses for itself.
pugi::xml_node Child(const pugi::xml_node& node, std::string_view wanted) {
  for (const pugi::xml_node& child : node.children()) {
    const std::string_view name = child.name();
    const std::size_t colon = name.find(':');
    if (name.substr(colon == std::string_view::npos ? 0 : colon + 1) == wanted) return child;
  }
  return {};
}

std::string TextAt(pugi::xml_node node, std::initializer_list<const char*> path) {
  for (const char* const name : path) node = Child(node, name);
  const std::string text = node.child_value();
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

double NumberAt(const std::string& name, const pugi::xml_node& node, std::initializer_list<const char*> path,
                double otherwise) {
  const std::string text = TextAt(node, path);
  if (text.empty()) return otherwise;
  const std::optional<double> number = ParseNumber(text);
  if (!number || !std::isfinite(*number)) {
    RefuseCorrupt(name, fmt::format("{}: \"{}\" is no number", kDescription, text.substr(0, 40)));
  }
  return *number;
}

struct HeightAxis {
  SampleType type = SampleType::kDouble;
  double increment = 1, offset = 0;
};

HeightAxis ReadHeightAxis(const std::string& name, const pugi::xml_node& axes) {
  const std::string type = TextAt(axes, {"CZ", "DataType"});
  HeightAxis axis;
  if (type == "I") {
    axis.type = SampleType::kInt16;
  } else if (type == "L") {
    axis.type = SampleType::kInt32;
  } else if (type == "F") {
    axis.type = SampleType::kFloat;
  } else if (type != "D") {
    RefuseCorrupt(name, fmt::format("\"{}\" is no type of samples", type.substr(0, 40)));
  }
  // Integers count increments; an absolute axis of floating-point numbers has none.
  if (type == "I" || type == "L" || TextAt(axes, {"CZ", "AxisType"}) == "I") {
    axis.increment = NumberAt(name, axes, {"CZ", "Increment"}, 1);
    axis.offset = NumberAt(name, axes, {"CZ", "Offset"}, 0);
  }
  return axis;
}

void ReadLateralAxes(const std::string& name, const pugi::xml_node& axes, FileGrid& grid) {
  for (const char* const axis : {"CX", "CY"}) {
    if (TextAt(axes, {axis, "AxisType"}) != "I") {
      RefuseUnsupported(name, "every point has its own x and y: no grid");
    }
  }
  grid.spacingX = NumberAt(name, axes, {"CX", "Increment"}, 0);
  grid.spacingY = NumberAt(name, axes, {"CY", "Increment"}, 0);
  if (!(grid.spacingX > 0) || !(grid.spacingY > 0)) {
    RefuseCorrupt(
        name, fmt::format("{} states a spacing of {:g} x {:g}", kDescription, grid.spacingX, grid.spacingY));
  }
  grid.x0 = NumberAt(name, axes, {"CX", "Offset"}, 0);
  grid.y0 = NumberAt(name, axes, {"CY", "Offset"}, 0);
  grid.lateralMetres = 1;
  grid.heightMetres = 1;
}

std::size_t ReadSize(const std::string& name, const pugi::xml_node& record3, FileGrid& grid) {
  if (!Child(record3, "MatrixDimension")) RefuseUnsupported(name, "a list of points: no grid");
  if (NumberAt(name, record3, {"MatrixDimension", "SizeZ"}, 1) != 1) {
    RefuseUnsupported(name, "several layers; height maps have one");
  }
  return SetSize(grid, name, NumberAt(name, record3, {"MatrixDimension", "SizeX"}, 0),
                 NumberAt(name, record3, {"MatrixDimension", "SizeY"}, 0));
}

std::string ReadMember(const std::string& name, const ZipArchive& archive, const std::string& member,
                       std::size_t bytes) {
  std::optional<std::string> content = archive.Read(member, bytes);
  if (!content) RefuseCorrupt(name, fmt::format("there is no \"{}\" in the archive", member.substr(0, 80)));
  if (content->size() < bytes) {
    RefuseCorrupt(name, fmt::format("\"{}\" has {} bytes; the samples announced need {}",
                                    member.substr(0, 80), content->size(), bytes));
  }
  return std::move(*content);
}

void CheckSum(const pugi::xml_node& link, const char* element, const std::string& member,
              const std::string& content, FileGrid& grid) {
  const std::string stated = TextAt(link, {element});
  if (!stated.empty() && !EqualsIgnoringCase(stated, Md5Of(content))) {
    grid.remarks.push_back(fmt::format("the checksum of \"{}\" is not that of the description", member));
  }
}

/// One bit for every sample, the lowest of a byte first; 0 where it is not valid.
void ApplyMask(const std::string& name, const ZipArchive& archive, const pugi::xml_node& link,
               FileGrid& grid) {
  const std::string member = TextAt(link, {"ValidPointsLink"});
  if (member.empty()) return;
  const std::string mask = ReadMember(name, archive, member, (grid.values.size() + 7) / 8);
  CheckSum(link, "MD5ChecksumValidPoints", member, mask, grid);
  for (std::size_t i = 0; i < grid.values.size(); ++i) {
    if ((static_cast<unsigned char>(mask[i / 8]) >> (i % 8) & 1) == 0) grid.values[i] = kNothing;
  }
}

void ReadLinked(const std::string& name, const ZipArchive& archive, const pugi::xml_node& link,
                const HeightAxis& axis, std::size_t count, FileGrid& grid) {
  const std::string member = TextAt(link, {"PointDataLink"});
  const std::string samples = ReadMember(name, archive, member, count * BytesOf(axis.type));
  CheckSum(link, "MD5ChecksumPointData", member, samples, grid);
  AppendSamples(samples, count, axis.type, std::endian::little, {}, grid.values);
  ApplyMask(name, archive, link, grid);
}

/// Samples in the description itself; an empty one is missing.
void ReadListed(const std::string& name, const pugi::xml_node& list, std::size_t count, FileGrid& grid) {
  for (const pugi::xml_node& datum : list.children()) {
    if (datum.type() != pugi::node_element || grid.values.size() > count) continue;
    const std::string text = TextAt(datum, {});
    const std::optional<double> number = text.empty() ? kNothing : ParseNumber(text);
    if (!number) RefuseCorrupt(name, fmt::format("\"{}\" is no sample", text.substr(0, 40)));
    grid.values.push_back(*number);
  }
  if (grid.values.size() != count) {
    RefuseCorrupt(
        name, fmt::format("{} samples are listed for {} x {}", grid.values.size(), grid.width, grid.height));
  }
}

/// Programs write the first day of 1970, at the hour of their time zone, for a date that is not told.
bool IsTold(const std::string& text) {
  return !text.empty() && text != kNoX3pText && text.rfind("1970-01-01", 0) != 0;
}

Provenance ReadProvenance(const pugi::xml_node& record2) {
  Provenance provenance;
  for (const X3pNote& note : kX3pNotes) {
    const std::string text =
        *note.group == '\0' ? TextAt(record2, {note.element}) : TextAt(record2, {note.group, note.element});
    if (IsTold(text)) provenance[note.key] = text;
  }
  return provenance;
}

pugi::xml_node Parse(const std::string& name, const ZipArchive& archive, pugi::xml_document& document) {
  const std::optional<std::string> text = archive.Read(kDescription, kLongestDescription);
  if (!text) RefuseCorrupt(name, fmt::format("no X3P file: there is no {} in the archive", kDescription));
  const pugi::xml_parse_result result = document.load_buffer(text->data(), text->size());
  if (!result) {
    RefuseCorrupt(name, fmt::format("{} is damaged at byte {} ({})", kDescription, result.offset,
                                    result.description()));
  }
  return document.document_element();
}

}  // namespace

bool IsX3p(std::string_view bytes) {
  return bytes.substr(0, 4) == "PK\x03\x04";
}

FileGrid ReadX3p(const std::string& name, std::string&& bytes) {
  const ZipArchive archive(name, bytes);
  pugi::xml_document document;
  const pugi::xml_node root = Parse(name, archive, document);
  const pugi::xml_node record1 = Child(root, "Record1"), record3 = Child(root, "Record3");
  if (const std::string type = TextAt(record1, {"FeatureType"}); type != "SUR") {
    RefuseUnsupported(name, fmt::format("its feature type is \"{}\", not \"SUR\"", type.substr(0, 40)));
  }
  FileGrid grid;
  const pugi::xml_node axes = Child(record1, "Axes");
  ReadLateralAxes(name, axes, grid);
  const HeightAxis axis = ReadHeightAxis(name, axes);
  const std::size_t count = ReadSize(name, record3, grid);
  grid.provenance = ReadProvenance(Child(root, "Record2"));
  const pugi::xml_node list = Child(record3, "DataList");
  if (list) {
    ReadListed(name, list, count, grid);
  } else {
    ReadLinked(name, archive, Child(record3, "DataLink"), axis, count, grid);
  }
  for (double& value : grid.values) value = value * axis.increment + axis.offset;
  grid.kind = list ? "X3P, samples in the description" : fmt::format("X3P, {}", NameOf(axis.type));
  return grid;
}

}  // namespace qv3d
