/// One row of the table: a routine at one size, and everybody who does the same work in turn.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "bench/plane.h"

namespace bench {

/// Does the work once; an empty one is a peer that is not there, or cannot do it.
using job = std::function<void()>;

/// Time of ours divided by the rival's. A goal with two ends is met below the lower one.
struct goal {
  double low = 0;  ///< 0: none is set
  double high = 0;

  goal() = default;
  goal(double both) : low(both), high(both) {}  // a plain number reads best in the rows
  goal(double from, double to) : low(from), high(to) {}
};

class contest {
 public:
  struct contender {
    std::string name;
    job run;
  };

  /// The names that are no peers'.
  static constexpr const char* ours_name = "ours";
  static constexpr const char* scalar_name = "scalar";
  static constexpr const char* copy_name = "copy";
  static constexpr const char* operations_name = "operations";
  static constexpr const char* work_name = "bound";
  [[nodiscard]] static bool is_peer(const std::string& name);
  [[nodiscard]] static bool is_onlooker(const std::string& name) { return name[0] == '('; }
  [[nodiscard]] static bool is_bound(const std::string& name);

  void ours(job run) { add(ours_name, std::move(run)); }
  void scalar(job run) { add(scalar_name, std::move(run)); }
  void peer(const std::string& name, job run) { add(name, std::move(run)); }
  /// Who does it with samples of another type that happen to be as long: shown, but no rival.
  void onlooker(const std::string& name, job run) { add("(" + name + ")", std::move(run)); }

  /// Physical bounds; the larger one counts. Bytes are those read and those written, each once, and
  /// the clock runs for a plain copy that moves as many. Operations are additions or products in
  /// lanes of 32 bits, and the clock runs for as many, independent, in the table's vectors.
  void bound_by_bytes(size_t moved);
  void bound_by_operations(double operations);
  /// Work that the routine cannot do without.
  void bound_by_work(job run) { add(work_name, std::move(run)); }

  /// Ours and the scalar loop must agree in every bit before they are timed.
  void compare(const plane& ours, const plane& scalar) { results_.push_back({ours, scalar}); }
  /// Runs both; whether all that is to be compared is equal.
  [[nodiscard]] bool agrees() const;

  [[nodiscard]] const std::vector<contender>& contenders() const { return contenders_; }

 private:
  void add(const std::string& name, job run);

  struct pair_of_results {
    plane ours;
    plane scalar;
  };
  std::vector<contender> contenders_;
  std::vector<pair_of_results> results_;
};

struct row {
  std::string name;
  size_t samples;  ///< of output; times are divided by it
  goal avx512;
  goal avx2;
  /// Whom the goal names, where it is not the best peer.
  std::string rival;
  /// Makes sources, results and jobs; called only when the row's turn has come.
  std::function<void(contest&)> fill;
};

using rows = std::vector<row>;

}  // namespace bench
