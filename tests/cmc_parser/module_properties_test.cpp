// Kind 2: the module properties, converted.
#include <gtest/gtest.h>

#include "tests/kit/decoder_fixture.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;
using writer::bytes;

constexpr size_t slot = 5;

struct version_case {
  const char* name;
  uint8_t version;
  size_t copied;                 ///< bytes from the record's start
  size_t least;                  ///< smallest record that is copied from
  std::vector<size_t> mirrored;  ///< where the u16 at byte 12 stands once more
};

const version_case cases[] = {
    {"version_0", 0, 0, 8, {}},
    {"version_99", 99, 0, 8, {}},
    {"version_100", 100, 16, 16, {16, 34}},
    {"version_101", 101, 18, 24, {34}},
    {"version_102", 102, 34, 40, {34}},
    {"version_103", 103, 36, 40, {}},
    {"version_104", 104, 36, 40, {}},
    {"version_255", 255, 36, 40, {}},
};

// A record of 48 bytes that are all different from 0, with 0x2c0d at byte 12.
bytes sample(uint8_t version) {
  return writer::plain_record(2, {.size = 48, .version = version}).patch_u16(12, 0x2c0d);
}

bytes expected_properties(const version_case& c, const bytes& record) {
  bytes properties;
  properties.raw(record.data(), c.copied).zeros_to_size(36);
  for (const size_t offset : c.mirrored) properties.patch_u16(offset, 0x2c0d);
  return properties;
}

class ModuleProperties : public testing::TestWithParam<version_case> {};

TEST_P(ModuleProperties, AtEveryLengthHoldWhatTheVersionFillsOrZeros) {
  for (size_t size = 8; size <= 48; ++size) {
    SCOPED_TRACE(size);
    const bytes record = writer::resized(sample(GetParam().version), size);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::released, result.fate);
    const module_properties_record* const properties = decoder.cmc().module_properties;
    ASSERT_TRUE(decoder.ledger().holds(properties));
    EXPECT_TRUE(decoder.holds_only({{slot, properties}}));
    EXPECT_EQ(1u, decoder.owned_blocks());
    const bytes expected =
        size >= GetParam().least ? expected_properties(GetParam(), record) : bytes().zeros(36);
    EXPECT_EQ(expected, kit::bytes_at(properties, 36));
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, ModuleProperties, testing::ValuesIn(cases), kit::row_name);

TEST(ModulePropertiesFields, StandWhereTheRecordHasThem) {
  kit::decoder_fixture decoder;
  decoder.decode(writer::record_2({.value_12 = 0x1234, .cfa_layout = 259, .version = 103}));
  const module_properties_record& properties = *decoder.cmc().module_properties;
  EXPECT_EQ(40u, properties.header.size);
  EXPECT_EQ(103u, properties.header.version);
  EXPECT_EQ(writer::reserved_byte, properties.header.reserved);
  EXPECT_EQ(2u, properties.header.id);
  EXPECT_EQ(0x1234u, properties.value_12);
  EXPECT_EQ(259u, properties.cfa_layout);
}

}  // namespace
