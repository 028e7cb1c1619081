// The stack's libraries at their worst: they refuse, answer success without a result, rewrite the
// records that they decode, and hand over calibrations with parts that are missing. The parser
// reads nothing outside, every block has its owner, and every handle is released once.

#include <functional>
#include <string>
#include <vector>

#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/module_calibration.h"
#include "tests/kit/row_name.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

constexpr uint8_t some_image[] = {1};
constexpr qo_blob some_nvm = {some_image, sizeof some_image};

// ------------------------------------------------------------------- the container library

/// What the library does to a record of `size` bytes, and its answer.
struct stack_case {
  const char* name;
  std::function<uint32_t(uint8_t* record, uint32_t size)> decode;
  bool taken = true;
};

uint32_t write_size(uint8_t* record, uint32_t size) {
  memcpy(record, &size, sizeof size);
  return 0;
}

const stack_case stack_cases[] = {
    {"size_0", [](uint8_t* record, uint32_t) { return write_size(record, 0); }},
    {"size_1", [](uint8_t* record, uint32_t) { return write_size(record, 1); }},
    {"size_below_a_header", [](uint8_t* record, uint32_t) { return write_size(record, 7); }},
    {"size_of_a_header", [](uint8_t* record, uint32_t) { return write_size(record, 8); }},
    {"size_below_the_block_count",
     [](uint8_t* record, uint32_t) { return write_size(record, 11); }},
    {"one_less", [](uint8_t* record, uint32_t size) { return write_size(record, size - 1); }},
    {"one_more", [](uint8_t* record, uint32_t size) { return write_size(record, size + 1); }},
    {"size_2_31", [](uint8_t* record, uint32_t) { return write_size(record, 0x80000000); }},
    {"size_at_most", [](uint8_t* record, uint32_t) { return write_size(record, 0xffffffff); }},
    {"all_bits_set",
     [](uint8_t* record, uint32_t size) {
       memset(record, 0xff, size);
       return 0u;
     }},
    {"all_zero",
     [](uint8_t* record, uint32_t size) {
       memset(record, 0, size);
       return 0u;
     }},
    {"another_kind",
     [](uint8_t* record, uint32_t) {
       record[6] = 22;
       return 0u;
     }},
    {"refused", [](uint8_t*, uint32_t) { return 1u; }, false},
    {"refused_with_the_largest_code", [](uint8_t*, uint32_t) { return 0xffffffffu; }, false},
    {"size_at_most_and_refused",
     [](uint8_t* record, uint32_t) { return write_size(record, 0xffffffff) + 8; }, false},
    {"all_bits_set_and_refused",
     [](uint8_t* record, uint32_t size) {
       memset(record, 0xff, size);
       return 4u;
     },
     false},
};

class HostileContainerLibrary : public testing::TestWithParam<stack_case> {};

/// The parsed CMC without the records that the container library decoded: what those hold is that
/// library's word.
parsed_cmc without_its_records(const parsed_cmc& cmc) {
  parsed_cmc rest = cmc;
  rest.record_9 = rest.record_31 = rest.record_32 = rest.record_34 = nullptr;
  return rest;
}

