#include "tests/kit/fake_platform.h"

#include <gtest/gtest.h>

#include "platform_caller.h"
#include "writer/records.h"

namespace {

std::vector<uint8_t> copy_of(const writer::bytes& record) { return record.vector(); }

TEST(FakePlatform, CapturesWhatASharedLibraryLogs) {
  testing::internal::CaptureStderr();
  {
    const kit::fake_platform platform;
    call_log(0, 7, 8);
    call_log(3, 9, 10);
    EXPECT_EQ((std::vector<kit::log_message>{{0, "count(7) of 8\n"}, {3, "count(9) of 10\n"}}),
              platform.messages());
  }
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(FakePlatform, PassesMessagesOnOnceItIsClosed) {
  { const kit::fake_platform platform; }
  testing::internal::CaptureStderr();
  call_log(1, 7, 8);
  EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("count(7) of 8\n"));
}

TEST(FakePlatform, AnswersForTheRecordDecoder) {
  kit::fake_platform platform;
  std::vector<uint8_t> record = copy_of(writer::record_9());
  platform.answer_records_with(77);
  EXPECT_EQ(77u, call_parse_record(record.data()));
  platform.decode_records_with([](void* decoded) -> uint32_t {
    static_cast<uint8_t*>(decoded)[8] = 0xee;
    return 0;
  });
  EXPECT_EQ(0u, call_parse_record(record.data()));
  EXPECT_EQ(0xee, record[8]);
  EXPECT_EQ(2u, platform.decoded_records());
}

TEST(FakePlatform, LeavesRecordsToTheLibraryAtFirstAndWithAnEmptyFunction) {
  kit::fake_platform platform;
  std::vector<uint8_t> known = copy_of(writer::record_9());
  EXPECT_EQ(0u, call_parse_record(known.data()));
  platform.answer_records_with(77);
  platform.decode_records_with({});
  EXPECT_EQ(0u, call_parse_record(known.data()));
  std::vector<uint8_t> unknown = copy_of(writer::record_5());
  EXPECT_NE(0u, call_parse_record(unknown.data()));
  EXPECT_EQ(3u, platform.decoded_records());
}

TEST(FakePlatform, HandsOutTheTestsCalibrationAndNotesItsRelease) {
  calibration own = {};
  kit::fake_platform platform;
  platform.answer_images_with(&own, 5);
  const qo_blob image = {nullptr, 0};
  calibration* handle = nullptr;
  EXPECT_EQ(5u, call_nvm_parse(&image, &handle));
  EXPECT_EQ(&own, handle);
  call_nvm_deinit(handle);
  EXPECT_EQ(1u, platform.parsed_images());
  EXPECT_EQ(std::vector<const calibration*>{&own}, platform.released_handles());
}

TEST(FakePlatform, CanRefuseAnImage) {
  kit::fake_platform platform;
  platform.answer_images_with(nullptr, 9);
  const qo_blob image = {nullptr, 0};
  calibration* handle = nullptr;
  EXPECT_EQ(9u, call_nvm_parse(&image, &handle));
  EXPECT_EQ(nullptr, handle);
}

TEST(FakePlatform, ParsesWithTheTestsFunction) {
  kit::fake_platform platform;
  uint32_t seen = 0;
  platform.parse_images_with([&seen](const qo_blob* image, calibration**) {
    seen = image->size;
    return 3u;
  });
  const qo_blob image = {"abc", 4};
  calibration* handle = nullptr;
  EXPECT_EQ(3u, call_nvm_parse(&image, &handle));
  EXPECT_EQ(4u, seen);
}

TEST(FakePlatform, ForgetsEverythingWhenItIsOpenedAgain) {
  {
    kit::fake_platform platform;
    platform.answer_records_with(77);
    call_log(0, 1, 2);
  }
  const kit::fake_platform platform;
  std::vector<uint8_t> record = copy_of(writer::record_9());
  EXPECT_EQ(0u, call_parse_record(record.data()));
  EXPECT_TRUE(platform.messages().empty());
  EXPECT_EQ(1u, platform.decoded_records());
}

TEST(FakePlatform, ComesBeforeTheLibrariesOfTheParserItself) {
  kit::fake_platform platform;
  calibration own = {};
  platform.answer_records_with(77);
  platform.answer_images_with(&own);
  const std::vector<uint8_t> container =
      writer::container().add(writer::record_9()).add(writer::record_5()).image();
  const std::vector<uint8_t> nvm(1);
  const qo_blob container_blob = writer::blob_of(container);
  const qo_blob nvm_blob = writer::blob_of(nvm);
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container_blob, &nvm_blob);
  ASSERT_NE(nullptr, cmc);
  EXPECT_EQ(nullptr, cmc->record_9);
  EXPECT_NE(nullptr, cmc->record_5);
  EXPECT_EQ(1u, platform.decoded_records());
  EXPECT_EQ(1u, platform.parsed_images());
  EXPECT_EQ(std::vector<const calibration*>{&own}, platform.released_handles());
  qo_cmc_parser_deinit(cmc);
}

TEST(FakePlatformDeathTest, CannotBeOpenedTwice) {
  const kit::fake_platform platform;
  EXPECT_DEATH({ const kit::fake_platform second; }, "already open");
}

}  // namespace
