#include "tools/inspect/slot_listing.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

/// One line: the slot's name, then what printf makes of the rest; "-" when `filled` is null.
[[gnu::format(printf, 3, 4)]] void line(const char* slot, const void* filled, const char* format,
                                        ...) {
  std::printf("  %-18s ", slot);
  if (filled == nullptr) {
    std::printf("-\n");
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::printf("\n");
}

unsigned u16_at(const record_header* record, size_t offset) {
  uint16_t value = 0;
  if (record != nullptr)
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(record) + offset, sizeof value);
  return value;
}

const char* present(const void* address) { return address != nullptr ? "present" : "absent"; }

void kept(const char* slot, const record_header* record) {
  line(slot, record, "version %u, %u bytes", record != nullptr ? record->version : 0u,
       record != nullptr ? record->size : 0u);
}

void list_general(const parsed_cmc& cmc) {
  const auto& slot = cmc.general;
  line("general", slot.record, "\"%s\", %u pairs", slot.record != nullptr ? slot.name : "",
       unsigned{slot.pair_count});
  for (uint16_t i = 0; slot.pairs != nullptr && i < slot.pair_count; ++i)
    std::printf("  %-18s   %s = %s\n", "", slot.pairs[i].key, slot.pairs[i].value);
}

/// What both forms of a light begin with.
template <typename Light>
void list_light(const Light& light, const char* suffix) {
  int tables = 0;
  for (const auto& row : light.tables)
    for (const uint16_t* const table : row) tables += table != nullptr;
  std::printf(
      "  %-18s   light %" PRIu32 ": gains %g %g, coords %g %g, %u fraction bits, %d tables%s\n", "",
      light.light_id, double{light.gains[0]}, double{light.gains[1]}, double{light.coords[0]},
      double{light.coords[1]}, unsigned{light.fraction_bits}, tables, suffix);
}

void list_set(const char* name, const lens_shading_set* set, bool extended) {
  line(name, set, "kind %u version %u, %u lights, %u x %u", set != nullptr ? set->id : 0u,
       set != nullptr ? set->version : 0u, set != nullptr ? set->light_count : 0u,
       set != nullptr ? set->width : 0u, set != nullptr ? set->height : 0u);
  if (set == nullptr) return;
  std::printf("  %-18s   channel map", "");
  for (const auto& row : set->channel_map) {
    std::printf(" ");
    for (const int8_t plane : row) std::printf(" %2d", plane);
  }
  std::printf("\n");
  for (uint16_t i = 0; i < set->light_count; ++i) {
    if (extended) {
      char aux[32];
      std::snprintf(aux, sizeof aux, ", aux %u", unsigned{set->lights_ext[i].aux});
      list_light(set->lights_ext[i], aux);
    } else {
      list_light(set->lights[i], "");
    }
  }
}

void list_record_34(const record_header* record) {
  kept("record_34", record);
  if (record == nullptr || record->size < sizeof(record_34_table)) return;
  record_34_table table;
  std::memcpy(&table, record, sizeof table);
  for (uint32_t i = 0; table.blocks != nullptr && i < table.block_count; ++i) {
    record_34_block block;  // copied: a container need not align its blocks
    std::memcpy(&block, reinterpret_cast<const uint8_t*>(table.blocks) + sizeof block * i,
                sizeof block);
    std::printf("  %-18s   block kind %u, value %u: %u long entries, %u short entries, tail %s\n",
                "", block.kind, block.value_4, block.long_count, block.short_count,
                present(block.tail));
  }
}

