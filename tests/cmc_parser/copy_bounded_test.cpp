#include "cmc_parser/copy_bounded.h"

#include <gtest/gtest.h>

#include <vector>

#include "cmc_parser/missing_destination.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/guarded_buffer.h"

namespace {

const std::vector<uint8_t> source = {1, 2, 3, 4, 5, 6, 7, 8};
const char null_message[] = "memcpy_s: nullptr received\n";

using messages = std::vector<kit::log_message>;

/// A destination of `size` bytes 0xee between inaccessible pages.
kit::guarded_buffer untouched(size_t size) {
  kit::guarded_buffer buffer(size);
  memset(buffer.data(), 0xee, size);
  return buffer;
}

std::vector<uint8_t> content(const kit::guarded_buffer& buffer) {
  return {buffer.data(), buffer.data() + buffer.size()};
}

TEST(CopyBounded, CopiesWhatFitsAndSaysNothing) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(8);
  EXPECT_EQ(0u, qo::copy_bounded(destination.data(), 8, source.data(), 5));
  EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 0xee, 0xee, 0xee}), content(destination));
  EXPECT_TRUE(platform.messages().empty());
}

TEST(CopyBounded, CopiesExactlyTheDestinationsSize) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(8);
  EXPECT_EQ(0u, qo::copy_bounded(destination.data(), 8, source.data(), 8));
  EXPECT_EQ(source, content(destination));
  EXPECT_TRUE(platform.messages().empty());
}

TEST(CopyBounded, CopiesNothingWhenAskedForNothing) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(4);
  EXPECT_EQ(0u, qo::copy_bounded(destination.data(), 4, source.data(), 0));
  EXPECT_EQ((std::vector<uint8_t>{0xee, 0xee, 0xee, 0xee}), content(destination));
  EXPECT_TRUE(platform.messages().empty());
}

TEST(CopyBounded, DownsizesACountPastTheDestinationAndReportsBothNumbers) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(5);
  EXPECT_EQ(34u, qo::copy_bounded(destination.data(), 5, source.data(), 8));
  EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5}), content(destination));
  EXPECT_EQ((messages{{0, "memcpy_s: count(8) > destsz(5), downsizing count to destsz\n"}}),
            platform.messages());
}

TEST(CopyBounded, DownsizesToNothing) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(1);
  EXPECT_EQ(34u, qo::copy_bounded(destination.data(), 0, source.data(), 1));
  EXPECT_EQ(std::vector<uint8_t>{0xee}, content(destination));
  EXPECT_EQ((messages{{0, "memcpy_s: count(1) > destsz(0), downsizing count to destsz\n"}}),
            platform.messages());
}

TEST(CopyBounded, ReportsSizesOf64Bits) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(8);
  EXPECT_EQ(34u, qo::copy_bounded(destination.data(), 8, source.data(), 0x100000008));
  EXPECT_EQ(source, content(destination));
  EXPECT_EQ(
      (messages{{0, "memcpy_s: count(4294967304) > destsz(8), downsizing count to destsz\n"}}),
      platform.messages());
}

TEST(CopyBounded, ANullDestinationIsReportedAndNothingElseHappens) {
  const kit::fake_platform platform;
  EXPECT_EQ(22u, qo::copy_bounded(nullptr, 8, source.data(), 8));
  EXPECT_EQ((messages{{0, null_message}}), platform.messages());
}

TEST(CopyBounded, ANullDestinationIsFoundBeforeACountThatIsTooLarge) {
  const kit::fake_platform platform;
  EXPECT_EQ(22u, qo::copy_bounded(nullptr, 4, source.data(), 8));
  EXPECT_EQ(22u, qo::copy_bounded(nullptr, 0, nullptr, 0));
  EXPECT_EQ((messages{{0, null_message}, {0, null_message}}), platform.messages());
}

TEST(CopyBounded, ANullSourceZeroesTheCountWithoutAMessage) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(8);
  EXPECT_EQ(22u, qo::copy_bounded(destination.data(), 8, nullptr, 3));
  EXPECT_EQ((std::vector<uint8_t>{0, 0, 0, 0xee, 0xee, 0xee, 0xee, 0xee}), content(destination));
  EXPECT_TRUE(platform.messages().empty());
}

TEST(CopyBounded, ANullSourceStandsBeforeTruncationInTheResult) {
  const kit::fake_platform platform;
  kit::guarded_buffer destination = untouched(3);
  EXPECT_EQ(22u, qo::copy_bounded(destination.data(), 3, nullptr, 9));
  EXPECT_EQ((std::vector<uint8_t>{0, 0, 0}), content(destination));
  EXPECT_EQ((messages{{0, "memcpy_s: count(9) > destsz(3), downsizing count to destsz\n"}}),
            platform.messages());
}

TEST(CopyBounded, TheMessageOfAMissingDestinationCanBeLoggedAlone) {
  const kit::fake_platform platform;
  qo::log_null_destination();
  EXPECT_EQ((messages{{0, null_message}}), platform.messages());
}

}  // namespace
