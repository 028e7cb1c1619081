/// Turns the bytes of a record into the members of a JSON object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "qo_cmc/parsed_cmc.h"
#include "tools/document/json_value.h"

namespace document {

/// One of the two to which a layout is told (kept_record_layouts.h), field by field, in the order
/// of the record's bytes; layout_builder is the other. Every call puts one member into the object
/// at hand and goes on after its bytes. A read past the record's end throws error.
class layout_reader {
 public:
  /// The record's body follows its header, which header() tells.
  layout_reader(const uint8_t* record, size_t size) : record_(record), size_(size) {}

  /// What was told. A document without its size hides it.
  [[nodiscard]] json take() { return std::move(root_); }

  /// Members of the record's header; answers its version.
  uint8_t header(uint16_t kind);
  uint8_t header_without_size(uint16_t kind);

  uint8_t u8(const char* key) { return number<uint8_t>(key); }
  uint16_t u16(const char* key) { return number<uint16_t>(key); }
  uint32_t u32(const char* key) { return number<uint32_t>(key); }
  uint64_t u64(const char* key) { return number<uint64_t>(key); }
  int16_t i16(const char* key) { return number<int16_t>(key); }
  int32_t i32(const char* key) { return number<int32_t>(key); }
  void f32(const char* key) { put(key, float_value(read<uint32_t>())); }

  void u16s(const char* key, size_t count) { put(key, numbers<uint16_t>(count)); }
  void u32s(const char* key, size_t count) { put(key, numbers<uint32_t>(count)); }
  void f32s(const char* key, size_t count) { put(key, numbers<float>(count)); }

  void u16_table(const char* key, size_t rows, size_t columns) {
    put(key, table<uint16_t>(rows, columns));
  }
  void u32_table(const char* key, size_t rows, size_t columns) {
    put(key, table<uint32_t>(rows, columns));
  }
  void u16_tables(const char* key, size_t count, size_t rows, size_t columns) {
    put(key, tables<uint16_t>(count, rows, columns));
  }
  void f32_tables(const char* key, size_t count, size_t rows, size_t columns) {
    put(key, tables<float>(count, rows, columns));
  }

  void hex(const char* key, size_t size) { put(key, hex_of(take(size), size)); }
  void hexes(const char* key, size_t count, size_t size);
  /// As many, each with bytes that no member shows in front of it and after it.
  void hexes_between(const char* key, size_t count, size_t before, size_t size, size_t after);
  /// All bytes that are left.
  void rest(const char* key) { hex(key, left()); }
  /// A NUL-terminated string.
  void text(const char* key);

  /// Four values of which the record stores the first `stored`.
  void stored_of_four(const char* key, size_t stored);
  /// A member for which the record has no bytes, and whose value follows.
  void implied(const char* key, json value) { put(key, std::move(value)); }
  /// A table of zeros for which the record has no bytes.
  void zero_table(const char* key, size_t rows, size_t columns);
  /// A member for which the record has no bytes.
  bool flag(const char* key, bool value) {
    put(key, value);
    return value;
  }
  void null(const char* key) { put(key, nullptr); }
  /// Bytes that no member shows.
  void skip(size_t size) { (void)take(size); }

  /// Whether the slot has this member; the next call tells it, or null.
  [[nodiscard]] bool has(const char*, bool present) const { return present; }
  /// The value of a member that is told later.
  [[nodiscard]] int64_t ahead(const char*, int64_t value) const { return value; }

  template <typename Tell>
  void object(const char* key, const Tell& tell) {
    put(key, inner_object(tell));
  }
  template <typename Tell>
  void objects(const char* key, size_t count, const Tell& tell) {
    json list = json::array();
    for (size_t i = 0; i < count; ++i) list.push_back(inner_object(tell));
    put(key, std::move(list));
  }

  /// Goes on at another place.
  void seek(size_t offset);

 private:
  [[nodiscard]] size_t left() const { return size_ - offset_; }
  const uint8_t* take(size_t size);
  void put(const char* key, json value) { (*at_)[key] = std::move(value); }

  template <typename T>
  T read() {
    T value;
    memcpy(&value, take(sizeof value), sizeof value);
    return value;
  }
  template <typename T>
  T number(const char* key) {
    const T value = read<T>();
    put(key, value);
    return value;
  }
  template <typename T>
  [[nodiscard]] json numbers(size_t count);
  template <typename T>
  [[nodiscard]] json table(size_t rows, size_t columns);
  template <typename T>
  [[nodiscard]] json tables(size_t count, size_t rows, size_t columns);

  template <typename Tell>
  [[nodiscard]] json inner_object(const Tell& tell) {
    json inner = json::object();
    json* const outer = std::exchange(at_, &inner);
    tell();
    at_ = outer;
    return inner;
  }

  const uint8_t* record_;
  size_t size_;
  size_t offset_ = sizeof(record_header);
  json root_ = json::object();
  json* at_ = &root_;
};

/// Rows of columns; [] without samples, however many rows it has. Values are read with memcpy.
template <typename T>
[[nodiscard]] json table_value(const void* samples, size_t rows, size_t columns);
/// The same for one row.
template <typename T>
[[nodiscard]] json row_value(const void* samples, size_t count);

}  // namespace document
