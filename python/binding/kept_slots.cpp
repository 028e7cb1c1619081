// Slots that keep a copy of their record, and addresses into it. Arrays get their lengths from the
// copy, as the slots' comments in parsed_cmc.h say.

#include "python/binding/record_copies.h"
#include "python/binding/slot_classes.h"
#include "python/binding/text_object.h"

namespace qo_python {
namespace {

using general_slot = decltype(parsed_cmc::general);
using record_6_slot = decltype(parsed_cmc::record_6);
using lsc_grid_slot = decltype(parsed_cmc::lsc_grid);
using record_13_slot = decltype(parsed_cmc::record_13);
using record_14_slot = decltype(parsed_cmc::record_14);
using record_15_slot = decltype(parsed_cmc::record_15);
using record_16_slot = decltype(parsed_cmc::record_16);
using record_17_slot = decltype(parsed_cmc::record_17);
using record_18_slot = decltype(parsed_cmc::record_18);
using record_19_slot = decltype(parsed_cmc::record_19);
using record_20_slot = decltype(parsed_cmc::record_20);
using record_25_slot = decltype(parsed_cmc::record_25);

/// Text of a slot, or None.
[[nodiscard]] py::object text_of(const char* text) {
  if (text == nullptr) return py::none();
  return text_object(text);
}

[[nodiscard]] uint16_t u16_at(const record_header* copy, size_t offset) {
  return qo_cmc_read_u16(copy, offset);
}

/// A light of record 10: u16 number, two bytes, two u16 coordinates, four tables.
struct lsc_grid_block {
  const uint8_t* at;
  uint16_t width, height;
};

[[nodiscard]] lsc_grid_block block_of(const lsc_grid_slot& slot, size_t index) {
  const uint16_t width = u16_at(slot.record, 12);
  const uint16_t height = u16_at(slot.record, 14);
  return {slot.blocks + index * (8 + size_t{8} * width * height), width, height};
}

[[nodiscard]] py::object blocks_of(const part<lsc_grid_slot>& self) {
  const lsc_grid_slot& slot = self.get();
  if (slot.blocks == nullptr) return py::none();
  py::tuple blocks(u16_at(slot.record, 10));
  const lsc_grid_block first = block_of(slot, 0);
  (void)inside(*slot.record, slot.blocks, blocks.size(),
               8 + size_t{8} * first.width * first.height);
  for (size_t i = 0; i < blocks.size(); ++i) {
    const lsc_grid_block block = block_of(slot, i);
    py::dict members;
    members["light_id"] = qo_cmc_read_u16(block.at, 0);
    members["bytes_2"] = view_of(self.of(), array_of<uint8_t>(block.at + 2, 2));
    members["coords"] = view_of(self.of(), array_of<uint16_t>(block.at + 4, 2));
    members["tables"] =
        view_of(self.of(), array_of<uint16_t>(block.at + 8, 4, block.height, block.width));
    blocks[i] = std::move(members);
  }
  return blocks;
}

[[nodiscard]] array_place first_table_of(const lsc_grid_slot& slot, const parsed_cmc&) {
  if (slot.first_table == nullptr || u16_at(slot.record, 10) == 0)
    return array_of<uint16_t>(nullptr);
  const lsc_grid_block first = block_of(slot, 0);
  return array_of<uint16_t>(
      inside(*slot.record, slot.first_table, size_t{first.width} * first.height, 2), first.height,
      first.width);
}

[[nodiscard]] array_place short_entries_of(const record_header& copy, const uint8_t* data,
                                           uint16_t count) {
  if (data == nullptr) return array_of<uint8_t>(nullptr);
  return {inside(copy, data, count, 8),
          structure_of({{"value_0", "<u4"}, {"value_4", "<u4"}}),
          {count}};
}

[[nodiscard]] array_place long_entries_of(const record_19_slot& slot, const parsed_cmc&) {
  if (slot.entries == nullptr) return array_of<uint8_t>(nullptr);
  const uint16_t count = u16_at(slot.record, 12);
  return {inside(*slot.record, slot.entries, count, 28),
          structure_of({{"value_0", "<u4"},
                        {"value_4", "<u4"},
                        {"values_8", "<u4", 3},
                        {"values_20", "<u2", 4}}),
          {count}};
}

void add_general(py::module_& module) {
  using pair_part = part<string_pair, general_slot>;
  part_class<string_pair, general_slot>(module, "StringPair", R"(A pair of record 1.

Attributes
----------
key, value : str
    Bytes that are no UTF-8 stand as lone surrogates (``surrogateescape``).
)")
      .made("key", [](const pair_part& self) { return text_of(self.get().key); })
      .made("value", [](const pair_part& self) { return text_of(self.get().value); });
  part_class<general_slot>(module, "General", R"(Record 1: the module's name, and strings.

Attributes
----------
record : Record
name : str
    Bytes that are no UTF-8 stand as lone surrogates (``surrogateescape``).
pair_count : int
pairs : tuple of StringPair or None
    None up to version 100.
)")
      .field("record", &general_slot::record)
      .made("name", [](const part<general_slot>& self) { return text_of(self.get().name); })
      .field("pair_count", &general_slot::pair_count)
      .parts("pairs", [](const general_slot& slot, const parsed_cmc&) {
        return std::span<const string_pair>(slot.pairs,
                                            slot.pairs != nullptr ? slot.pair_count : 0);
      });
}

void add_record_15(py::module_& module) {
  using counts = decltype(record_15_slot::counts);
  part_class<record_15_entry, record_15_sub_table>(module, "Record15Entry",
                                                   R"(An entry of the sub-table of record 15.

Attributes
----------
value_0, value_8 : int
array_first, array_second : numpy.ndarray
    ``uint16``, as many as the upper half of `value_8` says.
)")
      .field("value_0", &record_15_entry::value_0)
      .field("value_8", &record_15_entry::value_8)
      .array("array_first",
             [](const record_15_entry& entry, const record_15_sub_table&) {
               return array_of<uint16_t>(entry.array_first, entry.value_8 >> 16);
             })
      .array("array_second", [](const record_15_entry& entry, const record_15_sub_table&) {
        return array_of<uint16_t>(entry.array_second, entry.value_8 >> 16);
      });
  part_class<record_15_sub_table>(module, "Record15SubTable", R"(The sub-table of record 15.

Attributes
----------
count : int
entries : tuple of Record15Entry
)")
      .field("count", &record_15_sub_table::count)
      .parts("entries", [](const record_15_sub_table& table, const parsed_cmc&) {
        return std::span<const record_15_entry>(table.entries, table.count);
      });
  part_class<counts>(module, "Record15Counts", R"(The two counts of record 15.

Attributes
----------
a, b : int
)")
      .field("a", &counts::a)
      .field("b", &counts::b);
  part_class<record_15_slot>(module, "Record15", R"(Record 15.

Attributes
----------
record : Record
body, section_1, section_2 : numpy.ndarray
    ``uint8``, ``counts.a`` rows of 8 bytes each.
section_3 : numpy.ndarray
    ``uint8``, ``counts.b`` rows of 8 bytes.
sub_table : Record15SubTable or None
counts : Record15Counts
)")
      .field("record", &record_15_slot::record)
      .array("body",
             [](const record_15_slot& slot, const parsed_cmc&) {
               return bytes_of<8>(*slot.record, slot.body, slot.counts.a);
             })
      .array("section_1",
             [](const record_15_slot& slot, const parsed_cmc&) {
               return bytes_of<8>(*slot.record, slot.section_1, slot.counts.a);
             })
      .array("section_2",
             [](const record_15_slot& slot, const parsed_cmc&) {
               return bytes_of<8>(*slot.record, slot.section_2, slot.counts.a);
             })
      .array("section_3",
             [](const record_15_slot& slot, const parsed_cmc&) {
               return bytes_of<8>(*slot.record, slot.section_3, slot.counts.b);
             })
      .made("sub_table",
            [](const part<record_15_slot>& self) -> py::object {
              const record_15_sub_table* const table = self.get().sub_table;
              if (table == nullptr) return py::none();
              return py::cast(part<record_15_sub_table>(self.of(), table, &self.in()));
            })
      .field("counts", &record_15_slot::counts);
}

void add_record_25(py::module_& module) {
  part_class<record_25_entry, record_25_slot>(module, "Record25Entry", R"(An entry of record 25.

Attributes
----------
start : numpy.ndarray
    ``uint8``: the entry's first 20 bytes, from version 101 on 24.
block_first, block_second : numpy.ndarray
    ``uint8``, the 16 bytes after them, and 16 more.
value : int
items : numpy.ndarray
    ``uint8``, rows of 36 bytes, as many as `payload` of the record has.
)")
      .array("start",
             [](const record_25_entry& entry, const record_25_slot& slot) {
               const size_t size = slot.record->version > 100 ? 24 : 20;
               return array_of<uint8_t>(inside(*slot.record, entry.start, size, 1), size);
             })
      .field("block_first", &record_25_entry::block_first)
      .field("block_second", &record_25_entry::block_second)
      .field("value", &record_25_entry::value)
      .array("items", [](const record_25_entry& entry, const record_25_slot& slot) {
        return bytes_of<36>(*slot.record, entry.items, u16_at(slot.record, 10));
      });
  part_class<record_25_slot>(module, "Record25", R"(Record 25.

Attributes
----------
record : Record
payload : numpy.ndarray
    ``uint8``, rows of 4 bytes.
entries : tuple of Record25Entry or None
)")
      .field("record", &record_25_slot::record)
      .array("payload",
             [](const record_25_slot& slot, const parsed_cmc&) {
               return bytes_of<4>(*slot.record, slot.payload, u16_at(slot.record, 10));
             })
      .parts("entries", [](const record_25_slot& slot, const parsed_cmc&) {
        return std::span<const record_25_entry>(
            slot.entries, slot.entries != nullptr ? u16_at(slot.record, 8) : 0u);
      });
}

}  // namespace

void add_kept_slot_classes(py::module_& module) {
  add_general(module);

  part_class<record_6_slot>(module, "Record6", R"(Record 6.

Attributes
----------
record : Record
payload : numpy.ndarray
    ``uint16``, as many as the four counts at byte 12 sum to.
)")
      .field("record", &record_6_slot::record)
      .array("payload", [](const record_6_slot& slot, const parsed_cmc&) {
        if (slot.payload == nullptr) return array_of<uint16_t>(nullptr);
        uint8_t counts[4];
        qo_cmc_read_bytes(counts, slot.record, 12, sizeof counts);
        const size_t values = size_t{counts[0]} + counts[1] + counts[2] + counts[3];
        return array_of<uint16_t>(inside(*slot.record, slot.payload, values, 2), values);
      });

  part_class<lsc_grid_slot>(module, "LscGrid", R"(Record 10 as it is.

Attributes
----------
record : Record
blocks : tuple of dict
    Of each light `light_id` (int), `bytes_2`, `coords` (two ``uint16``) and `tables` (``uint16``,
    four of height x width).
first_table : numpy.ndarray or None
    ``uint16``, the first table of the first light.
light_gains : numpy.ndarray or None
    ``uint16``, two for each light, from version 101 on.
)")
      .field("record", &lsc_grid_slot::record)
      .made("blocks", &blocks_of)
      .array("first_table", &first_table_of)
      .array("light_gains", [](const lsc_grid_slot& slot, const parsed_cmc&) {
        if (slot.light_gains == nullptr) return array_of<uint16_t>(nullptr);
        const uint16_t lights = u16_at(slot.record, 10);
        return array_of<uint16_t>(inside(*slot.record, slot.light_gains, lights, 4), lights, 2);
      });

  part_class<record_13_slot>(module, "Record13", R"(Record 13.

Attributes
----------
record : Record or None
    None for a record that was too short, which leaves `params` alone.
values : numpy.ndarray or None
    ``uint16``.
params : numpy.ndarray
    Four ``uint16``; 0, 1, 250 and 1000 where the record has none.
)")
      .field("record", &record_13_slot::record)
      .array("values",
             [](const record_13_slot& slot, const parsed_cmc&) {
               return array_of<uint16_t>(slot.values,
                                         slot.record != nullptr ? u16_at(slot.record, 70) : 0);
             })
      .field("params", &record_13_slot::params);

  part_class<record_14_slot>(module, "Record14", R"(Record 14.

Attributes
----------
record : Record
    With the range's first value, last value and step at bytes 8, 10 and 12.
payload : numpy.ndarray
    ``uint8``, rows of 8 bytes.
)")
      .field("record", &record_14_slot::record)
      .array("payload", [](const record_14_slot& slot, const parsed_cmc&) {
        const unsigned first = u16_at(slot.record, 8), last = u16_at(slot.record, 10);
        const unsigned step = u16_at(slot.record, 12);
        return bytes_of<8>(*slot.record, slot.payload,
                           step != 0 && last >= first ? (last - first) / step : 0);
      });

  add_record_15(module);

  part_class<record_16_slot>(module, "Record16", R"(Record 16.

Attributes
----------
record : Record
payload : numpy.ndarray
    ``uint32``, at addresses that are aligned to 2 bytes.
)")
      .field("record", &record_16_slot::record)
      .array("payload", [](const record_16_slot& slot, const parsed_cmc&) {
        const uint16_t count = u16_at(slot.record, 12);
        return array_of<uint32_t>(inside(*slot.record, slot.payload, count, 4), count);
      });

  part_class<record_17_slot>(module, "Record17", R"(Record 17.

Attributes
----------
record : Record
    With the plane order and the orientation of the module's grids at bytes 10 and 12.
payload : numpy.ndarray or None
    ``uint8``, what the record holds from byte 14 on; None below version 101.
)")
      .field("record", &record_17_slot::record)
      .array("payload", [](const record_17_slot& slot, const parsed_cmc&) {
        return rest_of(*slot.record, slot.payload);
      });

  part_class<record_18_slot>(module, "Record18", R"(Record 18.

Attributes
----------
record : Record
entries : numpy.ndarray
    ``uint8``, rows of 84 bytes.
tail : numpy.ndarray or None
    ``uint8``, what follows them; None below version 101.
)")
      .field("record", &record_18_slot::record)
      .array("entries",
             [](const record_18_slot& slot, const parsed_cmc&) {
               return bytes_of<84>(*slot.record, slot.entries, u16_at(slot.record, 8));
             })
      .array("tail", [](const record_18_slot& slot, const parsed_cmc&) {
        return rest_of(*slot.record, slot.tail);
      });

  part_class<record_19_slot>(module, "Record19", R"(Record 19.

Attributes
----------
record : Record
entries : numpy.ndarray
    Structured: `value_0`, `value_4` (``uint32``), `values_8` (three ``uint32``), `values_20` (four
    ``uint16``).
tail : numpy.ndarray
    Structured: `value_0`, `value_4` (``uint32``).
)")
      .field("record", &record_19_slot::record)
      .array("entries", &long_entries_of)
      .array("tail", [](const record_19_slot& slot, const parsed_cmc&) {
        return short_entries_of(*slot.record, slot.tail, u16_at(slot.record, 14));
      });

  part_class<record_20_slot>(module, "Record20", R"(Record 20.

Attributes
----------
record : Record
payload : numpy.ndarray or None
    ``uint8``, the six bytes from byte 14 on; None below version 102.
tail : numpy.ndarray or None
    Structured: `value_0`, `value_4` (``uint32``).
)")
      .field("record", &record_20_slot::record)
      .array("payload",
             [](const record_20_slot& slot, const parsed_cmc&) {
               if (slot.payload == nullptr) return array_of<uint8_t>(nullptr);
               return array_of<uint8_t>(inside(*slot.record, slot.payload, 6, 1), 6);
             })
      .array("tail", [](const record_20_slot& slot, const parsed_cmc&) {
        if (slot.tail == nullptr) return array_of<uint8_t>(nullptr);
        return short_entries_of(*slot.record, slot.tail, u16_at(slot.record, 16));
      });

  add_record_25(module);
}

}  // namespace qo_python
