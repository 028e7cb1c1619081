/// Looks at what the decoders build by place alone, and runs the questions that every converted
/// kind is asked.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "tests/kit/decoder_fixture.h"
#include "tests/kit/fake_platform.h"
#include "writer/container_writer.h"

namespace kit {

/// Every version that a decoder could tell apart, and the ends of its range.
inline constexpr uint8_t every_version[] = {0, 99, 100, 101, 102, 103, 104, 255};

/// Short lists to loop over, of the width that the record's field has.
using u8_list = std::initializer_list<uint8_t>;
using u16_list = std::initializer_list<uint16_t>;
using size_list = std::initializer_list<size_t>;

/// The record's bytes from `offset` on; a part outside the record throws std::out_of_range.
inline writer::bytes part_of(const writer::bytes& record, size_t offset, size_t size) {
  writer::bytes part;
  for (size_t i = 0; i < size; ++i) part.u8(record.u8_at(offset + i));
  return part;
}

/// The field that stands at `offset` of a structure, whatever its members are called.
template <typename T>
T field_at(const void* structure, size_t offset) {
  T value;
  memcpy(&value, static_cast<const uint8_t*>(structure) + offset, sizeof value);
  return value;
}
inline const uint8_t* address_at(const void* structure, size_t offset) {
  return field_at<const uint8_t*>(structure, offset);
}

/// Hands `record` over cut to every size from a bare header up to one byte less than it has, each
/// to a parsed CMC of its own.
inline void cut_at_every_size(
    const writer::bytes& record,
    const std::function<void(decoder_fixture&, const decoded&, size_t size)>& check,
    const calibration* module = nullptr) {
  for (size_t size = writer::record_header_size; size < record.size(); ++size) {
    SCOPED_TRACE(testing::Message() << "cut to " << size << " of " << record.size() << " bytes");
    decoder_fixture decoder;
    const decoded result = decoder.decode(writer::resized(record, size), module);
    check(decoder, result, size);
    if (testing::Test::HasFailure()) return;
  }
}

/// A cut that leaves nothing behind: code 0, no slot, no copy.
inline void expect_dropped(decoder_fixture& decoder, const decoded& result) {
  EXPECT_EQ(0u, result.code);
  EXPECT_EQ(copy_fate::released, result.fate);
  EXPECT_TRUE(decoder.empty());
  EXPECT_EQ(0u, decoder.owned_blocks());
}

/// How many blocks the parsed CMC owns after this record alone.
inline size_t blocks_after(const writer::bytes& record) {
  decoder_fixture decoder;
  (void)decoder.decode(record);
  return decoder.owned_blocks();
}

/// `second` takes the place of `first`: nothing of the first one is left.
inline void expect_replaced(const writer::bytes& first, const writer::bytes& second) {
  const size_t blocks = blocks_after(second);
  decoder_fixture decoder;
  (void)decoder.decode(first);
  (void)decoder.decode(second);
  EXPECT_EQ(blocks, decoder.owned_blocks());
}

/// One converted record with each of its allocations refused in turn.
struct allocation_case {
  size_t allocations;          ///< that the record takes
  size_t silent_refusals = 0;  ///< the first so many refusals cause no message, the others one
  uint32_t code = 0;           ///< of every refusal
  const calibration* module = nullptr;
};

/// Every refusal leaves an empty parsed CMC and no block but the caller's.
inline void expect_nothing_without_memory(const writer::bytes& record,
                                          const allocation_case& expected) {
  const auto scenario = [&](decoder_fixture& decoder, size_t n) {
    const fake_platform platform;
    const decoded result = decoder.decode(record, expected.module);
    const size_t messages = n < expected.silent_refusals || n >= expected.allocations ? 0 : 1;
    EXPECT_EQ(std::vector<log_message>(messages, {0, null_destination_message}),
              platform.messages());
    if (n >= expected.allocations) return;
    EXPECT_EQ(expected.code, result.code);
    EXPECT_EQ(expected.code == 0 ? copy_fate::released : copy_fate::left_to_caller, result.fate);
    EXPECT_TRUE(decoder.empty());
    EXPECT_EQ(0u, decoder.owned_blocks());
  };
  EXPECT_EQ(expected.allocations, fail_each_allocation(scenario));
}

}  // namespace kit
