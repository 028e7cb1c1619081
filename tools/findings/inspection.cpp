#include "tools/findings/inspection.h"

#include <cstdlib>
#include <limits>

#include "tools/findings/log_notes.h"

namespace findings {
namespace {

[[nodiscard]] qo_blob blob_of(std::span<const uint8_t> image) {
  return {image.data(), static_cast<uint32_t>(image.size())};
}

}  // namespace

const char* word_of(severity how_bad) {
  switch (how_bad) {
    case severity::note:
      return "note";
    case severity::warning:
      return "warning";
    case severity::error:
      return "error";
  }
  return "";
}

void cmc_deleter::operator()(parsed_cmc* cmc) const {
  if (cmc == nullptr) return;
  // The client owns it.
  free(cmc->others);
  cmc->others = nullptr;
  qo_cmc_parser_deinit(cmc);
}

inspection inspect(std::span<const uint8_t> container,
                   std::optional<std::span<const uint8_t>> nvm) {
  inspection result;
  if (container.size() > std::numeric_limits<uint32_t>::max()) return result;
  log_notes notes;
  const qo_blob image = blob_of(container);
  const qo_blob module = nvm ? blob_of(*nvm) : qo_blob{};
  result.cmc.reset(qo_cmc_parser_init_v1(&image, &module));
  result.valid = result.cmc != nullptr;
  if (result.valid) qo_vexb_others_parser_init(&image, result.cmc.get());
  return result;
}

}  // namespace findings
