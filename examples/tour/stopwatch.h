// Time of library calls: each lap wraps the calls and nothing else, and the median lap counts.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace tour {

class Stopwatch {
 public:
  template <class Calls>
  void lap(Calls calls) {
    const auto start = std::chrono::steady_clock::now();
    calls();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    laps_.push_back(time.count());
  }

  // Milliseconds of the median lap; 0 before the first lap.
  double median() const {
    if (laps_.empty()) return 0.0;
    std::vector<double> sorted = laps_;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return *middle;
  }

 private:
  std::vector<double> laps_;
};

}  // namespace tour
