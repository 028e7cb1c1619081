#include "tools/document/slots.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "qo_cmc/parser.h"
#include "tools/document/converted_record_layouts.h"
#include "tools/document/kept_record_layouts.h"
#include "tools/document/layout_builder.h"
#include "tools/document/lens_shading_packing.h"
#include "tools/document/placed_packing.h"

namespace document {
namespace {

using writer::bytes;

constexpr uint16_t others_kind = 722;

/// The record of a slot whose layout is told, without bytes that no member shows.
template <typename Tell>
[[nodiscard]] bytes built(const node& slot, const Tell& tell) {
  layout_builder builder(slot);
  tell(builder);
  return builder.finish();
}

/// The same for a form whose record may be longer than the form says.
template <typename Tell>
[[nodiscard]] bytes built_padded(const node& slot, const Tell& tell, size_t more = 0,
                                 size_t least = 0) {
  layout_builder builder(slot);
  tell(builder);
  return builder.finish_padded(std::max(builder.told() + more, least));
}

[[nodiscard]] bytes whole_record(const node& slot, uint16_t kind) {
  return built(slot, [kind](layout_builder& t) { tell_whole(t, kind); });
}

[[nodiscard]] bytes module_properties_record_of(const node& slot) {
  if (!slot.member("header").is_null())
    return built_padded(slot, [](layout_builder& t) { tell_module_properties(t); });
  slot.expect_only(
      {"header", "bytes_8", "value_12", "cfa_layout", "value_16", "bytes_18", "value_34"});
  for (const char* const key :
       {"bytes_8", "value_12", "cfa_layout", "value_16", "bytes_18", "value_34"})
    slot.member(key).expect_null("without a header the record fills nothing");
  // No version below the first fills anything.
  return writer::record(2, 0, bytes());
}

[[nodiscard]] bytes record_13_of(const node& slot) {
  if (!slot.member("record").is_null())
    return built(slot, [](layout_builder& t) { tell_record_13(t, 0); });
  slot.expect_only({"record", "values", "params", "rest"});
  slot.member("values").expect_null("there is no record");
  slot.member("params").expect_elements(4);
  for (size_t i = 0; i < 4; ++i) slot.member("params").element(i).expect_null("there is no record");
  (void)slot.member("rest").hex(0);
  // A record that is too short leaves the default parameters.
  return writer::record(13, 0, bytes());
}

[[nodiscard]] bytes record_22_of(const node& slot) {
  layout_builder builder(slot);
  tell_record_22(builder, false, false, 0);
  // The slot does not say which version it is from; the latest holds what the others hold, and one
  // that ends after the block has no list.
  builder.unseen_header(22, 102);
  return builder.finish();
}

/// The least sizes at which the decoder reads the parts of record 30.
[[nodiscard]] bytes record_30_of(const node& slot) {
  layout_builder builder(slot);
  tell_record_30(builder, {});
  const size_t told = builder.told();
  bytes record = builder.finish();
  const auto padded = [](size_t size) { return (size + 7) / 8 * 8; };
  size_t size = 32;
  if (!slot.member("items").is_null()) size = padded(30 + size_t{6} * record.u16_at(16));
  // The test takes 4 bytes a value of the grid in every version.
  if (!slot.member("grid").is_null())
    size = padded(30 + size_t{6} * record.u16_at(16) +
                  size_t{4} * record.u16_at(22) * record.u16_at(24));
  if (!slot.member("trailing").is_null()) size = std::max(size, padded(told));
  record.zeros_to_size(size);
  return record.patch_u32(0, static_cast<uint32_t>(record.size()));
}

[[nodiscard]] bytes others_record(const node& slot) {
  slot.expect_only({"others_value", "others_count", "others_entries"});
  const node entries = slot.member("others_entries");
  entries.expect_elements(8);
  const uint64_t count = slot.member("others_count").integer<uint64_t>();
  if (count > 8) slot.member("others_count").fail("must be 8 at most");
  bytes body;
  body.u32(slot.member("others_value").integer<uint32_t>()).u32(static_cast<uint32_t>(count));
  for (size_t i = 0; i < 8; ++i) {
    const node entry = entries.element(i);
    if (i < count)
      body.u64(entry.integer<uint64_t>());
    else
      entry.expect_integer(0, "others_count says that it does not count");
  }
  return writer::record(others_kind, 100, body);
}

[[nodiscard]] bool is_derived(const node& record_34) {
  return record_34.member("derived").boolean();
}

/// Records of all slots, in an order in which none takes the slot of another.
class record_list {
 public:
  explicit record_list(const node& slots) : slots_(slots) {
    for (const char* const key : {"unused_6", "unused_7"}) {
      known_.emplace_back(key);
      slots.member(key).expect_null("no record fills it");
    }
  }

