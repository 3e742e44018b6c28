// A slow and obvious STL reader over the bytes of a file: character by character, every rule written down
// where it applies.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "mesh/triangle_geometry.h"

namespace qv::test {

struct StlReference {
  int result = 0;  ///< the number of triangles, or -1
  std::vector<mesh::Triangle> triangles;
  std::string messages;
};

class StlReferenceReader {
 public:
  explicit StlReferenceReader(const std::string& bytes) : bytes_(bytes) {}

  StlReference Read() {
    if (bytes_.empty()) return Fail();
    std::string line;
    for (const char c : bytes_.substr(0, 5)) {
      line += c;
      if (c == '\n') break;
    }
    line = Lower(line.c_str());
    return line == "solid" ? ReadText() : ReadBinary();
  }

  /// What formatted input takes for a number: the longest start of the text that is, or begins, one.
  static bool ScanNumber(const std::string& text, std::size_t* position, float* value) {
    static const std::regex number(
        "[+-]?(inf|infinity|nan|nan\\([0-9a-z_]*\\)|0x([0-9a-f]+\\.?[0-9a-f]*|\\.[0-9a-f]+)(p[+-]?[0-9]+)?"
        "|([0-9]+\\.?[0-9]*|\\.[0-9]+)(e[+-]?[0-9]+)?)",
        std::regex::icase | std::regex::optimize);
    static const std::regex beginning(
        "[+-]?(|i|in|inf|infi|infin|infini|infinit|infinity|n|na|nan|nan\\([0-9a-z_]*\\)?"
        "|0x[0-9a-f]*\\.?[0-9a-f]*|0x([0-9a-f]+\\.?[0-9a-f]*|\\.[0-9a-f]+)p[+-]?[0-9]*"
        "|[0-9]*\\.?[0-9]*|([0-9]+\\.?[0-9]*|\\.[0-9]+)e[+-]?[0-9]*)",
        std::regex::icase | std::regex::optimize);
    std::string item;
    while (*position < text.size() && std::regex_match(item + text[*position], beginning)) {
      item += text[(*position)++];
    }
    if (!std::regex_match(item, number)) return false;
    *value = std::strtof(item.c_str(), nullptr);
    return true;
  }

 private:
  static std::string Lower(const char* text) {
    std::string lower;
    for (; *text != '\0'; ++text)
      lower += *text >= 'A' && *text <= 'Z' ? static_cast<char>(*text + 32) : *text;
    return lower;
  }
  static bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
  }

  StlReference Fail() {
    out_.result = -1;
    out_.triangles.clear();
    return out_;
  }
  StlReference Stop() {
    out_.result = static_cast<int>(out_.triangles.size());
    return out_;
  }

  template <class T>
  bool Take(T* value) {
    if (bytes_.size() - position_ < sizeof(T)) {
      position_ = bytes_.size();
      return false;
    }
    std::memcpy(value, bytes_.data() + position_, sizeof(T));
    position_ += sizeof(T);
    return true;
  }

  StlReference ReadBinary() {
    if (bytes_.size() < 80) {
      out_.messages += "ReadSTL - Error reading binary file header\n";
      return Fail();
    }
    position_ = 80;
    std::int32_t expected = 0;
    Take(&expected);
    if (expected < 1) return Stop();
    float record[9] = {};
    while (static_cast<std::int64_t>(out_.triangles.size()) < expected) {
      float normal[3];
      if (!Take(&normal[0]) || !Take(&normal[1]) || !Take(&normal[2])) {
        out_.messages += "ReadSTL - Error reading triangle normal\n";
        return Stop();
      }
      bool failed = false;
      for (float& coordinate : record) {
        if (!Take(&coordinate)) failed = true;
      }
      if (failed) out_.messages += "ReadSTL - Error reading triangle vertices\n";
      Store(record);
      std::uint8_t attribute;
      Take(&attribute);
      Take(&attribute);
    }
    return Stop();
  }

  void Store(const float* nine) {
    mesh::Triangle t;
    std::memcpy(&t, nine, sizeof t);
    out_.triangles.push_back(t);
  }

  void SkipSpace() {
    while (position_ < bytes_.size() && IsSpace(bytes_[position_])) ++position_;
  }

  bool NextWord(std::string* word) {
    SkipSpace();
    word->clear();
    while (position_ < bytes_.size() && !IsSpace(bytes_[position_])) *word += bytes_[position_++];
    return !word->empty();
  }

  StlReference ReadText() {
    float pending[4][3];
    int count = 0;
    std::string word;
    while (NextWord(&word)) {
      const std::string keyword = Lower(word.c_str());
      if (keyword == "facet" || keyword == "endfacet") {
        if (count == 3) Store(pending[0]);
        count = 0;
      }
      if (keyword == "vertex") {
        for (float& coordinate : pending[count]) {
          SkipSpace();
          if (!ScanNumber(bytes_, &position_, &coordinate)) {
            out_.messages += "ReadSTL - Error occured reading a vertex\n";
            return Stop();
          }
        }
        ++count;
        if (count > 3) {
          out_.messages += "ReadSTL - More than 3 vertices, shouldn't happen\n";
          count = 0;
        }
      }
    }
    return Stop();
  }

  const std::string& bytes_;
  std::size_t position_ = 0;
  StlReference out_;
};

inline StlReference ReadStlReference(const std::string& bytes) {
  return StlReferenceReader(bytes).Read();
}

}  // namespace qv::test
