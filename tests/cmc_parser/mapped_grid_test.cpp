#include "tests/cmc_parser/lens_shading_expectations.h"

namespace {

using kit::copy_fate;

using map_list = std::vector<int8_t>;

map_list every_site(int8_t index) { return map_list(16, index); }

/// What tells the two kinds apart.
struct mapped_kind {
  uint16_t id;
  size_t slot;
  size_t entry_size;
  lens_shading_set* parsed_cmc::*set;
  writer::bytes (*build)(const writer::mapped_grid_fields&);
};

constexpr mapped_kind kinds[] = {
    {28, lens_shading_slot, light_size, &parsed_cmc::lens_shading,
     [](const writer::mapped_grid_fields& fields) { return writer::record_28(fields); }},
    {33, lens_shading_ext_slot, light_ext_size, &parsed_cmc::lens_shading_ext,
     [](const writer::mapped_grid_fields& fields) { return writer::record_33(fields); }},
};

size_t planes_of(const map_list& map) {
  int largest = -1;
  for (const int8_t index : map)
    if (index > largest) largest = index;
  return static_cast<size_t>(largest + 1);
}

expected_set set_of(const writer::bytes& record, const mapped_kind& kind) {
  const size_t lights = record.u16_at(24);
  const size_t plane_size = size_t{2} * record.u16_at(28) * record.u16_at(30);
  map_list map;
  for (size_t site = 0; site < 16; ++site)
    map.push_back(static_cast<int8_t>(record.u8_at(8 + site)));
  expected_set set = {kit::part_of(record, 0, 24), kind.entry_size, {}};
  set.head.u16(record.u16_at(24)).raw(kit::part_of(record, 28, 4));
  for (size_t i = 0; i < lights; ++i) {
    const size_t block = 32 + (22 + planes_of(map) * plane_size) * i;
    expected_light light;
    light.head.u32(kind.id == 28 ? record.u32_at(block) : record.u16_at(block));
    light.head.raw(kit::part_of(record, block + 4, 16));
    light.head.u16(static_cast<uint16_t>(16 - record.u16_at(block + 20)));
    if (kind.id == 33) light.aux = static_cast<uint16_t>(record.u16_at(block + 2) + 1);
    for (size_t site = 0; site < 16; ++site)
      if (map[site] >= 0)
        light.tables.at(site) = kit::part_of(
            record, block + 22 + plane_size * static_cast<size_t>(map[site]), plane_size);
    set.lights.push_back(light);
  }
  return set;
}

struct map_case {
  const char* what;
  map_list map;
  size_t tables;  ///< of a light
};

TEST(MappedGrid, EachSiteOfTheMapOwnsATableOfItsPlane) {
  map_list one_of_many = every_site(-1);
  one_of_many[15] = 3;
  map_list extremes = every_site(-128);
  extremes[7] = 127;
  extremes[8] = 0;
  map_list backwards;
  for (int site = 0; site < 16; ++site) backwards.push_back(static_cast<int8_t>(15 - site));
  const map_case cases[] = {
      {"a cell of four", {0, 1, -1, -1, 2, 3, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}, 4},
      {"no plane at all", every_site(-1), 0},
      {"no plane at all, as far below as can be", every_site(-128), 0},
      {"one plane for all sites", every_site(0), 16},
      {"three planes that no site uses", one_of_many, 1},
      {"sixteen planes backwards", backwards, 16},
      {"the first and the last index", extremes, 2},
  };
  for (const mapped_kind& kind : kinds) {
    for (const map_case& c : cases) {
      SCOPED_TRACE(testing::Message() << "id " << kind.id << ", " << c.what);
      const writer::bytes record =
          kind.build({.lights = 3, .width = 2, .height = 3, .channel_map = c.map});
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      const lens_shading_set* const set = decoder.cmc().*kind.set;
      EXPECT_TRUE(decoder.holds_only({{kind.slot, set}}));
      expect_set(decoder, set, set_of(record, kind));
      EXPECT_EQ(2 + 3 * c.tables, decoder.owned_blocks());
    }
  }
}

TEST(MappedGrid, EveryVersionIsReadAlike) {
  for (const mapped_kind& kind : kinds)
    for (const uint8_t version : kit::every_version) {
      const writer::bytes record = kind.build({.version = version});
      kit::decoder_fixture decoder;
      (void)decoder.decode(record);
      expect_set(decoder, decoder.cmc().*kind.set, set_of(record, kind));
    }
}

TEST(MappedGrid, BlocksWithoutPlanesAre22BytesApart) {
  for (const mapped_kind& kind : kinds) {
    writer::bytes record =
        kind.build({.lights = 2, .width = 9, .height = 9, .channel_map = every_site(-1)});
    ASSERT_EQ(80u, record.size());  // 32 + 2 * 22, padded
    record.patch_u16(32, 0x1234).patch_u16(54, 0x5678);
    record.patch_u16(34, 0).patch_u16(56, 0);
    kit::decoder_fixture decoder;
    (void)decoder.decode(record);
    ASSERT_TRUE(decoder.cmc().*kind.set);
    const uint8_t* const lights = kit::address_at(decoder.cmc().*kind.set, 32);
    EXPECT_EQ(0x1234u, kit::field_at<uint32_t>(lights, 0));
    EXPECT_EQ(0x5678u, kit::field_at<uint32_t>(lights + kind.entry_size, 0));
  }
}

TEST(MappedGrid, HeadsAreCopiedBitByBit) {
  for (const mapped_kind& kind : kinds) {
    writer::bytes record = kind.build({.lights = 1});
    record.patch_u32(32, 0xfedcba98);
    // Patterns that arithmetic would change.
    record.patch_u32(36, 0x7f800001).patch_u32(40, 0xffc00001);
    record.patch_u32(44, 0x80000000).patch_u32(48, 1);
    kit::decoder_fixture decoder;
    (void)decoder.decode(record);
    ASSERT_TRUE(decoder.cmc().*kind.set);
    const uint8_t* const light = kit::address_at(decoder.cmc().*kind.set, 32);
    EXPECT_EQ(kind.id == 28 ? 0xfedcba98 : 0xba98, kit::field_at<uint32_t>(light, 0));
    EXPECT_EQ(kit::part_of(record, 36, 16), kit::bytes_at(light + 4, 16));
    if (kind.id == 33) {
      EXPECT_EQ(0xfedd, kit::field_at<uint16_t>(light, 152));
    }
  }
}

TEST(MappedGrid, FractionBitsAre16LessTheStoredIn16Bits) {
  for (const mapped_kind& kind : kinds)
    for (const auto& [stored, fraction_bits] :
         {std::pair<uint16_t, uint16_t>{0, 16}, {4, 12}, {16, 0}, {17, 65535}, {65535, 17}}) {
      writer::bytes record = kind.build({.lights = 1});
      record.patch_u16(32 + 20, stored);
      kit::decoder_fixture decoder;
      (void)decoder.decode(record);
      ASSERT_TRUE(decoder.cmc().*kind.set);
      EXPECT_EQ(fraction_bits,
                kit::field_at<uint16_t>(kit::address_at(decoder.cmc().*kind.set, 32), 20));
    }
}

TEST(MappedGrid, TheNumberOfALightsSetIsTheStoredPlus1In16Bits) {
  for (const auto& [stored, aux] :
       {std::pair<uint16_t, uint16_t>{0, 1}, {255, 256}, {65534, 65535}, {65535, 0}}) {
    writer::bytes record = writer::record_33({.lights = 1});
    record.patch_u16(32 + 2, stored);
    kit::decoder_fixture decoder;
    (void)decoder.decode(record);
    ASSERT_TRUE(decoder.cmc().lens_shading_ext);
    EXPECT_EQ(aux, decoder.cmc().lens_shading_ext->lights_ext[0].aux);
  }
}

TEST(MappedGrid, WithoutLightsTheSetIsKeptFrom32BytesOn) {
  for (const mapped_kind& kind : kinds)
    for (const size_t size : kit::size_list{31, 32, 33}) {
      const writer::bytes record =
          writer::resized(kind.build({.lights = 0, .width = 65535, .height = 65535}), size);
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      if (size < 32) {
        kit::expect_dropped(decoder, result);
        continue;
      }
      expect_set(decoder, decoder.cmc().*kind.set, set_of(record, kind));
      EXPECT_EQ(2u, decoder.owned_blocks());
    }
}

struct bound_case {
  const char* what;
  uint16_t lights, width, height;
  map_list map;
  size_t least_size;
};

TEST(MappedGrid, NeedsItsBlocksPadded) {
  const bound_case cases[] = {
      {"one light without planes: 54, padded 56", 1, 9, 9, every_site(-1), 56},
      {"four lights without planes: 120", 4, 9, 9, every_site(-1), 120},
      {"one sample: 56", 1, 1, 1, every_site(0), 56},
      {"two samples: 58, padded 64", 1, 2, 1, every_site(0), 64},
      {"two planes of one sample: 58, padded 64", 1, 1, 1, {1, -1}, 64},
      {"empty planes: 54, padded 56", 1, 0, 65535, every_site(5), 56},
  };
  for (const mapped_kind& kind : kinds)
    for (const bound_case& c : cases) {
      SCOPED_TRACE(testing::Message() << "id " << kind.id << ", " << c.what);
      const writer::bytes record = kind.build(
          {.lights = c.lights, .width = c.width, .height = c.height, .channel_map = c.map});
      for (const size_t size : {c.least_size - 1, c.least_size, c.least_size + 1}) {
        kit::decoder_fixture decoder;
        const kit::decoded result = decoder.decode(writer::resized(record, size));
        EXPECT_EQ(copy_fate::released, result.fate);
        EXPECT_EQ(size >= c.least_size, decoder.cmc().*kind.set != nullptr);
      }
    }
}

TEST(MappedGrid, CountsBeyondTheRecordAreDroppedBeforeTheyAreAllocated) {
  for (const mapped_kind& kind : kinds)
    for (const int8_t index : {int8_t{-128}, int8_t{0}, int8_t{127}})
      for (const auto& [lights, width, height] :
           {std::tuple<uint16_t, uint16_t, uint16_t>{65535, 65535, 65535},
            {65535, 0, 0},
            {65535, 1, 1},
            {65535, 32768, 32768}}) {
        writer::bytes record = kind.build({.lights = 1});
        for (size_t site = 0; site < 16; ++site)
          record.patch_u8(8 + site, static_cast<uint8_t>(index));
        record.patch_u16(24, lights).patch_u16(28, width).patch_u16(30, height);
        kit::decoder_fixture decoder;
        const size_t before = decoder.ledger().live_bytes();
        kit::expect_dropped(decoder, decoder.decode(record));
        EXPECT_GE(before + record.size() + 40, decoder.ledger().peak_bytes());
      }
}

// ------------------------------------------------- kinds that feed a slot together

TEST(LensShadingSlots, AMappedGridReplacesTheSetOfAFixedOne) {
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record_10({.lights = 3}));
  (void)decoder.decode(writer::record_11({.lights = 3}));
  (void)decoder.decode(writer::record_28({.lights = 1}));
  (void)decoder.decode(writer::record_33({.lights = 1}));
  expect_set(decoder, decoder.cmc().lens_shading,
             set_of(writer::record_28({.lights = 1}), kinds[0]));
  expect_set(decoder, decoder.cmc().lens_shading_ext,
             set_of(writer::record_33({.lights = 1}), kinds[1]));
  EXPECT_TRUE(decoder.cmc().lsc_grid.record);
  EXPECT_EQ(1u + 6 + 6, decoder.owned_blocks());
}

