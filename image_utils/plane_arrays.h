/// Arrays of planes, as callers pass them.
#pragma once

#include <cstddef>

namespace qo {

/// Whether either array, or any plane in it, is null.
template <typename Source, typename Destination>
[[nodiscard]] bool has_null_plane(const Source* const* src_planes,
                                  const Destination* const* dst_planes, size_t n_planes) {
  if (src_planes == nullptr || dst_planes == nullptr) return true;
  for (size_t plane = 0; plane < n_planes; ++plane)
    if (src_planes[plane] == nullptr || dst_planes[plane] == nullptr) return true;
  return false;
}

}  // namespace qo
