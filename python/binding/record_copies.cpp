#include "python/binding/record_copies.h"

#include <stdexcept>

#include "python/binding/slot_classes.h"

namespace qo_python {
namespace {

/// A value of the copy, by memcpy: a copy's fields stand at any address.
template <typename T>
[[nodiscard]] T value_at(const kept_record& record, size_t offset) {
  (void)record.header();
  if (offset > record.size || record.size - offset < sizeof(T))
    throw py::index_error("byte " + std::to_string(offset) + " of a record of " +
                          std::to_string(record.size) + " bytes");
  T value;
  qo_cmc_read_bytes(&value, record.at, offset, sizeof value);
  return value;
}

}  // namespace

const void* inside(const record_header& copy, const void* data, size_t count, size_t each) {
  const size_t offset = static_cast<size_t>(static_cast<const uint8_t*>(data) -
                                            reinterpret_cast<const uint8_t*>(&copy));
  if (offset > copy.size || (each != 0 && count > (copy.size - offset) / each))
    throw std::runtime_error("record " + std::to_string(copy.id) + " ends before its values");
  return data;
}

array_place rest_of(const record_header& copy, const uint8_t* data) {
  if (data == nullptr) return array_of<uint8_t>(nullptr);
  (void)inside(copy, data, 0, 1);
  return array_of<uint8_t>(data, copy.size - (data - reinterpret_cast<const uint8_t*>(&copy)));
}

py::dtype structure_of(std::initializer_list<structure_field> fields) {
  py::list list;
  for (const structure_field& field : fields) {
    if (field.count == 1)
      list.append(py::make_tuple(field.name, field.format));
    else
      list.append(py::make_tuple(field.name, field.format, field.count));
  }
  return py::dtype::from_args(list);
}

void add_record_classes(py::module_& module) {
  part_class<record_header>(module, "RecordHeader", R"(The first eight bytes of a record.

Attributes
----------
size, version, reserved, id : int
    Bytes of the record with its header, version of its layout, a byte that is not interpreted, and
    the record's kind.
)")
      .field("size", &record_header::size)
      .field("version", &record_header::version)
      .field("reserved", &record_header::reserved)
      .field("id", &record_header::id);

  py::class_<kept_record> record(module, "Record", R"(The library's copy of a record.

Attributes
----------
size, version, reserved, id : int
    The record's header.
bytes : numpy.ndarray
    The whole copy, header included, as ``uint8``.

Examples
--------
>>> import qo_cmc
>>> record = qo_cmc.parse(qo_cmc.sample_container()).record_14.record
>>> record.id, record.u16(8)
(14, 100)
)");
  made_here_only(record);
  const auto header = [&record](const char* name, auto member) {
    record.def_property_readonly(
        name, [member](const kept_record& self) { return self.header().*member; });
  };
  header("size", &record_header::size);
  header("version", &record_header::version);
  header("reserved", &record_header::reserved);
  header("id", &record_header::id);
  record.def_property_readonly("bytes", [](const kept_record& self) {
    const held_cmc::view meanwhile(self.of);
    (void)self.header();
    return view_of(self.of, array_of<uint8_t>(self.at, self.size));
  });
  record.attr("_fields") = py::make_tuple("size", "version", "reserved", "id", "bytes");
  record.def("__repr__", [](const py::object& self) { return text_of_part(self); });

  const auto reader = [&record](const char* name, auto read, const char* what) {
    record.def(name, read, py::arg("offset"),
               (std::string("Read ") + what + " at a byte of the record, at any address.\n\n" +
                "Raises IndexError for bytes outside of it.")
                   .c_str());
  };
  reader("u8", &value_at<uint8_t>, "an unsigned byte");
  reader("u16", &value_at<uint16_t>, "an unsigned 16-bit value");
  reader("i16", &value_at<int16_t>, "a signed 16-bit value");
  reader("u32", &value_at<uint32_t>, "an unsigned 32-bit value");
  reader("i32", &value_at<int32_t>, "a signed 32-bit value");
  reader("u64", &value_at<uint64_t>, "an unsigned 64-bit value");
  reader("f32", &value_at<float>, "a single-precision number");
}

}  // namespace qo_python
