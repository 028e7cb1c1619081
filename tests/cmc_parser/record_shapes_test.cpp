// What holds of the records of every kind: cut anywhere they are taken or not, the last of them or
// the first wins, a malformed one leaves nothing of a good one, and without memory nothing is lost.
// What its decoder tells of it is what is seen of it, with the reason and the end that was missed.
// record_rows.cpp says which way it is for each kind. What a kind does besides is in its own test.

#include <algorithm>
#include <set>

#include "cmc_parser/records/kinds.h"
#include "tests/cmc_parser/record_rows.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/reason_name.h"
#include "tests/kit/reporting_library.h"
#include "tests/kit/slot_tour.h"

namespace {

using kit::copy_fate;
using qo::reason;
using writer::bytes;

/// Keeps what the decoder said of the last record.
class told_fixture : public kit::decoder_fixture {
 public:
  told_fixture()
      : decoder_fixture([this](void* record, parsed_cmc* cmc, const calibration* module) {
          told_ = kit::decode_record(record, cmc, module);
          return told_.code;
        }) {}
  const qo::decode_result& told() const { return told_; }

 private:
  qo::decode_result told_;
};

/// The fate that a decoder has to tell of a copy of which this is seen.
qo::copy_fate fate_told_of(copy_fate seen, bool filled) {
  switch (seen) {
    case copy_fate::kept:
      return qo::copy_fate::kept;
    case copy_fate::released:
      return filled ? qo::copy_fate::converted : qo::copy_fate::released;
    case copy_fate::leaked:
      return qo::copy_fate::leaked;
    default:
      return qo::copy_fate::refused;
  }
}

/// All that a call leaves behind, but for addresses.
struct outcome {
  uint32_t code;
  copy_fate fate;
  size_t owned_blocks;
  uint64_t digest;
  std::vector<uint64_t> slots;
  friend bool operator==(const outcome&, const outcome&) = default;
  friend std::ostream& operator<<(std::ostream& out, const outcome& o) {
    out << "code " << o.code << ", copy " << o.fate << ", " << o.owned_blocks << " blocks, digest "
        << o.digest << ", slots" << std::hex;
    for (size_t i = 0; i < o.slots.size(); ++i)
      if (o.slots[i] != 0) out << ' ' << i + 1 << ": " << o.slots[i];
    return out << std::dec;
  }
};

/// A slot as it is in every run: places in the kept or leaked copy count from its start, and other
/// blocks are all alike.
uint64_t without_addresses(uint64_t word, told_fixture& decoder, const kit::decoded& result,
                           size_t size) {
  constexpr uint64_t in_copy = uint64_t{1} << 63, a_block = uint64_t{1} << 62;
  const uint64_t offset = word - reinterpret_cast<uintptr_t>(result.copy);
  const bool alive = result.fate == copy_fate::kept || result.fate == copy_fate::leaked;
  if (alive && offset <= size) return in_copy + offset;
  return decoder.ledger().holds(reinterpret_cast<const void*>(word)) ? a_block : word;
}

outcome outcome_of(told_fixture& decoder, const kit::decoded& result, size_t size) {
  outcome after = {
      result.code, result.fate, decoder.owned_blocks(), kit::tour_of(decoder.cmc()).digest, {}};
  for (const uint64_t word : decoder.slots())
    after.slots.push_back(without_addresses(word, decoder, result, size));
  return after;
}

outcome outcome_alone(const bytes& record) {
  told_fixture decoder;
  const kit::decoded result = decoder.decode(record);
  return outcome_of(decoder, result, record.size());
}

/// Of the kind that the parameter names.
class RecordShapes : public testing::TestWithParam<uint16_t> {
 protected:
  void SetUp() override {
    for (const record_row& each : record_rows())
      if (each.id == GetParam()) row_ = &each;
    ASSERT_NE(nullptr, row_) << "kind " << GetParam() << " has no row in record_rows.cpp";
  }

  const record_row& row() const { return *row_; }

  bool is_filled(const told_fixture& decoder) const {
    return decoder.slots().at(row().slot - 1) != 0;
  }

  void expect_taken(const told_fixture& decoder, const kit::decoded& result) const {
    EXPECT_EQ(0u, result.code);
    EXPECT_EQ(row().taken, result.fate);
    EXPECT_TRUE(is_filled(decoder));
    expect_told(decoder, result, true);
  }

  /// That what is told of a record is what is seen of it.
  static void expect_told(const told_fixture& decoder, const kit::decoded& result, bool filled) {
    EXPECT_EQ(result.code, decoder.told().code);
    EXPECT_EQ(filled, decoder.told().filled);
    EXPECT_EQ(fate_told_of(result.fate, filled), decoder.told().fate);
  }

