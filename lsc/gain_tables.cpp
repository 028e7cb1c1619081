// deinit_computed_upscale_lsc_tables(), and how the two builders make what it releases.

#include "lsc/gain_tables.h"

#include <cassert>

#include "qo_nvm.h"

namespace qo {

gain_tables_ptr new_gain_tables(uint8_t count) {
  gain_tables_ptr tables(c_new<computed_upscale_lsc_tables>());
  if (tables == nullptr) return nullptr;
  tables->gain_tables = c_new_array<float*>(count);
  if (tables->gain_tables == nullptr) return nullptr;
  tables->table_count = count;
  return tables;
}

heap_array<float> new_gain_block(size_t plane_samples) {
  // Zeroed although the builders mean to fill it: samples that a builder leaves out read as 0.
  return heap_array<float>(c_new_array<float>(planes_per_block * plane_samples));
}

float* add_gain_block(computed_upscale_lsc_tables& tables, uint8_t index, size_t plane_samples) {
  assert(index < tables.table_count && tables.gain_tables[index] == nullptr);
  tables.gain_tables[index] = new_gain_block(plane_samples).release();
  return tables.gain_tables[index];
}

bool has_all_grids(const calibration& module) {
  if (module.lsc_set_count == 0) return true;
  if (module.lsc_sets == nullptr) return false;
  for (size_t set = 0; set < module.lsc_set_count; ++set)
    for (const void* const grid : module.lsc_sets[set].channel_tables)
      if (grid == nullptr) return false;
  return true;
}

}  // namespace qo

void deinit_computed_upscale_lsc_tables(computed_upscale_lsc_tables* tables) {
  if (tables == nullptr) return;
  if (tables->gain_tables != nullptr) {
    for (size_t index = 0; index < tables->table_count; ++index) {
      free(tables->gain_tables[index]);
      tables->gain_tables[index] = nullptr;
    }
  }
  free(tables->gain_tables);
  free(tables);
}