TEST(LensShadingSlots, AFixedGridLeavesTheSetOfAMappedOne) {
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record_28({.lights = 1}));
  (void)decoder.decode(writer::record_33({.lights = 1}));
  const kit::decoded grid = decoder.decode(writer::record_10({.lights = 3}));
  const kit::decoded extended = decoder.decode(writer::record_11({.lights = 3}));
  EXPECT_EQ(copy_fate::kept, grid.fate);
  EXPECT_EQ(grid.copy + 16, decoder.cmc().lsc_grid.blocks);
  EXPECT_EQ(copy_fate::released, extended.fate);
  expect_set(decoder, decoder.cmc().lens_shading,
             set_of(writer::record_28({.lights = 1}), kinds[0]));
  expect_set(decoder, decoder.cmc().lens_shading_ext,
             set_of(writer::record_33({.lights = 1}), kinds[1]));
  EXPECT_EQ(1u + 6 + 6, decoder.owned_blocks());
}

TEST(LensShadingSlots, AMalformedMappedGridEmptiesTheSlotForAFixedOne) {
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record_10({.lights = 3}));
  (void)decoder.decode(writer::record_11({.lights = 3}));
  (void)decoder.decode(writer::resized(writer::record_28(), 50));
  (void)decoder.decode(writer::resized(writer::record_33(), 50));
  EXPECT_EQ(nullptr, decoder.cmc().lens_shading);
  EXPECT_EQ(nullptr, decoder.cmc().lens_shading_ext);
  EXPECT_EQ(1u, decoder.owned_blocks());
  (void)decoder.decode(writer::record_10({.lights = 1}));
  (void)decoder.decode(writer::record_11({.lights = 1}));
  EXPECT_TRUE(decoder.cmc().lens_shading);
  EXPECT_TRUE(decoder.cmc().lens_shading_ext);
}

}  // namespace
