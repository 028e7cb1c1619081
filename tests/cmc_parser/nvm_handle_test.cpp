// When the NVM library is asked, and what becomes of the handle that it makes.

#include "qo_nvm.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace {

using writer::container;

constexpr uint8_t some_image[] = {1, 2, 3};
const qo_blob some_nvm = {some_image, sizeof some_image};

/// A handle whose grid makes record 30 take its size from there.
struct module_with_grid {
  uint32_t values[63] = {};
  calibration_grid grid{};
  calibration module{};
  module_with_grid() {
    grid.width = 9;
    grid.height = 7;
    grid.values = values;
    module.grid_present = 1;
    module.grid = &grid;
  }
};

std::vector<uint8_t> with_record_30() {
  return container().add(writer::record_30({.version = 102})).image();
}

TEST(NvmHandle, TheEntryWithoutNvmNeverAsksTheNvmLibrary) {
  kit::fake_platform platform;
  module_with_grid calibrated;
  platform.answer_images_with(&calibrated.module);
  const std::vector<uint8_t> image = with_record_30();
  const qo_blob blob = writer::blob_of(image);
  const kit::cmc_ptr cmc(qo_cmc_parser_init(&blob));
  EXPECT_NE(nullptr, cmc);
  EXPECT_EQ(0u, platform.parsed_images());
  EXPECT_TRUE(platform.released_handles().empty());
}

TEST(NvmHandle, AnAbsentImageIsLikeNone) {
  const qo_blob without_data = {nullptr, 3};
  const qo_blob of_size_0 = {some_image, 0};
  const uint64_t plain = kit::tour_of(*kit::parse(with_record_30())).digest;
  for (const qo_blob* const nvm :
       {static_cast<const qo_blob*>(nullptr), &without_data, &of_size_0}) {
    kit::fake_platform platform;
    module_with_grid calibrated;
    platform.answer_images_with(&calibrated.module);
    const kit::cmc_ptr cmc = kit::parse(with_record_30(), nvm);
    EXPECT_EQ(plain, kit::tour_of(*cmc).digest);
    EXPECT_EQ(0u, platform.parsed_images());
    EXPECT_TRUE(platform.released_handles().empty());
  }
}

TEST(NvmHandle, TheImageReachesTheNvmLibraryWithAHandlePresetToNull) {
  kit::fake_platform platform;
  platform.parse_images_with([](const qo_blob* image, calibration** handle) -> uint32_t {
    EXPECT_EQ(some_image, image->data);
    EXPECT_EQ(sizeof some_image, image->size);
    EXPECT_EQ(nullptr, *handle);
    return 0;
  });
  EXPECT_NE(nullptr, kit::parse(container().image(), &some_nvm));
  EXPECT_EQ(1u, platform.parsed_images());
}

TEST(NvmHandle, AHandleThatStaysNullGivesWhatNoImageGivesAndIsNotReleased) {
  const uint64_t plain = kit::tour_of(*kit::parse(with_record_30())).digest;
  for (const uint32_t status : {0u, 1u}) {
    kit::fake_platform platform;
    platform.answer_images_with(nullptr, status);
    const kit::cmc_ptr cmc = kit::parse(with_record_30(), &some_nvm);
    ASSERT_NE(nullptr, cmc);
    EXPECT_EQ(plain, kit::tour_of(*cmc).digest);
    EXPECT_EQ(1u, platform.parsed_images());
    EXPECT_TRUE(platform.released_handles().empty());
  }
}

TEST(NvmHandle, TheHandleCountsWhateverTheStatus) {
  for (const uint32_t status : {0u, 1u, 0xffffffffu}) {
    kit::fake_platform platform;
    module_with_grid calibrated;
    platform.answer_images_with(&calibrated.module, status);
    const kit::cmc_ptr cmc = kit::parse(with_record_30(), &some_nvm);
    ASSERT_NE(nullptr, cmc->record_30);
    EXPECT_EQ(9, cmc->record_30->grid_width);
    EXPECT_EQ(7, cmc->record_30->grid_height);
    const std::vector<const calibration*> once = {&calibrated.module};
    EXPECT_EQ(once, platform.released_handles());
  }
}