void list_small_records(const parsed_cmc& cmc) {
  const module_properties_record* const properties = cmc.module_properties;
  line("module_properties", properties, "version %u, cfa_layout %u, values %u %u %u",
       properties != nullptr ? properties->header.version : 0u,
       properties != nullptr ? properties->cfa_layout : 0u,
       properties != nullptr ? properties->value_12 : 0u,
       properties != nullptr ? properties->value_16 : 0u,
       properties != nullptr ? properties->value_34 : 0u);
  kept("record_5", cmc.record_5);
  kept("record_6", cmc.record_6.record);
  kept("record_7", cmc.record_7);
  kept("record_8", cmc.record_8);
  kept("record_9", cmc.record_9);
  line("lsc_grid", cmc.lsc_grid.record, "%u lights, %u x %u, light gains %s",
       u16_at(cmc.lsc_grid.record, 10), u16_at(cmc.lsc_grid.record, 12),
       u16_at(cmc.lsc_grid.record, 14), present(cmc.lsc_grid.light_gains));
  const auto& record_13 = cmc.record_13;
  line("record_13", record_13.record, "%u values, params %u %u %u %u", u16_at(record_13.record, 70),
       unsigned{record_13.params[0]}, unsigned{record_13.params[1]}, unsigned{record_13.params[2]},
       unsigned{record_13.params[3]});
  line("record_14", cmc.record_14.record, "from %u to %u by %u", u16_at(cmc.record_14.record, 8),
       u16_at(cmc.record_14.record, 10), u16_at(cmc.record_14.record, 12));
  const auto& record_15 = cmc.record_15;
  line("record_15", record_15.record, "a %u, b %u, sub-table of %u entries",
       unsigned{record_15.counts.a}, unsigned{record_15.counts.b},
       record_15.sub_table != nullptr ? record_15.sub_table->count : 0u);
  line("record_16", cmc.record_16.record, "%u items", u16_at(cmc.record_16.record, 12));
  line("record_17", cmc.record_17.record, "plane order %u, orientation %u, payload %s",
       u16_at(cmc.record_17.record, 10), u16_at(cmc.record_17.record, 12),
       present(cmc.record_17.payload));
  line("record_18", cmc.record_18.record, "%u entries, tail %s", u16_at(cmc.record_18.record, 8),
       present(cmc.record_18.tail));
  line("record_19", cmc.record_19.record, "%u entries, %u after them",
       u16_at(cmc.record_19.record, 12), u16_at(cmc.record_19.record, 14));
  line("record_20", cmc.record_20.record, "list %s, entries %s", present(cmc.record_20.payload),
       present(cmc.record_20.tail));
}

void list_large_records(const parsed_cmc& cmc) {
  const record_22_content* const record_22 = cmc.record_22;
  line("record_22", record_22, "grid of %u entries of %d x %d, %d items, list of %d",
       record_22 != nullptr ? record_22->grid_count : 0u,
       record_22 != nullptr ? record_22->width : 0, record_22 != nullptr ? record_22->height : 0,
       record_22 != nullptr ? record_22->item_count : 0,
       record_22 != nullptr ? record_22->list_count : 0);
  kept("record_23", cmc.record_23);
  line("record_24", cmc.record_24, "%u entries",
       cmc.record_24 != nullptr ? cmc.record_24->count : 0u);
  kept("record_21", cmc.record_21);
  line("record_25", cmc.record_25.record, "%u entries of %u items", u16_at(cmc.record_25.record, 8),
       u16_at(cmc.record_25.record, 10));
  const record_26_content* const record_26 = cmc.record_26;
  line("record_26", record_26, "groups from %g and %g",
       record_26 != nullptr ? double{record_26->groups[0].values[0]} : 0.0,
       record_26 != nullptr ? double{record_26->groups[1].values[0]} : 0.0);
  const record_header* const record_27 = cmc.record_27 != nullptr ? cmc.record_27->record : nullptr;
  line("record_27", record_27, "%u entries of %u planes, %u x %u, tail %s", u16_at(record_27, 24),
       u16_at(record_27, 26), u16_at(record_27, 28), u16_at(record_27, 30),
       present(cmc.record_27 != nullptr ? cmc.record_27->tail : nullptr));
  const record_30_content* const record_30 = cmc.record_30;
  line("record_30", record_30, "%u items, grid %u x %u %s, trailing %u x %u %s",
       record_30 != nullptr ? record_30->item_count : 0u,
       record_30 != nullptr ? record_30->grid_width : 0u,
       record_30 != nullptr ? record_30->grid_height : 0u,
       present(record_30 != nullptr ? record_30->grid : nullptr),
       record_30 != nullptr ? record_30->trailing_rows : 0u,
       record_30 != nullptr ? record_30->trailing_columns : 0u,
       present(record_30 != nullptr ? record_30->trailing : nullptr));
  line("record_29", cmc.record_29, "four planes of %u x %u",
       cmc.record_29 != nullptr ? cmc.record_29->width : 0u,
       cmc.record_29 != nullptr ? cmc.record_29->height : 0u);
}

}  // namespace

void list_slots(const parsed_cmc& cmc) {
  list_general(cmc);
  list_small_records(cmc);
  list_large_records(cmc);
  list_set("lens_shading", cmc.lens_shading, false);
  kept("record_31", cmc.record_31);
  kept("record_32", cmc.record_32);
  list_set("lens_shading_ext", cmc.lens_shading_ext, true);
  list_record_34(cmc.record_34);
  line("record_35", cmc.record_35.first, "count %u",
       cmc.record_35.first != nullptr ? cmc.record_35.first->count : 0u);
  line("record_36", cmc.record_36, "count %u",
       cmc.record_36 != nullptr ? cmc.record_36->count : 0u);
  const others_block* const others = cmc.others;
  line("others", others, "value %u, %u entries", others != nullptr ? others->others_value : 0u,
       others != nullptr ? others->others_count : 0u);
}
