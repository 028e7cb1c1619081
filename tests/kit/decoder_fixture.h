/// Hands single records to cmc_parse() and tells what became of their copies.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/row_name.h"
#include "tests/kit/slot_tour.h"
#include "writer/container_writer.h"

namespace kit {

enum class copy_fate {
  kept,            ///< code 0; alive, and the parsed CMC has its address
  released,        ///< code 0; no longer alive
  leaked,          ///< code 0; alive, and nothing has its address
  left_to_caller,  ///< another code; alive
  lost,            ///< another code, but no longer alive, or still in the parsed CMC: a defect
};

inline std::ostream& operator<<(std::ostream& out, copy_fate fate) {
  static constexpr const char* names[] = {"kept", "released", "leaked", "left_to_caller", "lost"};
  return out << names[static_cast<size_t>(fate)];
}

/// What a decoder logs of an allocation that it needed and did not get.
inline constexpr const char* null_destination_message = "memcpy_s: nullptr received\n";

/// What one call of cmc_parse() did.
struct decoded {
  uint32_t code;
  copy_fate fate;
  uint8_t* copy;  ///< the record's block; memory only while it is kept or leaked
};

/// A slot, counted from 1, and what its 8 bytes are as a number.
struct slot_value {
  slot_value(size_t number, uint64_t word) : slot(number), value(word) {}
  slot_value(size_t number, const void* address)
      : slot(number), value(reinterpret_cast<uintptr_t>(address)) {}

  size_t slot;
  uint64_t value;
};

/// The `size` bytes at `memory`, for comparison with a record that is expected there.
inline writer::bytes bytes_at(const void* memory, size_t size) {
  return writer::bytes().raw(memory, size);
}

/// Owns a zeroed parsed CMC and the ledger of the library's blocks. At its end it releases what
/// the library leaked or left to its caller, tears the parsed CMC down, and expects that no block
/// is left and that nothing was released twice. One can exist at a time; a loop may make one for
/// each turn.
class decoder_fixture {
 public:
  /// cmc_parse(), or what a test has in its place.
  using parse_call = std::function<uint32_t(void*, parsed_cmc*, const calibration*)>;

  explicit decoder_fixture(parse_call parse = cmc_parse)
      : parse_(std::move(parse)), cmc_(static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc)))) {
    ledger_.adopt(cmc_, sizeof(parsed_cmc));
  }
  decoder_fixture(const decoder_fixture&) = delete;
  decoder_fixture& operator=(const decoder_fixture&) = delete;
  ~decoder_fixture() {
    ledger_.fail_never();
    qo_cmc_parser_deinit(cmc_);
    for (uint8_t* const block : leaks_) {
      EXPECT_TRUE(ledger_.holds(block)) << "a leaked copy was released after all";
      if (ledger_.holds(block)) ledger_.release(block);
    }
    EXPECT_EQ(0u, ledger_.live_blocks())
        << "blocks are left after teardown: is the kind's release in cmc_parser/teardown.cpp?";
    EXPECT_EQ(0u, ledger_.bad_releases());
  }

  /// Hands over a C-heap block of exactly the record's bytes. A leaked block stays alive until the
  /// fixture ends, one that is left to the caller is released at once.
  decoded decode(const writer::bytes& record, const calibration* module = nullptr) {
    auto* const block = static_cast<uint8_t*>(malloc(record.size()));
    memcpy(block, record.data(), record.size());
    ledger_.adopt(block, record.size());
    const uint32_t code = parse_(block, cmc_, module);
    const decoded result = {code, fate_of(block, code), block};
    if (result.fate == copy_fate::leaked) leaks_.push_back(block);
    if (code != QO_CMC_OK && ledger_.holds(block)) ledger_.release(block);
    return result;
  }

  parsed_cmc& cmc() { return *cmc_; }
  const parsed_cmc& cmc() const { return *cmc_; }
  allocation_ledger& ledger() { return ledger_; }

  slot_words slots() const {
    slot_words words;
    memcpy(words.data(), cmc_, sizeof words);
    return words;
  }
  /// Whether the given slots have these values and every other one is zero bytes.
  testing::AssertionResult holds_only(const std::vector<slot_value>& expected) const {
    slot_words wanted{};
    for (const slot_value& entry : expected) wanted.at(entry.slot - 1) = entry.value;
    const slot_words words = slots();
    for (size_t i = 0; i < words.size(); ++i)
      if (words[i] != wanted[i])
        return testing::AssertionFailure() << "slot " << std::dec << i + 1 << " is " << std::hex
                                           << words[i] << " instead of " << wanted[i];
    return testing::AssertionSuccess();
  }
  testing::AssertionResult empty() const { return holds_only({}); }

  /// Blocks that the library holds for this parsed CMC: neither the CMC itself nor leaked copies.
  size_t owned_blocks() const { return ledger_.live_blocks() - 1 - leaks_.size(); }

  /// Enters a block that the contract lets the library forget, so that the fixture releases it.
  void expect_leak(void* block) { leaks_.push_back(static_cast<uint8_t*>(block)); }

 private:
  copy_fate fate_of(const uint8_t* block, uint32_t code) const {
    const bool alive = ledger_.holds(block);
    if (code != QO_CMC_OK)
      return alive && !stored(block) ? copy_fate::left_to_caller : copy_fate::lost;
    if (!alive) return copy_fate::released;
    return stored(block) ? copy_fate::kept : copy_fate::leaked;
  }
  bool stored(const uint8_t* block) const {
    const slot_words words = slots();
    if (std::find(words.begin(), words.end(), reinterpret_cast<uintptr_t>(block)) != words.end())
      return true;
    // Record 27's slot holds a structure that owns the copy.
    return cmc_->record_27 != nullptr &&
           reinterpret_cast<const uint8_t*>(cmc_->record_27->record) == block;
  }

  allocation_ledger ledger_;
  parse_call parse_;
  parsed_cmc* cmc_;
  std::vector<uint8_t*> leaks_;
};

/// Runs `scenario` on a new fixture with its n-th allocation refused, n = 0, 1, ..., until a run
/// has none refused. The fixture's closing checks find every leak. Returns how many runs had one
/// refused.
template <typename Fixture = decoder_fixture>
size_t fail_each_allocation(
    const std::type_identity_t<std::function<void(Fixture&, size_t n)>>& scenario) {
  for (size_t n = 0;; ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n << " refused");
    Fixture decoder;
    decoder.ledger().fail_after(n);
    scenario(decoder, n);
    if (decoder.ledger().failures() == 0) return n;
  }
}

}  // namespace kit
