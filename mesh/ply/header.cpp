#include "mesh/ply/header.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "mesh/ply/numbers.h"
#include "mesh/ply/words.h"

namespace qv::ply {
namespace {

using Words = std::vector<std::string_view>;

/// Takes the next line, of any length, without its newline. False at the end of the file.
bool NextLine(mesh::BlockReader& reader, std::string* line) {
  if (!reader.Have(1)) return false;
  for (;;) {
    const auto* newline = static_cast<const char*>(std::memchr(reader.Cursor(), '\n', reader.Available()));
    if (newline == nullptr && reader.ReadMore()) continue;
    const char* end = newline == nullptr ? reader.End() : newline;
    line->assign(reader.Cursor(), end);
    std::replace(line->begin(), line->end(), '\t', ' ');
    reader.ConsumeTo(newline == nullptr ? end : end + 1);
    return true;
  }
}

/// The words of a line that lasts as long as they do.
Words SplitWords(const std::string& line) {
  Words words;
  const char* text = SkipBlanks<Part::kHeader>(line.c_str());
  while (!EndsLine(*text)) {
    const Word word = TakeWord<Part::kHeader>(text);
    words.push_back(word.text);
    text = SkipBlanks<Part::kHeader>(word.end);
  }
  return words;
}

/// What follows the first word, as it stands.
std::string RestOfLine(const std::string& line) {
  const char* keyword = SkipBlanks<Part::kHeader>(line.c_str());
  return SkipBlanks<Part::kHeader>(TakeWord<Part::kHeader>(keyword).end);
}

bool ReadFormat(const Words& words, PlyHeader* header) {
  if (words.size() != 3) return false;
  if (words[1] == "ascii") {
    header->kind = FileKind::kAscii;
  } else if (words[1] == "binary_big_endian") {
    header->kind = FileKind::kBinaryBigEndian;
  } else if (words[1] == "binary_little_endian") {
    header->kind = FileKind::kBinaryLittleEndian;
  } else {
    return false;
  }
  header->version = static_cast<float>(DecimalOf(words[2]));
  return true;
}

void AddElement(const Words& words, PlyHeader* header) {
  if (words.size() < 3) return;
  PlyElement element;
  element.name = words[1];
  element.recordCount = std::max(IntegerOf(words[2]), 0);
  header->elements.push_back(std::move(element));
}

/// Lines with too few words declare nothing, nor do those in front of the first element.
void AddProperty(const Words& words, PlyHeader* header) {
  if (header->elements.empty() || words.size() < 3) return;
  PlyProperty property;
  if (words[1] == "list") {
    if (words.size() < 5) return;
    property.kind = PropertyKind::kList;
    property.countExternalType = TypeOfName(words[2]);
    property.externalType = TypeOfName(words[3]);
    property.name = words[4];
  } else if (words[1] == "string") {
    property.kind = PropertyKind::kString;
    property.countExternalType = property.externalType = Type::kInt8;
    property.name = words[2];
  } else {
    property.externalType = TypeOfName(words[1]);
    property.name = words[2];
  }
  header->elements.back().properties.push_back(std::move(property));
}

}  // namespace

bool ReadHeader(mesh::BlockReader& reader, PlyHeader* header) {
  std::string line;
  bool isFirst = true, hasFormat = false;
  for (; NextLine(reader, &line); isFirst = false) {
    const Words words = SplitWords(line);
    const std::string_view keyword = words.empty() ? std::string_view() : words[0];
    if (isFirst) {
      if (keyword != "ply") return false;
    } else if (keyword == "format") {
      if (!ReadFormat(words, header)) return false;
      hasFormat = true;
    } else if (keyword == "element") {
      AddElement(words, header);
    } else if (keyword == "property") {
      AddProperty(words, header);
    } else if (keyword == "comment") {
      header->comments.push_back(RestOfLine(line));
    } else if (keyword == "obj_info") {
      header->objInfo.push_back(RestOfLine(line));
    } else if (keyword == "end_header") {
      break;
    }
  }
  return hasFormat;
}

}  // namespace qv::ply
