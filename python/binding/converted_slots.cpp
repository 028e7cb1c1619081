// Slots that hold what the parser made of their record.

#include <algorithm>
#include <cstdlib>

#include "python/binding/record_copies.h"
#include "python/binding/slot_classes.h"

namespace qo_python {
namespace {

/// None where there is no address.
template <typename E>
[[nodiscard]] std::span<const E> elements(const E* first, int64_t count) {
  return {first, first != nullptr && count > 0 ? static_cast<size_t>(count) : 0};
}

/// Deliberate: a grid may have both sides negative, and holds as many values as without their
/// signs.
[[nodiscard]] array_place half_of(const uint32_t* half, const record_22_content& content) {
  return array_of<uint32_t>(half, std::abs(int{content.height}), std::abs(int{content.width}));
}

void add_module_properties(py::module_& module) {
  using slot = module_properties_record;
  part_class<slot>(module, "ModuleProperties", R"(Record 2, as far as its version fills it.

Attributes
----------
header : RecordHeader
bytes_8, bytes_18 : numpy.ndarray
    ``uint8``, 4 and 16 of them.
value_12, value_16, value_34 : int
cfa_layout : int
    Arrangement of the sensor's colour filters: 0 to 3, or 256 to 263.
)")
      .field("header", &slot::header)
      .field("bytes_8", &slot::bytes_8)
      .field("value_12", &slot::value_12)
      .field("cfa_layout", &slot::cfa_layout)
      .field("value_16", &slot::value_16)
      .field("bytes_18", &slot::bytes_18)
      .field("value_34", &slot::value_34);
}

void add_record_22(py::module_& module) {
  part_class<record_22_grid_entry, record_22_content>(module, "Record22GridEntry",
                                                      R"(An entry of the grid of record 22.

Attributes
----------
tag : int
first_half, second_half : numpy.ndarray
    ``uint32``, height x width.
)")
      .field("tag", &record_22_grid_entry::tag)
      .array("first_half",
             [](const record_22_grid_entry& entry, const record_22_content& content) {
               return half_of(entry.first_half, content);
             })
      .array("second_half",
             [](const record_22_grid_entry& entry, const record_22_content& content) {
               return half_of(entry.second_half, content);
             });
  part_class<record_22_list_entry, record_22_content>(module, "Record22ListEntry",
                                                      R"(An entry of the list of record 22.

Attributes
----------
value_0, value_4 : float
value_8, count : int
values : numpy.ndarray
    ``uint32``, `count` of them.
)")
      .field("value_0", &record_22_list_entry::value_0)
      .field("value_4", &record_22_list_entry::value_4)
      .field("value_8", &record_22_list_entry::value_8)
      .field("count", &record_22_list_entry::count)
      .array("values", [](const record_22_list_entry& entry, const record_22_content&) {
        return array_of<uint32_t>(entry.values, entry.count);
      });
  using slot = record_22_content;
  part_class<slot>(module, "Record22", R"(Record 22, converted.

Attributes
----------
value_8, width, height, value_16, grid_count, value_items, item_count, value_list, list_count : int
block, block_tail : numpy.ndarray
    ``uint8``, 1024 and 16 of them.
grid : tuple of Record22GridEntry or None
items : numpy.ndarray or None
    ``uint8``, rows of 1040 bytes.
list : tuple of Record22ListEntry or None
list_tail : numpy.ndarray or None
    ``uint8``, rows of 24 bytes.
)")
      .field("value_8", &slot::value_8)
      .field("width", &slot::width)
      .field("height", &slot::height)
      .field("value_16", &slot::value_16)
      .field("grid_count", &slot::grid_count)
      .field("value_items", &slot::value_items)
      .field("item_count", &slot::item_count)
      .field("block", &slot::block)
      .field("block_tail", &slot::block_tail)
      .parts("grid",
             [](const slot& at, const parsed_cmc&) { return elements(at.grid, at.grid_count); })
      .array("items",
             [](const slot& at, const parsed_cmc&) {
               return array_of<uint8_t>(at.items, std::max(at.item_count, 0), record_22_item_size);
             })
      .field("value_list", &slot::value_list)
      .field("list_count", &slot::list_count)
      .parts("list",
             [](const slot& at, const parsed_cmc&) { return elements(at.list, at.list_count); })
      .array("list_tail", [](const slot& at, const parsed_cmc&) {
        return array_of<uint8_t>(at.list_tail, std::max(at.list_count, 0),
                                 record_22_list_tail_size);
      });
}

void add_record_24(py::module_& module) {
  part_class<record_24_entry, record_24_content>(module, "Record24Entry",
                                                 R"(An entry of record 24.

Attributes
----------
value_0, count : int
bytes_4 : numpy.ndarray
    ``uint8``, 12 of them.
values : numpy.ndarray
    ``uint32``, `count` of them.
)")
      .field("value_0", &record_24_entry::value_0)
      .field("count", &record_24_entry::count)
      .field("bytes_4", &record_24_entry::bytes_4)
      .array("values", [](const record_24_entry& entry, const record_24_content&) {
        return array_of<uint32_t>(entry.values, entry.count);
      });
  part_class<record_24_content>(module, "Record24", R"(Record 24, converted.

Attributes
----------
head : numpy.ndarray
    ``uint8``, the record's first 14 bytes.
count : int
entries : tuple of Record24Entry or None
)")
      .field("head", &record_24_content::head)
      .field("count", &record_24_content::count)
      .parts("entries", [](const record_24_content& at, const parsed_cmc&) {
        return elements(at.entries, at.count);
      });
}

void add_record_26(py::module_& module) {
  part_class<record_26_group, record_26_content>(module, "Record26Group",
                                                 R"(A group of record 26.

Attributes
----------
bytes_0 : numpy.ndarray
    ``uint8``, 8 of them.
values : numpy.ndarray
    Four ``float32``.
)")
      .field("bytes_0", &record_26_group::bytes_0)
      .field("values", &record_26_group::values);
  part_class<record_26_content>(module, "Record26", R"(Record 26, converted.

Attributes
----------
head : numpy.ndarray
    ``uint8``, the record's first 16 bytes.
groups : tuple of Record26Group
    Two.
)")
      .field("head", &record_26_content::head)
      .parts("groups", [](const record_26_content& at, const parsed_cmc&) {
        return std::span<const record_26_group>(at.groups);
      });
}

void add_record_27(py::module_& module) {
  part_class<record_27_entry, record_27_content>(module, "Record27Entry",
                                                 R"(An entry of record 27.

Attributes
----------
head : numpy.ndarray
    ``uint8``, 20 of them.
planes : numpy.ndarray
    ``uint16``: planes, of which the record has three at most, x height x width.
)")
      .array("head", [](const record_27_entry& entry,
                        const record_27_content&) { return array_of<uint8_t>(entry.head, 20); })
      .array("planes", [](const record_27_entry& entry, const record_27_content& content) {
        const record_header* const copy = content.record;
        return array_of<uint16_t>(entry.planes, qo_cmc_read_u16(copy, 26),
                                  qo_cmc_read_u16(copy, 30), qo_cmc_read_u16(copy, 28));
      });
  part_class<record_27_content>(module, "Record27", R"(Record 27, converted.

Attributes
----------
record : Record
entries : tuple of Record27Entry
tail : numpy.ndarray or None
    ``uint8``, rows of 16 bytes; None below version 101.
)")
      .field("record", &record_27_content::record)
      .parts("entries",
             [](const record_27_content& at, const parsed_cmc&) {
               return elements(at.entries, qo_cmc_read_u16(at.record, 24));
             })
      .array("tail", [](const record_27_content& at, const parsed_cmc&) {
        return bytes_of<16>(*at.record, at.tail, qo_cmc_read_u16(at.record, 24));
      });
}

void add_record_29(py::module_& module) {
  using slot = record_29_content;
  part_class<slot>(module, "Record29", R"(Record 29, converted.

Attributes
----------
head : numpy.ndarray
    ``uint8``, the record's first 12 bytes.
width, height, value_16 : int
planes : tuple of numpy.ndarray
    Four of ``float32``, height x width.
)")
      .field("head", &slot::head)
      .field("width", &slot::width)
      .field("height", &slot::height)
      .field("value_16", &slot::value_16)
      .made("planes", [](const part<slot>& self) {
        const slot& at = self.get();
        py::tuple planes(std::size(at.planes));
        for (size_t i = 0; i < planes.size(); ++i)
          planes[i] = view_of(self.of(), array_of<float>(at.planes[i], at.height, at.width));
        return planes;
      });
}

void add_record_30(py::module_& module) {
  using slot = record_30_content;
  part_class<slot>(module, "Record30", R"(Record 30, converted.

Attributes
----------
head : numpy.ndarray
    ``uint8``, the record's first 16 bytes.
item_count, grid_width, grid_height, trailing_rows, trailing_columns : int
bytes_18 : numpy.ndarray
    ``uint8``, 4 of them.
items : numpy.ndarray or None
    ``uint8``, rows of 6 bytes.
grid : numpy.ndarray or None
    ``uint32``, `grid_height` x `grid_width`.
trailing : numpy.ndarray or None
    ``uint32``, `trailing_rows` x `trailing_columns`.
)")
      .field("head", &slot::head)
      .field("item_count", &slot::item_count)
      .field("bytes_18", &slot::bytes_18)
      .field("grid_width", &slot::grid_width)
      .field("grid_height", &slot::grid_height)
      .field("trailing_rows", &slot::trailing_rows)
      .field("trailing_columns", &slot::trailing_columns)
      .array("items",
             [](const slot& at, const parsed_cmc&) {
               return array_of<uint8_t>(at.items, at.item_count, 6);
             })
      .array("grid",
             [](const slot& at, const parsed_cmc&) {
               return array_of<uint32_t>(at.grid, at.grid_height, at.grid_width);
             })
      .array("trailing", [](const slot& at, const parsed_cmc&) {
        return array_of<uint32_t>(at.trailing, at.trailing_rows, at.trailing_columns);
      });
}

void add_record_35(py::module_& module) {
  using slot = decltype(parsed_cmc::record_35);
  using first = record_35_first;
  using second = record_35_second;
  part_class<first>(module, "Record35First", R"(Record 35 in the order of its first reader.

Attributes
----------
header : RecordHeader
value_8, value_12, count : int
array_a, array_b, array_c : numpy.ndarray
    ``uint32`` and ``uint16``, `count` + 1 of each, and `count` of ``uint16``.
)")
      .field("header", &first::header)
      .field("value_8", &first::value_8)
      .field("value_12", &first::value_12)
      .field("count", &first::count)
      .array("array_a",
             [](const first& at, const parsed_cmc&) {
               return array_of<uint32_t>(at.array_a, at.count + 1);
             })
      .array("array_b",
             [](const first& at, const parsed_cmc&) {
               return array_of<uint16_t>(at.array_b, at.count + 1);
             })
      .array("array_c", [](const first& at, const parsed_cmc&) {
        return array_of<uint16_t>(at.array_c, at.count);
      });
  part_class<second>(module, "Record35Second", R"(Record 35 in the order of its second reader.

Attributes
----------
header : RecordHeader
value_8, value_12, count : int
array_b, array_a, array_d : numpy.ndarray
    ``uint16`` and ``uint32``, `count` + 1 of each, and `count` of ``uint32``.
)")
      .field("header", &second::header)
      .field("value_8", &second::value_8)
      .field("value_12", &second::value_12)
      .field("count", &second::count)
      .array("array_b",
             [](const second& at, const parsed_cmc&) {
               return array_of<uint16_t>(at.array_b, at.count + 1);
             })
      .array("array_a",
             [](const second& at, const parsed_cmc&) {
               return array_of<uint32_t>(at.array_a, at.count + 1);
             })
      .array("array_d", [](const second& at, const parsed_cmc&) {
        return array_of<uint32_t>(at.array_d, at.count);
      });
  part_class<slot>(module, "Record35", R"(Record 35, converted in two orders.

Attributes
----------
first : Record35First
second : Record35Second
)")
      .made("first",
            [](const part<slot>& self) {
              return part<first>(self.of(), self.get().first, &self.in());
            })
      .made("second", [](const part<slot>& self) {
        return part<second>(self.of(), self.get().second, &self.in());
      });
}

void add_record_36(py::module_& module) {
  using slot = record_36_content;
  part_class<slot>(module, "Record36", R"(Record 36, converted.

Attributes
----------
header : RecordHeader
value_8, count : int
bytes_9 : numpy.ndarray
    ``uint8``, 4 of them.
array_16, array_32 : numpy.ndarray
    ``uint16`` and ``uint32``, `count` of each.
)")
      .field("header", &slot::header)
      .field("value_8", &slot::value_8)
      .field("bytes_9", &slot::bytes_9)
      .field("count", &slot::count)
      .array("array_16",
             [](const slot& at, const parsed_cmc&) {
               return array_of<uint16_t>(at.array_16, at.count);
             })
      .array("array_32", [](const slot& at, const parsed_cmc&) {
        return array_of<uint32_t>(at.array_32, at.count);
      });
}

void add_others(py::module_& module) {
  part_class<others_block>(module, "Others", R"(Values of record 722.

Attributes
----------
others_value, others_count : int
others_entries : numpy.ndarray
    Eight ``uint64``, of which the first `others_count` count.
)")
      .field("others_value", &others_block::others_value)
      .field("others_count", &others_block::others_count)
      .field("others_entries", &others_block::others_entries);
}

}  // namespace

void add_converted_slot_classes(py::module_& module) {
  add_module_properties(module);
  add_record_22(module);
  add_record_24(module);
  add_record_26(module);
  add_record_27(module);
  add_record_29(module);
  add_record_30(module);
  add_record_35(module);
  add_record_36(module);
  add_others(module);
}

}  // namespace qo_python
