// Tells the user on the standard error stream what is going on, once it takes long enough to matter.
#pragma once

#include <chrono>
#include <string>

namespace qv3d {

class Progress {
 public:
  explicit Progress(bool quiet = false);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Finish(); }

  /// Begins the next phase; the one before is over.
  void Phase(const std::string& name);
  /// Shows the elapsed time; to be called now and then.
  void Tick();
  /// As Tick, where the share of the work that is done is known: shows the time that is left.
  void Tick(double done);
  void Finish();

 private:
  using Clock = std::chrono::steady_clock;

  double Seconds() const;
  void Show(const std::string& state);

  bool quiet_;
  bool terminal_;
  bool shown_ = false;
  std::string name_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point shownAt_{};
};

}  // namespace qv3d
