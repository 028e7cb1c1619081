#include <gtest/gtest.h>

#include "tests/cmc_parser/decoder_fixture.h"
#include "tests/kit/records.h"

namespace {

using kit::copy_fate;

TEST(Dispatch, KindsWithoutADecoderAreLeftToTheCaller) {
  std::vector<uint16_t> ids = {0, 4, 12, 64, 255, 256, 257, 722, 32768, 65535};
  for (uint16_t id = 37; id <= 63; ++id) ids.push_back(id);
  for (const uint16_t id : ids) {
    SCOPED_TRACE(testing::Message() << "id " << id);
    kit::decoder_fixture decoder;
    const kit::decoded result = decoder.decode(kit::plain_record(id));
    EXPECT_EQ(8u, result.code);
    EXPECT_EQ(copy_fate::left_to_caller, result.fate);
    EXPECT_TRUE(decoder.empty());
    EXPECT_EQ(0u, decoder.ledger().allocations());
  }
}

}  // namespace
