#include "lsc/plane_minimum.h"

#include <cassert>

#include "rows/row_table.h"

namespace qo {

float running_minimum(const float* values, size_t count) {
  assert(count >= 1);
  return rows().gains.minimum(values, count);
}

bool normalise_to_minimum(float* values, size_t count) {
  const float minimum = running_minimum(values, count);
  if (!(minimum > 0.0f)) return false;  // a NaN is not above 0 either
  rows().gains.normalise(values, minimum, count);
  return true;
}

}  // namespace qo
