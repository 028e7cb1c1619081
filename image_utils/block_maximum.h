/// The largest sample of each block of a plane.
#pragma once

#include <cstdint>

#include "image_utils/far_edge.h"

namespace qo {

/// What image_downscale_nearest_neighbor_int32() gives for maxima. The sizes are accepted.
void take_block_maxima(const int32_t* src, uint32_t* dst, const far_edge_sizes& sizes);

}  // namespace qo
