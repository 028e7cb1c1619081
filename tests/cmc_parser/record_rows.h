/// What tells the kinds of records apart in the shapes that all of them have: one row a kind.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "tests/kit/decoder_fixture.h"
#include "writer/container_writer.h"

/// What becomes of a record that is too short, or malformed in another way.
enum class misfit {
  dropped,  ///< code 0; released, the slot is empty
  leaked,   ///< code 0; alive and forgotten, the slot is empty
  refused,  ///< QO_CMC_INVALID; the caller's, the slot is empty
  /// Another code, which the container library answers; the caller's, the slot stays as it was.
  passed_on,
};

/// What becomes of a slot that is filled when another record of the kind comes.
enum class replacement {
  last_wins,
  last_wins_and_first_leaks,
  first_wins,
  by_a_rule_of_its_own,  ///< left to the kind's own tests
};

inline constexpr size_t every_one = std::numeric_limits<size_t>::max();

/// A well-formed record.
struct sample {
  writer::bytes record;
  size_t least;                 ///< shortest length at which it fills its slot
  size_t allocations = 0;       ///< that it takes
  size_t emptying = every_one;  ///< the first so many of them leave nothing when they are refused,
                                ///< the others leave the slot filled
};

/// Where a kind differs from most.
struct own_rules {
  replacement second = replacement::last_wins;
  size_t silent = every_one;               ///< the first so many refused allocations cause no
                                           ///< message, the others one each
  uint32_t code_without_memory = 0;        ///< where nothing is left
  bool checked_before_allocating = true;   ///< for a misfit nothing is allocated
  std::vector<writer::bytes> malformed{};  ///< of any length, but not well-formed
  /// Slots that a leaked copy leaves filled.
  std::vector<kit::slot_value> (*left)(const uint8_t* copy, size_t size) = nullptr;
};

struct record_row {
  uint16_t id;
  size_t slot;           ///< that every record which is taken fills
  kit::copy_fate taken;  ///< what becomes of the copy of such a one
  misfit unfit;
  std::vector<sample> samples;
  own_rules own{};
};

/// One for each kind, in ascending order.
const std::vector<record_row>& record_rows();
