// Fuzz target of well-formed containers: the input says which records there are and what their
// fields hold. They are written, parsed, and every field of the slots is compared with what was
// written. What the slots say as a document is packed into another container, whose document must
// be the same.
//
// The input: u8 bit 0, the rule of the checksum, bit 1, without the document, which takes most of
// the time; then, up to its end, a record each: u8 the kind, as its number among all draws, and
// what its draw takes (fuzz/drawn_record.h).

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

#include "fuzz/drawn_record.h"
#include "fuzz/held.h"
#include "fuzz/target.h"
#include "tools/document/slots.h"
#include "tools/findings/inspection.h"

namespace {

using fuzz::draw;
using fuzz::drawn_record;
using fuzz::require;

constexpr size_t most_records = 40;

std::vector<draw> every_draw() {
  std::vector<draw> all;
  for (const auto& draws : {fuzz::kept_draws, fuzz::converted_draws, fuzz::lens_shading_draws})
    all.insert(all.end(), draws.begin(), draws.end());
  return all;
}

std::vector<drawn_record> drawn_from(fuzz::input_reader& in) {
  static const std::vector<draw> draws = every_draw();
  std::vector<drawn_record> records;
  while (!in.is_at_end() && records.size() < most_records)
    records.push_back(draws[in.u8() % draws.size()](in));
  return records;
}

/// Of the effects on one slot the one that stays.
std::map<uint16_t, const fuzz::effect*> lasting(const std::vector<drawn_record>& records) {
  std::map<uint16_t, const fuzz::effect*> effects;
  for (const drawn_record& record : records)
    for (const fuzz::effect& each : record.effects)
      if (!each.only_into_empty || !effects.contains(each.slot)) effects[each.slot] = &each;
  return effects;
}

/// Where a later record 10 took the place of the one that lens_shading is of, only a record 28
/// gives the set back, and none is as short as a set of lights without samples says: pack() refuses
/// it.
bool can_be_packed(const findings::inspection& seen) {
  const lens_shading_set* const set = seen.cmc->lens_shading;
  if (set == nullptr || seen.from.lens_shading != 10) return true;
  const auto is_10 = [](const findings::record_row& row) { return row.id == 10; };
  if (std::count_if(seen.records.begin(), seen.records.end(), is_10) < 2) return true;
  return set->light_count == 0 || (set->width != 0 && set->height != 0);
}

void require_same_document(const findings::inspection& seen, writer::checksum_rule rule) {
  const document::json slots = document::slots_of(*seen.cmc, seen.from);
  // What pack() throws is a document that it cannot give back, and ends the process.
  const std::vector<uint8_t> packed = document::pack(slots, rule);
  require(writer::bytes(packed).u32_at(20) == writer::checksum_of(packed, rule));
  const findings::inspection again = findings::inspect(packed, std::nullopt);
  require(again.cmc != nullptr && document::slots_of(*again.cmc, again.from) == slots);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader in(data, size);
  const uint8_t bits = in.u8();
  const auto rule = (bits & 1) != 0 ? writer::checksum_rule::rule_b : writer::checksum_rule::rule_a;
  const std::vector<drawn_record> records = drawn_from(in);
  writer::container container;
  container.rule(rule);
  for (const drawn_record& record : records) container.add(record.content);

  const findings::inspection seen = findings::inspect(container.image(), std::nullopt);
  require(seen.valid && seen.records.size() == records.size());
  fuzz::require_sound_slots(*seen.cmc);
  for (const auto& [slot, effect] : lasting(records)) effect->require_held(*seen.cmc);
  if ((bits & 2) == 0 && can_be_packed(seen)) require_same_document(seen, rule);
  return 0;
}
