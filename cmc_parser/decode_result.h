/// What a decoder did with a record.
#pragma once

#include <cstdint>

#include "cmc_parser/extent.h"
#include "cmc_parser/reason.h"
#include "qo_cmc/status.h"

namespace qo {

/// What became of a record's private copy.
enum class copy_fate : uint8_t {
  kept,       ///< the slot holds it
  converted,  ///< released, the slot is filled from it
  released,   ///< released, the slot is not filled from it
  leaked,     ///< by contract neither released nor returned
  refused,    ///< the code is not 0, and the copy stays the caller's
};

struct [[nodiscard]] decode_result {
  uint32_t code = QO_CMC_OK;  ///< that of cmc_parse()
  copy_fate fate = copy_fate::refused;
  reason why = reason::none;  ///< `none` when nothing of the record is lost
  bool filled = false;        ///< the slot holds what the record gave
  bool replaced = false;      ///< what the slot held before is gone
  extent needed{};            ///< the end that `why` is about, which the record lacks; or 0
};

static_assert(sizeof(decode_result) == 16, "it is handed back in two registers");

}  // namespace qo
