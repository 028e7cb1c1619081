/// The slots of a parsed CMC as a document that people read, compare, edit and pack again.
///
/// Every slot stands under its name in the C structure, in the structure's order, null where it is
/// empty. Inside, every field stands under the name of its C member; what has no member (fields and
/// bytes of a kept copy) under the name that the record's layout gives it, or that of its place:
/// `bytes_8` from byte 8 on, `rest` after the last field. No address is in a document, and nothing
/// stands in it twice, so that an edited value changes that field and nothing else:
///
/// - null in place of a number stands where the version of the record stores none, and the library
///   fills in another field or a default: module_properties.value_16 and value_34 repeat value_12,
///   bytes_18 is 0, record_13.params are 0, 1, 250 and 1000, record_26.groups start as `head` does.
/// - lsc_grid.in_lens_shading names the members that are null because lens_shading holds them.
/// - record_22.block_tail repeats 16 bytes of `block`, and record_35.second repeats all but its
///   array_d: these are left out.
/// - record_30.head.size is null: the grid may be the module's, whose size is not the record's.
///
/// Numbers are numbers, floats the shortest ones that give the same bits; what JSON has no number
/// for is "nan:0x7fc00001", "inf" or "-inf". Bytes are lower-case hex. Text that is not UTF-8 is
/// {"bytes": "hex"}. Tables are rows of columns; one without samples is [].
///
/// Three keys say what the structure does not: `built_from`, the kind of the record that gives
/// lens_shading (10 or 28), lens_shading_ext (11 or 33) and record_31 (3 or 31); record_34.derived,
/// true when the library made the table from records 19 and 20. A lens_shading that came from
/// record 10, but is no longer what that record says, has 28: the kind that can hold it.
#pragma once

#include <string>
#include <vector>

#include "tools/document/json_value.h"
#include "tools/findings/inspection.h"
#include "writer/container_writer.h"

namespace document {

/// The document of all slots.
[[nodiscard]] json slots_of(const parsed_cmc& cmc, const findings::origins& from);

/// The document for people to read: aligned, with units and notes where they are known, arrays
/// shortened unless `full`. What comes from the file is escaped.
[[nodiscard]] std::string text_of(const json& slots, bool full);

/// One difference, in the order of the slots and of the fields inside.
struct difference {
  std::string path;    ///< "record_19.entries[3].value_0"
  std::string before;  ///< of a slot "absent" or "present"; of a grid its shape
  std::string after;   ///< of a grid how many values differ, the largest and the mean difference
};
/// What differs between two documents: each field of its own, up to four numbers of an array one by
/// one, larger arrays in one line, and in one line a slot that only one document has.
[[nodiscard]] std::vector<difference> differences(const json& a, const json& b);

/// A container whose slots are this document's, once parsed: built of the document's values, and
/// parsed and compared before it is returned. Throws error, with the path, for a document that is
/// malformed or contradicts itself, or that no records give back.
///
/// - Counts are checked against their arrays, and both against the sizes that go with them.
/// - `size` of a header is checked too; null asks for it to be worked out. Where the slot does not
///   hold all of a record (record_24, 26, 29, 35, 36, module_properties, lens_shading,
///   lens_shading_ext) it may be larger than the fields: zeros fill the record up.
/// - Sites of lens_shading that share a plane must have the same samples, and what was built from
///   records 3, 10 and 11 values that these can hold: 12 fraction bits, gains in steps of 1/256.
/// - A derived record_34 is neither packed nor compared.
///
/// The words of the container's header are the writer's own.
[[nodiscard]] std::vector<uint8_t> pack(const json& slots, writer::checksum_rule rule);

}  // namespace document
