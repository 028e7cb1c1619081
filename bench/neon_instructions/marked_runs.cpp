// qo_marked_runs [regex]: runs each row's routine and its plain loop between marks, at which the
// emulator's plug-in prints how many instructions were executed so far: three counts to a row.
// Prints the rows' names and numbers of samples, in the same order.

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <regex>

#include "bench/families.h"
#include "bench/row_tables.h"

namespace {

void mark() { (void)getppid(); }

/// False where a row has no plain loop.
bool run(const bench::row& next) {
  bench::contest contest;
  next.fill(contest);
  const bench::job* ours = nullptr;
  const bench::job* scalar = nullptr;
  for (const bench::contest::contender& each : contest.contenders()) {
    if (each.name == bench::contest::ours_name) ours = &each.run;
    if (each.name == bench::contest::scalar_name) scalar = &each.run;
  }
  if (ours == nullptr || scalar == nullptr) return false;
  // What is made on the first call is made before the marks.
  (*ours)();
  (*scalar)();
  mark();
  (*ours)();
  mark();
  (*scalar)();
  mark();
  return true;
}

}  // namespace

int main(int argc, char** argv) try {
  if (!bench::select_rows("base")) return 2;
  const std::regex wanted(argc == 2 ? argv[1] : "");
  for (const bench::row& each : bench::every_row())
    if (std::regex_search(each.name, wanted) && run(each))
      std::printf("%s|%zu\n", each.name.c_str(), each.samples);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "qo_marked_runs: %s\n", error.what());
  return 2;
}
