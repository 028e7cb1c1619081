#include "bench/families.h"

namespace bench {

rows every_row() {
  rows all;
  add_resize_rows(all);
  add_crop_rows(all);
  add_bicubic_rows(all);
  add_area_rows(all);
  add_nearest_rows(all);
  add_matrix_rows(all);
  add_fit_rows(all);
  add_correction_rows(all);
  add_parser_rows(all);
  return all;
}

}  // namespace bench
