// Records of text files: a line each. Lines are looked at only once they have been read up to their ends, so
// that a scanner need not ask.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "mesh/plain_decimal.h"
#include "mesh/ply/diagnostics.h"
#include "mesh/ply/records.h"
#include "mesh/ply/words.h"

namespace qv::ply {
namespace {

/// What is done with the words of a property.
enum class Action {
  kPass,
  kStoreFloat,  ///< the word of a float or double as a float
  kStore,
  kStoreString,
  kList,
  kFault  ///< a type is none
};

struct Step {
  Action action;
  Form form;
  const PlyProperty* property;
};

bool EndsWord(char c) {
  return IsBlank<Part::kBody>(c) || EndsLine(c);
}

/// Moves over what is left of a word.
const char* PassWord(const char* text) {
  while (!EndsWord(*text)) ++text;
  return text;
}

/// Goes to the next word. False at the end of the line.
inline bool FindWord(const char** text) {
  if (**text == ' ' && static_cast<unsigned char>((*text)[1]) > ' ') {
    ++*text;
    return true;
  }
  *text = SkipBlanks<Part::kBody>(*text);
  return !EndsLine(**text);
}

/// A word of at most seven digits, perhaps with a minus in front, and nothing else.
inline bool ScanShortInteger(const char** text, bool* negative, std::int32_t* magnitude) {
  static_assert(std::endian::native == std::endian::little);
  *negative = **text == '-';
  const char* first = *text + static_cast<int>(*negative);
  std::uint64_t characters;
  std::memcpy(&characters, first, sizeof characters);
  characters ^= 0x3030303030303030U;
  const std::uint64_t others = ((characters + 0x7676767676767676U) | characters) & 0x8080808080808080U;
  const int count = std::countr_zero(others) / 8;
  if (count == 0 || count == 8 || !EndsWord(first[count])) return false;
  *magnitude = static_cast<std::int32_t>(mesh::JoinEightDigits(characters << (8 * (8 - count))));
  *text = first + count;
  return true;
}

/// Takes the word at *text and calls `body` with its number.
template <class Body>
inline auto TakeNumber(Form form, const char** text, Body body) {
  const Word word = TakeWord<Part::kBody>(*text);
  *text = word.end;
  return WithNumber(form, word.text, body);
}

inline std::int32_t TakeInteger(const char** text) {
  bool negative = false;
  std::int32_t magnitude = 0;
  if (ScanShortInteger(text, &negative, &magnitude)) return negative ? -magnitude : magnitude;
  return TakeNumber(Form::kInteger, text, [](auto number) { return static_cast<std::int32_t>(number); });
}

/// The double nearest to the word, as a float: where the quick ways apply, the nearest float is the same.
inline float TakeFloat(const char** text) {
  float value = 0;
  if (mesh::ScanPlainDecimal(text, &value)) {
    *text = PassWord(*text);
    return value;
  }
  bool negative = false;
  std::int32_t magnitude = 0;
  if (ScanShortInteger(text, &negative, &magnitude))
    return mesh::WithSign(static_cast<float>(magnitude), negative);
  return TakeNumber(Form::kDecimal, text, [](auto number) { return static_cast<float>(number); });
}

/// The length that a word announces.
std::uint32_t TakeCount(Form form, const char** text) {
  if (form == Form::kInteger) return static_cast<std::uint32_t>(std::max(TakeInteger(text), 0));
  return TakeNumber(form, text, [](auto number) {
    if constexpr (std::is_same_v<decltype(number), std::uint32_t>) {
      return number;
    } else {
      return static_cast<std::uint32_t>(std::max(ConvertValue<std::int32_t>(number), 0));
    }
  });
}

void CheckExternalType(Type type) {
  if (!IsType(type)) EndForType("get_ascii_item", type);
}

/// What every record needs of a property. The types of a list's items matter only where it has some.
Type FirstRead(const PlyProperty& property) {
  return property.kind == PropertyKind::kList ? property.countExternalType : property.externalType;
}
Type FirstStored(const PlyProperty& property) {
  return property.kind == PropertyKind::kList ? property.countInternalType : property.internalType;
}

bool HasFault(const PlyProperty& property) {
  return !IsType(FirstRead(property)) || (property.isWanted && !IsType(FirstStored(property)));
}

[[noreturn]] void EndForFault(const PlyProperty& property) {
  CheckExternalType(FirstRead(property));
  EndForType("store_item", FirstStored(property));
}

class TextRecords {
 public:
  TextRecords(mesh::BlockReader& reader, PlyElement& element)
      : reader_(reader), element_(element), linesEnd_(reader.Cursor()) {
    for (const PlyProperty& property : element.properties) AddStep(property);
    while (!steps_.empty() && !IsNeeded(steps_.back())) steps_.pop_back();
  }

  std::ptrdiff_t Read(char* records, std::size_t stride, std::size_t count) {
    for (std::size_t done = 0; done < count; ++done) {
      if (reader_.Cursor() >= linesEnd_ && !ReadLines()) {
        if (reader_.OutOfMemory()) return -1;
        diagnostics::Print("ply_get_element: unexpected end of file\n");
        diagnostics::EndProcess();
      }
      const char* end = ReadRecord(reader_.Cursor(), records + done * stride);
      if (end == nullptr) return -1;
      reader_.ConsumeTo(BehindLine(end));
    }
    return static_cast<std::ptrdiff_t>(count);
  }

