// Putting finished samples where they go, in the table that the test's environment names.

#include "rows/store_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "rows/row_table.h"
#include "tests/kit/guarded_buffer.h"

namespace {

template <typename Element>
auto spread_of(const qo::store_rows& store) {
  if constexpr (sizeof(Element) == 1)
    return store.spread_u8;
  else
    return store.spread_u16;
}

template <typename Element>
std::vector<Element> samples_of(size_t count) {
  std::vector<Element> samples(count);
  for (size_t i = 0; i < count; ++i) samples[i] = static_cast<Element>(0x1234 + 77 * i);
  return samples;
}

/// The samples `step` apart between elements of 0x5a, `before` of them in front.
template <typename Element>
std::vector<Element> spread_plainly(const std::vector<Element>& samples, size_t step, size_t before,
                                    size_t size) {
  std::vector<Element> expected(size, Element{0x5a});
  for (size_t i = 0; i < samples.size(); ++i) expected[before + i * step] = samples[i];
  return expected;
}

template <typename Element>
class StoreRows : public ::testing::Test {};
using elements = ::testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(StoreRows, elements);

TYPED_TEST(StoreRows, SpreadWritesItsSamplesAndNothingBetweenThemAtEveryAlignment) {
  for (const size_t step : {1u, 2u, 3u, 4u, 5u, 9u})
    for (size_t count = 1; count <= 140; ++count) {
      const size_t before = (5 * count + step) % 64;
      const auto samples = samples_of<TypeParam>(count);
      const auto expected =
          spread_plainly(samples, step, before, before + count * step + 64 / sizeof(TypeParam));
      std::vector<TypeParam> spread(expected.size(), TypeParam{0x5a});
      spread_of<TypeParam>(qo::rows().store)(samples.data(), count, spread.data() + before, step);
      ASSERT_EQ(expected, spread) << count << " samples, " << step << " apart";
    }
}

TYPED_TEST(StoreRows, SpreadReadsAndWritesUpToInaccessiblePages) {
  for (const size_t step : {1u, 2u, 3u, 4u, 7u})
    for (size_t count = 1; count <= 140; ++count) {
      const auto samples = samples_of<TypeParam>(count);
      const size_t size = (count - 1) * step + 1;
      kit::guarded_buffer from(count * sizeof(TypeParam));
      kit::guarded_buffer to(size * sizeof(TypeParam));
      memcpy(from.data(), samples.data(), count * sizeof(TypeParam));
      const auto expected = spread_plainly(samples, step, 0, size);
      const std::vector<TypeParam> blank(size, TypeParam{0x5a});
      memcpy(to.data(), blank.data(), size * sizeof(TypeParam));
      spread_of<TypeParam>(qo::rows().store)(reinterpret_cast<const TypeParam*>(from.data()), count,
                                             reinterpret_cast<TypeParam*>(to.data()), step);
      ASSERT_EQ(0, memcmp(expected.data(), to.data(), size * sizeof(TypeParam)))
          << count << " samples, " << step << " apart";
    }
}

TEST(StreamRows, StreamCopiesEveryNumberOfBytesFromAndToEveryAlignment) {
  const auto bytes = samples_of<uint8_t>(512);
  for (size_t count = 0; count <= 300; ++count)
    for (size_t to = 0; to < 64; ++to) {
      const size_t from = (11 * to + count) % 64;
      std::vector<uint8_t> expected(512, 0x5a), streamed(512, 0x5a);
      std::copy_n(bytes.data() + from, count, expected.data() + to);
      qo::rows().store.stream(bytes.data() + from, streamed.data() + to, count);
      qo::rows().store.settle();
      ASSERT_EQ(expected, streamed) << count << " bytes to " << to;
    }
}

}  // namespace
