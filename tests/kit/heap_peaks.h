/// What a sequence of heap calls took at most: of blocks, and of memory as an allocator serves it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tests/kit/allocation_ledger.h"

namespace kit {

/// Memory that a block takes from an allocator with a header of 8 bytes, multiples of 16 bytes and
/// 32 at least: glibc's rule where pointers have 64 bits. Blocks of 128 KiB and more take whole
/// pages there, which this leaves out.
[[nodiscard]] constexpr size_t served_bytes(size_t requested) {
  return std::max<size_t>(32, (requested + 8 + 15) & ~size_t{15});
}

struct heap_peaks {
  size_t blocks = 0;  ///< most live at once
  size_t served = 0;  ///< most bytes, headers and rounding included
};

/// Of all calls that a ledger saw. Blocks that it was only told of do not count.
[[nodiscard]] inline heap_peaks peaks_of(const std::vector<heap_call>& calls) {
  heap_peaks peaks;
  size_t blocks = 0;
  size_t served = 0;
  std::vector<bool> allocated;
  for (const heap_call& call : calls) {
    if (allocated.size() <= call.block) allocated.resize(call.block + 1);
    if (call.is_release) {
      if (!allocated[call.block]) continue;
      --blocks;
      served -= served_bytes(call.size);
    } else {
      allocated[call.block] = true;
      peaks.blocks = std::max(peaks.blocks, ++blocks);
      peaks.served = std::max(peaks.served, served += served_bytes(call.size));
    }
  }
  return peaks;
}

}  // namespace kit
