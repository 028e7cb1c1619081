/// Builds a record of the members of a JSON object.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qo_cmc/parsed_cmc.h"
#include "tools/document/node.h"

namespace document {

/// What layout_reader turns a record into, turned back: the same calls, one for each member. Throws
/// error for a member that is missing, not as its layout wants it, or told by no call. Counts are
/// checked against the arrays that they count before anything is made of them.
class layout_builder {
 public:
  explicit layout_builder(const node& slot) : frames_{{slot, {}}} {
    record_.zeros(sizeof(record_header));
  }

  uint8_t header(uint16_t kind);
  uint8_t header_without_size(uint16_t kind);

  uint8_t u8(const char* key) { return number<uint8_t>(key); }
  uint16_t u16(const char* key) { return number<uint16_t>(key); }
  uint32_t u32(const char* key) { return number<uint32_t>(key); }
  uint64_t u64(const char* key) { return number<uint64_t>(key); }
  int16_t i16(const char* key) { return number<int16_t>(key); }
  int32_t i32(const char* key) { return number<int32_t>(key); }
  void f32(const char* key) { record_.u32(member(key).f32()); }

  void u16s(const char* key, size_t count) { member(key).append_numbers<uint16_t>(record_, count); }
  void u32s(const char* key, size_t count) { member(key).append_numbers<uint32_t>(record_, count); }
  void f32s(const char* key, size_t count) { member(key).append_numbers<float>(record_, count); }

  void u16_table(const char* key, size_t rows, size_t columns) {
    member(key).append_table<uint16_t>(record_, rows, columns);
  }
  void u32_table(const char* key, size_t rows, size_t columns) {
    member(key).append_table<uint32_t>(record_, rows, columns);
  }
  void u16_tables(const char* key, size_t count, size_t rows, size_t columns) {
    tables<uint16_t>(key, count, rows, columns);
  }
  void f32_tables(const char* key, size_t count, size_t rows, size_t columns) {
    tables<float>(key, count, rows, columns);
  }

  void hex(const char* key, size_t size) { append(member(key).hex(size)); }
  void hexes(const char* key, size_t count, size_t size) { hexes_between(key, count, 0, size, 0); }
  /// Zeros stand for the bytes that no member shows; they are patched, and their caller has made
  /// sure that the document holds what they are patched with.
  void hexes_between(const char* key, size_t count, size_t before, size_t size, size_t after);
  void rest(const char* key) { append(member(key).hex()); }
  void text(const char* key) { record_.c_string(member(key).text()); }

  void stored_of_four(const char* key, size_t);
  void implied(const char* key, uint64_t value) {
    member(key).expect_integer(value, "the record does not store it");
  }
  void zero_table(const char* key, size_t rows, size_t columns);
  bool flag(const char* key, bool) { return member(key).boolean(); }
  void null(const char* key) {
    member(key).expect_null("the record does not store it with this version and these counts");
  }
  void skip(size_t size) { record_.zeros(size); }

  [[nodiscard]] bool has(const char* key, bool) const {
    return !frames_.back().at.member(key).is_null();
  }
  [[nodiscard]] int64_t ahead(const char* key, int64_t) const {
    return frames_.back().at.member(key).integer<int64_t>();
  }

  template <typename Tell>
  void object(const char* key, const Tell& tell) {
    inside(member(key), tell);
  }
  template <typename Tell>
  void objects(const char* key, size_t count, const Tell& tell) {
    const node list = member(key);
    list.expect_elements(count);
    for (size_t i = 0; i < count; ++i) inside(list.element(i), tell);
  }

  /// The record of exactly what was told; its size must be the one that the header gives, if it
  /// gives one.
  [[nodiscard]] writer::bytes finish();
  /// The same for a record that has bytes which no decoder reads: zeros up to the size that the
  /// header gives, which is `least` at least; up to the next multiple of 8 of that without one.
  [[nodiscard]] writer::bytes finish_padded(size_t least = 0);
  /// Bytes that were told.
  [[nodiscard]] size_t told() const { return record_.size(); }
  /// Those of a kind whose form has no header.
  void unseen_header(uint16_t kind, uint8_t version);

 private:
  struct frame {
    node at;
    std::vector<std::string> told;
  };

  [[nodiscard]] node member(const char* key) {
    frames_.back().told.emplace_back(key);
    return frames_.back().at.member(key);
  }
  void append(const std::vector<uint8_t>& bytes) { record_.raw(bytes.data(), bytes.size()); }
  void close_frame();

  template <typename T>
  T number(const char* key) {
    const T value = member(key).integer<T>();
    record_.raw(&value, sizeof value);
    return value;
  }
  template <typename T>
  void tables(const char* key, size_t count, size_t rows, size_t columns) {
    const node list = member(key);
    list.expect_elements(count);
    for (size_t i = 0; i < count; ++i) list.element(i).append_table<T>(record_, rows, columns);
  }
  template <typename Tell>
  void inside(const node& at, const Tell& tell) {
    frames_.push_back({at, {}});
    tell();
    close_frame();
  }

  std::vector<frame> frames_;
  writer::bytes record_;
  std::optional<node> size_;
};

/// Appends zeros up to the size that a header's `size` gives, or, where that is null, up to a
/// multiple of 8 that is `least` at least; the record's own size field follows.
[[nodiscard]] writer::bytes padded_to(writer::bytes record, const node& size, size_t least);

}  // namespace document
