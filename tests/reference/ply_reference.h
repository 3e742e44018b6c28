// A slow and obvious PLY import over the bytes of a file: value by value, every rule written down where it
// applies. Numbers are converted by C's own functions, so the locale must be C's.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/decimal_prefix.h"

namespace qv::test {

struct PlyReferenceFace {
  std::uint8_t count = 0;
  std::int32_t corners[3] = {};
};

struct PlyReferenceVertex {
  float x = 0, y = 0, z = 0;
};

struct PlyReference {
  bool ended = false;  ///< the process
  unsigned status = 0;
  std::string messages;  ///< the line number of an allocation message is 0
  int vertexCount = 0, faceCount = 0;
  std::vector<PlyReferenceVertex> vertices;  ///< in the file's frame
  std::vector<PlyReferenceFace> faces;
};

class PlyReferenceReader {
 public:
  explicit PlyReferenceReader(const std::string& bytes) : bytes_(bytes) {}

  PlyReference Read() {
    if (!ReadHeader()) {
      out_.status = 1;
      return out_;
    }
    for (const Element& element : elements_) {
      const bool tooMany = element.count > 1000000 && element.count > static_cast<long>(bytes_.size());
      if (element.name == "vertex") Warn(element, {"x", "y", "z"}, "scalar");
      if (element.name == "face") Warn(element, {"vertex_indices"}, "list");
      if (tooMany) {
        out_.messages += "Memory allocation bombed on line 0 in ply\n";
        out_.status = 1;
        return out_;
      }
      if (element.name == "vertex") out_.vertexCount = static_cast<int>(element.count), out_.vertices.clear();
      if (element.name == "face") out_.faceCount = static_cast<int>(element.count), out_.faces.clear();
      for (long i = 0; i < element.count; ++i) {
        if (!ReadRecord(element)) {
          out_.ended = true;
          return out_;
        }
      }
    }
    out_.status = out_.vertices.empty() ? 1 : 0;
    return out_;
  }

 private:
  struct Property {
    std::string kind, name;
    int type = 0, countType = 0;
  };
  struct Element {
    std::string name;
    long count;
    std::vector<Property> properties;
  };
  /// Of a value: the number, and whether it is a whole number by its type.
  struct Number {
    double value = 0;
    bool isWhole = true;
  };

  static std::vector<std::string> Split(const std::string& line, const char* blanks) {
    std::vector<std::string> words;
    std::size_t i = 0;
    while (i < line.size()) {
      if (std::strchr(blanks, line[i]) != nullptr) {
        ++i;
      } else if (line[i] == '"') {
        const std::size_t close = std::min(line.find('"', i + 1), line.size());
        words.push_back(line.substr(i + 1, close - i - 1));
        i = close + 1;
      } else {
        const std::size_t end = std::min(line.find_first_of(blanks, i), line.size());
        words.push_back(line.substr(i, end - i));
        i = end;
      }
    }
    return words;
  }

  /// False at the end of the file.
  bool NextLine(std::string* line) {
    if (position_ >= bytes_.size()) return false;
    const std::size_t end = std::min(bytes_.find('\n', position_), bytes_.size());
    *line = bytes_.substr(position_, end - position_);
    line->resize(std::min(line->find('\0'), line->size()));
    position_ = std::min(end + 1, bytes_.size());
    return true;
  }

  static int TypeOf(const std::string& name) {
    const char* names[8][2] = {{"int8", "char"},     {"int16", "short"},   {"int32", "int"},
                               {"uint8", "uchar"},   {"uint16", "ushort"}, {"uint32", "uint"},
                               {"float32", "float"}, {"float64", "double"}};
    for (int type = 1; type <= 8; ++type) {
      if (name == names[type - 1][0] || name == names[type - 1][1]) return type;
    }
    return 0;
  }

  static double ToInteger(const std::string& word) {
    return static_cast<double>(
        std::min(std::max(std::strtoll(word.c_str(), nullptr, 10), -2147483648LL), 2147483647LL));
  }

  static double ToUnsigned(const std::string& word) {
    const long long value = std::strtoll(word.c_str(), nullptr, 10);
    if (value > 4294967295LL || value < -4294967295LL) return 4294967295.0;
    return static_cast<double>(static_cast<std::uint32_t>(value));
  }

  bool ReadHeader() {
    std::string line;
    bool isFirst = true, hasFormat = false;
    while (NextLine(&line)) {
      const std::vector<std::string> words = Split(line, " \t");
      const std::string keyword = words.empty() ? "" : words[0];
      if (isFirst && keyword != "ply") return false;
      if (!isFirst && keyword == "format") {
        if (words.size() != 3) return false;
        if (words[1] != "ascii" && words[1] != "binary_big_endian" && words[1] != "binary_little_endian")
          return false;
        format_ = words[1];
        hasFormat = true;
      }
      if (!isFirst && keyword == "element" && words.size() >= 3) {
        elements_.push_back({words[1], std::max(0L, static_cast<long>(ToInteger(words[2]))), {}});
      }
      if (!isFirst && keyword == "property" && !elements_.empty() && words.size() >= 3) AddProperty(words);
      if (!isFirst && keyword == "end_header") break;
      isFirst = false;
    }
    return hasFormat;
  }

