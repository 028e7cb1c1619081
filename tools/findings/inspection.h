/// What there is to say about one container: what the parser took, what it did not take, and why.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qo_cmc/parser.h"
#include "tools/findings/codes.h"
#include "tools/findings/escaped.h"
#include "tools/findings/record_names.h"

namespace findings {

/// A record of the container, or the one of impossible size that its walk ends at, which is no row:
/// its index is the number of rows.
struct record_reference {
  size_t index;     ///< among all records of the container, from 0
  uint32_t offset;  ///< from the container's start
  uint16_t id;
  uint8_t version;
  uint32_t size;
};

struct finding {
  std::string code;  ///< stable word, one of every_code()
  severity how_bad;
  std::string message;             ///< a sentence; what comes from the file is escaped in it
  std::optional<uint64_t> offset;  ///< from the container's start
  std::optional<record_reference> record;
  std::string field;  ///< empty when no field is meant
};

/// One record of the container, whether or not it was decoded.
struct record_row {
  size_t index;
  uint32_t offset;
  uint32_t size;
  uint16_t id;
  std::string name;  ///< name_of_kind(id)
  uint8_t version;
  /// What became of it, in the end:
  ///   kept        the slot holds a copy of it
  ///   converted   the slot holds what was made of it
  ///   replaced    a later record took its place
  ///   superseded  an earlier record fills the slot
  ///   released    it was read, and fills no slot
  ///   leaked      the same, and its copy stays allocated by contract
  ///   refused     its decoder, or the stack, refuses it
  ///   not read    there was no memory for a copy
  ///   foreign     it belongs to other readers
  ///   not parsed  its container is refused
  std::string fate;
};

/// Which record filled a slot that several kinds feed; 0: none did.
struct origins {
  uint16_t lens_shading = 0;      ///< 10 or 28
  uint16_t lens_shading_ext = 0;  ///< 11 or 33
  uint16_t record_31 = 0;         ///< 3 or 31
  bool record_34_derived = false;
  bool merged = false;  ///< the module's calibration was merged into lens_shading
};

/// Releases a parsed CMC, its others block too.
struct cmc_deleter {
  void operator()(parsed_cmc* cmc) const;
};
using cmc_ptr = std::unique_ptr<parsed_cmc, cmc_deleter>;

struct inspection {
  bool valid = false;               ///< the container by itself
  std::vector<finding> found;       ///< in the order of offsets, then as they came
  std::vector<record_row> records;  ///< all that the walk reached
  origins from;
  cmc_ptr cmc;  ///< null when the container is not valid; its `others` slot is filled
};

/// Parses the container, with the module's NVM image if one is given. Neither is referenced after
/// the call. Inspections may run on several threads at once.
[[nodiscard]] inspection inspect(std::span<const uint8_t> container,
                                 std::optional<std::span<const uint8_t>> nvm);

}  // namespace findings
