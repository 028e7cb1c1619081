#include "tools/findings/listener.h"

#include <utility>

#include "base/load.h"
#include "cmc_parser/records/kinds.h"
#include "tools/findings/numbers.h"
#include "tools/findings/plausibility.h"

namespace findings {
namespace {

using qo::reason;

// Offsets in a container's header.
constexpr uint64_t size_offset = 4;
constexpr uint64_t checksum_offset = 20;

// Slots that several kinds fill, by the kind that names them.
constexpr uint16_t lens_shading_slot = 28;
constexpr uint16_t lens_shading_ext_slot = 33;
constexpr uint16_t record_31_slot = 31;

/// The kind that names the slot of a kind. Of kind 10 it is the slot that only this kind fills.
[[nodiscard]] uint16_t slot_of(uint16_t id) {
  if (id == 11) return lens_shading_ext_slot;
  if (id == 3) return record_31_slot;
  return id;
}

[[nodiscard]] std::string fate_of(const qo::decode_result& result) {
  if (result.why == reason::kind_foreign) return "foreign";
  if (result.why == reason::record_superseded) return "superseded";
  if (result.why == reason::copy_out_of_memory) return "not read";
  switch (result.fate) {
    case qo::copy_fate::kept:
      return "kept";
    case qo::copy_fate::converted:
      return "converted";
    case qo::copy_fate::released:
      return "released";
    case qo::copy_fate::leaked:
      return "leaked";
    case qo::copy_fate::refused:
      break;
  }
  return "refused";
}

/// By how many bytes an end was missed; nothing when no end is the matter.
[[nodiscard]] std::string missed_bytes(uint32_t size, const qo::decode_result& result) {
  const uint64_t needed = result.needed.value();
  if (needed <= size) return {};
  return "it has " + bytes_of(size) + " and needs " + std::to_string(needed) + ", " +
         std::to_string(needed - size) + " more";
}

[[nodiscard]] std::string detail_of(const record_reference& record,
                                    const qo::decode_result& result) {
  switch (result.why) {
    case reason::kind_foreign:
    case reason::kind_refused:
      return "kind " + std::to_string(record.id);
    case reason::version_without_layout:
      return "version " + std::to_string(record.version);
    case reason::refused_by_stack:
      return "code " + std::to_string(result.code);
    default:
      return missed_bytes(record.size, result);
  }
}

[[nodiscard]] std::string reference_text(const record_reference& record) {
  return "record " + std::to_string(record.index) + " at byte " + std::to_string(record.offset) +
         ", of kind " + std::to_string(record.id);
}

[[nodiscard]] bool ended_at_a_light(reason why) {
  return why == reason::gain_table_missing || why == reason::plane_order_unknown ||
         why == reason::cfa_layout_unknown;
}

}  // namespace

void listener::container(const qo::container_verdict& verdict) {
  const auto add = [&](std::string_view detail, std::optional<uint64_t> offset) {
    found_.add(describe(verdict.why), detail, {.offset = offset});
  };
  switch (verdict.why) {
    case reason::none:
      return;
    case reason::container_too_short:
      return add("it has " + bytes_of(verdict.size) + ", and the header alone takes " +
                     std::to_string(qo::container_header_size),
                 0);
    case reason::size_mismatch:
      return add("it declares " + bytes_of(verdict.stated_size) + ", and the file has " +
                     std::to_string(verdict.size),
                 size_offset);
    case reason::checksum_mismatch:
      return add("stored is " + hex_word(verdict.checksum) + "; the sum of all other words is " +
                     hex_word(verdict.sum_of_others) + ", that of the records' words " +
                     hex_word(verdict.sum_of_records),
                 checksum_offset);
    default:
      return add({}, 0);
  }
}

void listener::nvm(const qo::nvm_verdict& verdict) {
  hear_notes({});
  if (verdict.why == reason::none) return;
  std::string detail;
  if (verdict.why == reason::nvm_refused)
    detail = "it has " + bytes_of(verdict.size) + ", and the answer is " +
             std::to_string(verdict.status);
  found_.add(describe(verdict.why), detail);
}

record_row& listener::add_row(const qo::record_view& record) {
  const uint8_t version = qo::load<record_header>(record.bytes).version;
  return rows_.emplace_back(record_row{
      rows_.size(), record.offset, record.size, record.id, name_of_kind(record.id), version, {}});
}

void listener::unparsed(const qo::record_view& record) { add_row(record).fate = "not parsed"; }

void listener::record(const qo::record_view& record, const qo::decode_result& result,
                      const parsed_cmc& cmc) {
  record_row& row = add_row(record);
  row.fate = fate_of(result);
  const record_reference reference = {row.index, row.offset, row.id, row.version, row.size};
  // Which of the others records counts is known at the end only.
  if (record.id == others_kind) return;
  hear_result(reference, result);
  hear_replacement(reference, result);
  follow_slots(reference, result, cmc);
  if (result.filled && result.why != reason::version_without_layout)
    check_version(reference, found_);
  hear_notes({.record = reference});
}

void listener::hear_result(const record_reference& record, const qo::decode_result& result) {
  if (result.why == reason::none) return;
  std::string detail = detail_of(record, result);
  if (result.why == reason::record_superseded)
    if (const auto holder = holders_.find(slot_of(record.id)); holder != holders_.end())
      detail = reference_text(holder->second);
  if (result.why == reason::set_superseded)
    if (const auto holder = holders_.find(lens_shading_slot); holder != holders_.end())
      detail = reference_text(holder->second);
  found_.add(describe(result.why), detail, {.record = record});
}

void listener::hear_replacement(const record_reference& record, const qo::decode_result& result) {
  if (!result.replaced) return;
  const auto former = holders_.find(slot_of(record.id));
  std::string detail;
  if (former != holders_.end()) {
    detail = reference_text(former->second);
    // A record 10 whose set gives way is still kept in the slot of its own.
    if (former->second.id == 10 && record.id != 10)
      detail += ", in lens_shading only";
    else
      rows_[former->second.index].fate = "replaced";
    holders_.erase(former);
  }
  found_.add(describe(result.filled ? observation::record_replaced : observation::record_displaced),
             detail, {.record = record});
}

void listener::fill_slot(uint16_t slot, const record_reference& record) {
  holders_.insert_or_assign(slot, record);
}

void listener::follow_slots(const record_reference& record, const qo::decode_result& result,
                            const parsed_cmc& cmc) {
  if (result.filled) fill_slot(slot_of(record.id), record);
  // Record 10 fills the lens shading when nothing does.
  if (record.id == 10 && cmc.lens_shading != nullptr && !holders_.contains(lens_shading_slot))
    fill_slot(lens_shading_slot, record);
  const auto is_holder = [&](uint16_t slot) {
    const auto holder = holders_.find(slot);
    return holder != holders_.end() && holder->second.index == record.index;
  };
  if (is_holder(lens_shading_slot)) check_lights(*cmc.lens_shading, record, found_);
  if (is_holder(lens_shading_ext_slot)) check_lights_ext(*cmc.lens_shading_ext, record, found_);
}

void listener::walk(const qo::walk_end& end) {
  if (end.why == reason::none) return;
  std::string detail = bytes_of(end.left) + (end.left == 1 ? " is" : " are") + " left unread";
  place where = {.offset = end.offset};
  if (end.why != reason::bytes_after_last_record) {
    const record_header& stated = end.stated;
    detail = "it states " + bytes_of(stated.size) + ", and " + detail;
    where.record = {rows_.size(), end.offset, stated.id, stated.version, stated.size};
  }
  found_.add(describe(end.why), detail, where);
}

void listener::merge(const qo::merge_result& result) {
  from_.merged = result.lights != 0;
  hear_notes({});
  if (result.why == reason::none) return;
  std::string detail;
  if (ended_at_a_light(result.why))
    detail = "light " + std::to_string(result.lights) + ", after " + std::to_string(result.lights) +
             " that were merged";
  found_.add(describe(result.why), detail);
}

void listener::derivation(const qo::derivation_result& result) {
  from_.record_34_derived = result.derived;
  hear_notes({});
  if (result.why != reason::none) found_.add(describe(result.why));
}

void listener::others(const qo::others_result& others) {
  for (record_row& row : rows_) {
    if (row.id != others_kind) continue;
    const record_reference reference = {row.index, row.offset, row.id, row.version, row.size};
    qo::decode_result result = others.result;
    if (row.offset != others.record.offset) result = {.why = reason::record_superseded};
    row.fate = fate_of(result);
    hear_result(reference, result);
    if (result.filled) fill_slot(others_kind, reference);
  }
}

void listener::hear_notes(const place& where) {
  for (const log_note& note : notes_.take())
    found_.add(describe(observation::library_message),
               "level " + std::to_string(note.level) + ", \"" + escaped(note.text) + "\"", where);
}

void listener::finish(inspection& result) {
  const auto kind_in = [&](uint16_t slot) {
    const auto holder = holders_.find(slot);
    return holder != holders_.end() ? holder->second.id : uint16_t{0};
  };
  from_.lens_shading = kind_in(lens_shading_slot);
  from_.lens_shading_ext = kind_in(lens_shading_ext_slot);
  from_.record_31 = kind_in(record_31_slot);
  result.from = from_;
  result.records = std::move(rows_);
  result.found = found_.take();
}

}  // namespace findings
