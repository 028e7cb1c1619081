// qo_bench [regex]: times the rows whose names the regex finds, all without one, and prints the
// table, or nothing where it finds none. QO_ROWS names the table of row kernels; flags of Google
// Benchmark set the repetitions and the least time of each. `qo_bench --tables` lists the tables
// that this machine has.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "bench/families.h"
#include "bench/peer_limits.h"
#include "bench/result_table.h"
#include "bench/row_tables.h"
#include "bench/timing.h"

namespace {

void hold(const bench::row& next) {
  bench::contest contest;
  next.fill(contest);
  if (!contest.agrees()) return bench::print_disagreement(next);
  bench::print_line(bench::selected_rows(), next, bench::time_all(contest));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--tables") == 0) {
    for (const bench::row_table table : bench::tables_of_this_machine())
      std::printf("%s\n", bench::name_of(table));
    return 0;
  }
  if (!bench::select_rows(std::getenv("QO_ROWS"))) {
    std::fprintf(stderr, "qo_bench: QO_ROWS is no table of this machine\n");
    return 2;
  }
  bench::limit_peers(bench::selected_rows(), argv);
  bench::take_timing_flags(argc, argv);
  if (argc > 2) {
    std::fprintf(stderr, "qo_bench: one regex at most\n");
    return 2;
  }
  std::regex wanted;
  try {
    wanted = argc == 2 ? argv[1] : "";
  } catch (const std::regex_error& error) {
    std::fprintf(stderr, "qo_bench: %s: %s\n", argv[1], error.what());
    return 2;
  }
  bench::rows found = bench::every_row();
  std::erase_if(
      found, [&wanted](const bench::row& each) { return !std::regex_search(each.name, wanted); });
  if (found.empty()) return 0;  // they may be another program's
  bench::print_heading(bench::selected_rows());
  for (const bench::row& each : found) hold(each);
  bench::print_summary();
  return 0;
}
