/// Writes containers: little-endian bytes, records, and the checksummed image around them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "qo_cmc/parser.h"

namespace writer {

/// A growing little-endian byte string. Calls that append or change return the string itself, so
/// that a layout reads as one chain: `bytes().u16(2).u16(3).f32(0.5f)`.
class [[nodiscard]] bytes {
 public:
  bytes() = default;
  explicit bytes(std::vector<uint8_t> content) : content_(std::move(content)) {}

  bytes& u8(uint8_t value) { return append(value, 1); }
  bytes& i8(int8_t value) { return u8(static_cast<uint8_t>(value)); }
  bytes& u16(uint16_t value) { return append(value, 2); }
  bytes& i16(int16_t value) { return u16(static_cast<uint16_t>(value)); }
  bytes& u32(uint32_t value) { return append(value, 4); }
  bytes& i32(int32_t value) { return u32(static_cast<uint32_t>(value)); }
  bytes& u64(uint64_t value) { return append(value, 8); }
  bytes& f32(float value);
  bytes& raw(const void* data, size_t size);
  bytes& raw(const bytes& other) { return raw(other.data(), other.size()); }
  bytes& zeros(size_t count);
  /// Zeros up to the next multiple of `alignment`, none when the size is one already.
  bytes& zeros_to_multiple_of(size_t alignment);
  /// Zeros until the string has `least` bytes, none when it has as many already.
  bytes& zeros_to_size(size_t least);
  /// Only the characters, without a terminator.
  bytes& text(std::string_view characters) { return raw(characters.data(), characters.size()); }
  /// The characters and a NUL.
  bytes& c_string(std::string_view characters) { return text(characters).u8(0); }

  /// Overwrite bytes that exist; anything outside throws std::out_of_range.
  bytes& patch_u8(size_t offset, uint8_t value) { return patch(offset, value, 1); }
  bytes& patch_u16(size_t offset, uint16_t value) { return patch(offset, value, 2); }
  bytes& patch_u32(size_t offset, uint32_t value) { return patch(offset, value, 4); }
  bytes& patch_i32(size_t offset, int32_t value) {
    return patch_u32(offset, static_cast<uint32_t>(value));
  }
  bytes& patch_u64(size_t offset, uint64_t value) { return patch(offset, value, 8); }
  bytes& patch_f32(size_t offset, float value);

  /// Read back; anything outside throws std::out_of_range.
  [[nodiscard]] uint8_t u8_at(size_t offset) const {
    return static_cast<uint8_t>(value_at(offset, 1));
  }
  [[nodiscard]] uint16_t u16_at(size_t offset) const {
    return static_cast<uint16_t>(value_at(offset, 2));
  }
  [[nodiscard]] uint32_t u32_at(size_t offset) const {
    return static_cast<uint32_t>(value_at(offset, 4));
  }
  [[nodiscard]] uint64_t u64_at(size_t offset) const { return value_at(offset, 8); }
  [[nodiscard]] float f32_at(size_t offset) const;

  [[nodiscard]] const uint8_t* data() const { return content_.data(); }
  [[nodiscard]] size_t size() const { return content_.size(); }
  [[nodiscard]] const std::vector<uint8_t>& vector() const { return content_; }
  friend bool operator==(const bytes&, const bytes&) = default;

 private:
  bytes& append(uint64_t value, size_t width);
  bytes& patch(size_t offset, uint64_t value, size_t width);
  [[nodiscard]] uint64_t value_at(size_t offset, size_t width) const;

  std::vector<uint8_t> content_;
};

/// Bytes of the header in front of every record's body.
inline constexpr size_t record_header_size = 8;

struct record_options {
  bool padded = true;              ///< zeros after the body, up to a multiple of 8 bytes in all
  std::optional<uint32_t> size{};  ///< written into the size field instead of the true size
  uint8_t reserved = 0;            ///< header byte 5
};

/// A whole record:
///     0  u32  size       bytes of the record, header included
///     4  u8   version
///     5  u8   reserved
///     6  u16  id
///     8  -    body
bytes record(uint16_t id, uint8_t version, const bytes& body, const record_options& options = {});

/// The record cut, or extended with zeros, to `size` bytes, with its size field set to that. Below
/// 4 bytes the size field is cut as well.
bytes resized(const bytes& record, size_t size);

/// Which sum a container's checksum word holds; both wrap at 32 bits and take only whole words.
enum class checksum_rule {
  rule_a,  ///< every word but the checksum word itself
  rule_b,  ///< the words from byte 24 on
};

/// The checksum that `rule` asks for; the image has at least the 24 bytes of a container's header.
[[nodiscard]] uint32_t checksum_of(const std::vector<uint8_t>& image, checksum_rule rule);
/// Writes the true size and the checksum into an image that was altered.
void seal(std::vector<uint8_t>& image, checksum_rule rule = checksum_rule::rule_a);

/// Collects records and makes the container around them:
///     0  u32  word 0
///     4  u32  total size
///     8  u32  words 2, 3 and 4
///    20  u32  checksum
///    24  -    records, back to back
/// The words nobody reads are not 0 unless asked for, so that the two checksums differ.
class container {
 public:
  static constexpr size_t header_size = 24;

  container& add(const bytes& record);
  container& add(const std::vector<bytes>& records);
  container& rule(checksum_rule rule);
  /// Sets header word 0, 2, 3 or 4.
  container& header_word(size_t index, uint32_t value);
  /// Declares this size instead of the true one; the checksum covers the bytes that are there.
  container& total(uint32_t declared);
  /// Writes this checksum instead of the right one.
  container& checksum(uint32_t value);

  [[nodiscard]] std::vector<uint8_t> image() const;
  [[nodiscard]] size_t record_count() const { return offsets_.size(); }
  /// Where the record that was added as number `index` stands in the image.
  [[nodiscard]] size_t offset_of(size_t index) const { return offsets_.at(index); }

 private:
  uint32_t words_[5] = {0x51424356, 0, 0x00010064, 0x20260101, 0x0c0ffee0};
  bytes records_;
  std::vector<size_t> offsets_;
  checksum_rule rule_ = checksum_rule::rule_a;
  std::optional<uint32_t> total_;
  std::optional<uint32_t> checksum_;
};

/// The caller's view of an image; it must outlive the result.
[[nodiscard]] qo_blob blob_of(const std::vector<uint8_t>& image);
qo_blob blob_of(std::vector<uint8_t>&& image) = delete;

}  // namespace writer
