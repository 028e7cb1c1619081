// Kinds of which the slot has the copy.

#include <algorithm>
#include <utility>

#include "fuzz/drawn_record.h"
#include "writer/records.h"

namespace fuzz {
namespace {

using writer::bytes;

drawn_record only(bytes content, std::function<void(const parsed_cmc&, const bytes&)> held) {
  const uint16_t slot = content.u16_at(6);
  return {content, {{slot, false, [content, held = std::move(held)](const parsed_cmc& cmc) {
                       held(cmc, content);
                     }}}};
}

drawn_record draw_general(input_reader& in) {
  writer::general_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.name = in.text(12);
  fields.pairs.clear();
  for (size_t pairs = in.up_to(3); pairs != 0; --pairs) {
    std::string key = in.text(6);
    fields.pairs.emplace_back(std::move(key), in.text(6));
  }
  return only(writer::record_1(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.general.record, record);
    require_place(cmc.general.name, cmc.general.record, 24);
    require(cmc.general.name == fields.name);
    const size_t pairs = fields.version >= 101 ? fields.pairs.size() : 0;
    require(cmc.general.pair_count == pairs);
    for (size_t i = 0; i < pairs; ++i) {
      require(cmc.general.pairs[i].key == fields.pairs[i].first);
      require(cmc.general.pairs[i].value == fields.pairs[i].second);
    }
  });
}

/// The kinds whose slot is nothing but the copy.
template <uint16_t Kind, record_header* parsed_cmc::*Slot>
drawn_record draw_plain(input_reader& in) {
  writer::plain_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.size = 24u + in.up_to(40);
  return only(writer::plain_record(Kind, fields),
              [](const parsed_cmc& cmc, const bytes& record) { require_copy(cmc.*Slot, record); });
}

drawn_record draw_6(input_reader& in) {
  writer::record_6_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  for (uint8_t& count : fields.counts) count = in.up_to(5);
  return only(writer::record_6(fields), [](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_6.record, record);
    require_place(cmc.record_6.payload, cmc.record_6.record, 16);
  });
}

drawn_record draw_13(input_reader& in) {
  writer::record_13_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.count = in.up_to(20);
  for (uint16_t& param : fields.params) param = in.u16();
  return only(writer::record_13(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_13.record, record);
    require_bytes(cmc.record_13.values, record, 72, size_t{2} * fields.count);
    static constexpr uint16_t defaults[] = {0, 1, 250, 1000};
    for (size_t i = 0; i < 4; ++i) {
      const bool stored = fields.version >= (i == 0 ? 101 : 102);
      require(cmc.record_13.params[i] == (stored ? fields.params[i] : defaults[i]));
    }
  });
}

drawn_record draw_14(input_reader& in) {
  writer::record_14_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.first = in.u8();
  fields.last = static_cast<uint16_t>(fields.first + in.u8());
  fields.step = static_cast<uint16_t>(8 + in.up_to(100));
  return only(writer::record_14(fields), [](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_14.record, record);
    require_place(cmc.record_14.payload, cmc.record_14.record, 14);
  });
}

drawn_record draw_15(input_reader& in) {
  writer::record_15_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.a = in.up_to(4);
  fields.b = in.up_to(4);
  fields.entry_counts.clear();
  for (size_t entries = in.up_to(3); entries != 0; --entries)
    fields.entry_counts.push_back(in.up_to(4));
  return only(writer::record_15(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    const auto& slot = cmc.record_15;
    require_copy(slot.record, record);
    require(slot.counts.a == fields.a && slot.counts.b == fields.b);
    const size_t section = size_t{8} * fields.a;
    require_place(slot.body, slot.record, 12);
    require_place(slot.section_1, slot.record, 12 + section);
    require_place(slot.section_2, slot.record, 12 + 2 * section);
    require_place(slot.section_3, slot.record, 12 + 3 * section);
    require(slot.sub_table != nullptr && slot.sub_table->count == fields.entry_counts.size());
    size_t at = 12 + 3 * section + size_t{8} * fields.b + 2;
    for (size_t i = 0; i < fields.entry_counts.size(); ++i) {
      const record_15_entry& entry = slot.sub_table->entries[i];
      const size_t array = size_t{2} * fields.entry_counts[i];
      require_bytes(&entry.value_0, record, at, 8);
      require_bytes(&entry.value_8, record, at + 8, 4);
      require_bytes(entry.array_first, record, at + 12, array);
      require_bytes(entry.array_second, record, at + 12 + array, array);
      at += 12 + 2 * array;
    }
  });
}

drawn_record draw_16(input_reader& in) {
  writer::record_16_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.count = in.up_to(10);
  return only(writer::record_16(fields), [](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_16.record, record);
    require_place(cmc.record_16.payload, cmc.record_16.record, 14);
  });
}

drawn_record draw_17(input_reader& in) {
  writer::record_17_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.plane_order = in.u16();
  fields.orientation = in.u16();
  fields.payload_bytes = 2u + in.up_to(20);
  return only(writer::record_17(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_17.record, record);
    if (fields.version >= 101)
      require_place(cmc.record_17.payload, cmc.record_17.record, 14);
    else
      require(cmc.record_17.payload == nullptr);
  });
}

drawn_record draw_18(input_reader& in) {
  writer::record_18_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.count = in.up_to(3);
  fields.tail_bytes = 16u + in.up_to(20);
  return only(writer::record_18(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_18.record, record);
    require_place(cmc.record_18.entries, cmc.record_18.record, 10);
    if (fields.version >= 101)
      require_place(cmc.record_18.tail, cmc.record_18.record, 10 + size_t{84} * fields.count);
    else
      require(cmc.record_18.tail == nullptr);
  });
}

