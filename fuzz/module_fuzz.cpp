// Fuzz target of the parser with a module's NVM image: both images come from the input
// (fuzz/image_parts.h). The container is parsed with the image and without it: the image decides on
// the lens-shading tables and on record 30's, never on whether the container is taken.
//
// Leaks are not looked at, as in the target of the parser.

#include "fuzz/held.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "qo_cmc/parser.h"

const fuzz::input_form fuzz::form = {.choices = 0, .has_nvm = true};

namespace {

qo_blob view(const fuzz::exact_block& block, const std::vector<uint8_t>& image) {
  return {block.get(), static_cast<uint32_t>(image.size())};
}

/// Whether the container is taken. What the slots hold must not refer to either image.
bool parsed(const fuzz::image_parts& parts, bool with_module) {
  fuzz::exact_block container = fuzz::exact(parts.container);
  fuzz::exact_block nvm = fuzz::exact(parts.nvm);
  const qo_blob container_view = view(container, parts.container);
  const qo_blob nvm_view = view(nvm, parts.nvm);
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container_view, with_module ? &nvm_view : nullptr);
  container.reset();
  nvm.reset();
  if (cmc == nullptr) return false;
  fuzz::require_sound_slots(*cmc);
  qo_cmc_parser_deinit(cmc);
  return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::image_parts parts = fuzz::split(data, size);
  fuzz::require(parsed(parts, true) == parsed(parts, false));
  return 0;
}
