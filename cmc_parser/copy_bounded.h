/// The copy that checks its destination, and the message for one that is missing.
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
uint32_t copy_bounded(void* destination, size_t destination_size, const void* source, size_t count);

/// Logs what copy_bounded() logs of a null destination: for a decoder that finds its own fresh
/// allocation null.
void log_null_destination();

}  // namespace qo
