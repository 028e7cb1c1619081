/// One life of a parsed CMC, from container to teardown, with every block accounted for.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"
#include "tests/kit/guarded_buffer.h"
#include "tests/kit/slot_tour.h"
#include "writer/container_writer.h"

namespace kit {

/// An image that cannot be written, directly in front of an inaccessible page, so at any alignment.
class read_only_image {
 public:
  explicit read_only_image(const std::vector<uint8_t>& image, guard_side side = guard_side::behind)
      : buffer_(image.size(), side) {
    if (image.empty()) return;
    memcpy(buffer_.data(), image.data(), image.size());
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t first = reinterpret_cast<uintptr_t>(buffer_.data()) & ~(page - 1);
    const uintptr_t end = reinterpret_cast<uintptr_t>(buffer_.data()) + image.size();
    if (mprotect(reinterpret_cast<void*>(first), end - first, PROT_READ) != 0) abort();
  }
  qo_blob blob() const { return {buffer_.data(), static_cast<uint32_t>(buffer_.size())}; }

 private:
  guarded_buffer buffer_;
};

/// What one container did.
struct cycle {
  bool accepted = false;
  slot_tour tour;          ///< of the parsed CMC before teardown
  size_t left_blocks = 0;  ///< still allocated after teardown
  size_t left_bytes = 0;
};

/// Parses the image, frees the image's memory, goes through all slots, tears down. Expects that
/// what the slots own is live, each block once, that nothing is released twice, and that what is
/// neither owned nor released is exactly what is left at the end. The ledger is empty before and,
/// for the next container, after.
inline cycle run_cycle(allocation_ledger& ledger, const std::vector<uint8_t>& image,
                       const qo_blob* nvm = nullptr) {
  cycle result;
  parsed_cmc* cmc = nullptr;
  {
    const read_only_image held(image);
    const qo_blob container = held.blob();
    cmc = qo_cmc_parser_init_v1(&container, nvm);
  }
  result.accepted = cmc != nullptr;
  const size_t live = ledger.live_blocks();
  if (cmc != nullptr) {
    EXPECT_TRUE(ledger.holds(cmc));
    EXPECT_EQ(nullptr, cmc->others);
    EXPECT_EQ(nullptr, cmc->unused_6);
    EXPECT_EQ(nullptr, cmc->unused_7);
    result.tour = tour_of(*cmc);
    slot_words slots;
    memcpy(slots.data(), cmc, sizeof slots);
    for (size_t i = 0; i < slots.size(); ++i) {
      const auto* const block = reinterpret_cast<const void*>(slots[i]);
      EXPECT_TRUE(!ledger.holds(block) || result.tour.owns(block))
          << "slot " << i + 1 << " owns a block that tests/kit/slot_tour.cpp does not visit";
    }
    for (const void* const block : result.tour.owned) EXPECT_TRUE(ledger.holds(block));
    EXPECT_TRUE(result.tour.owns_each_once()) << "two owners";
    qo_cmc_parser_deinit(cmc);
    EXPECT_EQ(live, result.tour.owned.size() + 1 + ledger.live_blocks())
        << "teardown released other blocks than tests/kit/slot_tour.cpp visits";
  }
  result.left_blocks = ledger.live_blocks();
  result.left_bytes = ledger.live_bytes();
  EXPECT_EQ(0u, ledger.bad_releases());
  ledger.release_all();
  return result;
}

/// Kinds that forget the copy of a record which fails their size check.
inline bool forgets_short_records(uint16_t kind) {
  static constexpr uint16_t kinds[] = {1, 5, 6, 7, 10, 13, 15, 16, 17, 18, 19, 20, 21, 23};
  return std::find(std::begin(kinds), std::end(kinds), kind) != std::end(kinds);
}

/// What may be left of a container by contract, found record by record.
struct allowed_leaks {
  size_t blocks = 0;
  size_t bytes = 0;
};

/// Hands the container's records to cmc_parse() one by one, each in a block of exactly its size,
/// and expects of every copy that it is kept, released, left to its caller together with a nonzero
/// code, or forgotten where the contract says so. The walk over the image is this function's own.
inline allowed_leaks replay_records(allocation_ledger& ledger, const std::vector<uint8_t>& image,
                                    const calibration* module = nullptr) {
  allowed_leaks leaks;
  auto* const cmc = static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc)));
  ledger.adopt(cmc, sizeof *cmc);
  const auto leaked = [&](size_t size) {
    ++leaks.blocks;
    leaks.bytes += size;
  };
  const writer::bytes view(image);
  size_t offset = 24;
  while (image.size() - offset >= 8) {
    const size_t size = view.u32_at(offset);
    if (size < 8 || size > image.size() - offset) break;
    const uint16_t kind = view.u16_at(offset + 6);
    const size_t start = offset;
    offset += size;
    if (kind > 63) continue;
    auto* const copy = static_cast<uint8_t*>(malloc(size));
    memcpy(copy, image.data() + start, size);
    ledger.adopt(copy, size);
    const record_header* const earlier_34 = cmc->record_34;
    const uint32_t code = cmc_parse(copy, cmc, module);
    const bool owned = tour_of(*cmc).owns(copy);
    if (code != 0) {
      EXPECT_TRUE(ledger.holds(copy)) << "kind " << kind;
      EXPECT_FALSE(owned) << "kind " << kind;
      ledger.release(copy);
    } else if (!owned && ledger.holds(copy)) {
      EXPECT_TRUE(forgets_short_records(kind))
          << "kind " << kind << " is not among those that forget a copy by contract";
      leaked(size);
    }
    if (earlier_34 != nullptr && earlier_34 != cmc->record_34) leaked(earlier_34->size);
  }
  qo_cmc_parser_deinit(cmc);
  EXPECT_EQ(leaks.blocks, ledger.live_blocks());
  EXPECT_EQ(0u, ledger.bad_releases());
  ledger.release_all();
  return leaks;
}

/// Whether a structure of this kind may stand in its slot without arrays that it counts, though
/// there was memory for them: it takes its counts from the record as they are, and goes on without
/// what the record is too short for.
inline bool counts_missing_arrays(uint16_t kind) { return kind == 22 || kind == 30; }

struct tear_down {
  void operator()(parsed_cmc* cmc) const { qo_cmc_parser_deinit(cmc); }
};
using cmc_ptr = std::unique_ptr<parsed_cmc, tear_down>;

/// Parses an image that is never altered, and lets go of it before returning.
inline cmc_ptr parse(const std::vector<uint8_t>& image, const qo_blob* nvm = nullptr) {
  const read_only_image held(image);
  const qo_blob container = held.blob();
  return cmc_ptr(qo_cmc_parser_init_v1(&container, nvm));
}

/// Whether every slot is zero bytes.
inline bool is_empty(const parsed_cmc& cmc) {
  static constexpr parsed_cmc empty = {};
  return memcmp(&cmc, &empty, sizeof cmc) == 0;
}

}  // namespace kit
