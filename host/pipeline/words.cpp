#include "pipeline/words.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>

#include "units.h"

namespace qv3d {
namespace {

constexpr double kMostSamples = 1e9;

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n';
}

/// The word that begins at `at`, which is moved behind it.
Word TakeWord(const std::string& text, std::size_t& at) {
  Word word{{}, at};
  bool quoted = false;
  for (; at < text.size() && (quoted || (!IsBlank(text[at]) && text[at] != '|')); ++at) {
    if (text[at] == '"') {
      quoted = !quoted;
    } else {
      word.text += text[at];
    }
  }
  if (quoted) throw TextFault(word.position, "a quote without its end");
  return word;
}

bool SetUnit(Quantity& quantity, const std::string& unit) {
  if (unit == "samples" || unit == "sample") {
    quantity.kind = Quantity::Kind::kSamples;
    return true;
  }
  quantity.metres = UnitInMetres(unit);
  quantity.kind = Quantity::Kind::kLength;
  return quantity.metres > 0;
}

}  // namespace

std::vector<std::vector<Word>> SplitSteps(const std::string& text) {
  std::vector<std::vector<Word>> steps(1);
  for (std::size_t at = 0; at < text.size();) {
    if (IsBlank(text[at])) {
      ++at;
    } else if (text[at] == '|') {
      if (steps.back().empty()) throw TextFault(at, "no step before this bar");
      steps.emplace_back();
      ++at;
    } else {
      steps.back().push_back(TakeWord(text, at));
    }
  }
  if (steps.back().empty()) {
    throw TextFault(text.size(), steps.size() == 1 ? "no step at all" : "no step behind the last bar");
  }
  return steps;
}

double Quantity::Length(const std::string& fileUnit, double spacing) const {
  if (kind == Kind::kSamples) return number * spacing;
  return kind == Kind::kLength ? number * metres / UnitInMetres(fileUnit) : number;
}

void StepWords::RequireEnd() const {
  if (!AtEnd()) Refuse(words_[next_], fmt::format("{} does not take \"{}\"", Name(), words_[next_].text));
}

const Word& StepWords::Peek(const char* what) const {
  if (!AtEnd()) return words_[next_];
  const Word& last = words_.back();
  throw TextFault(last.position + last.text.size(), fmt::format("{} needs {}", Name(), what));
}

const Word& StepWords::Take(const char* what) {
  const Word& word = Peek(what);
  ++next_;
  return word;
}

bool StepWords::TakeIf(const char* word) {
  if (AtEnd() || words_[next_].text != word) return false;
  ++next_;
  return true;
}

bool StepWords::IsNumberNext() const {
  return !AtEnd() && words_[next_].text.find_first_of("0123456789") < 3 &&
         std::string("+-.0123456789").find(words_[next_].text[0]) != std::string::npos;
}

Quantity StepWords::TakeQuantity(const char* what) {
  const Word& word = Take(what);
  Quantity quantity;
  const char* const end = word.text.data() + word.text.size();
  const auto [rest, error] = std::from_chars(word.text.data(), end, quantity.number);
  if (error != std::errc() || !std::isfinite(quantity.number)) {
    Refuse(word, fmt::format("\"{}\" is no number; {} needs {}", word.text, Name(), what));
  }
  if (rest != end) {
    const std::string unit(rest, end);
    if (!SetUnit(quantity, unit)) {
      Refuse(word, fmt::format("unknown unit \"{}\"; there are m, mm, um, nm, in and samples", unit));
    }
    return quantity;
  }
  Quantity withUnit = quantity;
  if (!AtEnd() && SetUnit(withUnit, words_[next_].text)) {
    ++next_;
    return withUnit;
  }
  return quantity;
}

Quantity StepWords::TakePositive(const char* what) {
  const Word& word = Peek(what);
  const Quantity quantity = TakeQuantity(what);
  if (!(quantity.number > 0)) Refuse(word, fmt::format("{} needs {} greater than 0", Name(), what));
  return quantity;
}

int StepWords::TakeCount(const char* what) {
  const Word& word = Peek(what);
  const Quantity quantity = TakeQuantity(what);
  if (quantity.kind == Quantity::Kind::kLength || quantity.number != std::floor(quantity.number) ||
      quantity.number < 0 || quantity.number > kMostSamples) {
    Refuse(word, fmt::format("\"{}\": {} needs {}, a whole number", word.text, Name(), what));
  }
  return static_cast<int>(quantity.number);
}

}  // namespace qv3d
