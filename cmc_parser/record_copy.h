/// The private copy of one record, and the only way to read it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include "base/load.h"
#include "qo_cmc/parsed_cmc.h"

namespace qo {

/// Owns a record copy while its decoder runs, and bounds every read by the record's size. What is
/// not kept, leaked or returned is released when the decoder ends.
class record_copy {
 public:
  /// `block` is a C-heap block that holds at least a header and as many bytes as its `size` says.
  explicit record_copy(void* block)
      : bytes_(static_cast<uint8_t*>(block)), header_(load<record_header>(block)) {}
  record_copy(record_copy&& other) noexcept
      : bytes_(std::exchange(other.bytes_, nullptr)), header_(other.header_) {}
  record_copy(const record_copy&) = delete;
  record_copy& operator=(const record_copy&) = delete;
  ~record_copy() { free(bytes_); }

  [[nodiscard]] uint32_t size() const { return header_.size; }
  [[nodiscard]] uint8_t version() const { return header_.version; }
  uint8_t* bytes() { return bytes_; }
  [[nodiscard]] const uint8_t* bytes() const { return bytes_; }

  /// Whether bytes 0 to `end` - 1 are the record's.
  [[nodiscard]] bool holds(uint64_t end) const { return end <= header_.size; }
  /// The same for an end that is padded up to a multiple of 8, as most layouts want it.
  [[nodiscard]] bool holds_padded(uint64_t end) const {
    return ((end + 7) & ~uint64_t{7}) <= header_.size;
  }

  /// The little-endian value at `offset`, or 0 when the record ends before its last byte.
  template <typename T>
  [[nodiscard]] [[nodiscard]] [[nodiscard]] [[nodiscard]] T read(uint64_t offset) const {
    return holds(offset + sizeof(T)) ? load<T>(bytes_, offset) : T{};
  }

  /// Length of the NUL-terminated string at `offset`, if its terminator is inside the record.
  [[nodiscard]] std::optional<uint64_t> string_length(uint64_t offset) const {
    if (!holds(offset)) return std::nullopt;
    const uint8_t* const start = bytes_ + offset;
    const void* const end = memchr(start, 0, static_cast<size_t>(header_.size - offset));
    if (end == nullptr) return std::nullopt;
    return static_cast<uint64_t>(static_cast<const uint8_t*>(end) - start);
  }

  /// Takes the size from the header again after the record was changed in place. It may shrink the
  /// record, never grow it: the block still ends where it did.
  void reread_size() {
    const uint32_t size = read<uint32_t>(offsetof(record_header, size));
    if (size < header_.size) header_.size = size;
  }

  /// The slot that takes the result owns the copy from here on.
  [[nodiscard]] record_header* keep() { return static_cast<record_header*>(give_away()); }
  /// Contract: a kept kind that fails its size check neither stores nor releases its copy.
  void leak() { give_away(); }
  /// The decoder answers with a nonzero code: its caller still owns the copy.
  void leave_to_caller() { give_away(); }

 private:
  void* give_away() { return std::exchange(bytes_, nullptr); }

  uint8_t* bytes_;
  record_header header_;
};

}  // namespace qo
