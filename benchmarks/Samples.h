// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstddef>
#include <vector>

namespace wicket::benchmarks {

using Microseconds = std::chrono::duration<double, std::micro>;

/// How long each single run of something took. A mean over many runs would hide what one client waits.
class Samples {
 public:
  /// Runs @p work once.
  template <typename Work>
  void take(const Work& work) {
    const auto before = std::chrono::steady_clock::now();
    work();
    add(std::chrono::steady_clock::now() - before);
  }
  void add(Microseconds duration) { values_.push_back(duration.count()); }

  /// The duration that this share of the runs did not exceed, in microseconds. There must be one run.
  [[nodiscard]] double quantile(double share) const {
    std::vector<double> sorted = values_;
    const auto position = static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
    std::ranges::nth_element(sorted, sorted.begin() + position);
    return sorted[static_cast<std::size_t>(position)];
  }
  [[nodiscard]] double median() const { return quantile(0.5); }

  /// Shows them in the table.
  void report(benchmark::State& state) const {
    if (values_.empty()) return;
    state.counters["min_us"] = quantile(0);
    state.counters["median_us"] = median();
    state.counters["p99_us"] = quantile(0.99);
  }

 private:
  std::vector<double> values_;
};

}  // namespace wicket::benchmarks
