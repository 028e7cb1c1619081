// Stands beside the library's objects, in an executable or in a shared library, because the library
// as it ships lets nobody name a table.

#include "tests/kit/named_rows.h"

#include "rows/row_table.h"

namespace kit {

rows_choice use_rows_named(std::string_view name) {
  constexpr qo::instruction_set sets[] = {qo::instruction_set::base, qo::instruction_set::avx2,
                                          qo::instruction_set::avx512};
  for (size_t i = 0; i < std::size(sets); ++i) {
    if (rows_names[i] != name) continue;
    const qo::row_table* const table = qo::find_rows(sets[i]);
    if (table == nullptr) return rows_choice::not_runnable;
    qo::use_rows(*table);
    return rows_choice::taken;
  }
  return rows_choice::unknown;
}

}  // namespace kit