TEST(NvmHandle, TheHandleIsReleasedOnceBehindTheLastRecordAndTheRecordsSeeIt) {
  kit::fake_platform platform;
  module_with_grid calibrated;
  platform.answer_images_with(&calibrated.module);
  size_t decoded = 0;
  platform.decode_records_with([&](void*) -> uint32_t {
    ++decoded;
    EXPECT_EQ(1u, platform.parsed_images());
    EXPECT_TRUE(platform.released_handles().empty());
    return 0;
  });
  const kit::cmc_ptr cmc = kit::parse(
      container().add(writer::record_9()).add(writer::record_30()).add(writer::record_32()).image(),
      &some_nvm);
  EXPECT_EQ(2u, decoded);
  EXPECT_EQ(1u, platform.released_handles().size());
  EXPECT_EQ(9, cmc->record_30->grid_width);
}

TEST(NvmHandle, TheHandleIsReleasedOnceWhateverTheContainerHolds) {
  const struct {
    const char* name;
    std::vector<uint8_t> image;
  } cases[] = {
      {"no records", container().image()},
      {"one lens-shading set", container().add(writer::record_28()).image()},
      {"the other lens-shading set", container().add(writer::record_33()).image()},
      {"only both sets", container().add(writer::record_28()).add(writer::record_33()).image()},
      {"a walk that ends early",
       container().add(writer::record(5, 100, writer::bytes().zeros(8), {.size = 0})).image()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const uint64_t plain = kit::tour_of(*kit::parse(c.image)).digest;
    kit::fake_platform platform;
    calibration module = {};
    platform.answer_images_with(&module);
    const kit::cmc_ptr cmc = kit::parse(c.image, &some_nvm);
    ASSERT_NE(nullptr, cmc);
    EXPECT_EQ(plain, kit::tour_of(*cmc).digest);
    EXPECT_EQ(1u, platform.parsed_images());
    const std::vector<const calibration*> once = {&module};
    EXPECT_EQ(once, platform.released_handles());
  }
}

TEST(NvmHandle, AContainerThatIsRefusedNeverAsksTheNvmLibrary) {
  kit::fake_platform platform;
  module_with_grid calibrated;
  platform.answer_images_with(&calibrated.module);
  EXPECT_EQ(nullptr, kit::parse(container().checksum(5).image(), &some_nvm));
  {
    kit::allocation_ledger ledger;
    ledger.fail_after(0);
    EXPECT_EQ(nullptr, kit::parse(container().image(), &some_nvm));
  }
  EXPECT_EQ(0u, platform.parsed_images());
  EXPECT_TRUE(platform.released_handles().empty());
}

TEST(NvmHandle, TheNvmImageMayBeReadOnlyAndIsNotReferencedAfterwards) {
  const writer::bytes nvm = writer::nvm_image({.grid = writer::nvm_grid{}});
  kit::cmc_ptr cmc;
  uint64_t digest = 0;
  {
    const kit::read_only_image held(nvm.vector());
    const qo_blob blob = held.blob();
    cmc = kit::parse(with_record_30(), &blob);
    ASSERT_NE(nullptr, cmc);
    digest = kit::tour_of(*cmc).digest;
  }
  EXPECT_EQ(9, cmc->record_30->grid_width);
  EXPECT_EQ(digest, kit::tour_of(*cmc).digest);
}

TEST(NvmHandle, NothingIsLoggedByARefusedOrAnOrdinaryContainer) {
  kit::fake_platform platform;
  EXPECT_NE(nullptr, kit::parse(container().add(writer::record_28()).image()));
  EXPECT_EQ(nullptr, kit::parse(container().checksum(5).image()));
  EXPECT_TRUE(platform.messages().empty());
}

}  // namespace
