// cmc_parse(): the decoder of each kind.

#include "cmc_parser/dispatch.h"

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

decode_result decode_record(void* record, parsed_cmc* cmc, const calibration* module) {
  const auto refused = [](reason why) {
    return decode_result{.code = QO_CMC_INVALID, .fate = copy_fate::refused, .why = why};
  };
  if (record == nullptr || cmc == nullptr) return refused(reason::record_missing);
  // First only the size is looked at: a shorter block has no header to read.
  if (load<uint32_t>(record) < sizeof(record_header)) return refused(reason::record_missing);
  record_decoder* const decode = decoder_of(load<record_header>(record).id);
  if (decode == nullptr) return refused(reason::kind_refused);
  return decode(record_copy(record), *cmc, module);
}

}  // namespace qo

uint32_t cmc_parse(void* record, parsed_cmc* cmc, const calibration* module) {
  return qo::decode_record(record, cmc, module).code;
}
