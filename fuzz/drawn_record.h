/// Records that an input describes, well-formed, and what the slots must then hold of each. What is
/// expected comes from the fields that the writer was given, and from the bytes that it wrote.
#pragma once

#include <cstring>
#include <functional>
#include <span>
#include <vector>

#include "fuzz/held.h"
#include "fuzz/input_reader.h"
#include "qo_cmc/parser.h"
#include "writer/container_writer.h"

namespace fuzz {

/// One slot that a record fills.
struct effect {
  uint16_t slot;         ///< the kind that the slot is named for
  bool only_into_empty;  ///< an earlier record of any kind stays; else this one replaces it
  std::function<void(const parsed_cmc& cmc)> require_held;
};

struct drawn_record {
  writer::bytes content;
  std::vector<effect> effects;
};

using draw = drawn_record (*)(input_reader& in);

/// A draw for each kind.
extern const std::span<const draw> kept_draws;
extern const std::span<const draw> converted_draws;
extern const std::span<const draw> lens_shading_draws;

/// A version at which some layout changes, or one before or after all of them.
[[nodiscard]] inline uint8_t drawn_version(input_reader& in) {
  return static_cast<uint8_t>(99 + in.up_to(5));
}

/// `size` bytes of the record from `offset` on stand at `held`.
inline void require_bytes(const void* held, const writer::bytes& record, size_t offset,
                          size_t size) {
  require(offset + size <= record.size());
  if (size == 0) return;
  require(held != nullptr && memcmp(held, record.data() + offset, size) == 0);
}

/// The slot has the whole record.
inline void require_copy(const record_header* held, const writer::bytes& record) {
  require_bytes(held, record, 0, record.size());
}

/// `place` leads into the copy that the slot has.
inline void require_place(const void* place, const record_header* copy, size_t offset) {
  require(place == reinterpret_cast<const uint8_t*>(copy) + offset);
}

}  // namespace fuzz
