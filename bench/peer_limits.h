/// Keeps the peers to the instruction set of the row table that is timed.
#pragma once

#include "bench/row_tables.h"

namespace bench {

/// Some peers look at the environment before main() starts: where it does not yet say what the
/// table asks for, it is set and the program started anew; this function then does not return.
void limit_peers(row_table table, char** arguments);

}  // namespace bench
