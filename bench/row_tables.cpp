#include "bench/row_tables.h"

#include <algorithm>

namespace bench {
namespace {

row_table selected = row_table::base;

}  // namespace

const char* name_of(row_table table) {
  switch (table) {
    case row_table::base:
      return "base";
    case row_table::avx2:
      return "avx2";
    case row_table::avx512:
      return "avx512";
  }
  return "";
}

std::vector<row_table> tables_of_this_machine() {
  std::vector<row_table> tables{row_table::base};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2") != 0) tables.push_back(row_table::avx2);
  if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
      __builtin_cpu_supports("avx512dq") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
      __builtin_cpu_supports("avx512vbmi") != 0)
    tables.push_back(row_table::avx512);
#endif
  return tables;
}

bool select_rows(const char* name) {
  const std::vector<row_table> tables = tables_of_this_machine();
  const auto found = name == nullptr
                         ? tables.end() - 1
                         : std::find_if(tables.begin(), tables.end(), [name](row_table table) {
                             return std::string(name) == name_of(table);
                           });
  if (found == tables.end()) return false;
  // The library has one set of row loops; peers and bounds follow the name all the same.
  selected = *found;
  return true;
}

row_table selected_rows() { return selected; }

}  // namespace bench
