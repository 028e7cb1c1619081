/// The input of the target of single records; record_fuzz.cpp draws it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "cmc_parser/records/kinds.h"
#include "writer/container_writer.h"

namespace fuzz {

enum class second_record : uint8_t { none, same, of_the_kind, of_another_kind };

struct record_input {
  writer::bytes first;
  std::optional<writer::bytes> second;
  bool calibrated = false;
};

/// Every kind that has a decoder, then some that have none.
[[nodiscard]] std::vector<uint16_t> kinds_to_try();

/// Any bytes are an input.
[[nodiscard]] record_input record_input_of(const uint8_t* data, size_t size);

/// The input that hands over `first`, and `second` if there is one.
[[nodiscard]] std::vector<uint8_t> input_of(const writer::bytes& first,
                                            const std::optional<writer::bytes>& second,
                                            bool calibrated);
/// The input that hands `record` over twice.
[[nodiscard]] std::vector<uint8_t> input_of_repeated(const writer::bytes& record, bool calibrated);

}  // namespace fuzz
