// The owner of gain tables in which several entries name one block.

#include "lsc/chosen_gain_tables.h"

#include <utility>

namespace qo {

chosen_gain_tables::chosen_gain_tables(gain_tables_ptr tables, heap_array<float> others)
    : tables_(std::move(tables)), others_(std::move(others)) {
  if (tables_ == nullptr) return;
  for (size_t set = 0; set < tables_->table_count; ++set)
    if (tables_->gain_tables[set] == nullptr) tables_->gain_tables[set] = others_.get();
}

chosen_gain_tables::~chosen_gain_tables() {
  if (tables_ == nullptr) return;
  // The tables release what each entry names: what several name is this owner's to release.
  for (size_t set = 0; set < tables_->table_count; ++set)
    if (tables_->gain_tables[set] == others_.get()) tables_->gain_tables[set] = nullptr;
}

}  // namespace qo
