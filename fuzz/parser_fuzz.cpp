// Fuzz target of the parser: any bytes as a container, as one record, or as a container for the
// others block. The first byte chooses what the rest is, and how it is handed over:
//
//   bits 0-1   0: a container, its size and checksum made right    1: a container as it is
//              2: one record for cmc_parse(), its size made right  3: a container for the others
//   bit 2      with a module calibration
//
// Whatever the bytes, nothing outside them may be touched, and what the slots then hold must be
// readable to the ends that the public headers promise, with one owner for each block.
//
// Leaks are not looked at here: some kinds forget the copy of a malformed record by contract
// (run with ASAN_OPTIONS=detect_leaks=0). The tests account for every block.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz/held.h"
#include "fuzz/target.h"
#include "qo_cmc/parser.h"
#include "qo_nvm.h"
#include "tests/kit/merging_module.h"
#include "writer/container_writer.h"

namespace {

using fuzz::require;

void parse_container(std::vector<uint8_t> image, bool sealed, const qo_blob* nvm) {
  if (sealed) {
    if (image.size() < writer::container::header_size) image.resize(writer::container::header_size);
    writer::seal(image);
  }
  fuzz::exact_block block = fuzz::exact(image);
  const qo_blob container = {block.get(), static_cast<uint32_t>(image.size())};
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container, nvm);
  require(cmc != nullptr || !sealed);
  if (cmc != nullptr) qo_vexb_others_parser_init(&container, cmc);
  block.reset();
  if (cmc == nullptr) return;
  fuzz::require_sound_slots(*cmc);
  free(cmc->others);
  qo_cmc_parser_deinit(cmc);
}

void parse_record(std::vector<uint8_t> record, const calibration* module) {
  if (record.size() < sizeof(record_header)) return;
  record = writer::bytes(record).patch_u32(0, static_cast<uint32_t>(record.size())).vector();
  auto* const cmc = static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc)));
  // A second record of the kind releases or keeps what the first has left.
  for (int times = 0; times < 2; ++times) {
    fuzz::exact_block block = fuzz::exact(record);
    // The parser takes the block over when it takes the record.
    if (cmc_parse(block.get(), cmc, module) == QO_CMC_OK) static_cast<void>(block.release());
    fuzz::require_sound_slots(*cmc);
  }
  qo_cmc_parser_deinit(cmc);
}

void extract_others(const std::vector<uint8_t>& image) {
  parsed_cmc cmc = {};
  fuzz::exact_block block = fuzz::exact(image);
  const qo_blob container = {block.get(), static_cast<uint32_t>(image.size())};
  qo_vexb_others_parser_init(&container, &cmc);
  block.reset();
  require(cmc.others == nullptr || cmc.others->others_count <= 8);
  free(cmc.others);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::vector<uint8_t> rest(data + 1, data + size);
  const bool calibrated = (data[0] & 4) != 0;
  static const std::vector<uint8_t> module = kit::module_image();
  const qo_blob nvm = writer::blob_of(module);
  if ((data[0] & 3) == 3) {
    extract_others(rest);
  } else if ((data[0] & 3) != 2) {
    parse_container(rest, (data[0] & 3) == 0, calibrated ? &nvm : nullptr);
  } else {
    calibration* parsed = nullptr;
    if (calibrated) require(qo_nvm_parse(&nvm, &parsed) == 0);
    parse_record(rest, parsed);
    qo_nvm_deinit(parsed);
  }
  return 0;
}
