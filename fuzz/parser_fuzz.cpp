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

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "qo_cmc/parser.h"
#include "qo_nvm.h"
#include "tests/kit/slot_tour.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void require(bool holds) {
  if (!holds) abort();
}

void check_slots(const parsed_cmc& cmc) {
  std::vector<const void*> owned = kit::tour_of(cmc).owned;
  std::sort(owned.begin(), owned.end());
  require(std::adjacent_find(owned.begin(), owned.end()) == owned.end());
}

const std::vector<uint8_t>& module_image() {
  static const std::vector<uint8_t> image =
      writer::nvm_image({.columns = 5, .rows = 4, .grid = writer::nvm_grid{}}).vector();
  return image;
}

/// A heap block of exactly these bytes, for the address sanitizer to watch its ends.
uint8_t* exact_block(const std::vector<uint8_t>& content) {
  auto* const block = static_cast<uint8_t*>(malloc(std::max<size_t>(content.size(), 1)));
  if (!content.empty()) memcpy(block, content.data(), content.size());
  return block;
}

void parse_container(std::vector<uint8_t> image, bool sealed, const qo_blob* nvm) {
  if (sealed) {
    if (image.size() < writer::container::header_size) image.resize(writer::container::header_size);
    writer::seal(image);
  }
  uint8_t* const block = exact_block(image);
  const qo_blob container = {block, static_cast<uint32_t>(image.size())};
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container, nvm);
  require(cmc != nullptr || !sealed);
  if (cmc != nullptr) qo_vexb_others_parser_init(&container, cmc);
  free(block);
  if (cmc == nullptr) return;
  check_slots(*cmc);
  free(cmc->others);
  qo_cmc_parser_deinit(cmc);
}

void parse_record(std::vector<uint8_t> record, const calibration* module) {
  if (record.size() < sizeof(record_header)) return;
  record = writer::bytes(record).patch_u32(0, static_cast<uint32_t>(record.size())).vector();
  auto* const cmc = static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc)));
  // A second record of the kind releases or keeps what the first has left.
  for (int times = 0; times < 2; ++times) {
    uint8_t* const block = exact_block(record);
    if (cmc_parse(block, cmc, module) != QO_CMC_OK) free(block);
    check_slots(*cmc);
  }
  qo_cmc_parser_deinit(cmc);
}

void extract_others(const std::vector<uint8_t>& image) {
  parsed_cmc cmc = {};
  uint8_t* const block = exact_block(image);
  const qo_blob container = {block, static_cast<uint32_t>(image.size())};
  qo_vexb_others_parser_init(&container, &cmc);
  free(block);
  require(cmc.others == nullptr || cmc.others->others_count <= 8);
  free(cmc.others);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::vector<uint8_t> rest(data + 1, data + size);
  const bool calibrated = (data[0] & 4) != 0;
  const qo_blob nvm = writer::blob_of(module_image());
  if ((data[0] & 3) == 3) {
    extract_others(rest);
  } else if ((data[0] & 3) != 2) {
    parse_container(rest, (data[0] & 3) == 0, calibrated ? &nvm : nullptr);
  } else {
    calibration* module = nullptr;
    if (calibrated) require(qo_nvm_parse(&nvm, &module) == 0);
    parse_record(rest, module);
    qo_nvm_deinit(module);
  }
  return 0;
}
