// How the program ends, and the error that carries it there from anywhere.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace qv3d {

enum class ExitCode { kOk = 0, kUsage = 1, kUnreadable = 2, kCorrupt = 3, kNotComputable = 4 };

/// What was printed on the standard output before a failure: with a result there, nothing may follow.
enum class Printed { kNothing, kAlready };

/// An error for the user: what is wrong, and in `advice` what to do about it (may be empty).
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& what, std::string advice = {},
          Printed printed = Printed::kNothing)
      : std::runtime_error(what), code_(code), advice_(std::move(advice)), printed_(printed) {}

  ExitCode code() const { return code_; }
  const std::string& advice() const { return advice_; }
  Printed printed() const { return printed_; }

 private:
  ExitCode code_;
  std::string advice_;
  Printed printed_;
};

}  // namespace qv3d
