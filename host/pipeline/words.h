// The text of a pipeline, word by word, and numbers with units.
#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace qv3d {

/// What is wrong with the text of a pipeline, and at which byte of it.
class TextFault : public std::runtime_error {
 public:
  TextFault(std::size_t position, const std::string& what) : std::runtime_error(what), position_(position) {}
  std::size_t position() const { return position_; }

 private:
  std::size_t position_;
};

struct Word {
  std::string text;
  std::size_t position;  ///< of its first byte in the pipeline's text
};

/// The words of each step. Steps are separated by "|", words by blanks; double quotes keep blanks and bars.
/// Throws TextFault on an empty step and a quote without end.
std::vector<std::vector<Word>> SplitSteps(const std::string& text);

/// A number and what it counts.
struct Quantity {
  enum class Kind { kPlain, kSamples, kLength };
  double number = 0;
  Kind kind = Kind::kPlain;
  double metres = 1;  ///< one of its unit, of a length

  /// In the unit of the file. A plain number is in it already; samples are `spacing` apart.
  double Length(const std::string& fileUnit, double spacing) const;
};

/// Takes the words of one step, one after the other. Everything throws TextFault where it does not find what
/// it should.
class StepWords {
 public:
  explicit StepWords(std::vector<Word> words) : words_(std::move(words)) {}

  const std::string& Name() const { return words_.front().text; }
  std::size_t Position() const { return words_.front().position; }
  bool AtEnd() const { return next_ == words_.size(); }
  void RequireEnd() const;

  /// The next word; `what` names it where it is missing.
  const Word& Take(const char* what);
  /// The next word, not taken.
  const Word& Peek(const char* what) const;
  /// True, and the word is taken, where it is the next.
  bool TakeIf(const char* word);
  /// True where the next word begins like a number.
  bool IsNumberNext() const;
  /// "0.8mm", "0.8 mm", "12 samples", "3".
  Quantity TakeQuantity(const char* what);
  /// As TakeQuantity, greater than 0.
  Quantity TakePositive(const char* what);
  /// A whole number of samples; a unit other than samples is refused.
  int TakeCount(const char* what);

  [[noreturn]] static void Refuse(const Word& word, const std::string& what) {
    throw TextFault(word.position, what);
  }

 private:
  std::vector<Word> words_;
  std::size_t next_ = 1;
};

}  // namespace qv3d
