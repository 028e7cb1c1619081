/// What a target holds to be true, or ends the process for the fuzzer to see.
#pragma once

#include <cstdlib>

namespace fuzz {

inline void require(bool holds) {
  if (!holds) abort();
}

}  // namespace fuzz
