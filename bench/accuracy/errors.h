/// Errors gathered: the largest, the mean with its sign; and the middle one of a list.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace accuracy {

class errors {
 public:
  void add(double error) {
    sum_ += error;
    ++count_;
    // A NaN is the worst of all, and stays.
    if (!(std::fabs(error) <= worst_)) worst_ = std::fabs(error);
  }

  [[nodiscard]] double worst() const { return worst_; }
  [[nodiscard]] double mean() const { return sum_ / static_cast<double>(count_); }

 private:
  double sum_ = 0;
  double worst_ = 0;
  size_t count_ = 0;
};

/// The value at `share` (0 to 1) of the way through the sorted list; not of an empty one.
[[nodiscard]] inline double value_at(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  return values[static_cast<size_t>(share * static_cast<double>(values.size() - 1) + 0.5)];
}

}  // namespace accuracy