  /// The loss of a sample that is cut to this size, or none, and the end that it misses.
  static void expect_loss(const qo::decode_result& told, const sample& whole, size_t size) {
    const auto loss = std::find_if(whole.losses.begin(), whole.losses.end(),
                                   [&](const miss& each) { return each.end > size; });
    const bool lost = loss != whole.losses.end();
    EXPECT_EQ(lost ? loss->why : whole.at_any_size, told.why);
    EXPECT_EQ(lost ? loss->end : 0, told.needed.value());
  }

  /// Why a sample that is cut to this size fills nothing, and the end that it misses.
  void expect_misfit(const qo::decode_result& told, const sample& whole, size_t size) const {
    if (row().unfit == misfit::passed_on) {
      EXPECT_EQ(reason::refused_by_stack, told.why);
      EXPECT_EQ(0u, told.needed.value());
      return;
    }
    if (row().own.has_strings && told.why == reason::string_unterminated) {
      EXPECT_EQ(size + 1, told.needed.value());
      return;
    }
    EXPECT_EQ(reason::record_too_short, told.why);
    EXPECT_GT(told.needed.value(), size);
    EXPECT_LE(told.needed.value(), whole.least);
    // From here on the record has all its counts, and misses the end that follows from them.
    if (size < row().own.counted) return;
    const auto end = std::upper_bound(whole.ends.begin(), whole.ends.end(), size);
    EXPECT_EQ(end != whole.ends.end() ? *end : whole.least, told.needed.value());
  }

  /// Nothing but the caller's or a leaked copy is left.
  void expect_not_taken(told_fixture& decoder, const kit::decoded& result, size_t size) const {
    expect_told(decoder, result, false);
    switch (row().unfit) {
      case misfit::dropped:
        EXPECT_EQ(0u, result.code);
        EXPECT_EQ(copy_fate::released, result.fate);
        break;
      case misfit::leaked:
        EXPECT_EQ(0u, result.code);
        EXPECT_EQ(copy_fate::leaked, result.fate);
        break;
      case misfit::refused:
        EXPECT_EQ(uint32_t{QO_CMC_INVALID}, result.code);
        EXPECT_EQ(copy_fate::left_to_caller, result.fate);
        break;
      case misfit::passed_on:
        EXPECT_NE(0u, result.code);
        EXPECT_EQ(copy_fate::left_to_caller, result.fate);
        break;
    }
    EXPECT_TRUE(decoder.holds_only(row().own.left != nullptr ? row().own.left(result.copy, size)
                                                             : std::vector<kit::slot_value>{}));
    EXPECT_EQ(0u, decoder.owned_blocks());
    if (row().own.checked_before_allocating) {
      EXPECT_EQ(0u, decoder.ledger().allocations());
    }
  }

  static void expect_memory_reason(const qo::decode_result& told, const sample& whole, size_t n) {
    if (n >= whole.allocations) {
      EXPECT_EQ(whole.at_any_size, told.why);
      return;
    }
    EXPECT_EQ(n < whole.emptying ? reason::out_of_memory : reason::part_out_of_memory, told.why);
    EXPECT_EQ(0u, told.needed.value());
  }

  /// `second` after `first`, which is well-formed.
  void expect_replacement(const bytes& first, const bytes& second) const {
    const outcome first_alone = outcome_alone(first);
    const outcome second_alone = outcome_alone(second);
    told_fixture decoder;
    const kit::decoded former = decoder.decode(first);
    const kit::slot_words slots = decoder.slots();
    const size_t allocations = decoder.ledger().allocations();
    const kit::decoded result = decoder.decode(second);
    const bool refused = row().unfit == misfit::passed_on && result.code != 0;
    if (row().own.second == replacement::first_wins || refused) {
      EXPECT_EQ(refused ? copy_fate::left_to_caller : copy_fate::released, result.fate);
      EXPECT_EQ(slots, decoder.slots());
      EXPECT_EQ(allocations, decoder.ledger().allocations());
      EXPECT_EQ(first_alone.digest, kit::tour_of(decoder.cmc()).digest);
      EXPECT_FALSE(decoder.told().replaced);
      EXPECT_EQ(refused ? reason::refused_by_stack : reason::record_superseded, decoder.told().why);
      return;
    }
    EXPECT_TRUE(decoder.told().replaced);
    if (row().own.second == replacement::last_wins_and_first_leaks)
      decoder.expect_leak(former.copy);
    EXPECT_EQ(second_alone, outcome_of(decoder, result, second.size()));
  }

  kit::fake_platform platform_;

