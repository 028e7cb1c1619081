/// What the program reads: files, pipes and standard input.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

namespace qo_cmc {

/// The argument that stands for standard input.
inline constexpr char standard_input_name[] = "-";

/// A container cannot declare more.
inline constexpr uint64_t largest_input = UINT32_MAX;

/// How a file is named in text: escaped, and standard input by words.
[[nodiscard]] std::string shown_name(const std::string& name);

/// The bytes of one input.
class content {
 public:
  [[nodiscard]] std::span<const uint8_t> bytes() const { return {data_.get(), size_}; }

  /// Makes room for `capacity` bytes in all; throws std::bad_alloc.
  void reserve(size_t capacity);
  /// Where the next bytes belong, as far as there is room.
  [[nodiscard]] std::span<uint8_t> room() { return {data_.get() + size_, capacity_ - size_}; }
  /// `count` bytes of the room are filled.
  void grow(size_t count) { size_ += count; }

 private:
  struct c_free {
    void operator()(uint8_t* block) const { free(block); }
  };
  // The C heap's, whose realloc() moves large blocks without copying them.
  std::unique_ptr<uint8_t, c_free> data_;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

/// Reads all of a file or pipe, or of the descriptor `standard_input` when the name is "-". Throws
/// `failure` for directories, devices, what cannot be read and what has more than `largest_input`
/// bytes; a device is not even opened.
[[nodiscard]] content read_all(const std::string& name, int standard_input);

}  // namespace qo_cmc
