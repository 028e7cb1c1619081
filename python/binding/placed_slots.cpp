// Records 31 and 34: tables whose arrays stand wherever the record has them, at any address.
// Nothing is read through their pointers' types.

#include "python/binding/record_copies.h"
#include "python/binding/slot_classes.h"

namespace qo_python {
namespace {

/// A structure that was copied from where it stands, and what it was copied from.
template <typename T>
struct copied {
  held of;
  T value;

  [[nodiscard]] const T& get() const {
    (void)of->cmc();
    return value;
  }
};

template <typename T>
class copied_class {
 public:
  copied_class(py::module_& module, const char* name, const char* doc) : class_(module, name, doc) {
    made_here_only(class_);
    class_.def("__repr__", [](const py::object& self) { return text_of_part(self); });
  }

  template <typename M>
  copied_class& field(const char* name, M T::*member) {
    return made(name, [member](const copied<T>& self) { return self.get().*member; });
  }
  template <typename Make>
  copied_class& made(const char* name, Make make) {
    class_.def_property_readonly(name, [make](const copied<T>& self) {
      const held_cmc::view meanwhile(self.of);
      return make(self);
    });
    add_field(class_, name);
    return *this;
  }

 private:
  py::class_<copied<T>> class_;
};

/// The header stands at the start of the record's block.
[[nodiscard]] kept_record header_of(const held& of, const record_header* record) {
  return {of, record, record->size};
}

struct record_31_slot {
  const record_header* record;
  record_31_table table;
};

struct record_34_slot {
  const record_header* record;
  record_34_table table;
};

[[nodiscard]] py::dtype long_entry() {
  return structure_of({{"value_0", "<f4"},
                       {"value_4", "<f4"},
                       {"values_8", "<u4", 3},
                       {"values_20", "<u2", 4},
                       {"padding_28", "<u4"}});
}

[[nodiscard]] py::object blocks_of(const copied<record_34_slot>& self) {
  const record_34_table& table = self.get().table;
  if (table.blocks == nullptr) return py::none();
  py::tuple blocks(table.block_count);
  for (uint32_t i = 0; i < table.block_count; ++i)
    blocks[i] = py::cast(copied<record_34_block>{self.of, qo_cmc_read_record_34_block(&table, i)});
  return blocks;
}

[[nodiscard]] uint64_t padding_24_of(const copied<record_34_slot>& self) {
  const record_header* const record = self.get().record;
  constexpr size_t at = offsetof(record_34_table, padding_24);
  return record->size >= sizeof(record_34_table) ? qo_cmc_read_u64(record, at) : 0;
}

void add_record_34(py::module_& module) {
  using block = copied<record_34_block>;
  copied_class<record_34_block>(module, "Record34Block", R"(A block of record 34.

Attributes
----------
kind, value_4, long_count, short_count : int
long_entries : numpy.ndarray or None
    Structured: `value_0`, `value_4` (``float32``), `values_8` (three ``uint32``), `values_20` (four
    ``uint16``), `padding_28` (``uint32``).
short_entries : numpy.ndarray or None
    Structured: `value_0` (``float32``), `value_4` (``uint32``).
tail : numpy.ndarray or None
    Four ``uint16``.
)")
      .field("kind", &record_34_block::kind)
      .field("value_4", &record_34_block::value_4)
      .field("long_count", &record_34_block::long_count)
      .field("short_count", &record_34_block::short_count)
      .made("long_entries",
            [](const block& self) {
              const record_34_block& at = self.get();
              return view_of(self.of, {at.long_entries, long_entry(), {at.long_count}});
            })
      .made("short_entries",
            [](const block& self) {
              const record_34_block& at = self.get();
              return view_of(self.of, {at.short_entries,
                                       structure_of({{"value_0", "<f4"}, {"value_4", "<u4"}}),
                                       {at.short_count}});
            })
      .made("tail", [](const block& self) {
        return view_of(self.of, array_of<uint16_t>(self.get().tail, 4));
      });
  using slot = copied<record_34_slot>;
  copied_class<record_34_slot>(module, "Record34", R"(Record 34, decoded in place or derived.

Attributes
----------
header : Record
block_count, padding_12, padding_24 : int
    `padding_24` is 0 where the record is too short for it.
blocks : tuple of Record34Block or None
)")
      .made("header", [](const slot& self) { return header_of(self.of, self.get().record); })
      .made("block_count", [](const slot& self) { return self.get().table.block_count; })
      .made("padding_12", [](const slot& self) { return self.get().table.padding_12; })
      .made("blocks", &blocks_of)
      .made("padding_24", &padding_24_of);
}

}  // namespace

void add_placed_slot_classes(py::module_& module) {
  using slot = copied<record_31_slot>;
  copied_class<record_31_slot>(module, "Record31",
                               R"(Record 31, decoded in place or built of record 3.

Attributes
----------
header : Record
count, padding_12 : int
entries : numpy.ndarray or None
    ``float32``, `count` x 18.
)")
      .made("header", [](const slot& self) { return header_of(self.of, self.get().record); })
      .made("count", [](const slot& self) { return self.get().table.count; })
      .made("padding_12", [](const slot& self) { return self.get().table.padding_12; })
      .made("entries", [](const slot& self) {
        const record_31_table& table = self.get().table;
        return view_of(self.of, array_of<float>(table.entries, table.count, 18));
      });
  add_record_34(module);
}

py::object record_31_of(const held& of, const record_header* record) {
  if (record == nullptr) return py::none();
  return py::cast(copied<record_31_slot>{of, {record, qo_cmc_read_record_31(record)}});
}

py::object record_34_of(const held& of, const record_header* record) {
  if (record == nullptr) return py::none();
  return py::cast(copied<record_34_slot>{of, {record, qo_cmc_read_record_34(record)}});
}

}  // namespace qo_python
