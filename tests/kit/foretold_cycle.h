/// What a container's life must leave behind, beside what it left.
#pragma once

#include <vector>

#include "qo_vexb_parser.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/contract_leaks.h"

namespace kit {

/// What the container library says to a copy of the record. Where a fake_platform is open, it is
/// that one's word.
inline bool is_taken_by_stack(const writer::bytes& record) {
  std::vector<uint8_t> copy = record.vector();
  return qo_vexb_parse_record(copy.data()) == 0;
}

inline left_copies left_by(const cycle& done) { return {done.left_blocks, done.left_bytes}; }

/// run_cycle() that expects just the contract's leaks, and no array to be missing but where a
/// record is too short for it.
inline cycle run_foretold_cycle(allocation_ledger& ledger, const std::vector<uint8_t>& image,
                                const qo_blob* nvm = nullptr) {
  cycle done = run_cycle(ledger, image, nvm);
  EXPECT_TRUE(done.accepted);
  EXPECT_EQ(contract_leaks(image, is_taken_by_stack), left_by(done));
  for (const uint16_t kind : done.tour.incomplete) EXPECT_TRUE(counts_missing_arrays(kind)) << kind;
  return done;
}

}  // namespace kit
