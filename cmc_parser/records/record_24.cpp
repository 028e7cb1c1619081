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

[[nodiscard]] uint32_t read_entries(const record_copy& record, record_24_content& content) {
  if (!record.holds(head_size + entry_head_size * content.count)) return QO_CMC_INVALID;
  content.entries = c_new_array<record_24_entry>(content.count);
  if (content.entries == nullptr) return QO_CMC_NO_MEMORY;
  record_reader reader(record, head_size);
  for (uint16_t i = 0; i < content.count; ++i) {
    record_24_entry& entry = content.entries[i];
    const uint8_t* const head = reader.take(entry_head_size);
    if (head == nullptr) return QO_CMC_INVALID;
    memcpy(&entry, head, entry_head_size.value());
    const extent size = size_of<uint32_t> * entry.count;
    const uint8_t* const values = reader.take(size);
    if (values == nullptr) return QO_CMC_INVALID;
    entry.values = c_copy_array<uint32_t>(values, entry.count);
    if (entry.values == nullptr) return QO_CMC_NO_MEMORY;
  }
  return QO_CMC_OK;
}

[[nodiscard]] uint32_t convert(const record_copy& record, content_ptr& result) {
  if (!record.holds(head_size)) return QO_CMC_INVALID;
  content_ptr content(c_new<record_24_content>());
  if (content == nullptr) return QO_CMC_NO_MEMORY;
  memcpy(content.get(), record.bytes(), head_size.value());
  if (content->count != 0) {
    const uint32_t code = read_entries(record, *content);
    if (code != QO_CMC_OK) return code;
  }
  result = std::move(content);
  return QO_CMC_OK;
}

}  // namespace

void release_record_24(parsed_cmc& cmc) {
  free_content(cmc.record_24);
  cmc.record_24 = nullptr;
}

/// The one kind that refuses malformed records: its caller then releases the copy.
uint32_t decode_record_24(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_24(cmc);
  content_ptr content;
  const uint32_t code = convert(record, content);
  if (code != QO_CMC_OK) record.leave_to_caller();
  cmc.record_24 = content.release();
  return code;
}

}  // namespace qo
