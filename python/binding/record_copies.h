/// Values and places in a kept copy of a record.
#pragma once

#include "python/binding/parts.h"
#include "qo_cmc/unaligned.h"

namespace qo_python {

/// What a copy's layout says stands at `data`: `count` values of `each` bytes. Raises RuntimeError
/// where that leaves the copy, which no record does that the parser keeps.
[[nodiscard]] const void* inside(const record_header& copy, const void* data, size_t count,
                                 size_t each);

/// `count` rows of `Size` bytes.
template <size_t Size>
[[nodiscard]] array_place bytes_of(const record_header& copy, const uint8_t* data, size_t count) {
  if (data == nullptr) return array_of<uint8_t>(nullptr);
  return array_of<uint8_t>(inside(copy, data, count, Size), count, Size);
}

/// All bytes from there to the end of the copy.
[[nodiscard]] array_place rest_of(const record_header& copy, const uint8_t* data);

/// A structured type of these fields.
struct structure_field {
  const char* name;
  const char* format;  ///< as numpy.dtype() takes it: "<u4", "<u2"
  size_t count = 1;    ///< elements; 1: a plain value
};
[[nodiscard]] py::dtype structure_of(std::initializer_list<structure_field> fields);

}  // namespace qo_python
