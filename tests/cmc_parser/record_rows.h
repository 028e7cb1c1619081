/// What tells the kinds of records apart in the shapes that all of them have: one row a kind.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "cmc_parser/reason.h"
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

/// What a record that is cut in front of `end` goes without, though it fills its slot.
struct miss {
  size_t end;
  qo::reason why;
};

/// A well-formed record.
struct sample {
  writer::bytes record;
  size_t least;                 ///< shortest length at which it fills its slot
  size_t allocations = 0;       ///< that it takes
  size_t emptying = every_one;  ///< the first so many of them leave nothing when they are refused,
                                ///< the others leave the slot filled
  std::vector<miss> losses{};  ///< ends beyond `least`; of a record the first that it misses counts
  std::vector<size_t> ends{};  ///< below `least`, where it asks for one after the other
  qo::reason at_any_size = qo::reason::none;  ///< what is told of it however long it is
};

/// A record that fills nothing, of any length.
struct malformed_record {
  writer::bytes record;
  qo::reason why;
  size_t needed = 0;  ///< the end that it misses; 0: none is the matter
};

/// Where a kind differs from most.
struct own_rules {
  replacement second = replacement::last_wins;
  size_t silent = every_one;              ///< the first so many refused allocations cause no
                                          ///< message, the others one each
  uint32_t code_without_memory = 0;       ///< where nothing is left
  bool checked_before_allocating = true;  ///< for a misfit nothing is allocated
  std::vector<malformed_record> malformed{};
  size_t counted = writer::record_header_size;  ///< the length from which a record has its counts
  bool has_strings = false;                     ///< a cut record may be one that ends in a string
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
