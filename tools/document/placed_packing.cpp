#include "tools/document/placed_packing.h"

#include <algorithm>

#include "tools/document/fixed_point_value.h"
#include "tools/document/layout_builder.h"

namespace document {
namespace {

using writer::bytes;

constexpr size_t fixed_size = 24;
constexpr const char* form_of_3 = "a table that was built from record 3 has it so";

/// The header without its size, which is patched when it is known.
[[nodiscard]] bytes header_bytes(const node& header, uint16_t kind) {
  header.expect_only({"size", "version", "reserved", "id"});
  header.member("id").expect_integer(kind, "the slot holds records of this kind");
  bytes record;
  return record.u32(0)
      .u8(header.member("version").integer<uint8_t>())
      .u8(header.member("reserved").integer<uint8_t>())
      .u16(kind);
}

/// The record when its size is what the header gives.
[[nodiscard]] bytes sized(bytes record, const node& size) {
  if (!size.is_null() && size.integer<uint32_t>() != record.size())
    size.fail("is not that of the record's fields, which take " + std::to_string(record.size()) +
              " bytes (null: worked out)");
  return record.patch_u32(0, static_cast<uint32_t>(record.size()));
}

void append(bytes& record, const std::vector<uint8_t>& added) {
  record.raw(added.data(), added.size());
}

void append_fixed(bytes& record, const node& value, unsigned fraction_bits, uint32_t most) {
  const std::optional<uint32_t> fixed = fixed_point_of(value.f32(), fraction_bits, most);
  if (!fixed)
    value.fail("must be a multiple of 1/" + std::to_string(1u << fraction_bits) +
               " that record 3 can hold");
  if (most > UINT16_MAX)
    record.u32(*fixed);
  else
    record.u16(static_cast<uint16_t>(*fixed));
}

[[nodiscard]] bytes record_3(const node& table) {
  const node header = table.member("header");
  const node entries = table.member("entries");
  const uint32_t count = table.member("count").integer<uint32_t>();
  entries.expect_elements(count);
  if (const node size = header.member("size"); !size.is_null())
    size.expect_integer(fixed_size + uint64_t{72} * count, form_of_3);
  header.member("version").expect_integer(100, form_of_3);
  header.member("reserved").expect_integer(0, form_of_3);
  (void)header_bytes(header, 31);
  table.member("padding_12").expect_integer(0, form_of_3);
  for (const char* const key : {"place_16", "bytes_24", "rest"})
    table.member(key).expect_null(form_of_3);

  bytes body;
  body.u32(count);
  for (size_t i = 0; i < count; ++i) {
    const node entry = entries.element(i);
    entry.expect_elements(18);
    body.u32(entry.element(0).f32());
    append_fixed(body, entry.element(1), 16, UINT32_MAX);
    for (const size_t gain : {size_t{2}, size_t{3}, size_t{6}, size_t{7}})
      append_fixed(body, entry.element(gain), 8, UINT16_MAX);
    for (size_t k = 4; k < 18; ++k)
      if (k != 6 && k != 7 && entry.element(k).f32() != 0)
        entry.element(k).fail("must be 0.0: record 3 does not store it");
  }
  // The layout asks for 4 bytes more than the entries take.
  return writer::record(3, 100, body.u32(0));
}

[[nodiscard]] bytes record_31(const node& table) {
  const node header = table.member("header");
  bytes record = header_bytes(header, 31);
  const node place = table.member("place_16");
  const uint32_t count = table.member("count").integer<uint32_t>();
  const std::vector<uint8_t> gap = table.member("bytes_24").hex();
  const node entries = table.member("entries");
  record.u32(count).u32(table.member("padding_12").integer<uint32_t>());
  record.u64(place.integer<uint64_t>());
  if (place.integer<uint64_t>() == 0) {
    table.member("count").expect_integer(0, "place_16 says that there are no entries");
    entries.expect_null("place_16 says that there are no entries");
    (void)table.member("bytes_24").hex(0);
  } else {
    place.expect_integer(fixed_size + gap.size(), "the entries stand after bytes_24");
    append(record, gap);
    entries.expect_elements(count);
    for (size_t i = 0; i < count; ++i) entries.element(i).append_numbers<float>(record, 18);
  }
  append(record, table.member("rest").hex());
  return sized(std::move(record), header.member("size"));
}

/// Something of record 34, and where it stands.
struct part {
  uint64_t place;
  bytes content;
  node at;
};

/// A place, of which 0 says that there is nothing there.
[[nodiscard]] uint64_t place_of(const node& block, const char* place, const char* array) {
  const uint64_t value = block.member(place).integer<uint64_t>();
  if ((value == 0) != block.member(array).is_null())
    block.member(place).fail(value == 0 ? std::string("is 0, but there is ") + array
                                        : std::string("is not 0, but ") + array + " is null");
  return value;
}

[[nodiscard]] bytes long_entries(const node& entries, uint32_t count) {
  entries.expect_elements(count);
  bytes content;
  for (size_t i = 0; i < count; ++i) {
    const node entry = entries.element(i);
    entry.expect_only({"value_0", "value_4", "values_8", "values_20", "padding_28"});
    content.u32(entry.member("value_0").f32()).u32(entry.member("value_4").f32());
    entry.member("values_8").append_numbers<uint32_t>(content, 3);
    entry.member("values_20").append_numbers<uint16_t>(content, 4);
    content.u32(entry.member("padding_28").integer<uint32_t>());
  }
  return content;
}

[[nodiscard]] bytes short_entries(const node& entries, uint32_t count) {
  entries.expect_elements(count);
  bytes content;
  for (size_t i = 0; i < count; ++i) {
    const node entry = entries.element(i);
    entry.expect_only({"value_0", "value_4"});
    content.u32(entry.member("value_0").f32()).u32(entry.member("value_4").integer<uint32_t>());
  }
  return content;
}

/// The block itself; what it has is added to the parts.
[[nodiscard]] bytes block_bytes(const node& block, std::vector<part>& parts) {
  block.expect_only({"kind", "value_4", "long_count", "short_count", "long_place", "short_place",
                     "tail_place", "long_entries", "short_entries", "tail"});
  const uint32_t long_count = block.member("long_count").integer<uint32_t>();
  const uint32_t short_count = block.member("short_count").integer<uint32_t>();
  const uint64_t long_place = place_of(block, "long_place", "long_entries");
  const uint64_t short_place = place_of(block, "short_place", "short_entries");
  const uint64_t tail_place = place_of(block, "tail_place", "tail");
  constexpr const char* none = "there is no place for entries";
  if (long_place == 0) block.member("long_count").expect_integer(0, none);
  if (short_place == 0) block.member("short_count").expect_integer(0, none);
  if (long_place != 0)
    parts.push_back({long_place, long_entries(block.member("long_entries"), long_count),
                     block.member("long_place")});
  if (short_place != 0)
    parts.push_back({short_place, short_entries(block.member("short_entries"), short_count),
                     block.member("short_place")});
  if (tail_place != 0) {
    bytes tail;
    block.member("tail").append_numbers<uint16_t>(tail, 4);
    parts.push_back({tail_place, std::move(tail), block.member("tail_place")});
  }
  bytes result;
  return result.u32(block.member("kind").integer<uint32_t>())
      .u32(block.member("value_4").integer<uint32_t>())
      .u32(long_count)
      .u32(short_count)
      .u64(long_place)
      .u64(short_place)
      .u64(tail_place);
}

/// Appends the parts one after the other; a byte that two have, or none, is an error.
[[nodiscard]] bytes joined(bytes record, std::vector<part> parts) {
  std::erase_if(parts, [](const part& one) { return one.content.size() == 0; });
  uint64_t size = record.size();
  for (const part& one : parts) size += one.content.size();
  for (const part& one : parts)
    if (one.place > size || one.content.size() > size - one.place)
      one.at.fail("stands at byte " + std::to_string(one.place) + " or ends after the record's " +
                  std::to_string(size) + " bytes");
  std::stable_sort(parts.begin(), parts.end(),
                   [](const part& a, const part& b) { return a.place < b.place; });
  for (const part& one : parts) {
    if (one.place != record.size())
      one.at.fail("stands at byte " + std::to_string(one.place) + ", but the bytes before it end " +
                  "at " + std::to_string(record.size()));
    record.raw(one.content);
  }
  return record;
}

}  // namespace

bytes table_31_record(const node& table) {
  table.expect_only(
      {"built_from", "header", "count", "padding_12", "place_16", "bytes_24", "entries", "rest"});
  const node built_from = table.member("built_from");
  const uint16_t kind = built_from.integer<uint16_t>();
  if (kind != 3 && kind != 31) built_from.fail("must be 3 or 31");
  return kind == 3 ? record_3(table) : record_31(table);
}

bytes table_34_record(const node& table) {
  table.expect_only({"derived", "header", "block_count", "padding_12", "place_16", "padding_24",
                     "blocks", "gaps", "bytes_24"});
  const node header = table.member("header");
  bytes record = header_bytes(header, 34);
  const node count = table.member("block_count");
  const node place = table.member("place_16");
  record.u32(count.integer<uint32_t>()).u32(table.member("padding_12").integer<uint32_t>());
  record.u64(place.integer<uint64_t>());
  const node body = table.member("bytes_24");
  const node blocks = table.member("blocks");
  const node padding = table.member("padding_24");
  const node gaps = table.member("gaps");
  if (!body.is_null()) {
    constexpr const char* as_bytes = "bytes_24 has all that follows";
    padding.expect_null(as_bytes);
    blocks.expect_null(as_bytes);
    gaps.expect_null(as_bytes);
    append(record, body.hex());
    return sized(std::move(record), header.member("size"));
  }

  std::vector<part> parts;
  if (!padding.is_null()) {
    bytes content;
    parts.push_back({fixed_size, content.u64(padding.integer<uint64_t>()), padding});
  }
  if (place_of(table, "place_16", "blocks") != 0) {
    blocks.expect_elements(count.integer<uint32_t>());
    bytes content;
    for (size_t i = 0; i < blocks.array_size(); ++i)
      content.raw(block_bytes(blocks.element(i), parts));
    parts.push_back({place.integer<uint64_t>(), std::move(content), place});
  } else {
    count.expect_integer(0, "place_16 says that there are no blocks");
  }
  for (size_t i = 0; i < gaps.array_size(); ++i) {
    const node gap = gaps.element(i);
    gap.expect_only({"place", "bytes"});
    bytes content;
    append(content, gap.member("bytes").hex());
    parts.push_back({gap.member("place").integer<uint64_t>(), std::move(content), gap});
  }
  return sized(joined(std::move(record), std::move(parts)), header.member("size"));
}

}  // namespace document
