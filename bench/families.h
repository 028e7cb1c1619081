/// The rows of each family, in the order of the table.
#pragma once

#include "bench/contest.h"

namespace bench {

void add_resize_rows(rows& all);
void add_crop_rows(rows& all);
void add_bicubic_rows(rows& all);
void add_area_rows(rows& all);
void add_nearest_rows(rows& all);
void add_matrix_rows(rows& all);
void add_fit_rows(rows& all);
void add_correction_rows(rows& all);
void add_parser_rows(rows& all);

/// Those of all families.
[[nodiscard]] rows every_row();

}  // namespace bench
