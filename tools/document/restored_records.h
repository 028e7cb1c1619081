/// Records that give the converted forms of a parsed CMC.
#pragma once

#include "qo_cmc/parsed_cmc.h"
#include "writer/container_writer.h"

namespace document {

/// The record that a form was converted from, as far as the form says: without bytes that no
/// decoder reads, and with the size that its header gives, though that many bytes need not follow.
/// A form that stands for the record of no version (module_properties below 100) has none.
[[nodiscard]] writer::bytes restored(const module_properties_record& form);
[[nodiscard]] writer::bytes restored(const record_22_content& form);
[[nodiscard]] writer::bytes restored(const record_24_content& form);
[[nodiscard]] writer::bytes restored(const record_26_content& form);
[[nodiscard]] writer::bytes restored(const record_29_content& form);
[[nodiscard]] writer::bytes restored(const record_30_content& form);
[[nodiscard]] writer::bytes restored(const record_35_first& first, const record_35_second& second);
[[nodiscard]] writer::bytes restored(const record_36_content& form);

/// Whether record 26 stores the groups.
[[nodiscard]] bool stores_groups(const record_26_content& form);

}  // namespace document