 private:
  const record_row* row_ = nullptr;
};

TEST_P(RecordShapes, CutAnywhereItIsTakenFromItsLeastSizeOnAndNothingIsLeftBelow) {
  for (const sample& each : row().samples) {
    for (size_t size = writer::record_header_size; size <= each.record.size() + 17; ++size) {
      SCOPED_TRACE(testing::Message()
                   << "sample " << &each - row().samples.data() << " of " << size << " bytes");
      told_fixture decoder;
      const kit::decoded result = decoder.decode(writer::resized(each.record, size));
      if (size < each.least) {
        expect_not_taken(decoder, result, size);
        expect_misfit(decoder.told(), each, size);
      } else {
        expect_taken(decoder, result);
        expect_loss(decoder.told(), each, size);
      }
      if (HasFailure()) return;
    }
  }
  EXPECT_TRUE(platform_.messages().empty());
}

TEST_P(RecordShapes, MalformedItLeavesNothing) {
  for (const malformed_record& each : row().own.malformed) {
    SCOPED_TRACE(testing::Message() << "malformed " << &each - row().own.malformed.data());
    told_fixture decoder;
    const kit::decoded result = decoder.decode(each.record);
    expect_not_taken(decoder, result, each.record.size());
    EXPECT_EQ(each.why, decoder.told().why);
    EXPECT_EQ(each.needed, decoder.told().needed.value());
  }
}

TEST_P(RecordShapes, OfTwoOneWins) {
  if (row().own.second == replacement::by_a_rule_of_its_own) return;
  for (const sample& first : row().samples)
    for (const sample& second : row().samples) {
      SCOPED_TRACE(testing::Message() << "sample " << &second - row().samples.data() << " after "
                                      << &first - row().samples.data());
      expect_replacement(first.record, second.record);
    }
}

TEST_P(RecordShapes, AMalformedOneBehindAGoodOneLeavesWhatItLeavesAlone) {
  if (row().own.second == replacement::by_a_rule_of_its_own) return;
  const bytes& good = row().samples.front().record;
  for (const malformed_record& each : row().own.malformed) expect_replacement(good, each.record);
  for (const sample& each : row().samples) {
    for (size_t size = writer::record_header_size; size < each.record.size(); ++size) {
      SCOPED_TRACE(testing::Message()
                   << "sample " << &each - row().samples.data() << " of " << size << " bytes");
      expect_replacement(good, writer::resized(each.record, size));
      if (HasFailure()) return;
    }
  }
}

TEST_P(RecordShapes, WithoutMemoryItLeavesNothingOrItsSlotFilled) {
  for (const sample& each : row().samples) {
    SCOPED_TRACE(testing::Message() << "sample " << &each - row().samples.data());
    const auto scenario = [&](told_fixture& decoder, size_t n) {
      const size_t messages = platform_.messages().size();
      const kit::decoded result = decoder.decode(each.record);
      const bool refused = n < each.allocations;
      expect_memory_reason(decoder.told(), each, n);
      EXPECT_EQ(refused && n >= row().own.silent ? 1 : 0, platform_.messages().size() - messages);
      if (!refused || n >= each.emptying) {
        EXPECT_EQ(0u, result.code);
        EXPECT_TRUE(is_filled(decoder));
        return;
      }
      EXPECT_EQ(row().own.code_without_memory, result.code);
      EXPECT_EQ(result.code == 0 ? copy_fate::released : copy_fate::left_to_caller, result.fate);
      EXPECT_TRUE(decoder.empty());
      EXPECT_EQ(0u, decoder.owned_blocks());
    };
    EXPECT_EQ(each.allocations, kit::fail_each_allocation<told_fixture>(scenario));
  }
  for (const kit::log_message& message : platform_.messages())
    EXPECT_EQ((kit::log_message{0, kit::null_destination_message}), message);
}

TEST_P(RecordShapes, WithoutMemoryNothingOfAFormerOneIsLeft) {
  if (row().own.second != replacement::last_wins) return;
  const bytes& former = row().samples.front().record;
  for (const sample& each : row().samples) {
    for (size_t n = 0; n < each.allocations; ++n) {
      SCOPED_TRACE(testing::Message() << "sample " << &each - row().samples.data()
                                      << ", allocation " << n << " refused");
      const auto outcome_without_memory = [&](bool behind_former) {
        told_fixture decoder;
        if (behind_former) (void)decoder.decode(former);
        decoder.ledger().fail_after(n);
        const kit::decoded result = decoder.decode(each.record);
        EXPECT_EQ(1u, decoder.ledger().failures());
        return outcome_of(decoder, result, each.record.size());
      };
      const outcome alone = outcome_without_memory(false);
      EXPECT_EQ(alone, outcome_without_memory(true));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, RecordShapes, testing::ValuesIn(qo::record_kinds),
                         [](const auto& kind) { return "record_" + std::to_string(kind.param); });

TEST(RecordRows, StandForOneKindEachWithRecordsOfThatKind) {
  std::set<uint16_t> kinds;
  for (const record_row& row : record_rows()) {
    SCOPED_TRACE(row.id);
    EXPECT_TRUE(qo::is_record_kind(row.id));
    EXPECT_TRUE(kinds.insert(row.id).second) << "a second row";
    EXPECT_FALSE(row.samples.empty());
    for (const sample& each : row.samples) EXPECT_EQ(row.id, each.record.u16_at(6));
    for (const malformed_record& each : row.own.malformed) EXPECT_EQ(row.id, each.record.u16_at(6));
  }
}

}  // namespace
