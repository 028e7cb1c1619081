/// The private copy of one record, and the only way to read it.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include "base/load.h"
#include "cmc_parser/extent.h"
#include "qo_cmc/parsed_cmc.h"
#include "qo_cmc/status.h"

namespace qo {

/// Owns a record copy while its decoder runs, and bounds every read by the record's size. What is
/// not kept, leaked or returned is released when the decoder ends.
class record_copy {
 public:
  /// `block` is a C-heap block that holds at least a header and as many bytes as its `size` says.
  explicit record_copy(void* block)
      : bytes_(static_cast<uint8_t*>(block)), header_(load<record_header>(block)) {
    assert(header_.size >= sizeof(record_header));
  }
  record_copy(record_copy&& other) noexcept
      : bytes_(std::exchange(other.bytes_, nullptr)), header_(other.header_) {}
  record_copy(const record_copy&) = delete;
  record_copy& operator=(const record_copy&) = delete;
  ~record_copy() { free(bytes_); }

  [[nodiscard]] uint32_t size() const { return header_.size; }
  [[nodiscard]] uint8_t version() const { return header_.version; }
  [[nodiscard]] uint8_t* bytes() { return bytes_; }
  [[nodiscard]] const uint8_t* bytes() const { return bytes_; }

  /// Whether all bytes in front of `end` are the record's.
  [[nodiscard]] bool holds(extent end) const { return end <= extent(header_.size); }
  /// The same for an end that is padded up to a multiple of 8, as most layouts want it.
  [[nodiscard]] bool holds_padded(extent end) const { return holds(end.padded()); }

  /// The address of a place in the record, its end included.
  [[nodiscard]] uint8_t* at(extent offset) {
    assert(holds(offset));
    return bytes_ + offset.value();
  }
  [[nodiscard]] const uint8_t* at(extent offset) const {
    assert(holds(offset));
    return bytes_ + offset.value();
  }

  /// The little-endian value at `offset`, or 0 when the record ends before its last byte.
  template <typename T>
  [[nodiscard]] T read(extent offset) const {
    return holds(offset + size_of<T>) ? load<T>(at(offset)) : T{};
  }

  /// Length of the NUL-terminated string at `offset`, if its terminator is inside the record.
  [[nodiscard]] std::optional<extent> string_length(extent offset) const {
    if (!holds(offset)) return std::nullopt;
    const uint8_t* const start = at(offset);
    const void* const end = memchr(start, 0, header_.size - offset.value());
    if (end == nullptr) return std::nullopt;
    return extent(static_cast<uint32_t>(static_cast<const uint8_t*>(end) - start));
  }

  /// Takes the size from the header again after the record was changed in place. It may shrink the
  /// record, never grow it: the block still ends where it did.
  void reread_size() {
    const uint32_t size = load<record_header>(bytes_).size;
    if (size < header_.size) header_.size = size;
  }

  /// The slot that takes the result owns the copy from here on.
  [[nodiscard]] record_header* keep() { return static_cast<record_header*>(give_away()); }
  /// Neither the slot nor the caller owns the copy, and nothing releases it.
  void leak() { (void)give_away(); }
  /// Contract: a kept kind whose record fails its size check answers 0 and leaks the copy.
  [[nodiscard]] uint32_t leak_as_too_short() {
    leak();
    return QO_CMC_OK;
  }
  /// The decoder answers with a nonzero code: its caller still owns the copy.
  void leave_to_caller() { (void)give_away(); }

 private:
  [[nodiscard]] void* give_away() { return std::exchange(bytes_, nullptr); }

  uint8_t* bytes_;
  record_header header_;
};

}  // namespace qo
