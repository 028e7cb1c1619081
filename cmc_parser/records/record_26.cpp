// Record kind 26: two groups of values.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"
#include "cmc_parser/copy_bounded.h"

// Record 26:
//     8  8 bytes, the start of both groups' defaults
//    16  two groups of 24 bytes, version >= 101

namespace qo {
namespace {

constexpr extent head_size = 16;
constexpr size_t group_size = sizeof(record_26_group);
constexpr extent size_with_groups = 64;

[[nodiscard]] record_26_group default_group(const record_copy& record) {
  record_26_group group = {{}, {1.0f, 1.0f, 1.0f, 1.0f}};
  memcpy(group.bytes_0, record.at(8), sizeof group.bytes_0);
  return group;
}

}  // namespace

void release_record_26(parsed_cmc& cmc) { c_release(cmc.record_26); }

decode_result decode_record_26(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_26);
  release_record_26(cmc);
  if (!record.require(head_size)) return record.drop_as_too_short();
  record_26_content* const content = c_new<record_26_content>();
  if (content == nullptr) return record.drop(reason::out_of_memory);
  memcpy(content->head, record.bytes(), sizeof content->head);
  const bool should_have_groups = record.version() >= version_101;
  const bool has_groups = should_have_groups && record.require(size_with_groups);
  if (should_have_groups && !has_groups) record.lose(reason::groups_defaulted);
  for (size_t i = 0; i < 2; ++i) {
    if (has_groups)
      (void)copy_bounded(&content->groups[i], group_size, record.at(head_size) + group_size * i,
                         group_size);
    else
      content->groups[i] = default_group(record);
  }
  cmc.record_26 = content;
  return record.filled();
}

}  // namespace qo
