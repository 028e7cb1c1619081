#include "bench/row_tables.h"

#include <algorithm>

#include "rows/row_table.h"

namespace bench {
namespace {

row_table selected = row_table::base;

/// The library's, or null when it is not compiled in or this processor cannot run it.
[[nodiscard]] const qo::row_table* rows_of(row_table table) {
  switch (table) {
    case row_table::base:
      return qo::find_rows(qo::instruction_set::base);
    case row_table::avx2:
      return qo::find_rows(qo::instruction_set::avx2);
    case row_table::avx512:
      return qo::find_rows(qo::instruction_set::avx512);
  }
  return nullptr;
}

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
  std::vector<row_table> tables;
  for (const row_table table : {row_table::base, row_table::avx2, row_table::avx512})
    if (rows_of(table) != nullptr) tables.push_back(table);
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
  selected = *found;
  qo::use_rows(*rows_of(selected));
  return true;
}

row_table selected_rows() { return selected; }

}  // namespace bench
