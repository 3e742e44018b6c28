#include "files/ply_body.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

namespace qv3d {
namespace {

/// What becomes of a property's values.
enum class Use { kNothing, kX, kY, kZ, kCorners };

/// What an element's records are to the mesh.
class Receiver {
 public:
  Receiver(const PlyElement& element, PlyFile& file) : file_(file) {
    isVertex_ = element.name == "vertex";
    isFace_ = element.name == "face";
    if (isVertex_) file.vertices.clear();
    if (isFace_) {
      file.corners.clear();
      file.faceEnds.clear();
    }
    const PlyProperty* const corners = CornersOf(element);
    for (const PlyProperty& property : element.properties) uses_.push_back(UseOf(property, corners));
  }

  Use UseOfProperty(std::size_t i) const { return uses_[i]; }

  void Take(Use use, double value) {
    if (use == Use::kCorners) {
      file_.corners.push_back(value >= 0 && value < kNoPlyVertex ? static_cast<std::uint32_t>(value)
                                                                 : kNoPlyVertex);
    } else if (use != Use::kNothing) {
      vertex_[static_cast<std::size_t>(use) - 1] = value;
    }
  }

  void EndRecord() {
    if (isVertex_) file_.vertices.push_back(vertex_);
    if (isFace_) file_.faceEnds.push_back(file_.corners.size());
    vertex_ = {};
  }

  /// The corners of a face of which only a part was there.
  void DropRecord() { file_.corners.resize(file_.faceEnds.empty() ? 0 : file_.faceEnds.back()); }

 private:
  static const PlyProperty* CornersOf(const PlyElement& element) {
    const PlyProperty* const list = element.Find(kPlyCorners, PlyKind::kList);
    return list != nullptr ? list : element.Find(kPlyOtherCorners, PlyKind::kList);
  }

  Use UseOf(const PlyProperty& property, const PlyProperty* corners) const {
    if (isFace_ && &property == corners) return Use::kCorners;
    if (!isVertex_ || property.kind != PlyKind::kScalar) return Use::kNothing;
    return property.name == "x"   ? Use::kX
           : property.name == "y" ? Use::kY
           : property.name == "z" ? Use::kZ
                                  : Use::kNothing;
  }

  PlyFile& file_;
  bool isVertex_ = false, isFace_ = false;
  std::vector<Use> uses_;
  std::array<double, 3> vertex_{};
};

bool IsWhole(PlyType type) {
  return type != PlyType::kFloat32 && type != PlyType::kFloat64 && type != PlyType::kNone;
}

/// Negative lengths and none at all are 0.
std::uint64_t ListLength(double count) {
  return count > 0 ? static_cast<std::uint64_t>(std::min(count, 0x1p53)) : 0;
}

class TextReader {
 public:
  TextReader(std::string_view bytes, const PlyBodyStart& start, PlyFile& file)
      : bytes_(bytes), at_(start.at), line_(start.line - 1), lineEnd_(start.lineEnd), file_(file) {}

  void Run() {
    for (PlyElement& element : file_.elements) {
      Receiver receiver(element, file_);
      for (; element.present < element.announced; ++element.present) {
        if (!NextLine(!element.properties.empty())) return;
        ReadRecord(element, receiver);
      }
    }
  }

 private:
  /// Blank lines are no records of elements with properties.
  bool NextLine(bool needsWords) {
    while (at_ < bytes_.size()) {
      const std::size_t end = std::min(bytes_.find(lineEnd_, at_), bytes_.size());
      rest_ = bytes_.substr(at_, end - at_);
      at_ = end + 1;
      ++line_;
      if (!needsWords || rest_.find_first_not_of(kBlanks) != std::string_view::npos) {
        file_.blankLines += std::exchange(pendingBlanks_, 0);
        return true;
      }
      ++pendingBlanks_;
    }
    return false;
  }

  /// Empty at the end of the line. A word in double quotes may hold blanks.
  std::string_view NextWord() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
    const bool quoted = !rest_.empty() && rest_.front() == '"';
    std::size_t end = quoted ? rest_.find('"', 1) : rest_.find_first_of(kBlanks);
    if (quoted && end != std::string_view::npos) ++end;
    const std::string_view word = rest_.substr(0, end);
    rest_.remove_prefix(word.size());
    return word;
  }

  void ReadRecord(const PlyElement& element, Receiver& receiver) {
    for (std::size_t i = 0; i < element.properties.size(); ++i) {
      const PlyProperty& property = element.properties[i];
      const Use use = receiver.UseOfProperty(i);
      if (property.kind != PlyKind::kList) {
        const std::string_view word = NextWord();
        if (use != Use::kNothing) receiver.Take(use, Number(word, property.type));
        continue;
      }
      const std::uint64_t count = ListLength(Number(NextWord(), property.countType));
      // A list cannot be longer than its line: the loop ends with it.
      for (std::uint64_t k = 0; k < count; ++k) {
        const std::string_view word = NextWord();
        if (use != Use::kNothing) receiver.Take(use, Number(word, property.type));
        if (word.empty()) break;
      }
    }
    receiver.EndRecord();
  }

