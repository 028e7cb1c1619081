// Fuzz target of the parser without a module: any bytes as a container.
//
// Whatever the bytes, nothing outside them may be touched, and what the slots then hold must be
// readable to the ends that the public headers promise, with one owner for each block. A container
// is taken when its size and either checksum hold, and for no other reason.
//
// Leaks are not looked at here: some kinds forget the copy of a malformed record by contract
// (run with ASAN_OPTIONS=detect_leaks=0). The tests account for every block.

#include "fuzz/held.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "qo_cmc/parser.h"
#include "writer/container_writer.h"

const fuzz::input_form fuzz::form = {};

namespace {

using fuzz::require;

bool is_valid(const std::vector<uint8_t>& image) {
  if (image.size() < writer::container::header_size) return false;
  const writer::bytes view(image);
  const uint32_t checksum = view.u32_at(20);
  return view.u32_at(4) == image.size() &&
         (checksum == writer::checksum_of(image, writer::checksum_rule::rule_a) ||
          checksum == writer::checksum_of(image, writer::checksum_rule::rule_b));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> image = fuzz::split(data, size).container;
  fuzz::exact_block block = fuzz::exact(image);
  const qo_blob container = {block.get(), static_cast<uint32_t>(image.size())};
  parsed_cmc* const cmc = qo_cmc_parser_init(&container);
  block.reset();
  require((cmc != nullptr) == is_valid(image));
  if (cmc == nullptr) return 0;
  fuzz::require_sound_slots(*cmc);
  require(cmc->others == nullptr);
  qo_cmc_parser_deinit(cmc);
  return 0;
}
