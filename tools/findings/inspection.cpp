#include "tools/findings/inspection.h"

#include <cstdlib>
#include <limits>

#include "tools/findings/listener.h"
#include "tools/findings/numbers.h"

namespace findings {
namespace {

constexpr size_t largest_image = std::numeric_limits<uint32_t>::max();

/// An empty image is one all the same, and has an address.
[[nodiscard]] qo_blob blob_of(std::span<const uint8_t> image) {
  static constexpr uint8_t nothing = 0;
  return {image.empty() ? &nothing : image.data(), static_cast<uint32_t>(image.size())};
}

/// Where only the checksum is wrong the records are worth a list.
void list_records(const qo_blob& container, listener& heard) {
  if (qo::check_container(&container).why != qo::reason::checksum_mismatch) return;
  qo::record_walk walk(static_cast<const uint8_t*>(container.data), container.size);
  while (const std::optional<qo::record_view> record = walk.next()) heard.unparsed(*record);
  heard.walk(walk.end());
}

[[nodiscard]] cmc_ptr parse(const qo_blob& container, const qo_blob* nvm, listener& heard) {
  cmc_ptr cmc(qo::parse_container(&container, nvm, &heard));
  if (cmc == nullptr)
    list_records(container, heard);
  else if (const auto others = qo::read_others(&container, cmc.get()))
    heard.others(*others);
  return cmc;
}

}  // namespace

void cmc_deleter::operator()(parsed_cmc* cmc) const {
  if (cmc == nullptr) return;
  // The client's, and here the client is the inspection.
  free(cmc->others);
  cmc->others = nullptr;
  qo_cmc_parser_deinit(cmc);
}

inspection inspect(std::span<const uint8_t> container,
                   std::optional<std::span<const uint8_t>> nvm) {
  inspection result;
  listener heard;
  const auto size_text = [](std::span<const uint8_t> image) {
    return "it has " + bytes_of(image.size());
  };
  if (container.size() > largest_image) {
    heard.add(describe(observation::container_too_large), size_text(container));
  } else {
    const qo_blob image = blob_of(container);
    qo_blob module = {};
    const bool has_module = nvm.has_value() && nvm->size() <= largest_image;
    if (has_module) module = blob_of(*nvm);
    result.cmc = parse(image, has_module ? &module : nullptr, heard);
    result.valid = result.cmc != nullptr;
    if (result.valid && nvm && !has_module)
      heard.add(describe(qo::reason::nvm_refused), size_text(*nvm));
  }
  heard.finish(result);
  return result;
}

}  // namespace findings
