/// The copy that checks its destination.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

/// Copies `count` bytes, or as many as `destination_size` allows.
///
/// @return 0 done;
///         34 only `destination_size` bytes were copied;
///         22 `destination` is null and nothing was done, or `source` is null and as many bytes
///         were zeroed instead. It stands before 34.
[[nodiscard]] uint32_t copy_bounded(void* destination, size_t destination_size, const void* source,
                                    size_t count);

}  // namespace qo
