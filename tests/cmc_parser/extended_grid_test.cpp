#include "tests/cmc_parser/lens_shading_expectations.h"

namespace {

using kit::copy_fate;

expected_set set_of(const writer::bytes& record) {
  const size_t lights = record.u16_at(8);
  const size_t samples = size_t{record.u16_at(10)} * record.u16_at(12);
  const bool with_gains = record.u8_at(4) >= 101;
  expected_set set = {.head = kit::part_of(record, 0, 8).raw(fixed_map()),
                      .entry_size = light_ext_size,
                      .lights = {}};
  set.head.raw(kit::part_of(record, 8, 6));
  for (size_t i = 0; i < lights; ++i) {
    const size_t block = 14 + (10 + 8 * samples) * i;
    const size_t gains = 14 + (10 + 8 * samples) * lights + 4 * i;
    writer::bytes head = writer::bytes().u32(record.u16_at(block + 2));
    for (size_t k = 0; k < 2; ++k) head.f32(with_gains ? gain_at(record, gains + 2 * k) : 0.0f);
    head.f32(coordinate_at(record, block + 6)).f32(coordinate_at(record, block + 8)).u16(12);
    set.lights.push_back({head, fixed_tables(record, block + 10, samples), record.u16_at(block)});
  }
  return set;
}

TEST(ExtendedGrid, BuildsASetWithGainsFromVersion101On) {
  for (const uint8_t version : kit::every_version) {
    for (const uint16_t lights : kit::u16_list{0, 1, 3}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", lights " << lights);
      const writer::bytes record = writer::record_11({.lights = lights, .version = version});
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      const lens_shading_set* const set = decoder.cmc().lens_shading_ext;
      EXPECT_TRUE(decoder.holds_only({{lens_shading_ext_slot, set}}));
      expect_set(decoder, set, set_of(record));
      EXPECT_EQ(2u + 4 * lights, decoder.owned_blocks());
    }
  }
}

TEST(ExtendedGrid, FixedPointHeadsBecomeExactFloats) {
  writer::bytes body = writer::bytes().u16(1).u16(1).u16(1);
  body.u16(0xfffd).u16(0xfffe).u16(0xbbbb).u16(1).u16(0xffff).u16(10).u16(11).u16(12).u16(13);
  body.u16(0xffff).u16(1);
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record(11, 101, body));
  ASSERT_TRUE(decoder.cmc().lens_shading_ext);
  const lens_shading_light_ext& light = decoder.cmc().lens_shading_ext->lights_ext[0];
  EXPECT_EQ(0xfffd, light.aux);
  EXPECT_EQ(0xfffeu, light.light_id);
  EXPECT_EQ(255.99609375f, light.gains[0]);
  EXPECT_EQ(0.00390625f, light.gains[1]);
  EXPECT_EQ(0x1p-16f, light.coords[0]);
  EXPECT_EQ(0.9999847412109375f, light.coords[1]);
  EXPECT_EQ(12, light.fraction_bits);
}

struct bound_case {
  const char* what;
  uint16_t lights, width, height;
  uint8_t version;
  size_t least_size;
};

TEST(ExtendedGrid, NeedsItsBlocksAndGainsPadded) {
  const bound_case cases[] = {
      {"no lights: 14, padded 16", 0, 9, 9, 100, 16},
      {"no lights, with gains: 14, padded 16", 0, 9, 9, 101, 16},
      {"one light: 32", 1, 1, 1, 100, 32},
      {"one light with gains: 36, padded 40", 1, 1, 1, 101, 40},
      {"two lights: 50, padded 56", 2, 1, 1, 99, 56},
      {"two lights with gains: 58, padded 64", 2, 1, 1, 102, 64},
      {"empty planes: 24", 1, 0, 7, 100, 24},
      {"empty planes with gains: 28, padded 32", 1, 7, 0, 255, 32},
  };
  for (const bound_case& c : cases) {
    SCOPED_TRACE(c.what);
    const writer::bytes record = writer::record_11(
        {.lights = c.lights, .width = c.width, .height = c.height, .version = c.version});
    for (const size_t size : {c.least_size - 1, c.least_size, c.least_size + 1}) {
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(writer::resized(record, size));
      EXPECT_EQ(copy_fate::released, result.fate);
      EXPECT_EQ(size >= c.least_size, decoder.cmc().lens_shading_ext != nullptr);
    }
  }
}

TEST(ExtendedGrid, CountsBeyondTheRecordAreDroppedBeforeTheyAreAllocated) {
  for (const auto& [lights, width, height] :
       {std::tuple<uint16_t, uint16_t, uint16_t>{65535, 65535, 65535},
        {1, 65535, 65535},
        {65535, 0, 0},
        {65535, 1, 1},
        {2, 32768, 16384}}) {
    writer::bytes record = writer::record_11();
    record.patch_u16(8, lights).patch_u16(10, width).patch_u16(12, height);
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes();
    kit::expect_dropped(decoder, decoder.decode(record));
    EXPECT_GE(before + record.size() + 40, decoder.ledger().peak_bytes());
  }
}

TEST(ExtendedGrid, AMalformedRecordLeavesTheSlotToItsSuccessor) {
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::resized(writer::record_11(), 20));
  (void)decoder.decode(writer::record_11({.lights = 1}));
  expect_set(decoder, decoder.cmc().lens_shading_ext, set_of(writer::record_11({.lights = 1})));
}

}  // namespace
