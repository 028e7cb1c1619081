// Record kind 36: two arrays.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 36:
//     8  u8   value
//     9  4 bytes
//    13  u8   count
//    14  u16  values[count]
//     -  u32  values[count]

namespace qo {
namespace {

constexpr extent head_size = 14;
static_assert(offsetof(record_36_content, padding_14) == head_size.value());

// Contract: what is owned is released in this order.
void free_content(record_36_content* content) {
  if (content == nullptr) return;
  free(content->array_16);
  free(content->array_32);
  free(content);
}

using content_ptr = std::unique_ptr<record_36_content, deleter<free_content>>;

}  // namespace

void release_record_36(parsed_cmc& cmc) {
  free_content(cmc.record_36);
  cmc.record_36 = nullptr;
}

decode_result decode_record_36(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_36);
  release_record_36(cmc);
  const uint8_t count = record.read<uint8_t>(13);
  const extent array_32_offset = head_size + size_of<uint16_t> * count;
  if (!record.require(array_32_offset + size_of<uint32_t> * count))
    return record.drop_as_too_short();

  content_ptr content(c_new<record_36_content>());
  if (content == nullptr) return record.drop(reason::out_of_memory);
  memcpy(content.get(), record.bytes(), head_size.value());
  content->array_16 = c_copy_array<uint16_t>(record.at(head_size), count);
  content->array_32 = c_copy_array<uint32_t>(record.at(array_32_offset), count);
  if (content->array_16 == nullptr || content->array_32 == nullptr)
    return record.drop(reason::out_of_memory);
  cmc.record_36 = content.release();
  return record.filled();
}

}  // namespace qo
