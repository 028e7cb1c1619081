/// Memory as a range of bytes, to tell whether two arrays share any.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qo {

struct byte_range {
  uintptr_t begin;
  size_t size;
};

template <typename Element>
[[nodiscard]] byte_range bytes_of(const Element* first, size_t count) {
  return {reinterpret_cast<uintptr_t>(first), count * sizeof(Element)};
}

/// As numbers: pointers into different arrays have no order. Two ranges that begin together overlap
/// unless the second is empty.
[[nodiscard]] constexpr bool overlap(const byte_range& a, const byte_range& b) {
  return a.begin < b.begin ? b.begin - a.begin < a.size : a.begin - b.begin < b.size;
}

}  // namespace qo
