/// Runs a contest and gives what everybody took.
#pragma once

#include <string>
#include <vector>

#include "bench/contest.h"

namespace bench {

struct timed {
  std::string name;
  double nanoseconds;  ///< processor time of one job, the median of the repetitions
};

/// Every contender is repeated as often as the flags of Google Benchmark say, all in one shuffled
/// order, so that what slows the machine for a while meets them all.
[[nodiscard]] std::vector<timed> time_all(const contest& race);

/// Defaults for those flags that are not on the command line; what is left in the arguments is
/// the program's own.
void take_timing_flags(int& argc, char** argv);

}  // namespace bench