  void AddProperty(const std::vector<std::string>& words) {
    Property property;
    if (words[1] == "list") {
      if (words.size() < 5) return;
      property = {"list", words[4], TypeOf(words[3]), TypeOf(words[2])};
    } else if (words[1] == "string") {
      property = {"string", words[2], 1, 1};
    } else {
      property = {"scalar", words[2], TypeOf(words[1]), 0};
    }
    elements_.back().properties.push_back(property);
  }

  static const Property* Find(const Element& element, const std::string& name, const std::string& kind) {
    for (const Property& property : element.properties) {
      if (property.name == name) return property.kind == kind ? &property : nullptr;
    }
    return nullptr;
  }

  void Warn(const Element& element, const std::vector<std::string>& names, const std::string& kind) {
    for (const std::string& name : names) {
      if (Find(element, name, kind) == nullptr)
        out_.messages += "Warning:  Can't find property '" + name + "' in element '" + element.name + "'\n";
    }
  }

  /// The next value of a type. False, with a message, when the type is none.
  bool Next(int type, Number* number) {
    if (type == 0) {
      out_.messages +=
          format_ == "ascii" ? "get_ascii_item: bad type = 0\n" : "get_binary_item: bad type = 0\n";
      return false;
    }
    number->isWhole = type <= 6;
    if (format_ == "ascii") {
      const std::string word = wordIndex_ < words_.size() ? words_[wordIndex_++] : "";
      number->value = type <= 5   ? ToInteger(word)
                      : type == 6 ? ToUnsigned(word)
                                  : qv::test::DecimalPrefix(word);
      return true;
    }
    const int sizes[9] = {0, 1, 2, 4, 1, 2, 4, 4, 8};
    const auto size = static_cast<std::size_t>(sizes[type]);
    if (bytes_.size() - position_ < size) {
      position_ = bytes_.size();
      number->value = 0;
      return true;
    }
    std::string raw = bytes_.substr(position_, size);
    position_ += size;
    if (format_ == "binary_big_endian") raw = std::string(raw.rbegin(), raw.rend());
    number->value = Decode(type, raw.data());
    return true;
  }

  template <class T>
  static double As(const char* raw) {
    T value;
    std::memcpy(&value, raw, sizeof value);
    return static_cast<double>(value);
  }
  static double Decode(int type, const char* raw) {
    switch (type) {
      case 1:
        return As<std::int8_t>(raw);
      case 2:
        return As<std::int16_t>(raw);
      case 3:
        return As<std::int32_t>(raw);
      case 4:
        return As<std::uint8_t>(raw);
      case 5:
        return As<std::uint16_t>(raw);
      case 6:
        return As<std::uint32_t>(raw);
      case 7:
        return As<float>(raw);
      default:
        return As<double>(raw);
    }
  }

  static std::int32_t ToInt32(const Number& number) {
    if (number.isWhole) return static_cast<std::int32_t>(static_cast<std::int64_t>(number.value));
    const bool fits = number.value > -2147483649.0 && number.value < 2147483648.0;
    return fits ? static_cast<std::int32_t>(number.value) : INT32_MIN;
  }

  bool ReadRecord(const Element& element) {
    if (format_ == "ascii") {
      std::string line;
      if (!NextLine(&line)) {
        out_.messages += "ply_get_element: unexpected end of file\n";
        return false;
      }
      words_ = Split(line, " \t\r");
      wordIndex_ = 0;
    }
    PlyReferenceVertex vertex;
    PlyReferenceFace face;
    const bool isVertex = element.name == "vertex", isFace = element.name == "face";
    for (const Property& property : element.properties) {
      const auto isWanted = [&](const char* name) { return Find(element, name, property.kind) == &property; };
      Number number;
      if (property.kind == "scalar") {
        if (!Next(property.type, &number)) return false;
        if (isVertex && isWanted("x")) vertex.x = static_cast<float>(number.value);
        if (isVertex && isWanted("y")) vertex.y = static_cast<float>(number.value);
        if (isVertex && isWanted("z")) vertex.z = static_cast<float>(number.value);
      } else if (property.kind == "string" && format_ == "ascii") {
        if (wordIndex_ < words_.size()) ++wordIndex_;
      } else {
        if (!Next(property.countType, &number)) return false;
        double count = number.isWhole ? number.value : ToInt32(number);
        count = std::max(count, 0.0);
        const bool isCorners = isFace && property.kind == "list" && isWanted("vertex_indices");
        const auto stored = static_cast<std::uint8_t>(static_cast<std::uint64_t>(count) & 0xFF);
        if (isCorners) face.count = stored;
        for (double i = 0; i < count && !IsExhausted(); ++i) {
          if (!Next(property.type, &number)) return false;
          if (isCorners && i < stored && i < 3) face.corners[static_cast<int>(i)] = ToInt32(number);
        }
        if (count > 0 && property.type == 0 && !Next(0, &number)) return false;
      }
    }
    if (isVertex) out_.vertices.push_back(vertex);
    if (isFace) out_.faces.push_back(face);
    return true;
  }

  /// Whether all further values of the record are zero anyway.
  bool IsExhausted() const {
    return format_ == "ascii" ? wordIndex_ >= words_.size() : position_ >= bytes_.size();
  }

  const std::string& bytes_;
  std::size_t position_ = 0;
  std::string format_;
  std::vector<Element> elements_;
  std::vector<std::string> words_;
  std::size_t wordIndex_ = 0;
  PlyReference out_;
};

inline PlyReference ReadPlyReference(const std::string& bytes) {
  return PlyReferenceReader(bytes).Read();
}

}  // namespace qv::test