 private:
  void AddStep(const PlyProperty& property) {
    if (hasFault_) return;  // what follows is never reached
    hasFault_ = HasFault(property);
    steps_.push_back({ActionOf(property), FormOf(property.externalType), &property});
  }

  Action ActionOf(const PlyProperty& property) const {
    if (hasFault_) return Action::kFault;
    if (property.kind == PropertyKind::kList) return Action::kList;
    if (!property.isWanted) return Action::kPass;
    if (property.kind == PropertyKind::kString) return Action::kStoreString;
    const bool isFloat =
        FormOf(property.externalType) == Form::kDecimal && property.internalType == Type::kFloat32;
    return isFloat ? Action::kStoreFloat : Action::kStore;
  }

  bool IsNeeded(const Step& step) const {
    if (step.action == Action::kFault || step.property->isWanted || element_.keepsOthers) return true;
    return step.action == Action::kList && !IsType(step.property->externalType);
  }

  /// Makes sure that whole lines have been read. False at the end of the file.
  bool ReadLines() {
    std::size_t known = 0;
    for (;;) {
      const char* first = reader_.Cursor();
      const char* end = reader_.End();
      while (end > first + known && end[-1] != '\n') --end;
      if (end > first + known) {
        linesEnd_ = end;
        return true;
      }
      known = reader_.Available();
      if (!reader_.ReadMore()) break;
    }
    linesEnd_ = reader_.End();  // the last line may lack its newline
    return reader_.Available() > 0 && !reader_.OutOfMemory();
  }

  /// `text` lies in the line of the record that was read.
  const char* BehindLine(const char* text) const {
    if (*text != '\n') {
      text =
          static_cast<const char*>(std::memchr(text, '\n', static_cast<std::size_t>(reader_.End() - text)));
    }
    return text == nullptr ? reader_.End() : text + 1;
  }

  /// Returns where it stopped in the line; null when memory ran out.
  const char* ReadRecord(const char* text, char* record) {
    for (const Step& step : steps_) {
      const bool isWord = FindWord(&text);
      if (!isWord && !hasFault_) break;  // words that are missing are zero, as the record is
      const PlyProperty& property = *step.property;
      if (step.action == Action::kFault) EndForFault(property);
      if (!isWord) continue;
      const char* before = text;
      switch (step.action) {
        case Action::kStoreFloat: {
          const float value = TakeFloat(&text);
          std::memcpy(record + property.offset, &value, sizeof value);
          break;
        }
        case Action::kStore:
          StoreNumber(step.form, property.internalType, &text, record + property.offset);
          break;
        case Action::kStoreString:
          StoreString(property, &text, record + property.offset);
          break;
        case Action::kList:
          ReadList(step, &text, record);
          break;
        default:
          text = TakeWord<Part::kBody>(text).end;
          break;
      }
      if (element_.keepsOthers && !property.isWanted && !SetAside(before, text, ' ')) return nullptr;
    }
    return element_.keepsOthers && !SetAside(text, text, '\n') ? nullptr : text;
  }

  static void StoreNumber(Form form, Type type, const char** text, char* target) {
    TakeNumber(form, text, [=](auto number) { StoreValue(number, type, target); });
  }

  static void StoreString(const PlyProperty& property, const char** text, char* target) {
    const Word word = TakeWord<Part::kBody>(*text);
    *text = word.end;
    std::memcpy(target, word.text.data(), KeptItems(property, word.text.size()));
  }

  static void ReadList(const Step& step, const char** text, char* record) {
    const PlyProperty& list = *step.property;
    const std::uint32_t count = TakeCount(FormOf(list.countExternalType), text);
    std::size_t kept = 0;
    if (count > 0) CheckExternalType(list.externalType);
    if (list.isWanted) {
      StoreValue(count, list.countInternalType, record + list.countOffset);
      if (count > 0) CheckInternalType(list.internalType);
      kept = KeptItems(list, count);
      if (step.form == Form::kInteger && list.internalType == Type::kInt32) {
        StoreIntegers(text, record + list.offset, kept);
      } else {
        const std::size_t itemBytes = BytesOf(list.internalType);
        for (std::size_t i = 0; i < kept && FindWord(text); ++i)
          StoreNumber(step.form, list.internalType, text, record + list.offset + i * itemBytes);
      }
    }
    for (std::size_t i = kept; i < count && FindWord(text); ++i) *text = TakeWord<Part::kBody>(*text).end;
  }

  static void StoreIntegers(const char** text, char* target, std::size_t count) {
    for (std::size_t i = 0; i < count && FindWord(text); ++i) {
      const std::int32_t value = TakeInteger(text);
      std::memcpy(target + i * sizeof value, &value, sizeof value);
    }
  }

  /// Words are followed by a blank and records by a newline, whatever the file has there.
  bool SetAside(const char* begin, const char* end, char separator) {
    const auto count = static_cast<std::size_t>(end - begin);
    char* kept = element_.others.Extend(count + 1);
    if (kept == nullptr) return false;
    std::memcpy(kept, begin, count);
    kept[count] = separator;
    return true;
  }

  mesh::BlockReader& reader_;
  PlyElement& element_;
  std::vector<Step> steps_;
  bool hasFault_ = false;
  const char* linesEnd_;  ///< up to here whole lines have been read
};

}  // namespace

std::ptrdiff_t ReadTextRecords(mesh::BlockReader& reader, PlyElement& element, char* records,
                               std::size_t stride, std::size_t count) {
  return TextRecords(reader, element).Read(records, stride, count);
}

}  // namespace qv::ply
