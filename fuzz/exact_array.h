/// Arrays of exactly their elements, for the address sanitizer to watch both ends.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz/require.h"

namespace fuzz {

template <typename T>
class exact_array {
 public:
  /// Every byte is the same one, by which is_untouched() knows what nobody wrote.
  explicit exact_array(size_t count)
      : size_(count), elements_(static_cast<T*>(malloc(std::max<size_t>(count * sizeof(T), 1)))) {
    require(elements_ != nullptr);
    memset(elements_.get(), background, count * sizeof(T));
  }

  [[nodiscard]] T* data() { return elements_.get(); }
  [[nodiscard]] const T* data() const { return elements_.get(); }
  [[nodiscard]] size_t size() const { return size_; }
  [[nodiscard]] T* begin() { return data(); }
  [[nodiscard]] T* end() { return data() + size_; }
  [[nodiscard]] const T* begin() const { return data(); }
  [[nodiscard]] const T* end() const { return data() + size_; }
  [[nodiscard]] T& operator[](size_t i) { return data()[i]; }
  [[nodiscard]] const T& operator[](size_t i) const { return data()[i]; }

  [[nodiscard]] bool is_untouched(size_t first, size_t count) const {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(data() + first);
    return std::all_of(bytes, bytes + count * sizeof(T),
                       [](uint8_t byte) { return byte == background; });
  }
  [[nodiscard]] bool is_untouched() const { return is_untouched(0, size_); }

 private:
  static constexpr uint8_t background = 0xa5;

  struct c_free {
    void operator()(T* block) const { free(block); }
  };

  size_t size_;
  std::unique_ptr<T[], c_free> elements_;
};

}  // namespace fuzz
