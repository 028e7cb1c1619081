/// Compares lens-shading sets, whichever kind they come from, with what a record's bytes say.
#pragma once

#include <array>
#include <optional>

#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

constexpr size_t lens_shading_slot = 54;
constexpr size_t lens_shading_ext_slot = 57;
constexpr size_t light_size = 152;
constexpr size_t light_ext_size = 160;

struct expected_light {
  writer::bytes head;                                     ///< bytes 0 to 21 of the entry
  std::array<std::optional<writer::bytes>, 16> tables{};  ///< by site; none: a null address
  uint16_t aux = 0;                                       ///< only in the longer entries
};

struct expected_set {
  writer::bytes head;  ///< bytes 0 to 29 of the set
  size_t entry_size;
  std::vector<expected_light> lights;
};

inline void expect_light(kit::decoder_fixture& decoder, const uint8_t* light,
                         const expected_light& expected) {
  EXPECT_EQ(writer::bytes(expected.head).zeros(2), kit::bytes_at(light, 24));
  for (size_t site = 0; site < 16; ++site) {
    SCOPED_TRACE(testing::Message() << "site " << site);
    const uint8_t* const table = kit::address_at(light, 24 + 8 * site);
    const std::optional<writer::bytes>& samples = expected.tables.at(site);
    ASSERT_EQ(samples.has_value(), table != nullptr);
    if (table == nullptr) continue;
    EXPECT_TRUE(decoder.ledger().holds(table)) << "every site owns a table";
    EXPECT_EQ(*samples, kit::bytes_at(table, samples->size()));
  }
}

inline void expect_set(kit::decoder_fixture& decoder, const lens_shading_set* set,
                       const expected_set& expected) {
  ASSERT_TRUE(set);
  EXPECT_EQ(writer::bytes(expected.head).zeros(2), kit::bytes_at(set, 32));
  const uint8_t* const lights = kit::address_at(set, 32);
  ASSERT_TRUE(lights);
  for (size_t i = 0; i < expected.lights.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "light " << i);
    const uint8_t* const light = lights + expected.entry_size * i;
    expect_light(decoder, light, expected.lights[i]);
    if (expected.entry_size == light_ext_size) {
      EXPECT_EQ(writer::bytes().u16(expected.lights[i].aux).zeros(6),
                kit::bytes_at(light + 152, 8));
    }
  }
}

/// The map of the kinds that carry none, as bytes.
inline writer::bytes fixed_map() {
  return writer::bytes().u32(0xffff0100).u32(0xffff0302).u32(0xffffffff).u32(0xffffffff);
}

/// The tables of the fixed map: four planes back to back from `offset`.
inline std::array<std::optional<writer::bytes>, 16> fixed_tables(const writer::bytes& record,
                                                                 size_t offset, size_t samples) {
  std::array<std::optional<writer::bytes>, 16> tables;
  constexpr size_t sites[] = {0, 1, 4, 5};
  for (size_t plane = 0; plane < 4; ++plane)
    tables.at(sites[plane]) = kit::part_of(record, offset + 2 * samples * plane, 2 * samples);
  return tables;
}

/// The u16 at `offset` as 8.8 fixed point.
inline float gain_at(const writer::bytes& record, size_t offset) {
  return static_cast<float>(record.u16_at(offset)) / 256.0f;
}

/// The u16 at `offset` as 0.16 fixed point.
inline float coordinate_at(const writer::bytes& record, size_t offset) {
  return static_cast<float>(record.u16_at(offset)) / 65536.0f;
}
