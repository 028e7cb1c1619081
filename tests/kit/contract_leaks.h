/// What outlives the teardown of a parsed CMC by contract, worked out from the container's bytes:
/// nothing here asks the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <vector>

#include "writer/container_writer.h"

namespace kit {

/// Allocations of a parse, numbered from 0, that are refused: number `first`, and with `all_later`
/// those that follow it.
struct refusal {
  size_t first;
  bool all_later;
  [[nodiscard]] bool hits(size_t number) const {
    return all_later ? number >= first : number == first;
  }
};

/// The records that the walk over a container reaches, foreign ones too.
[[nodiscard]] std::vector<writer::bytes> records_of(const std::vector<uint8_t>& image);

/// Whether the copy of this record is neither stored nor released: kinds 1, 5, 6, 7, 10, 13, 15 to
/// 21 and 23 below the size that their layout takes, and kind 1 with a string that does not end.
/// Without memory the pairs of kind 1 are not looked at.
[[nodiscard]] bool is_forgotten(const writer::bytes& record, bool memory_for_pairs = true);

/// How many allocations come before that of a record 22's items, its copy the first of them; 0 for
/// a record whose items are never allocated. Without memory for them the copy is lost.
[[nodiscard]] size_t allocations_before_items(const writer::bytes& record_22);

struct left_copies {
  size_t blocks = 0;
  size_t bytes = 0;
  friend bool operator==(const left_copies&, const left_copies&) = default;
};

inline std::ostream& operator<<(std::ostream& out, const left_copies& left) {
  return out << left.blocks << " blocks of " << left.bytes << " bytes";
}

/// Whether the container library of the stack takes a record 34.
using stack_answer = std::function<bool(const writer::bytes&)>;

/// What is left of these records after teardown. `copies` numbers the allocation that each one's
/// copy is; foreign ones have none, and any number.
[[nodiscard]] left_copies contract_leaks(const std::vector<writer::bytes>& records,
                                         const std::vector<size_t>& copies,
                                         const stack_answer& takes_34, const refusal& refused);
/// The same of a container for which there is memory.
[[nodiscard]] left_copies contract_leaks(const std::vector<uint8_t>& image,
                                         const stack_answer& takes_34);

}  // namespace kit
