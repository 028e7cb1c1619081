/// The table that comes out: one line for each row, in Markdown that is also read in a terminal.
#pragma once

#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/row_tables.h"
#include "bench/timing.h"

namespace bench {

void print_heading(row_table table);
void print_line(row_table table, const row& timed_row, const std::vector<timed>& times);
void print_disagreement(const row& bad_row);
/// How many rows met their goals, and which are slower than the scalar loop.
void print_summary();

}  // namespace bench
