#include "tests/cmc_parser/lens_shading_expectations.h"

namespace {

using kit::copy_fate;

/// The set that `lights` blocks of `samples` samples a plane, and gains if there are, make.
expected_set set_of(const writer::bytes& record, bool with_gains) {
  const size_t lights = record.u16_at(10);
  const uint16_t width = record.u16_at(12);
  const uint16_t height = record.u16_at(14);
  const size_t samples = size_t{width} * height;
  const auto size = static_cast<uint32_t>(176 * samples * lights + 32);
  expected_set set = {.head = writer::bytes().u32(size).u32(1835108).raw(fixed_map()),
                      .entry_size = light_size,
                      .lights = {}};
  set.head.u16(record.u16_at(10)).u16(width).u16(height);
  for (size_t i = 0; i < lights; ++i) {
    const size_t block = 16 + 8 * (samples + 1) * i;
    const size_t gains = 16 + 8 * (samples + 1) * lights + 4 * i;
    writer::bytes head = writer::bytes().u32(record.u16_at(block));
    for (size_t k = 0; k < 2; ++k) head.f32(with_gains ? gain_at(record, gains + 2 * k) : 0.0f);
    head.f32(coordinate_at(record, block + 4)).f32(coordinate_at(record, block + 6)).u16(12);
    set.lights.push_back({head, fixed_tables(record, block + 8, samples)});
  }
  return set;
}

testing::AssertionResult holds_grid(const kit::decoder_fixture& decoder, const uint8_t* copy,
                                    size_t gains_offset, const lens_shading_set* set) {
  return decoder.holds_only({{14, copy},
                             {15, copy + 16},
                             {16, copy + 24},
                             {17, gains_offset != 0 ? copy + gains_offset : nullptr},
                             {lens_shading_slot, set}});
}

TEST(LscGrid, KeepsItsCopyAndBuildsASetWithGainsFromVersion101On) {
  for (const uint8_t version : kit::every_version) {
    for (const uint16_t lights : kit::u16_list{0, 1, 3}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", lights " << lights);
      const writer::bytes record = writer::record_10({.lights = lights, .version = version});
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      ASSERT_EQ(copy_fate::kept, result.fate);
      EXPECT_EQ(record, kit::bytes_at(result.copy, record.size()));
      const bool with_gains = version >= 101;
      EXPECT_TRUE(holds_grid(decoder, result.copy, with_gains ? 16 + 8u * 7 * lights : 0,
                             decoder.cmc().lens_shading));
      expect_set(decoder, decoder.cmc().lens_shading, set_of(record, with_gains));
      EXPECT_EQ(3u + 4 * lights, decoder.owned_blocks());
    }
  }
}

TEST(LscGrid, FixedPointHeadsBecomeExactFloats) {
  writer::bytes body = writer::bytes().u16(0xaaaa).u16(1).u16(1).u16(1);
  body.u16(0xfffe).u16(0xbbbb).u16(1).u16(0xffff).u16(10).u16(11).u16(12).u16(13);
  body.u16(0xffff).u16(1);
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record(10, 101, body));
  ASSERT_TRUE(decoder.cmc().lens_shading);
  const lens_shading_light& light = decoder.cmc().lens_shading->lights[0];
  EXPECT_EQ(0xfffeu, light.light_id);
  EXPECT_EQ(255.99609375f, light.gains[0]);
  EXPECT_EQ(0.00390625f, light.gains[1]);
  EXPECT_EQ(0x1p-16f, light.coords[0]);
  EXPECT_EQ(0.9999847412109375f, light.coords[1]);
  EXPECT_EQ(12, light.fraction_bits);
  EXPECT_EQ(208u, decoder.cmc().lens_shading->size);
}

TEST(LscGrid, WithoutLightsTheSetHasNoneAndASizeOf32) {
  for (const auto& [width, height] : {std::pair<uint16_t, uint16_t>{3, 2}, {65535, 65535}}) {
    const writer::bytes record =
        writer::record_10({.lights = 0, .width = width, .height = height, .version = 100});
    ASSERT_EQ(16u, record.size());
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(record);
    EXPECT_TRUE(holds_grid(decoder, result.copy, 0, decoder.cmc().lens_shading));
    ASSERT_TRUE(decoder.cmc().lens_shading);
    EXPECT_EQ(32u, decoder.cmc().lens_shading->size);
    EXPECT_EQ(0, decoder.cmc().lens_shading->light_count);
  }
}

