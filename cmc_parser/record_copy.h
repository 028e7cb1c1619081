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
#include "cmc_parser/decode_result.h"
#include "cmc_parser/extent.h"
#include "qo_cmc/parsed_cmc.h"

namespace qo {

/// Owns a record copy while its decoder runs, and bounds every read by the record's size. What is
/// not kept, leaked or returned is released when the decoder ends. It remembers which end the
/// record lacked first and what was lost, so that the decoder's result can say so.
class record_copy {
 public:
  /// `block` is a C-heap block that holds at least a header and as many bytes as its `size` says.
  explicit record_copy(void* block)
      : bytes_(static_cast<uint8_t*>(block)), header_(load<record_header>(block)) {
    assert(header_.size >= sizeof(record_header));
  }
  record_copy(record_copy&& other) noexcept
      : bytes_(std::exchange(other.bytes_, nullptr)), header_(other.header_) {
    assert(other.missed_ == 0 && other.lost_ == reason::none);
  }
  record_copy(const record_copy&) = delete;
  record_copy& operator=(const record_copy&) = delete;
  ~record_copy() {
    if (bytes_ != nullptr) free(bytes_);  // most copies were handed on: no call for those
  }

  [[nodiscard]] uint32_t size() const { return header_.size; }
  [[nodiscard]] uint8_t version() const { return header_.version; }
  [[nodiscard]] uint8_t* bytes() { return bytes_; }
  [[nodiscard]] const uint8_t* bytes() const { return bytes_; }

  /// Whether all bytes in front of `end` are the record's. Nothing is lost where they are not.
  [[nodiscard]] bool reaches(extent end) const { return end <= extent(header_.size); }
  /// The same for an end without which something is lost: the first that the record lacks is
  /// remembered.
  [[nodiscard]] bool require(extent end) {
    if (reaches(end)) return true;
    if (missed_ == 0) missed_ = end;
    return false;
  }
  /// The same for an end that is padded up to a multiple of 8, as most layouts want it.
  [[nodiscard]] bool require_padded(extent end) { return require(end.padded()); }

  /// Whether an end was required that the record does not have.
  [[nodiscard]] bool lacks_an_end() const { return !(missed_ == 0); }

  /// The address of a place in the record, its end included.
  [[nodiscard]] uint8_t* at(extent offset) {
    assert(reaches(offset));
    return bytes_ + offset.value();
  }
  [[nodiscard]] const uint8_t* at(extent offset) const {
    assert(reaches(offset));
    return bytes_ + offset.value();
  }

  /// The little-endian value at `offset`, or 0 when the record ends before its last byte.
  template <typename T>
  [[nodiscard]] T read(extent offset) const {
    return reaches(offset + size_of<T>) ? load<T>(at(offset)) : T{};
  }

  /// Length of the NUL-terminated string at `offset`, whose terminator must be inside the record.
  [[nodiscard]] std::optional<extent> string_length(extent offset) {
    if (!require(offset)) return std::nullopt;
    const uint8_t* const start = at(offset);
    const void* const end = memchr(start, 0, header_.size - offset.value());
    if (end == nullptr) {
      (void)require(extent(header_.size) + 1);
      return std::nullopt;
    }
    return extent(static_cast<uint32_t>(static_cast<const uint8_t*>(end) - start));
  }

  /// Takes the size from the header again after the record was changed in place. It may shrink the
  /// record, never grow it: the block still ends where it did.
  void reread_size() {
    const uint32_t size = load<record_header>(bytes_).size;
    if (size < header_.size) header_.size = size;
  }

  /// To be told before a slot is released for this record: what it held, if anything.
  void replaces(const void* former) { replaced_ = former != nullptr; }
  /// A part of the record is lost, though its slot is filled. The first loss is the one that the
  /// result reports.
  void lose(reason part) {
    if (lost_ == reason::none) lost_ = part;
  }

  /// The slot that takes the result owns the copy from here on.
  [[nodiscard]] record_header* keep() {
    return static_cast<record_header*>(give_away(copy_fate::kept));
  }
  /// Neither the slot nor the caller owns the copy, and nothing releases it.
  void leak() { (void)give_away(copy_fate::leaked); }

  /// The slot is filled.
  [[nodiscard]] decode_result filled() const {
    const copy_fate fate = fate_ == copy_fate::released ? copy_fate::converted : fate_;
    decode_result full = result(QO_CMC_OK, fate, lost_);
    full.filled = true;
    return full;
  }
  /// The same; where `part` is not `none` it is lost.
  [[nodiscard]] decode_result filled_without(reason part) {
    lose(part);
    return filled();
  }
  /// The slot is not filled, and the copy is released.
  [[nodiscard]] decode_result drop(reason why) const { return result(QO_CMC_OK, fate_, why); }
  [[nodiscard]] decode_result drop_as_too_short() const { return drop(reason::record_too_short); }
  /// Contract: a kept kind whose record fails its size check answers 0 and leaks the copy.
  [[nodiscard]] decode_result leak_as(reason why) {
    leak();
    return result(QO_CMC_OK, fate_, why);
  }
  [[nodiscard]] decode_result leak_as_too_short() { return leak_as(reason::record_too_short); }
  /// The decoder answers with a nonzero code: its caller still owns the copy.
  [[nodiscard]] decode_result refuse(uint32_t code, reason why) {
    (void)give_away(copy_fate::refused);
    return result(code, fate_, why);
  }

 private:
  [[nodiscard]] void* give_away(copy_fate fate) {
    fate_ = fate;
    return std::exchange(bytes_, nullptr);
  }
  [[nodiscard]] decode_result result(uint32_t code, copy_fate fate, reason why) const {
    const bool lacks_memory = why == reason::out_of_memory || why == reason::part_out_of_memory;
    return {.code = code,
            .fate = fate,
            .why = why,
            .replaced = replaced_,
            .needed = lacks_memory ? extent() : missed_};
  }

  uint8_t* bytes_;
  record_header header_;
  extent missed_;  ///< the first end that was required and is not there
  copy_fate fate_ = copy_fate::released;
  bool replaced_ = false;
  reason lost_ = reason::none;
};

}  // namespace qo
