#include "tools/document/layout_reader.h"

namespace document {
namespace {

template <typename T>
[[nodiscard]] json element(const uint8_t* sample) {
  T value;
  memcpy(&value, sample, sizeof value);
  return value;
}
template <>
[[nodiscard]] json element<float>(const uint8_t* sample) {
  uint32_t bits;
  memcpy(&bits, sample, sizeof bits);
  return float_value(bits);
}

}  // namespace

template <typename T>
json row_value(const void* samples, size_t count) {
  json::array_t row;
  row.reserve(count);
  for (size_t i = 0; i < count; ++i)
    row.push_back(element<T>(static_cast<const uint8_t*>(samples) + sizeof(T) * i));
  return row;
}

template <typename T>
json table_value(const void* samples, size_t rows, size_t columns) {
  json::array_t table;
  if (columns == 0) return table;
  table.reserve(rows);
  for (size_t y = 0; y < rows; ++y)
    table.push_back(
        row_value<T>(static_cast<const uint8_t*>(samples) + sizeof(T) * columns * y, columns));
  return table;
}

template json row_value<uint16_t>(const void*, size_t);
template json row_value<float>(const void*, size_t);
template json table_value<uint16_t>(const void*, size_t, size_t);
template json table_value<float>(const void*, size_t, size_t);

uint8_t layout_reader::header(uint16_t) {
  record_header header;
  memcpy(&header, record_, sizeof header);
  put("size", header.size);
  put("version", header.version);
  put("reserved", header.reserved);
  put("id", header.id);
  return header.version;
}

uint8_t layout_reader::header_without_size(uint16_t kind) {
  const uint8_t version = header(kind);
  put("size", nullptr);
  return version;
}

void layout_reader::hexes(const char* key, size_t count, size_t size) {
  json list = json::array();
  for (size_t i = 0; i < count; ++i) list.push_back(hex_of(take(size), size));
  put(key, std::move(list));
}

void layout_reader::hexes_between(const char* key, size_t count, size_t before, size_t size,
                                  size_t after) {
  json list = json::array();
  for (size_t i = 0; i < count; ++i) {
    skip(before);
    list.push_back(hex_of(take(size), size));
    skip(after);
  }
  put(key, std::move(list));
}

void layout_reader::text(const char* key) {
  const uint8_t* const start = record_ + offset_;
  const void* const end = memchr(start, 0, left());
  if (end == nullptr) throw error(std::string(key) + ": the text has no end inside its record");
  const size_t length = static_cast<size_t>(static_cast<const uint8_t*>(end) - start);
  put(key, text_value({reinterpret_cast<const char*>(take(length + 1)), length}));
}

void layout_reader::stored_of_four(const char* key, size_t stored) {
  json list = numbers<uint16_t>(stored);
  while (list.size() < 4) list.push_back(nullptr);
  put(key, std::move(list));
}

void layout_reader::zero_table(const char* key, size_t rows, size_t columns) {
  json::array_t zeros;
  if (columns != 0) zeros.assign(rows, json(json::array_t(columns, 0u)));
  put(key, std::move(zeros));
}

void layout_reader::seek(size_t offset) {
  if (offset > size_) throw error("a record ends before its last field");
  offset_ = offset;
}

const uint8_t* layout_reader::take(size_t size) {
  if (size > left()) throw error("a record ends before its last field");
  return record_ + std::exchange(offset_, offset_ + size);
}

template <typename T>
json layout_reader::numbers(size_t count) {
  if (count > left() / sizeof(T)) throw error("a record ends before its last field");
  return row_value<T>(take(sizeof(T) * count), count);
}

template <typename T>
json layout_reader::table(size_t rows, size_t columns) {
  if (columns != 0 && rows > left() / sizeof(T) / columns)
    throw error("a record ends before its last field");
  return table_value<T>(take(sizeof(T) * rows * columns), rows, columns);
}

template <typename T>
json layout_reader::tables(size_t count, size_t rows, size_t columns) {
  json list = json::array();
  for (size_t i = 0; i < count; ++i) list.push_back(table<T>(rows, columns));
  return list;
}

template json layout_reader::numbers<uint16_t>(size_t);
template json layout_reader::numbers<uint32_t>(size_t);
template json layout_reader::numbers<float>(size_t);
template json layout_reader::table<uint16_t>(size_t, size_t);
template json layout_reader::table<uint32_t>(size_t, size_t);
template json layout_reader::tables<uint16_t>(size_t, size_t, size_t);
template json layout_reader::tables<float>(size_t, size_t, size_t);

}  // namespace document
