#include "tools/document/layout_builder.h"

#include <algorithm>
#include <limits>

namespace document {
namespace {

// Zeros that a header may ask for beyond what the document holds, so that a size by itself cannot
// take all memory.
constexpr size_t most_padding = size_t{64} << 20;

[[nodiscard]] std::string bytes_text(size_t count) { return std::to_string(count) + " bytes"; }

}  // namespace

writer::bytes padded_to(writer::bytes record, const node& size, size_t least) {
  const size_t needed = std::max(record.size(), least);
  size_t wanted = (needed + 7) / 8 * 8;
  if (!size.is_null()) {
    wanted = size.integer<uint32_t>();
    if (wanted < needed)
      size.fail("is too small: the record takes " + bytes_text(needed) + " (null: worked out)");
    if (wanted - needed > most_padding)
      size.fail("is too large: the record takes " + bytes_text(needed) + ", and is padded by " +
                bytes_text(most_padding) + " at most (null: worked out)");
  }
  if (wanted > std::numeric_limits<uint32_t>::max()) size.fail("the record exceeds 4 GiB");
  record.zeros_to_size(wanted);
  return record.patch_u32(0, static_cast<uint32_t>(wanted));
}

uint8_t layout_builder::header(uint16_t kind) {
  size_ = member("size");
  const uint8_t version = member("version").integer<uint8_t>();
  record_.patch_u8(4, version);
  record_.patch_u8(5, member("reserved").integer<uint8_t>());
  member("id").expect_integer(kind, "the slot holds records of this kind");
  record_.patch_u16(6, kind);
  return version;
}

uint8_t layout_builder::header_without_size(uint16_t kind) {
  const uint8_t version = header(kind);
  size_->expect_null("the size follows from the rest");
  return version;
}

void layout_builder::unseen_header(uint16_t kind, uint8_t version) {
  record_.patch_u8(4, version).patch_u16(6, kind);
}

void layout_builder::hexes_between(const char* key, size_t count, size_t before, size_t size,
                                   size_t after) {
  const node list = member(key);
  list.expect_elements(count);
  for (size_t i = 0; i < count; ++i) {
    record_.zeros(before);
    append(list.element(i).hex(size));
    record_.zeros(after);
  }
}

void layout_builder::stored_of_four(const char* key, size_t) {
  const node list = member(key);
  list.expect_elements(4);
  bool ended = false;
  for (size_t i = 0; i < 4; ++i) {
    const node value = list.element(i);
    if (ended) value.expect_null("the record does not store the values after one that is null");
    ended = ended || value.is_null();
    if (!ended) record_.u16(value.integer<uint16_t>());
  }
}

void layout_builder::zero_table(const char* key, size_t rows, size_t columns) {
  writer::bytes values;
  const node table = member(key);
  table.append_table<uint32_t>(values, rows, columns);
  for (size_t i = 0; i < values.size(); i += 4)
    if (values.u32_at(i) != 0)
      table.element(i / 4 / columns)
          .element(i / 4 % columns)
          .fail("must be 0: this version of the record stores no grid");
}

void layout_builder::close_frame() {
  frames_.back().at.expect_only(frames_.back().told);
  frames_.pop_back();
}

writer::bytes layout_builder::finish() {
  close_frame();
  if (record_.size() > std::numeric_limits<uint32_t>::max())
    size_->fail("the record exceeds 4 GiB");
  if (size_ && !size_->is_null() && size_->integer<uint32_t>() != record_.size())
    size_->fail("is not that of the record's fields, which take " + bytes_text(record_.size()) +
                " (null: worked out)");
  return record_.patch_u32(0, static_cast<uint32_t>(record_.size()));
}

writer::bytes layout_builder::finish_padded(size_t least) {
  close_frame();
  return padded_to(record_, *size_, least);
}

}  // namespace document
