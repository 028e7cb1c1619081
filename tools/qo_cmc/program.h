/// The program qo-cmc as a function.
#pragma once

#include "tools/qo_cmc/streams.h"

namespace qo_cmc {

/// Does what the arguments say and answers the program's exit code. Throws nothing; may run on
/// several threads at once.
[[nodiscard]] int run(int argc, const char* const* argv, const streams& standard) noexcept;

}  // namespace qo_cmc
