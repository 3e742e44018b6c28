// Contenders whose times are close: one call of each in turn, so that whatever disturbs the machine disturbs
// both.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace qv::bench {

inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

template <class Call>
double Milliseconds(Call& call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Runs a pair of calls per iteration, each of them first in every other pair. The counters are the medians
/// of their times and of the pairs' ratios, which benchmarks/summary.py reads.
template <class Ours, class Theirs>
void Alternate(benchmark::State& state, Ours ours, Theirs theirs) {
  std::vector<double> our, their, ratios;
  ours();
  theirs();
  for (auto _ : state) {
    const bool first = ratios.size() % 2 == 0;
    const double before = first ? Milliseconds(ours) : Milliseconds(theirs);
    const double after = first ? Milliseconds(theirs) : Milliseconds(ours);
    our.push_back(first ? before : after);
    their.push_back(first ? after : before);
    ratios.push_back(our.back() / their.back());
  }
  state.counters["ours_ms"] = Median(our);
  state.counters["theirs_ms"] = Median(their);
  state.counters["ratio"] = Median(ratios);
}

/// Registers "title/contender"; `prepare` is called before the pairs.
template <class Prepare, class Ours, class Theirs>
benchmark::internal::Benchmark* RegisterPair(const std::string& title, const std::string& contender,
                                             Prepare prepare, Ours ours, Theirs theirs) {
  return benchmark::RegisterBenchmark((title + "/" + contender).c_str(), [=](benchmark::State& state) {
    prepare();
    Alternate(state, ours, theirs);
  });
}

}  // namespace qv::bench