TEST(LscGrid, APlaneWithoutSamplesIsAnEmptyTable) {
  const writer::bytes record = writer::record_10({.lights = 2, .width = 0, .height = 9});
  kit::decoder_fixture decoder;
  (void)decoder.decode(record);
  expect_set(decoder, decoder.cmc().lens_shading, set_of(record, true));
  EXPECT_EQ(11u, decoder.owned_blocks());
}

TEST(LscGrid, CutInItsBlocksIsLeakedAndCutInItsGainsGoesWithoutThem) {
  for (const uint8_t version : kit::u8_list{100, 101, 102}) {
    const writer::bytes record = writer::record_10({.lights = 3, .version = version});
    const size_t end = 16 + 8 * 7 * 3;
    const size_t padded_gains = end + 16;  // 12 bytes of gains
    kit::cut_at_every_size(
        writer::resized(record, padded_gains + 9),
        [&](kit::decoder_fixture& decoder, const kit::decoded& result, size_t size) {
          EXPECT_EQ(0u, result.code);
          if (size < end) {
            EXPECT_EQ(copy_fate::leaked, result.fate);
            EXPECT_TRUE(decoder.empty());
            EXPECT_EQ(0u, decoder.ledger().allocations());
            return;
          }
          ASSERT_EQ(copy_fate::kept, result.fate);
          const bool with_gains = version >= 101 && size >= padded_gains;
          EXPECT_TRUE(
              holds_grid(decoder, result.copy, with_gains ? end : 0, decoder.cmc().lens_shading));
          expect_set(decoder, decoder.cmc().lens_shading,
                     set_of(writer::resized(record, padded_gains), with_gains));
        });
  }
}

TEST(LscGrid, CountsBeyondTheRecordAreLeakedAndNothingIsAllocated) {
  for (const auto& [lights, width, height] :
       {std::tuple<uint16_t, uint16_t, uint16_t>{65535, 65535, 65535},
        {1, 65535, 65535},
        {65535, 0, 0},
        {65535, 1, 1},
        {2, 32768, 16384},
        {1, 0x2000, 0xffff}}) {
    writer::bytes record = writer::record_10();
    record.patch_u16(10, lights).patch_u16(12, width).patch_u16(14, height);
    kit::decoder_fixture decoder;
    EXPECT_EQ(copy_fate::leaked, decoder.decode(record).fate);
    EXPECT_TRUE(decoder.empty());
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

TEST(LscGrid, ASecondRecordReplacesTheCopyButNotTheSet) {
  const writer::bytes first = writer::record_10({.lights = 1});
  const writer::bytes second = writer::record_10({.lights = 3, .version = 100, .filler = 77});
  kit::decoder_fixture decoder;
  const kit::decoded former = decoder.decode(first);
  const lens_shading_set* const set = decoder.cmc().lens_shading;
  const kit::decoded result = decoder.decode(second);
  EXPECT_FALSE(decoder.ledger().holds(former.copy) && former.copy != result.copy);
  EXPECT_TRUE(holds_grid(decoder, result.copy, 0, set));
  expect_set(decoder, set, set_of(first, true));
  EXPECT_EQ(3u + 4, decoder.owned_blocks());
}

TEST(LscGrid, AMalformedRecordAfterAGoodOneReleasesItsCopyAndLeavesTheSet) {
  kit::decoder_fixture decoder;
  (void)decoder.decode(writer::record_10({.lights = 1}));
  const lens_shading_set* const set = decoder.cmc().lens_shading;
  const kit::decoded result = decoder.decode(writer::resized(writer::record_10(), 127));
  EXPECT_EQ(copy_fate::leaked, result.fate);
  EXPECT_TRUE(decoder.holds_only({{lens_shading_slot, set}}));
  EXPECT_EQ(2u + 4, decoder.owned_blocks());
}

TEST(LscGrid, WithoutMemoryForTheSetTheCopyIsKeptAllTheSame) {
  const auto scenario = [](kit::decoder_fixture& decoder, size_t n) {
    const kit::fake_platform platform;
    const kit::decoded result = decoder.decode(writer::record_10({.lights = 2}));
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(copy_fate::kept, result.fate);
    EXPECT_TRUE(holds_grid(decoder, result.copy, 16 + 8 * 7 * 2, decoder.cmc().lens_shading));
    EXPECT_EQ(n < 10, decoder.cmc().lens_shading == nullptr);
    EXPECT_EQ(n < 10 ? 1u : 11u, decoder.owned_blocks());
    EXPECT_TRUE(platform.messages().empty());
  };
  // The set, its lights, four tables each.
  EXPECT_EQ(10u, kit::fail_each_allocation(scenario));
}

}  // namespace
