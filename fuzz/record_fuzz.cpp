// Fuzz target of cmc_parse(): one record, or two in turn, of any kind, with any body. Headers are
// made right. The input:
//
//     0  u8   the first record's kind, as its number in the list of kinds
//     1  u8   bits 0-1  a second record   0: none  1: the same  2: another of the kind
//                                         3: one of another kind
//             bit 2     with a module calibration
//     2  u8   the kind of that other one
//     3  u8   version of the first
//     4  u8   version of the second
//     5  u16  bytes of the first body; the rest is the second's
//     7  -    the bodies
//
// What became of a record is told by the code alone, and is the caller's to go by: a record that
// is not handed over stays as it was, and so do the slots, but for a record 24, which empties its
// own.

#include <algorithm>
#include <iterator>
#include <optional>

#include "fuzz/held.h"
#include "fuzz/record_input.h"
#include "fuzz/target.h"
#include "qo_cmc/parser.h"
#include "qo_nvm.h"
#include "writer/nvm_writer.h"

namespace {

using fuzz::require;

/// What a slot's structure says of the record it was made of changes with the record; the slots
/// themselves only when the record is handed over.
kit::slot_words words_of(const parsed_cmc& cmc) {
  kit::slot_words words;
  memcpy(words.data(), &cmc, sizeof cmc);
  return words;
}

bool is_decoded_by_stack(uint16_t kind) {
  return kind == 9 || kind == 31 || kind == 32 || kind == 34;
}

bool is_expected(uint32_t code, uint16_t kind) {
  if (!qo::is_record_kind(kind)) return code == QO_CMC_INVALID;
  if (is_decoded_by_stack(kind)) return true;
  return code == QO_CMC_OK || (kind == 24 && code == QO_CMC_INVALID);
}

void parse(const writer::bytes& record, parsed_cmc& cmc, const calibration* module) {
  const uint16_t kind = record.u16_at(6);
  const kit::slot_words before = words_of(cmc);
  fuzz::exact_block block = fuzz::exact(record.vector());
  const uint32_t code = cmc_parse(block.get(), &cmc, module);
  require(is_expected(code, kind));
  if (code == QO_CMC_OK) {
    // The parser takes the block over when it takes the record.
    static_cast<void>(block.release());
  } else {
    require(memcmp(block.get(), record.data(), record.size()) == 0);
    require(kind == 24 ? cmc.record_24 == nullptr : words_of(cmc) == before);
  }
  require(cmc.unused_6 == nullptr && cmc.unused_7 == nullptr && cmc.others == nullptr);
  fuzz::require_sound_slots(cmc);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Of a module's calibration a record is shown the grid alone.
  static const std::vector<uint8_t> image =
      writer::nvm_image({.columns = 7, .rows = 6, .grid = writer::nvm_grid{}}).vector();
  const fuzz::record_input input = fuzz::record_input_of(data, size);
  const qo_blob nvm = writer::blob_of(image);
  calibration* module = nullptr;
  if (input.calibrated) require(qo_nvm_parse(&nvm, &module) == 0);
  auto* const cmc = static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc)));
  require(cmc != nullptr);
  parse(input.first, *cmc, module);
  if (input.second) parse(*input.second, *cmc, module);
  if (module != nullptr) qo_nvm_deinit(module);
  qo_cmc_parser_deinit(cmc);
  return 0;
}
