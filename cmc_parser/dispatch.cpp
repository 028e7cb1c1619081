// cmc_parse(): the decoder of each kind.

#include "qo_cmc/parser.h"

#include <iterator>

#include "base/load.h"
#include "cmc_parser/records/decoders.h"

namespace qo {
namespace {

/// Decoder of each kind, by id; kinds without one are refused.
constexpr record_decoder* decoders[] = {
    nullptr,                   // 0
    decode_general,            // 1
    decode_module_properties,  // 2
    decode_record_3,           // 3
    nullptr,                   // 4
    decode_record_5,           // 5
    decode_record_6,           // 6
    decode_record_7,           // 7
    decode_record_8,           // 8
    decode_record_9,           // 9
    decode_lsc_grid,           // 10
    decode_extended_grid,      // 11
    nullptr,                   // 12
    decode_record_13,          // 13
    decode_record_14,          // 14
    decode_record_15,          // 15
    decode_record_16,          // 16
    decode_record_17,          // 17
    decode_record_18,          // 18
    decode_record_19,          // 19
    decode_record_20,          // 20
    decode_record_21,          // 21
    decode_record_22,          // 22
    decode_record_23,          // 23
    decode_record_24,          // 24
    decode_record_25,          // 25
    decode_record_26,          // 26
    decode_record_27,          // 27
    decode_mapped_grid,        // 28
    decode_record_29,          // 29
    decode_record_30,          // 30
    decode_record_31,          // 31
    decode_record_32,          // 32
    decode_mapped_grid_ext,    // 33
    decode_record_34,          // 34
    decode_record_35,          // 35
    decode_record_36,          // 36
};
static_assert(std::size(decoders) == 37);

}  // namespace
}  // namespace qo

uint32_t cmc_parse(void* record, parsed_cmc* cmc, const calibration* module) {
  if (record == nullptr || cmc == nullptr) return QO_CMC_INVALID;
  // The size is looked at alone first: a shorter block has no header to read.
  if (qo::load<uint32_t>(record) < sizeof(record_header)) return QO_CMC_INVALID;
  const record_header header = qo::load<record_header>(record);
  if (header.id >= std::size(qo::decoders) || (qo::decoders[header.id] == nullptr))
    return QO_CMC_INVALID;
  return qo::decoders[header.id](qo::record_copy(record), *cmc, module);
}
