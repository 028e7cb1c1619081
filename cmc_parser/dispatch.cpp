// cmc_parse(): the decoder of each kind.

#include "qo_cmc/parser.h"

#include "base/load.h"
#include "cmc_parser/records/decoders.h"

namespace qo {
namespace {

/// Null for kinds without a decoder, which are refused.
[[nodiscard]] record_decoder* decoder_of(uint16_t id) {
  switch (id) {
#define QO_DECODER_CASE(kind, name) \
  case kind:                        \
    return decode_##name;
    QO_RECORD_KINDS(QO_DECODER_CASE)
#undef QO_DECODER_CASE
    default:
      return nullptr;
  }
}

}  // namespace
}  // namespace qo

uint32_t cmc_parse(void* record, parsed_cmc* cmc, const calibration* module) {
  if (record == nullptr || cmc == nullptr) return QO_CMC_INVALID;
  // First only the size is looked at: a shorter block has no header to read.
  if (qo::load<uint32_t>(record) < sizeof(record_header)) return QO_CMC_INVALID;
  const record_header header = qo::load<record_header>(record);
  qo::record_decoder* const decode = qo::decoder_of(header.id);
  if (decode == nullptr) return QO_CMC_INVALID;
  return decode(qo::record_copy(record), *cmc, module);
}
