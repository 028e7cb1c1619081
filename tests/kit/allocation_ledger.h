/// Counts the heap blocks that one shared library holds, and makes its n-th allocation fail.
///
/// The ledger redirects `malloc`, `calloc`, `realloc` and `free` in the loaded library's own table
/// of imported functions, so that it sees the library as it ships, sees nothing else, and works
/// beneath a sanitizer's allocator too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace kit {

/// A successful allocation of the library's, or its release of a block.
struct heap_call {
  size_t block;  ///< its number: that of the allocations and adoptions before its own
  size_t size;   ///< as requested
  bool is_release;
};

class allocation_ledger {
 public:
  static constexpr size_t never = std::numeric_limits<size_t>::max();

  /// Starts counting what the shared object with this file name (no folder) allocates. One ledger
  /// can be open at a time in a process. Aborts when the object is not loaded.
  explicit allocation_ledger(const char* library = "libqo_cmc_parser.so");
  ~allocation_ledger();
  allocation_ledger(const allocation_ledger&) = delete;
  allocation_ledger& operator=(const allocation_ledger&) = delete;

  /// Lets the allocation fail that comes after `successes` more of them, and only that one.
  void fail_after(size_t successes);
  /// The same with every allocation after that one, until fail_never().
  void fail_from(size_t successes);
  /// Lets no allocation fail any more.
  void fail_never() { fail_after(never); }

  [[nodiscard]] size_t live_blocks() const;
  [[nodiscard]] size_t live_bytes() const;   ///< as requested, without the allocator's own overhead
  [[nodiscard]] size_t peak_bytes() const;   ///< largest live_bytes() since the ledger was opened
  [[nodiscard]] size_t allocations() const;  ///< successful ones since the ledger was opened
  [[nodiscard]] size_t failures() const;     ///< refused since the ledger was opened
  /// Releases of a pointer that the library got neither from its heap nor from its caller's
  /// adopt(): a double release or a wild one. The pointer is then not passed on.
  [[nodiscard]] size_t bad_releases() const;

  /// What the library asked of the heap since the ledger was opened, in that order.
  [[nodiscard]] std::vector<heap_call> calls() const;

  /// A heap block of the caller's that the library will own or release: enters it as live.
  void adopt(void* block, size_t size);
  /// Whether the block is live, that is allocated or adopted and not yet released.
  bool holds(const void* block) const;
  /// Releases a live block on behalf of a client.
  void release(void* block);
  /// Releases every block that is still live on behalf of a client.
  void release_all();
};

}  // namespace kit