drawn_record draw_19(input_reader& in) {
  writer::record_19_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.parameter = in.u16();
  fields.entries.resize(in.up_to(3));
  for (writer::record_19_entry& entry : fields.entries)
    entry = {in.u32(), in.u32(), {in.u32(), 1, 2}, {in.u16(), 3, 4, 5}};
  fields.pairs.resize(in.up_to(3));
  for (writer::fixed_pair& pair : fields.pairs) pair = {in.u32(), in.u32()};
  return only(writer::record_19(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require_copy(cmc.record_19.record, record);
    require_place(cmc.record_19.entries, cmc.record_19.record, 16);
    require_place(cmc.record_19.tail, cmc.record_19.record, 16 + 28 * fields.entries.size());
  });
}

drawn_record draw_20(input_reader& in) {
  writer::record_20_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.value_8 = in.u16();
  fields.value_13 = in.u8();
  fields.form = in.up_to(2);
  fields.pairs.resize(in.up_to(3));
  for (writer::fixed_pair& pair : fields.pairs) pair = {in.u32(), in.u32()};
  return only(writer::record_20(fields), [fields](const parsed_cmc& cmc, bytes record) {
    if (fields.version <= 100) record.patch_u8(13, 8);
    require_copy(cmc.record_20.record, record);
    require((cmc.record_20.payload != nullptr) == (fields.version >= 102));
    if (fields.version < 102) return require(cmc.record_20.tail == nullptr);
    require_place(cmc.record_20.payload, cmc.record_20.record, 14);
    if (fields.form == 1) require_place(cmc.record_20.tail, cmc.record_20.record, 20);
  });
}

/// Decoded in place: addresses stand where the record has places.
drawn_record draw_31(input_reader& in) {
  writer::record_31_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.count = in.up_to(3);
  return only(writer::record_31(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    require_bytes(cmc.record_31, record, 0, 16);
    const auto* const table = reinterpret_cast<const record_31_table*>(cmc.record_31);
    require(table->count == fields.count);
    require_place(table->entries, cmc.record_31, 24);
    require_bytes(table->entries, record, 24, size_t{72} * fields.count);
  });
}

drawn_record draw_34(input_reader& in) {
  writer::record_34_fields fields;
  fields.version = drawn_version(in);
  fields.filler = in.u32();
  fields.blocks.resize(in.up_to(6));
  for (writer::record_34_block& block : fields.blocks)
    block = {in.u32(), in.u32(), in.up_to(2), in.up_to(2), in.flag()};
  return only(writer::record_34(fields), [fields](const parsed_cmc& cmc, const bytes& record) {
    const auto* const table = reinterpret_cast<const record_34_table*>(cmc.record_34);
    require_bytes(table, record, 0, 8);
    require(table->block_count == std::min<size_t>(fields.blocks.size(), 4));
    require_place(table->blocks, cmc.record_34, 32);
    size_t at = 32 + 40 * fields.blocks.size();
    for (size_t i = 0; i < table->block_count; ++i) {
      const writer::record_34_block& given = fields.blocks[i];
      const record_34_block& block = table->blocks[i];
      require_bytes(&block, record, 32 + 40 * i, 16);
      const auto require_array = [&](const void* array, size_t size) {
        require((array != nullptr) == (size != 0));
        if (array != nullptr) require_place(array, cmc.record_34, at);
        require_bytes(array, record, at, size);
        at += size;
      };
      require_array(block.long_entries, size_t{32} * given.long_entries);
      require_array(block.short_entries, size_t{8} * given.pairs);
      require_array(block.tail, given.tail ? 8 : 0);
    }
  });
}

/// Record 722, which is read by an entry of its own; the first one counts.
drawn_record draw_others(input_reader& in) {
  writer::record_722_fields fields;
  fields.version = drawn_version(in);
  fields.value = in.u32();
  fields.values.clear();
  for (size_t values = in.up_to(10); values != 0; --values)
    fields.values.push_back(uint64_t{in.u32()} << 32 | in.u32());
  const bytes content = writer::record_722(fields);
  return {content,
          {{722, true, [fields](const parsed_cmc& cmc) {
              require(cmc.others != nullptr && cmc.others->others_value == fields.value);
              const size_t kept = std::min<size_t>(fields.values.size(), 8);
              require(cmc.others->others_count == kept);
              for (size_t i = 0; i < 8; ++i)
                require(cmc.others->others_entries[i] == (i < kept ? fields.values[i] : 0));
            }}}};
}

/// A kind that no slot takes.
drawn_record draw_foreign(input_reader& in) {
  static constexpr uint16_t kinds[] = {0, 4, 12, 37, 63, 64, 721, 65535};
  const uint16_t kind = kinds[in.up_to(7)];
  return {writer::plain_record(kind, {.size = 8u + in.up_to(24), .filler = in.u32()}), {}};
}

constexpr draw draws[] = {draw_general,
                          draw_plain<5, &parsed_cmc::record_5>,
                          draw_6,
                          draw_plain<7, &parsed_cmc::record_7>,
                          draw_plain<8, &parsed_cmc::record_8>,
                          draw_plain<9, &parsed_cmc::record_9>,
                          draw_13,
                          draw_14,
                          draw_15,
                          draw_16,
                          draw_17,
                          draw_18,
                          draw_19,
                          draw_20,
                          draw_plain<21, &parsed_cmc::record_21>,
                          draw_plain<23, &parsed_cmc::record_23>,
                          draw_31,
                          draw_plain<32, &parsed_cmc::record_32>,
                          draw_34,
                          draw_others,
                          draw_foreign};

}  // namespace

const std::span<const draw> kept_draws = draws;

}  // namespace fuzz
