// The tables of row kernels, and the choice between them.

#include "rows/row_table.h"

#include <atomic>

#include "rows/processor.h"

namespace qo {

// One table: the constants that the families leave in the namespace of an instruction set.
#define QO_ROW_TABLE(set)                                                   \
  namespace set {                                                           \
  extern const word_rows words;                                             \
  extern const matrix_rows matrix;                                          \
  extern const surface_rows surface;                                        \
  extern const gain_rows gains;                                             \
  extern const float_rows floats;                                           \
  extern const spline_rows splines;                                         \
  extern const patch_rows patches;                                          \
  extern const bilinear_rows bilinear;                                      \
  extern const bilinear_float_rows bilinear_float;                          \
  extern const area_rows areas;                                             \
  extern const nearest_rows nearest;                                        \
  extern const maximum_rows maxima;                                         \
  extern const store_rows store;                                            \
  namespace {                                                               \
  constinit const row_table table = {                                       \
      words,    matrix,         surface, gains,   floats, splines, patches, \
      bilinear, bilinear_float, areas,   nearest, maxima, store,            \
  };                                                                        \
  }                                                                         \
  }

QO_ROW_TABLE(rows_base)
#if defined(QO_ROWS_HAVE_AVX2)
QO_ROW_TABLE(rows_avx2)
#endif
#if defined(QO_ROWS_HAVE_AVX512)
QO_ROW_TABLE(rows_avx512)
#endif

namespace {

/// The only state of the library. Whoever asks first, on however many threads, stores the same
/// answer, and the tables are constants: nothing has to be ordered.
constinit std::atomic<const row_table*> chosen = nullptr;

[[nodiscard]] const row_table& best_rows() {
  for (const instruction_set set : {instruction_set::avx512, instruction_set::avx2})
    if (const row_table* const table = find_rows(set); table != nullptr) return *table;
  return rows_base::table;
}

}  // namespace

const row_table* find_rows(instruction_set set) {
  switch (set) {
    case instruction_set::base:
      return &rows_base::table;
    case instruction_set::avx2:
#if defined(QO_ROWS_HAVE_AVX2)
      if (has_avx2()) return &rows_avx2::table;
#endif
      break;
    case instruction_set::avx512:
#if defined(QO_ROWS_HAVE_AVX512)
      if (has_avx512()) return &rows_avx512::table;
#endif
      break;
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
