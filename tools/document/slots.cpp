#include "tools/document/slots.h"

#include "tools/document/converted_record_layouts.h"
#include "tools/document/kept_record_layouts.h"
#include "tools/document/layout_reader.h"
#include "tools/document/lens_shading_members.h"
#include "tools/document/placed_records.h"
#include "tools/document/restored_records.h"

namespace document {
namespace {

/// Tells the layout of a record copy, or null when the slot has none.
template <typename Tell>
[[nodiscard]] json told(const record_header* record, const Tell& tell) {
  if (record == nullptr) return nullptr;
  layout_reader reader(reinterpret_cast<const uint8_t*>(record), record->size);
  tell(reader);
  return reader.take();
}

/// The same for a record that was restored from the form that the slot has.
template <typename Tell>
[[nodiscard]] json told(const writer::bytes& record, const Tell& tell) {
  layout_reader reader(record.data(), record.size());
  tell(reader);
  return reader.take();
}

[[nodiscard]] json whole_value(const record_header* record) {
  return told(record, [record](layout_reader& t) { tell_whole(t, record->id); });
}

[[nodiscard]] json module_properties_value(const module_properties_record* slot) {
  if (slot == nullptr) return nullptr;
  json value = told(restored(*slot), [](layout_reader& t) { tell_module_properties(t); });
  // The structure of a record that fills nothing.
  if (slot->header.version < 100)
    for (auto& member : value) member = nullptr;
  return value;
}

[[nodiscard]] json record_13_value(const parsed_cmc& cmc) {
  const auto& slot = cmc.record_13;
  if (slot.record == nullptr) {
    // A record that is too short leaves the defaults, and nothing else.
    if (slot.params[3] == 0) return nullptr;
    return {{"record", nullptr},
            {"values", nullptr},
            {"params", {nullptr, nullptr, nullptr, nullptr}},
            {"rest", ""}};
  }
  const uint8_t* const copy = reinterpret_cast<const uint8_t*>(slot.record);
  const size_t values_end = 72 + 2 * size_t(copy[70] | copy[71] << 8);
  const auto stores = [&](uint8_t version, size_t end) {
    return slot.record->version >= version && (end + 7) / 8 * 8 <= slot.record->size;
  };
  size_t params = 0;
  if (stores(101, values_end + 2)) params = 1;
  if (stores(102, values_end + 8)) params = 4;
  return told(slot.record, [params](layout_reader& t) { tell_record_13(t, params); });
}

[[nodiscard]] json record_22_value(const record_22_content* slot) {
  if (slot == nullptr) return nullptr;
  return told(restored(*slot), [slot](layout_reader& t) {
    tell_record_22(t, slot->items != nullptr, slot->list != nullptr, slot->list_count);
  });
}

[[nodiscard]] json record_30_value(const record_30_content* slot) {
  if (slot == nullptr) return nullptr;
  const record_30_parts parts = {slot->items != nullptr, slot->grid != nullptr,
                                 slot->trailing != nullptr};
  return told(restored(*slot), [&parts](layout_reader& t) { tell_record_30(t, parts); });
}

[[nodiscard]] json others_value(const others_block* slot) {
  if (slot == nullptr) return nullptr;
  return {{"others_value", slot->others_value},
          {"others_count", slot->others_count},
          {"others_entries", slot->others_entries}};
}

}  // namespace

// A new slot has its member below, and its record in pack().
static_assert(sizeof(parsed_cmc) == 62 * 8);

json slots_of(const parsed_cmc& cmc, const findings::origins& from) {
  const bool in_lens_shading = from.lens_shading == 10 && lsc_grid_gives_lens_shading(cmc);
  json slots = json::object();
  slots["general"] = told(cmc.general.record, [](layout_reader& t) { tell_general(t); });
  slots["module_properties"] = module_properties_value(cmc.module_properties);
  slots["unused_6"] = nullptr;
  slots["unused_7"] = nullptr;
  slots["record_5"] = whole_value(cmc.record_5);
  slots["record_6"] = told(cmc.record_6.record, [](layout_reader& t) { tell_record_6(t); });
  slots["record_7"] = whole_value(cmc.record_7);
  slots["record_8"] = whole_value(cmc.record_8);
  slots["record_9"] = whole_value(cmc.record_9);
  slots["lsc_grid"] =
      cmc.lsc_grid.record != nullptr ? lsc_grid_value(cmc, in_lens_shading) : json(nullptr);
  slots["record_13"] = record_13_value(cmc);
  slots["record_14"] = told(cmc.record_14.record, [](layout_reader& t) { tell_record_14(t); });
  slots["record_15"] = told(cmc.record_15.record, [&cmc](layout_reader& t) {
    tell_record_15(t, cmc.record_15.sub_table != nullptr);
  });
  slots["record_16"] = told(cmc.record_16.record, [](layout_reader& t) { tell_record_16(t); });
  slots["record_17"] = told(cmc.record_17.record, [&cmc](layout_reader& t) {
    tell_record_17(t, cmc.record_17.payload != nullptr);
  });
  slots["record_18"] = told(cmc.record_18.record, [&cmc](layout_reader& t) {
    tell_record_18(t, cmc.record_18.tail != nullptr);
  });
  slots["record_19"] = told(cmc.record_19.record, [](layout_reader& t) { tell_record_19(t); });
  slots["record_20"] = told(cmc.record_20.record, [&cmc](layout_reader& t) {
    tell_record_20(t, cmc.record_20.payload != nullptr, cmc.record_20.tail != nullptr);
  });
  slots["record_22"] = record_22_value(cmc.record_22);
  slots["record_23"] = whole_value(cmc.record_23);
  slots["record_24"] = nullptr;
  if (cmc.record_24 != nullptr)
    slots["record_24"] =
        told(restored(*cmc.record_24), [](layout_reader& t) { tell_record_24(t); });
  slots["record_21"] = whole_value(cmc.record_21);
  slots["record_25"] = told(cmc.record_25.record, [](layout_reader& t) { tell_record_25(t); });
  slots["record_26"] = nullptr;
  if (const record_26_content* const slot = cmc.record_26; slot != nullptr)
    slots["record_26"] = told(
        restored(*slot), [slot](layout_reader& t) { tell_record_26(t, stores_groups(*slot)); });
  slots["record_27"] = nullptr;
  if (const record_27_content* const slot = cmc.record_27; slot != nullptr)
    slots["record_27"] =
        told(slot->record, [slot](layout_reader& t) { tell_record_27(t, slot->tail != nullptr); });
  slots["record_30"] = record_30_value(cmc.record_30);
  slots["record_29"] = nullptr;
  if (cmc.record_29 != nullptr)
    slots["record_29"] =
        told(restored(*cmc.record_29), [](layout_reader& t) { tell_record_29(t); });
  slots["lens_shading"] = nullptr;
  if (cmc.lens_shading != nullptr)
    slots["lens_shading"] = lens_shading_value(*cmc.lens_shading, in_lens_shading ? 10 : 28);
  slots["record_31"] = nullptr;
  if (cmc.record_31 != nullptr)
    slots["record_31"] = record_31_value(*cmc.record_31, from.record_31 == 3 ? 3 : 31);
  slots["record_32"] = whole_value(cmc.record_32);
  slots["lens_shading_ext"] = nullptr;
  // A set says itself which kind it is of, unless it is one of lens_shading.
  if (cmc.lens_shading_ext != nullptr)
    slots["lens_shading_ext"] =
        lens_shading_ext_value(*cmc.lens_shading_ext, cmc.lens_shading_ext->id);
  slots["record_34"] = nullptr;
  if (cmc.record_34 != nullptr)
    slots["record_34"] = record_34_value(*cmc.record_34, from.record_34_derived);
  slots["record_35"] = nullptr;
  if (cmc.record_35.first != nullptr && cmc.record_35.second != nullptr)
    slots["record_35"] = told(restored(*cmc.record_35.first, *cmc.record_35.second),
                              [](layout_reader& t) { tell_record_35(t); });
  slots["record_36"] = nullptr;
  if (cmc.record_36 != nullptr)
    slots["record_36"] =
        told(restored(*cmc.record_36), [](layout_reader& t) { tell_record_36(t); });
  slots["others"] = others_value(cmc.others);
  return slots;
}

}  // namespace document
