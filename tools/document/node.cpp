#include "tools/document/node.h"

#include <algorithm>

#include "tools/findings/escaped.h"

namespace document {
namespace {

template <typename T>
void append(writer::bytes& record, const node& number) {
  const T value = number.integer<T>();
  record.raw(&value, sizeof value);
}
template <>
void append<float>(writer::bytes& record, const node& number) {
  record.u32(number.f32());
}

[[nodiscard]] std::string counted(size_t count) {
  return std::to_string(count) + (count == 1 ? " element" : " elements");
}

}  // namespace

node node::member(const std::string& key) const {
  const std::string path = path_.empty() ? key : path_ + "." + key;
  if (!value_->is_object()) fail("must be an object");
  const auto found = value_->find(key);
  if (found == value_->end()) throw error(path + ": is missing");
  return {*found, path};
}

node node::element(size_t index) const {
  return {value_->at(index), path_ + "[" + std::to_string(index) + "]"};
}

size_t node::array_size() const {
  if (!value_->is_array()) fail("must be an array");
  return value_->size();
}

void node::expect_elements(size_t count) const {
  if (array_size() != count)
    fail("has " + counted(array_size()) + ", but its count or shape asks for " + counted(count));
}

void node::expect_only(const std::vector<std::string>& keys) const {
  if (!value_->is_object()) fail("must be an object");
  for (const auto& [key, value] : value_->items())
    if (std::find(keys.begin(), keys.end(), key) == keys.end())
      throw error((path_.empty() ? "" : path_ + ".") + findings::escaped(key) +
                  ": is no field that is known here");
}

void node::expect_null(const char* why) const {
  if (!is_null()) fail(std::string("must be null: ") + why);
}

void node::expect_integer(uint64_t value, const char* why) const {
  if (integer<uint64_t>() != value) fail("must be " + std::to_string(value) + ": " + why);
}

bool node::boolean() const {
  if (!value_->is_boolean()) fail("must be true or false");
  return value_->get<bool>();
}

uint32_t node::f32() const {
  const std::optional<uint32_t> bits = float_bits(*value_);
  if (!bits) fail("must be a number that a float can hold, \"inf\", \"-inf\" or \"nan:0x7f...\"");
  return *bits;
}

std::string node::text() const {
  std::string result;
  if (value_->is_string()) {
    result = value_->get<std::string>();
  } else if (value_->is_object()) {
    expect_only({"bytes"});
    const std::vector<uint8_t> bytes = member("bytes").hex();
    result.assign(bytes.begin(), bytes.end());
  } else {
    fail("must be text, or {\"bytes\": hex}");
  }
  if (result.find('\0') != std::string::npos) fail("must not hold a NUL, which would end it");
  return result;
}

std::vector<uint8_t> node::hex() const {
  if (!value_->is_string()) fail("must be bytes as text of hexadecimal digits");
  std::optional<std::vector<uint8_t>> bytes = bytes_of_hex(value_->get_ref<const std::string&>());
  if (!bytes) fail("must be pairs of hexadecimal digits in lower case");
  return std::move(*bytes);
}

std::vector<uint8_t> node::hex(size_t size) const {
  std::vector<uint8_t> bytes = hex();
  if (bytes.size() != size)
    fail("must be " + std::to_string(size) + " bytes, and is " + std::to_string(bytes.size()));
  return bytes;
}

template <typename T>
void node::append_numbers(writer::bytes& record, size_t count) const {
  expect_elements(count);
  // A path is only built for what fails.
  for (size_t i = 0; i < count; ++i) {
    try {
      append<T>(record, node((*value_)[i], {}));
    } catch (const error& failure) {
      throw error(path_ + "[" + std::to_string(i) + "]" + failure.what());
    }
  }
}

template <typename T>
void node::append_table(writer::bytes& record, size_t rows, size_t columns) const {
  if (columns == 0) rows = 0;
  expect_elements(rows);
  for (size_t y = 0; y < rows; ++y) element(y).append_numbers<T>(record, columns);
}

void node::fail_as_integer(const std::string& least, const std::string& most) const {
  fail("must be a whole number from " + least + " to " + most);
}

template void node::append_numbers<uint16_t>(writer::bytes&, size_t) const;
template void node::append_numbers<uint32_t>(writer::bytes&, size_t) const;
template void node::append_numbers<float>(writer::bytes&, size_t) const;
template void node::append_table<uint16_t>(writer::bytes&, size_t, size_t) const;
template void node::append_table<uint32_t>(writer::bytes&, size_t, size_t) const;
template void node::append_table<float>(writer::bytes&, size_t, size_t) const;

}  // namespace document