TEST_P(HostileContainerLibrary, LeavesEveryOtherRecordAndEveryBlockInItsPlace) {
  const stack_case& c = GetParam();
  const std::vector<bytes> decoded = {writer::record_9(), writer::record_31(), writer::record_32(),
                                      writer::record_34(),
                                      writer::record_34({.blocks = {{}, {}, {}, {}, {}, {}}})};
  // Short ones, whose counts the parser must not look for.
  const std::vector<bytes> headers = {
      writer::resized(decoded[0], 8), writer::resized(decoded[1], 9),
      writer::resized(decoded[2], 11), writer::resized(decoded[3], 8)};
  const std::vector<uint8_t> image = container()
                                         .add(writer::record_3())
                                         .add(decoded)
                                         .add(writer::record_19())
                                         .add(headers)
                                         .add(writer::record_22())
                                         .add(decoded)
                                         .add(writer::record_36())
                                         .image();
  const uint64_t expected =
      kit::tour_of(without_its_records(*kit::parse(container()
                                                       .add(writer::record_19())
                                                       .add(writer::record_22())
                                                       .add(writer::record_36())
                                                       .image())))
          .digest;

  kit::fake_platform platform;
  platform.decode_records_with([&](void* record) {
    uint32_t size;
    memcpy(&size, record, sizeof size);
    return c.decode(static_cast<uint8_t*>(record), size);
  });
  kit::allocation_ledger ledger;
  kit::cmc_ptr cmc = kit::parse(image);
  ASSERT_NE(nullptr, cmc);
  EXPECT_EQ(2 * decoded.size() + headers.size(), platform.decoded_records());
  EXPECT_EQ(expected, kit::tour_of(without_its_records(*cmc)).digest);

  for (const record_header* const slot : {cmc->record_9, cmc->record_32}) {
    EXPECT_EQ(c.taken, slot != nullptr);
    EXPECT_EQ(c.taken, ledger.holds(slot));
  }
  // Refused ones leave the older form, and the derived record, in their slots.
  EXPECT_TRUE(ledger.holds(cmc->record_31));
  EXPECT_TRUE(ledger.holds(cmc->record_34));
  EXPECT_EQ(0u, ledger.bad_releases());
  cmc.reset();
  // Of five records 34 that are taken all but the last are left.
  EXPECT_EQ(c.taken ? 4u : 0u, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
  ledger.release_all();
}

INSTANTIATE_TEST_SUITE_P(Table, HostileContainerLibrary, testing::ValuesIn(stack_cases),
                         kit::row_name);

// ------------------------------------------------------------------------- the NVM library

struct answer_case {
  const char* name;
  bool handle;
  uint32_t status;
};

class HostileNvmLibrary : public testing::TestWithParam<answer_case> {};

TEST_P(HostileNvmLibrary, IsJudgedByItsHandleAlone) {
  const answer_case& c = GetParam();
  std::vector<bytes> records = kit::merged_records();
  records.push_back(writer::record_30());
  const std::vector<uint8_t> image = container().add(records).image();
  const uint64_t plain = kit::tour_of(*kit::parse(image)).digest;
  kit::fake_platform platform;
  kit::module_calibration module(2, 7, 6, 10, [](size_t, size_t channel, size_t r, size_t k) {
    return static_cast<uint32_t>(100 + 16 * channel + 3 * r + 5 * k * k);
  });
  platform.answer_images_with(c.handle ? &module.object() : nullptr, c.status);
  kit::allocation_ledger ledger;
  const kit::cycle cycle = kit::run_cycle(ledger, image, &some_nvm);
  EXPECT_EQ(0u, cycle.left_blocks);
  EXPECT_EQ(c.handle, plain != cycle.tour.digest);
  EXPECT_EQ(c.handle ? 1u : 0u, platform.released_handles().size());
}

const answer_case answer_cases[] = {
    {"success_without_a_handle", false, 0},
    {"refused", false, 1},
    {"refused_with_the_largest_status", false, 0xffffffff},
    {"a_handle", true, 0},
    {"a_handle_though_refused", true, 8},
};
INSTANTIATE_TEST_SUITE_P(Table, HostileNvmLibrary, testing::ValuesIn(answer_cases), kit::row_name);

struct object_case {
  const char* name;
  std::function<void(kit::module_calibration&)> spoil;
};

class HostileCalibration : public testing::TestWithParam<object_case> {};

TEST_P(HostileCalibration, IsReadOnlyWhereItSaysThatSomethingIs) {
  std::vector<bytes> records = kit::merged_records();
  records.push_back(writer::record_30());
  const std::vector<uint8_t> image = container().add(records).image();
  const uint64_t plain = kit::tour_of(*kit::parse(image)).digest;
  kit::fake_platform platform;
  kit::module_calibration module(2, 7, 6, 10, [](size_t, size_t, size_t r, size_t k) -> uint32_t {
    return static_cast<uint32_t>(100 + 3 * r + 5 * k * k);
  });
  GetParam().spoil(module);
  platform.answer_images_with(&module.object());
  kit::allocation_ledger ledger;
  const kit::cycle cycle = kit::run_cycle(ledger, image, &some_nvm);
  EXPECT_EQ(plain, cycle.tour.digest);
  EXPECT_EQ(0u, cycle.left_blocks);
  EXPECT_EQ(1u, platform.released_handles().size());
}

/// An address where nothing can be read.
template <typename T>
const T* nowhere() {
  static const kit::guarded_buffer empty(0);
  return reinterpret_cast<const T*>(empty.data());
}

const object_case object_cases[] = {
    {"no_sets_though_counted",
     [](kit::module_calibration& module) { module.object().lsc_sets = nullptr; }},
    {"most_sets_and_none_there",
     [](kit::module_calibration& module) {
       module.object().lsc_sets = nullptr;
       module.object().lsc_set_count = 255;
     }},
    {"no_last_table",
     [](kit::module_calibration& module) { module.set(1).channel_tables[3] = nullptr; }},
    {"no_sets_and_an_address_nowhere",
     [](kit::module_calibration& module) {
       module.object().lsc_sets = nowhere<lsc_calibration_set>();
       module.object().lsc_set_count = 0;
     }},
    {"no_columns_and_an_address_nowhere",
     [](kit::module_calibration& module) {
       module.object().lsc_grid_width = 0;
       module.object().lsc_sets = nowhere<lsc_calibration_set>();
     }},
    {"no_table_and_a_grid_that_is_not_there",
     [](kit::module_calibration& module) {
       module.set(0).channel_tables[0] = nullptr;
       module.object().grid_present = 0;
       module.object().grid = nowhere<calibration_grid>();
     }},
    {"no_table_and_a_grid_of_no_block",
     [](kit::module_calibration& module) {
       module.set(0).channel_tables[0] = nullptr;
       module.object().grid_present = 255;
       module.object().grid = nullptr;
     }},
};
INSTANTIATE_TEST_SUITE_P(Table, HostileCalibration, testing::ValuesIn(object_cases), kit::row_name);

}  // namespace
