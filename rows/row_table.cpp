// The tables of row kernels, and the choice between them.

#include "rows/row_table.h"

#include <atomic>

#include "rows/processor.h"

namespace qo {

// The constants that the families leave, once for each instruction set that is compiled in.
#define QO_DECLARE_ROWS(set)    \
  namespace set {               \
  extern const word_rows words; \
  }

QO_DECLARE_ROWS(rows_base)
QO_DECLARE_ROWS(rows_avx2)
QO_DECLARE_ROWS(rows_avx512)

namespace {

constinit const row_table base_table = {rows_base::words};
#if defined(QO_ROWS_HAVE_AVX2)
constinit const row_table avx2_table = {rows_avx2::words};
#endif
#if defined(QO_ROWS_HAVE_AVX512)
constinit const row_table avx512_table = {rows_avx512::words};
#endif

/// The only state of the library. Whoever asks first, on however many threads, stores the same
/// answer, and the tables are constants: nothing has to be ordered.
constinit std::atomic<const row_table*> chosen = nullptr;

[[nodiscard]] const row_table& best_rows() {
  for (const instruction_set set : {instruction_set::avx512, instruction_set::avx2})
    if (const row_table* const table = find_rows(set); table != nullptr) return *table;
  return base_table;
}

}  // namespace

const row_table* find_rows(instruction_set set) {
  switch (set) {
    case instruction_set::base:
      return &base_table;
    case instruction_set::avx2:
#if defined(QO_ROWS_HAVE_AVX2)
      if (has_avx2()) return &avx2_table;
#endif
      return nullptr;
    case instruction_set::avx512:
#if defined(QO_ROWS_HAVE_AVX512)
      if (has_avx512()) return &avx512_table;
#endif
      return nullptr;
  }
  return nullptr;
}

const row_table& rows() {
  const row_table* table = chosen.load(std::memory_order_relaxed);
  if (table == nullptr) [[unlikely]] {
    table = &best_rows();
    chosen.store(table, std::memory_order_relaxed);
  }
  return *table;
}

void use_rows(const row_table& table) { chosen.store(&table, std::memory_order_relaxed); }

}  // namespace qo
