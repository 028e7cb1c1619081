#include "tests/kit/structure_bytes.h"
#include "writer/records.h"

namespace {

using kit::copy_fate;

constexpr size_t first_slot = 59;
constexpr size_t second_slot = 60;

/// Where the arrays of a record with this count stand, and its end.
struct places {
  explicit places(size_t n)
      : b(14 + 4 * (n + 1)), c(14 + 6 * (n + 1)), d(c + 2 * n), end(d + 4 * n) {}
  size_t a = 14;
  size_t b, c, d, end;
};

/// Bytes 0 to 23 of both structures.
writer::bytes expected_scalars(const writer::bytes& record) {
  return kit::part_of(record, 0, 8)
      .u8(record.u8_at(8))
      .zeros(3)
      .raw(kit::part_of(record, 9, 4))
      .u8(record.u8_at(13))
      .zeros(7);
}

TEST(Record35, IsHeldTwiceWithItsArraysInTwoOrders) {
  for (const uint8_t version : kit::every_version) {
    for (const uint8_t n : kit::u8_list{0, 1, 3, 127, 128, 255}) {
      SCOPED_TRACE(testing::Message() << "version " << int{version} << ", count " << int{n});
      const writer::bytes record = writer::record_35({.count = n, .version = version});
      const places at(n);
      ASSERT_EQ(at.end, record.size());
      ASSERT_EQ(12u * n + 20, record.size());
      kit::decoder_fixture decoder;
      const kit::decoded result = decoder.decode(record);
      EXPECT_EQ(0u, result.code);
      EXPECT_EQ(copy_fate::released, result.fate);
      const void* const first = decoder.cmc().record_35.first;
      const void* const second = decoder.cmc().record_35.second;
      ASSERT_TRUE(first != nullptr && second != nullptr);
      EXPECT_TRUE(decoder.holds_only({{first_slot, first}, {second_slot, second}}));
      EXPECT_EQ(expected_scalars(record), kit::bytes_at(first, 24));
      EXPECT_EQ(expected_scalars(record), kit::bytes_at(second, 24));

      const size_t m = n + size_t{1};
      const writer::bytes a = kit::part_of(record, at.a, 4 * m);
      const writer::bytes b = kit::part_of(record, at.b, 2 * m);
      EXPECT_EQ(a, kit::bytes_at(kit::address_at(first, 24), a.size()));
      EXPECT_EQ(b, kit::bytes_at(kit::address_at(first, 32), b.size()));
      EXPECT_EQ(kit::part_of(record, at.c, 2u * n),
                kit::bytes_at(kit::address_at(first, 40), 2u * n));
      EXPECT_EQ(b, kit::bytes_at(kit::address_at(second, 24), b.size()));
      EXPECT_EQ(a, kit::bytes_at(kit::address_at(second, 32), a.size()));
      EXPECT_EQ(kit::part_of(record, at.d, 4u * n),
                kit::bytes_at(kit::address_at(second, 40), 4u * n));
      // Each of the six arrays is a block of its own, empty ones too.
      EXPECT_EQ(8u, decoder.owned_blocks());
      for (const size_t member : kit::size_list{24, 32, 40}) {
        EXPECT_TRUE(decoder.ledger().holds(kit::address_at(first, member)));
        EXPECT_TRUE(decoder.ledger().holds(kit::address_at(second, member)));
      }
    }
  }
}

TEST(Record35, AllocatesBothStructuresAndThenArraysAABBCD) {
  // What is held when the n-th allocation is refused gives away the sizes of those before it.
  constexpr size_t sizes[] = {48, 48, 4 * 8, 4 * 8, 2 * 8, 2 * 8, 2 * 7, 4 * 7};
  const writer::bytes record = writer::record_35({.count = 7});
  size_t held = 0;
  for (size_t n = 0; n < std::size(sizes); ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n << " refused");
    kit::decoder_fixture decoder;
    const size_t before = decoder.ledger().live_bytes() + record.size();
    decoder.ledger().fail_after(n);
    (void)decoder.decode(record);
    EXPECT_EQ(before + held, decoder.ledger().peak_bytes());
    held += sizes[n];
  }
}

}  // namespace
