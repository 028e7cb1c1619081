/// One decoder and one release for each kind of CMC record, or family of like kinds.
///
/// A decoder gets the record's private copy, fills its slot of the parsed CMC and answers what it
/// did: the code of cmc_parse(), the fate of the copy, and why something is missing. Most release
/// first whatever the slot had; where the first record wins, where a refused record changes
/// nothing, and where nothing is released, the decoder says so. A release accepts an empty slot and
/// leaves it empty, but for what 25 and 27 leave by contract; the parser's teardown and the
/// decoders call it.
#pragma once

#include "cmc_parser/record_copy.h"
#include "cmc_parser/records/kinds.h"
#include "qo_cmc/parser.h"

namespace qo {

using record_decoder = decode_result(record_copy record, parsed_cmc& cmc,
                                     const calibration* module);

/// Versions at which layouts change; the base layout is 100.
enum layout_version : uint8_t { version_100 = 100, version_101, version_102, version_103 };

/// A slot that is nothing but the address of a kept copy.
using header_slot = record_header* parsed_cmc::*;

#define QO_DECLARE_DECODER(id, name) record_decoder decode_##name;
QO_RECORD_KINDS(QO_DECLARE_DECODER)
#undef QO_DECLARE_DECODER

using slot_release = void(parsed_cmc& cmc);

slot_release release_general;
slot_release release_module_properties;
slot_release release_record_5;
slot_release release_record_6;
slot_release release_record_7;
slot_release release_record_8;
slot_release release_record_9;
slot_release release_lsc_grid;
slot_release release_record_13;
slot_release release_record_14;
slot_release release_record_15;
slot_release release_record_16;
slot_release release_record_17;
slot_release release_record_18;
slot_release release_record_19;
slot_release release_record_20;
slot_release release_record_21;
slot_release release_record_22;
slot_release release_record_23;
slot_release release_record_24;
slot_release release_record_25;
slot_release release_record_26;
slot_release release_record_27;
slot_release release_record_29;
slot_release release_record_30;
slot_release release_record_31;
slot_release release_record_32;
slot_release release_record_34;
slot_release release_record_35;
slot_release release_record_36;
slot_release release_lens_shading;
slot_release release_lens_shading_ext;

}  // namespace qo
