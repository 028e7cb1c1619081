/// The items, family by family.
#pragma once

#include "tests/bits/results.h"

namespace bits {

void nearest_items(results& all);
void bilinear_items(results& all);
void bicubic_items(results& all);
void area_items(results& all);
void matrix_items(results& all);
void surface_items(results& all);
void gain_items(results& all);
void parse_items(results& all);

}  // namespace bits
