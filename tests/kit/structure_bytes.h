/// Looks at what the decoders build only by place.
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

}  // namespace kit