  [[nodiscard]] node slot(const char* key) {
    known_.emplace_back(key);
    return slots_.member(key);
  }
  /// Adds the record that `build` makes of a slot that is not null.
  template <typename Build>
  void add(const char* key, const Build& build) {
    const node at = slot(key);
    if (!at.is_null()) records_.push_back(build(at));
  }
  /// The same for a kind whose slot is the record.
  template <typename Tell>
  void add_told(const char* key, const Tell& tell) {
    add(key, [&tell](const node& at) { return built(at, tell); });
  }
  void add_whole(const char* key, uint16_t kind) {
    add(key, [kind](const node& at) { return whole_record(at, kind); });
  }
  void add_all(std::vector<bytes> records) {
    for (bytes& record : records) records_.push_back(std::move(record));
  }

  [[nodiscard]] std::vector<bytes> take() {
    slots_.expect_only(known_);
    return std::move(records_);
  }

 private:
  const node& slots_;
  std::vector<std::string> known_;
  std::vector<bytes> records_;
};

[[nodiscard]] std::vector<bytes> records_of(const node& slots) {
  record_list list(slots);
  list.add_told("general", [](layout_builder& t) { tell_general(t); });
  list.add("module_properties", module_properties_record_of);
  list.add_whole("record_5", 5);
  list.add_told("record_6", [](layout_builder& t) { tell_record_6(t); });
  list.add_whole("record_7", 7);
  list.add_whole("record_8", 8);
  list.add_whole("record_9", 9);
  list.add_all(lens_shading_records(list.slot("lsc_grid"), list.slot("lens_shading")));
  list.add("record_13", record_13_of);
  list.add_told("record_14", [](layout_builder& t) { tell_record_14(t); });
  list.add_told("record_15", [](layout_builder& t) { tell_record_15(t, false); });
  list.add_told("record_16", [](layout_builder& t) { tell_record_16(t); });
  list.add_told("record_17", [](layout_builder& t) { tell_record_17(t, false); });
  list.add_told("record_18", [](layout_builder& t) { tell_record_18(t, false); });
  list.add_told("record_19", [](layout_builder& t) { tell_record_19(t); });
  list.add_told("record_20", [](layout_builder& t) { tell_record_20(t, false, false); });
  list.add("record_22", record_22_of);
  list.add_whole("record_23", 23);
  list.add("record_24", [](const node& at) {
    return built_padded(at, [](layout_builder& t) { tell_record_24(t); });
  });
  list.add_whole("record_21", 21);
  list.add_told("record_25", [](layout_builder& t) { tell_record_25(t); });
  list.add("record_26", [](const node& at) {
    // With groups the layout asks for 64 bytes.
    const size_t least = at.member("groups").is_null() ? 0 : 64;
    return built_padded(
        at, [](layout_builder& t) { tell_record_26(t, false); }, 0, least);
  });
  list.add_told("record_27", [](layout_builder& t) { tell_record_27(t, false); });
  list.add("record_30", record_30_of);
  list.add("record_29", [](const node& at) {
    // The layout asks for 4 bytes more than the planes take, and for 56.
    return built_padded(
        at, [](layout_builder& t) { tell_record_29(t); }, 4, 56);
  });
  list.add("record_31", table_31_record);
  list.add_whole("record_32", 32);
  list.add("lens_shading_ext", lens_shading_ext_record);
  if (const node record_34 = list.slot("record_34"); !record_34.is_null() && !is_derived(record_34))
    list.add("record_34", table_34_record);
  list.add("record_35", [](const node& at) {
    return built_padded(at, [](layout_builder& t) { tell_record_35(t); });
  });
  list.add("record_36", [](const node& at) {
    return built_padded(at, [](layout_builder& t) { tell_record_36(t); });
  });
  list.add("others", others_record);
  return list.take();
}

[[nodiscard]] bool is_same_scalar(const json& wanted, const json& got) {
  // Floats are compared as floats: the document may have more digits than one holds.
  if (wanted.is_number_float() || got.is_number_float())
    return float_bits(wanted) == float_bits(got);
  return wanted == got;
}

/// Fails at the first value that a container does not give back.
void expect_given_back(const node& at, const json& wanted, const json& got) {
  if (wanted.is_array() && got.is_array() && wanted.size() == got.size()) {
    if (wanted == got) return;
    for (size_t i = 0; i < got.size(); ++i) expect_given_back(at.element(i), wanted[i], got[i]);
  } else if (wanted.is_object() && got.is_object() && wanted.size() == got.size()) {
    for (const auto& [key, value] : got.items()) {
      // A size that was left to be worked out.
      if (key == "size" && wanted.at(key).is_null()) continue;
      expect_given_back(at.member(key), wanted.at(key), value);
    }
  } else if (wanted.is_object() && got.is_string()) {
    if (text_value(at.text()) != got) at.fail("is not what its record gives");
  } else if (!is_same_scalar(wanted, got)) {
    const std::string text = got.is_structured() ? "something else" : got.dump();
    at.fail("no record gives this value beside the others: it would be read as " + text);
  }
}

struct cmc_release {
  void operator()(parsed_cmc* cmc) const {
    free(cmc->others);
    qo_cmc_parser_deinit(cmc);
  }
};

/// Parses the container and compares what it gives with the document, so that nothing is ever
/// packed that says something else.
void verify(const node& slots, const json& wanted, const std::vector<uint8_t>& image) {
  const qo_blob blob = writer::blob_of(image);
  const std::unique_ptr<parsed_cmc, cmc_release> cmc(qo_cmc_parser_init(&blob));
  if (cmc == nullptr) throw error("slots: no memory for the container that they make");
  qo_vexb_others_parser_init(&blob, cmc.get());
  const auto origin = [&slots](const char* slot) {
    const node at = slots.member(slot);
    return at.is_null() ? uint16_t{0} : at.member("built_from").integer<uint16_t>();
  };
  const node record_34 = slots.member("record_34");
  const bool derives_34 = record_34.is_null() || is_derived(record_34);
  findings::origins from;
  from.lens_shading = origin("lens_shading");
  from.lens_shading_ext = origin("lens_shading_ext");
  from.record_31 = origin("record_31");
  from.record_34_derived = derives_34;
  const json got = slots_of(*cmc, from);
  for (const auto& [slot, value] : got.items()) {
    // A derived table follows records 19 and 20, whatever the document says of it.
    if (slot == "record_34" && derives_34) continue;
    expect_given_back(slots.member(slot), wanted.at(slot), value);
  }
}

}  // namespace

std::vector<uint8_t> pack(const json& slots, writer::checksum_rule rule) {
  const node root(slots, {});
  if (!slots.is_object()) throw error("slots: must be an object");
  const std::vector<bytes> records = records_of(root);
  uint64_t size = writer::container::header_size;
  for (const bytes& record : records) size += record.size();
  if (size > UINT32_MAX) throw error("slots: their records exceed the 4 GiB of a container");
  std::vector<uint8_t> image = writer::container().rule(rule).add(records).image();
  verify(root, slots, image);
  return image;
}

}  // namespace document
