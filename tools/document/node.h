/// A value of a document that is read to be packed, with the path that an error names.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "tools/document/json_value.h"
#include "writer/container_writer.h"

namespace document {

/// Every reading function throws error when the value is not what it asks for. The document must
/// outlive its nodes.
class node {
 public:
  node(const json& value, std::string path) : value_(&value), path_(std::move(path)) {}

  [[nodiscard]] const std::string& path() const { return path_; }
  [[noreturn]] void fail(const std::string& sentence) const {
    throw error(path_ + ": " + sentence);
  }

  [[nodiscard]] bool is_null() const { return value_->is_null(); }
  [[nodiscard]] node member(const std::string& key) const;
  [[nodiscard]] node element(size_t index) const;
  [[nodiscard]] size_t array_size() const;
  /// An array of as many elements as a field of the document says.
  void expect_elements(size_t count) const;
  /// Fails for a member that is none of these.
  void expect_only(const std::vector<std::string>& keys) const;
  void expect_null(const char* why) const;

  template <typename T>
  [[nodiscard]] T integer() const {
    if (value_->is_number_unsigned()) {
      const uint64_t number = value_->get<uint64_t>();
      if (number <= static_cast<uint64_t>(std::numeric_limits<T>::max()))
        return static_cast<T>(number);
    } else if (value_->is_number_integer()) {
      const int64_t number = value_->get<int64_t>();
      if (number >= 0 ? static_cast<uint64_t>(number) <=
                            static_cast<uint64_t>(std::numeric_limits<T>::max())
                      : number >= static_cast<int64_t>(std::numeric_limits<T>::min()) &&
                            std::numeric_limits<T>::is_signed)
        return static_cast<T>(number);
    }
    fail_as_integer(std::to_string(std::numeric_limits<T>::min()),
                    std::to_string(std::numeric_limits<T>::max()));
  }
  /// Fails unless the integer is this one.
  void expect_integer(uint64_t value, const char* why) const;
  [[nodiscard]] bool boolean() const;
  /// Bits of a float.
  [[nodiscard]] uint32_t f32() const;
  /// Text without a NUL.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] std::vector<uint8_t> hex() const;
  [[nodiscard]] std::vector<uint8_t> hex(size_t size) const;

  /// Appends an array of `count` numbers to a record.
  template <typename T>
  void append_numbers(writer::bytes& record, size_t count) const;
  /// The same for rows of columns, [] without samples.
  template <typename T>
  void append_table(writer::bytes& record, size_t rows, size_t columns) const;

 private:
  [[noreturn]] void fail_as_integer(const std::string& least, const std::string& most) const;

  const json* value_;
  std::string path_;
};

}  // namespace document
