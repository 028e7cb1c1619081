/// Containers as documents, by way of the library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qo_cmc/parser.h"
#include "tools/document/slots.h"
#include "writer/container_writer.h"

namespace kit {

struct cmc_release {
  void operator()(parsed_cmc* cmc) const {
    free(cmc->others);
    qo_cmc_parser_deinit(cmc);
  }
};
using owned_cmc = std::unique_ptr<parsed_cmc, cmc_release>;

inline owned_cmc parsed(const std::vector<uint8_t>& image, const writer::bytes* nvm = nullptr) {
  const qo_blob container = writer::blob_of(image);
  const qo_blob module = nvm != nullptr ? writer::blob_of(nvm->vector()) : qo_blob{};
  owned_cmc cmc(qo_cmc_parser_init_v1(&container, &module));
  if (cmc != nullptr) qo_vexb_others_parser_init(&container, cmc.get());
  return cmc;
}

/// Which record filled a slot that several kinds feed, as the order of the records tells it: all
/// of them are well-formed.
inline findings::origins origins_of(const std::vector<uint8_t>& image) {
  findings::origins from;
  bool has_34 = false;
  const writer::bytes view(image);
  for (size_t offset = 24; offset < image.size(); offset += view.u32_at(offset)) {
    const uint16_t kind = view.u16_at(offset + 6);
    if (kind == 28 || (kind == 10 && from.lens_shading == 0)) from.lens_shading = kind;
    if (kind == 33 || (kind == 11 && from.lens_shading_ext == 0)) from.lens_shading_ext = kind;
    if (kind == 31 || (kind == 3 && from.record_31 == 0)) from.record_31 = kind;
    has_34 = has_34 || kind == 34;
  }
  from.record_34_derived = !has_34;
  return from;
}

inline document::json document_of(const std::vector<uint8_t>& image,
                                  const writer::bytes* nvm = nullptr) {
  const owned_cmc cmc = parsed(image, nvm);
  if (cmc == nullptr) return nullptr;
  findings::origins from = origins_of(image);
  from.merged = nvm != nullptr;
  return document::slots_of(*cmc, from);
}

inline document::json document_of(const writer::bytes& record) {
  return document_of(writer::container().add(record).image());
}

}  // namespace kit
