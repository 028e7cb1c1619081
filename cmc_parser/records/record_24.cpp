// Record kind 24: entries with an array each.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/record_reader.h"

// Record 24:
//    14  u16  count
//    16  count entries: 16 bytes (u16 k at byte 2), u32[k]

namespace qo {
namespace {

constexpr extent head_size = 16;
constexpr extent entry_head_size = 16;
static_assert(offsetof(record_24_entry, values) == entry_head_size.value());

// Contract: what is owned is released in this order.
void free_content(record_24_content* content) {
  if (content == nullptr) return;
  if (content->entries != nullptr)
    for (uint16_t i = 0; i < content->count; ++i) free(content->entries[i].values);
  free(content->entries);
  free(content);
}

using content_ptr = std::unique_ptr<record_24_content, deleter<free_content>>;

[[nodiscard]] reason read_entries(record_copy& record, record_24_content& content) {
  if (!record.require(head_size + entry_head_size * content.count)) return reason::record_too_short;
  content.entries = c_new_array<record_24_entry>(content.count);
  if (content.entries == nullptr) return reason::out_of_memory;
  record_reader reader(record, head_size);
  for (uint16_t i = 0; i < content.count; ++i) {
    record_24_entry& entry = content.entries[i];
    const uint8_t* const head = reader.take(entry_head_size);
    if (head == nullptr) return reason::record_too_short;
    memcpy(&entry, head, entry_head_size.value());
    const extent size = size_of<uint32_t> * entry.count;
    const uint8_t* const values = reader.take(size);
    if (values == nullptr) return reason::record_too_short;
    entry.values = c_copy_array<uint32_t>(values, entry.count);
    if (entry.values == nullptr) return reason::out_of_memory;
  }
  return reason::none;
}

[[nodiscard]] reason convert(record_copy& record, content_ptr& result) {
  if (!record.require(head_size)) return reason::record_too_short;
  content_ptr content(c_new<record_24_content>());
  if (content == nullptr) return reason::out_of_memory;
  memcpy(content.get(), record.bytes(), head_size.value());
  if (content->count != 0) {
    const reason why = read_entries(record, *content);
    if (why != reason::none) return why;
  }
  result = std::move(content);
  return reason::none;
}

}  // namespace

void release_record_24(parsed_cmc& cmc) {
  free_content(cmc.record_24);
  cmc.record_24 = nullptr;
}

/// The one kind that refuses malformed records: its caller then releases the copy.
decode_result decode_record_24(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_24);
  release_record_24(cmc);
  content_ptr content;
  const reason why = convert(record, content);
  cmc.record_24 = content.release();
  if (why == reason::none) return record.filled();
  return record.refuse(why == reason::out_of_memory ? QO_CMC_NO_MEMORY : QO_CMC_INVALID, why);
}

}  // namespace qo
