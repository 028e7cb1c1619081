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

uint32_t decode_record_26(record_copy record, parsed_cmc& cmc, const calibration*) {
  release_record_26(cmc);
  if (!record.holds(head_size)) return QO_CMC_OK;
  record_26_content* const content = c_new<record_26_content>();
  if (content == nullptr) return QO_CMC_OK;
  memcpy(content->head, record.bytes(), sizeof content->head);
  const bool has_groups = record.version() >= version_101 && record.holds(size_with_groups);
  for (size_t i = 0; i < 2; ++i) {
    if (has_groups)
      (void)copy_bounded(&content->groups[i], group_size, record.at(head_size) + group_size * i,
                         group_size);
    else
      content->groups[i] = default_group(record);
  }
  cmc.record_26 = content;
  return QO_CMC_OK;
}

}  // namespace qo