  /// NaN where the word is none.
  double Number(std::string_view word, PlyType type) {
    double value = 0;
    bool hasComma = false;
    if (!ParseForgivingly(word, value, hasComma)) {
      if (file_.badWords++ == 0) file_.firstBadLine = line_;
      return NAN;
    }
    file_.decimalCommas += hasComma;
    file_.notWhole += IsWhole(type) && LeadingInteger(word) != value;
    return value;
  }

  static double LeadingInteger(std::string_view word) {
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    std::int64_t whole = 0;
    std::from_chars(word.data(), word.data() + word.size(), whole);
    return static_cast<double>(whole);
  }

  static constexpr const char* kBlanks = " \t\r";

  const std::string_view bytes_;
  std::size_t at_;
  std::uint64_t line_, pendingBlanks_ = 0;
  const char lineEnd_;
  std::string_view rest_;
  PlyFile& file_;
};

template <class T>
double Load(const char* source, bool reversed) {
  char bytes[sizeof(T)];
  std::memcpy(bytes, source, sizeof bytes);
  if (reversed) std::reverse(std::begin(bytes), std::end(bytes));
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return static_cast<double>(value);
}

double LoadNumber(const char* source, PlyType type, bool reversed) {
  switch (type) {
    case PlyType::kInt8:
      return Load<std::int8_t>(source, reversed);
    case PlyType::kInt16:
      return Load<std::int16_t>(source, reversed);
    case PlyType::kInt32:
      return Load<std::int32_t>(source, reversed);
    case PlyType::kUint8:
      return Load<std::uint8_t>(source, reversed);
    case PlyType::kUint16:
      return Load<std::uint16_t>(source, reversed);
    case PlyType::kUint32:
      return Load<std::uint32_t>(source, reversed);
    case PlyType::kFloat32:
      return Load<float>(source, reversed);
    case PlyType::kFloat64:
      return Load<double>(source, reversed);
    default:
      return NAN;
  }
}

std::size_t BytesOf(PlyType type) {
  constexpr std::size_t kBytes[] = {0, 1, 2, 4, 1, 2, 4, 4, 8};
  return kBytes[static_cast<int>(type)];
}

class BinaryReader {
 public:
  BinaryReader(std::string_view bytes, const PlyBodyStart& start, PlyFile& file)
      : bytes_(bytes), at_(start.at), file_(file) {
    static_assert(std::endian::native == std::endian::little);
    reversed_ = file.encoding == PlyEncoding::kBinaryBigEndian;
  }

  void Run() {
    for (PlyElement& element : file_.elements) {
      Receiver receiver(element, file_);
      if (element.properties.empty()) {
        element.present = element.announced;  // they take no place
        continue;
      }
      for (; element.present < element.announced; ++element.present) {
        if (!ReadRecord(element, receiver)) {
          receiver.DropRecord();
          return;
        }
        receiver.EndRecord();
      }
    }
  }

 private:
  std::size_t Left() const { return bytes_.size() - at_; }

  bool ReadValue(PlyType type, double& value) {
    const std::size_t size = BytesOf(type);
    if (size == 0 || Left() < size) return false;
    value = LoadNumber(bytes_.data() + at_, type, reversed_);
    at_ += size;
    return true;
  }

  /// False where the file ends before the record does, or a type is none.
  bool ReadRecord(const PlyElement& element, Receiver& receiver) {
    for (std::size_t i = 0; i < element.properties.size(); ++i) {
      const PlyProperty& property = element.properties[i];
      double length = 1, value = 0;
      if (property.kind != PlyKind::kScalar && !ReadValue(property.countType, length)) return false;
      const std::uint64_t count = ListLength(length);
      if (count == 0) continue;
      const std::size_t size = BytesOf(property.type);
      if (size == 0 || count > Left() / size) return false;
      const Use use = receiver.UseOfProperty(i);
      if (use == Use::kNothing) {
        at_ += count * size;
        continue;
      }
      for (std::uint64_t k = 0; k < count; ++k) {
        if (!ReadValue(property.type, value)) return false;
        receiver.Take(use, value);
      }
    }
    return true;
  }

  const std::string_view bytes_;
  std::size_t at_;
  bool reversed_ = false;
  PlyFile& file_;
};

}  // namespace

void ReadPlyText(std::string_view bytes, const PlyBodyStart& start, PlyFile& file) {
  TextReader(bytes, start, file).Run();
}

void ReadPlyBinary(std::string_view bytes, const PlyBodyStart& start, PlyFile& file) {
  BinaryReader(bytes, start, file).Run();
}

}  // namespace qv3d
