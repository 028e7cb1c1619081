#include <gtest/gtest.h>

#include <cstring>

#include "qo_nvm.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/kit/row_name.h"
#include "writer/nvm_writer.h"

namespace {

using writer::bytes;

/// A parsed image; the image itself stood in a block of exactly its size that is gone by now.
class parsed_image {
 public:
  explicit parsed_image(const bytes& content) {
    kit::guarded_buffer block(content.size());
    if (content.size() != 0) memcpy(block.data(), content.data(), content.size());
    const qo_blob image = {block.data(), static_cast<uint32_t>(content.size())};
    status_ = qo_nvm_parse(&image, &handle_);
  }
  ~parsed_image() {
    if (handle_ != nullptr) qo_nvm_deinit(handle_);
  }
  parsed_image(const parsed_image&) = delete;
  parsed_image& operator=(const parsed_image&) = delete;

  bool refused() const { return status_ != 0 && handle_ == nullptr; }
  bool accepted() const { return status_ == 0 && handle_ != nullptr; }
  const calibration* operator->() const { return handle_; }

 private:
  calibration* handle_ = nullptr;
  uint32_t status_ = 0;
};

bytes resealed(bytes image) {
  writer::seal_nvm_image(image);
  return image;
}

// FNV-1a of the bytes below, worked out apart from kit and library.
constexpr uint32_t smallest_sum = 0x8cc86fa4;

/// Two columns, one row, one set of u8 elements; a grid of 3 x 1 values with shift 5.
bytes smallest() {
  const std::vector<uint8_t> content = {
      'Q', 'N', 'V', 'M', 48, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 2, 1, 1, 0, 0,  // the header
      8,   0,   0,   0,   1,  2, 3, 4, 5, 6, 7, 8,                          // the set
      3,   1,   5,   1,   0,  4, 0, 0, 1, 4, 0, 0, 2, 4, 0, 0};             // the grid
  return bytes(content).patch_u32(8, smallest_sum);
}

TEST(NvmImage, IsReadByteForByte) {
  const parsed_image parsed(smallest());
  ASSERT_TRUE(parsed.accepted());
  ASSERT_EQ(1, parsed->lsc_set_count);
  EXPECT_EQ(2, parsed->lsc_grid_width);
  EXPECT_EQ(1, parsed->lsc_grid_height);
  const lsc_calibration_set& set = parsed->lsc_sets[0];
  EXPECT_EQ(8, set.fraction_bits);
  EXPECT_EQ(0, memcmp(set.channel_tables[0], "\1\2", 2));
  EXPECT_EQ(0, memcmp(set.channel_tables[1], "\3\4", 2));
  EXPECT_EQ(0, memcmp(set.channel_tables[2], "\5\6", 2));
  EXPECT_EQ(0, memcmp(set.channel_tables[3], "\7\10", 2));
  EXPECT_EQ(1, parsed->grid_present);
  EXPECT_EQ(3, parsed->grid->width);
  EXPECT_EQ(1, parsed->grid->height);
  EXPECT_EQ(5, parsed->grid->shift);
  EXPECT_EQ(1024u, parsed->grid->values[0]);
  EXPECT_EQ(1026u, parsed->grid->values[2]);
}

TEST(NvmImage, IsWrittenByTheKitInTheSameForm) {
  writer::nvm_fields fields = {.columns = 2, .rows = 1};
  fields.sets = {{.fraction_bits = 8, .element = [](size_t channel, size_t index) {
                    return static_cast<uint16_t>(2 * channel + index + 1);
                  }}};
  fields.grid = writer::nvm_grid{.width = 3, .height = 1, .shift = 5, .values = {1024, 1025, 1026}};
  EXPECT_EQ(smallest(), writer::nvm_image(fields));
}

TEST(NvmImage, HoldsU16ElementsFrom9FractionalBitsOn) {
  writer::nvm_fields fields = {.columns = 3, .rows = 2};
  const auto element = [](size_t channel, size_t index) {
    return static_cast<uint16_t>(1000 * channel + index + 500);
  };
  fields.sets = {{.fraction_bits = 9, .element = element},
                 {.fraction_bits = 16, .element = element}};
  const parsed_image parsed(writer::nvm_image(fields));
  ASSERT_TRUE(parsed.accepted());
  ASSERT_EQ(2, parsed->lsc_set_count);
  EXPECT_EQ(9, parsed->lsc_sets[0].fraction_bits);
  EXPECT_EQ(16, parsed->lsc_sets[1].fraction_bits);
  for (size_t set = 0; set < 2; ++set) {
    for (size_t channel = 0; channel < 4; ++channel) {
      const auto* const table =
          static_cast<const uint16_t*>(parsed->lsc_sets[set].channel_tables[channel]);
      EXPECT_EQ(1000 * channel + 500, table[0]);
      EXPECT_EQ(1000 * channel + 505, table[5]);
    }
  }
  EXPECT_EQ(0, parsed->grid_present);
  EXPECT_EQ(nullptr, parsed->grid);
}

TEST(NvmImage, MayHoldNoSetsAndAGridWithoutValues) {
  const parsed_image empty(writer::nvm_image({.columns = 0, .rows = 0, .sets = {}}));
  ASSERT_TRUE(empty.accepted());
  EXPECT_EQ(0, empty->lsc_set_count);
  const parsed_image valueless(
      writer::nvm_image({.sets = {}, .grid = writer::nvm_grid{.width = 4, .has_values = false}}));
  ASSERT_TRUE(valueless.accepted());
  EXPECT_EQ(1, valueless->grid_present);
  EXPECT_EQ(4, valueless->grid->width);
  EXPECT_EQ(nullptr, valueless->grid->values);
}

TEST(NvmImage, MayHoldTheLargestCounts) {
  writer::nvm_fields fields = {.columns = 255, .rows = 1};
  fields.sets.assign(255, {.fraction_bits = 0});
  const parsed_image parsed(writer::nvm_image(fields));
  ASSERT_TRUE(parsed.accepted());
  EXPECT_EQ(255, parsed->lsc_set_count);
}

TEST(NvmImage, IsRefusedWithoutArguments) {
  calibration* handle = nullptr;
  const bytes content = smallest();
  const qo_blob image = {content.data(), static_cast<uint32_t>(content.size())};
  const qo_blob absent = {nullptr, 48};
  EXPECT_NE(0u, qo_nvm_parse(nullptr, &handle));
  EXPECT_NE(0u, qo_nvm_parse(&image, nullptr));
  EXPECT_NE(0u, qo_nvm_parse(&absent, &handle));
  EXPECT_EQ(nullptr, handle);
}

struct refused_case {
  const char* name;
  bytes image;
};

// The checksum holds in all of them, but for its own case.
const refused_case refused[] = {
    {"another_magic", resealed(smallest().patch_u8(0, 'q'))},
    {"another_total", smallest().patch_u32(4, 47)},
    {"another_checksum", smallest().patch_u32(8, smallest_sum + 1)},
    {"another_format", resealed(smallest().patch_u16(12, 2))},
    {"one_set_more", resealed(smallest().patch_u8(14, 2))},
    {"one_set_less", resealed(smallest().patch_u8(14, 0))},
    {"most_sets", resealed(smallest().patch_u8(14, 255))},
    {"no_columns", resealed(smallest().patch_u8(15, 0))},
    {"most_columns", resealed(smallest().patch_u8(15, 255))},
    {"no_rows", resealed(smallest().patch_u8(16, 0))},
    {"most_rows", resealed(smallest().patch_u8(16, 255))},
    {"grid_unannounced", resealed(smallest().patch_u8(17, 0))},
    {"grid_flag_2", resealed(smallest().patch_u8(17, 2))},
    {"reserved_in_the_header", resealed(smallest().patch_u16(18, 1))},
    {"fraction_bits_17", resealed(smallest().patch_u8(20, 17))},
    {"fraction_bits_of_wider_elements", resealed(smallest().patch_u8(20, 9))},
    {"reserved_in_a_set", resealed(smallest().patch_u8(23, 1))},
    {"grid_without_columns", resealed(smallest().patch_u8(32, 0))},
    {"grid_one_column_more", resealed(smallest().patch_u8(32, 4))},
    {"grid_one_column_less", resealed(smallest().patch_u8(32, 2))},
    {"grid_without_rows", resealed(smallest().patch_u8(33, 0))},
    {"grid_most_rows", resealed(smallest().patch_u8(33, 255))},
    {"shift_32", resealed(smallest().patch_u8(34, 32))},
    {"values_unannounced", resealed(smallest().patch_u8(35, 0))},
    {"values_flag_2", resealed(smallest().patch_u8(35, 2))},
    {"bytes_behind_the_end", resealed(smallest().zeros(4))},
};

class RefusedImage : public testing::TestWithParam<refused_case> {};

TEST_P(RefusedImage, LeavesTheHandleNull) { EXPECT_TRUE(parsed_image(GetParam().image).refused()); }

INSTANTIATE_TEST_SUITE_P(Fields, RefusedImage, testing::ValuesIn(refused), kit::row_name);

TEST(NvmImage, CutAtAnyLengthIsRefused) {
  const bytes whole = writer::nvm_image({.columns = 3, .rows = 2, .grid = writer::nvm_grid{}});
  ASSERT_TRUE(parsed_image(whole).accepted());
  for (size_t size = 0; size < whole.size(); ++size) {
    bytes cut({whole.data(), whole.data() + size});
    ASSERT_TRUE(parsed_image(cut).refused()) << size;
    if (size >= 12) {
      ASSERT_TRUE(parsed_image(resealed(cut)).refused()) << "sealed, " << size;
    }
  }
}

TEST(NvmImage, EveryChangedByteBreaksTheChecksumAndDoesNoHarmWhenSealed) {
  const bytes whole = smallest();
  for (size_t at = 0; at < whole.size(); ++at) {
    for (int change = 1; change < 256; ++change) {
      const uint8_t value = static_cast<uint8_t>(whole.u8_at(at) ^ change);
      const bytes changed = bytes(whole).patch_u8(at, value);
      ASSERT_TRUE(parsed_image(changed).refused()) << at;
      const parsed_image sealed(resealed(changed));
      ASSERT_TRUE(sealed.refused() || sealed.accepted());
    }
  }
}

TEST(NvmImage, FailsCleanlyAtEachAllocation) {
  const bytes whole = writer::nvm_image({.columns = 2, .rows = 2, .grid = writer::nvm_grid{}});
  kit::allocation_ledger ledger("libqo_nvm.so");
  {
    const parsed_image parsed(whole);
    ASSERT_TRUE(parsed.accepted());
  }
  EXPECT_EQ(12u, ledger.allocations());  // object, sets, 2 x 4 tables, grid, values
  EXPECT_EQ(0u, ledger.live_blocks());
  for (size_t n = 0; n < 12; ++n) {
    ledger.fail_after(n);
    EXPECT_TRUE(parsed_image(whole).refused()) << n;
    EXPECT_EQ(n + 1, ledger.failures());
    EXPECT_EQ(0u, ledger.live_blocks()) << n;
  }
  EXPECT_EQ(0u, ledger.bad_releases());
}

TEST(NvmImage, ARefusedOneAllocatesNothing) {
  kit::allocation_ledger ledger("libqo_nvm.so");
  for (const refused_case& c : refused) EXPECT_TRUE(parsed_image(c.image).refused()) << c.name;
  EXPECT_EQ(0u, ledger.allocations());
}

}  // namespace
