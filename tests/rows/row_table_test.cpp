// The choice between the tables of row kernels.

#include "rows/row_table.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

/// Whether the operating system lists every one of these processor features.
[[maybe_unused]] bool system_lists(std::initializer_list<const char*> features) {
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  while (std::getline(file, line)) {
    if (!line.starts_with("flags")) continue;
    line += ' ';
    for (const char* const feature : features)
      if (line.find(std::string(" ") + feature + ' ') == std::string::npos) return false;
    return true;
  }
  return false;
}

TEST(RowTable, BaseRowsAreAlwaysThere) {
  EXPECT_NE(nullptr, qo::find_rows(qo::instruction_set::base));
}

TEST(RowTable, TheBestTableOfThisMachineIsChosen) {
  const qo::row_table* best = nullptr;
  for (const qo::instruction_set set :
       {qo::instruction_set::base, qo::instruction_set::avx2, qo::instruction_set::avx512})
    if (const qo::row_table* const table = qo::find_rows(set); table != nullptr) best = table;
  EXPECT_EQ(best, &qo::rows());
}

TEST(RowTable, TablesOfDifferentSetsHaveKernelsOfTheirOwn) {
  const qo::row_table& base = *qo::find_rows(qo::instruction_set::base);
  for (const qo::instruction_set set : {qo::instruction_set::avx2, qo::instruction_set::avx512}) {
    const qo::row_table* const table = qo::find_rows(set);
    if (table == nullptr) continue;
    EXPECT_NE(base.words.sum, table->words.sum);
  }
}

TEST(RowTable, ANamedTableIsUsedUntilAnotherIsNamed) {
  const qo::row_table& chosen = qo::rows();
  const qo::row_table& base = *qo::find_rows(qo::instruction_set::base);
  qo::use_rows(base);
  EXPECT_EQ(&base, &qo::rows());
  qo::use_rows(chosen);
  EXPECT_EQ(&chosen, &qo::rows());
}

#if defined(__x86_64__) && defined(QO_ROWS_ALL)
TEST(RowTable, AnEmulatedProcessorGetsTheBestTableThatItCanRun) {
  const char* const best = getenv("QO_BEST_ROWS");
  if (best == nullptr) GTEST_SKIP() << "not emulated";
  const std::string name = best;
  const qo::row_table* const avx2 = qo::find_rows(qo::instruction_set::avx2);
  ASSERT_EQ(name == "avx2", avx2 != nullptr);
  EXPECT_EQ(nullptr, qo::find_rows(qo::instruction_set::avx512));
  EXPECT_EQ(name == "avx2" ? avx2 : qo::find_rows(qo::instruction_set::base), &qo::rows());
}

TEST(RowTable, ASetIsFoundExactlyWhereTheSystemListsItsFeatures) {
  EXPECT_EQ(system_lists({"avx2"}), qo::find_rows(qo::instruction_set::avx2) != nullptr);
  EXPECT_EQ(system_lists({"avx2", "avx512f", "avx512bw", "avx512dq", "avx512vl", "avx512vbmi"}),
            qo::find_rows(qo::instruction_set::avx512) != nullptr);
}
#endif

}  // namespace
