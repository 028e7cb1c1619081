/// Why something of a container is not there, or not as its writer may have meant it.
#pragma once

#include <cstdint>

/// REASON(name) for each, by what it is about. Tools say each in a sentence of their own
/// (tools/findings/codes.cpp), and a test makes each of them happen.
#define QO_REASONS(REASON)                                         \
  /* The container, which is refused. */                           \
  REASON(container_missing)                                        \
  REASON(container_too_short)                                      \
  REASON(size_mismatch)                                            \
  REASON(checksum_mismatch)                                        \
  REASON(container_out_of_memory)                                  \
  /* The end of the walk over its records. */                      \
  REASON(bytes_after_last_record)                                  \
  REASON(record_size_too_small)                                    \
  REASON(record_overruns)                                          \
  /* A record that no decoder gets. */                             \
  REASON(kind_foreign)                                             \
  REASON(kind_refused)                                             \
  REASON(record_missing)                                           \
  REASON(copy_out_of_memory)                                       \
  /* A record that fills no slot. */                               \
  REASON(record_too_short)                                         \
  REASON(string_unterminated)                                      \
  REASON(range_without_step)                                       \
  REASON(range_reversed)                                           \
  REASON(grid_negative)                                            \
  REASON(too_many_planes)                                          \
  REASON(plane_empty)                                              \
  REASON(refused_by_stack)                                         \
  REASON(record_superseded)                                        \
  REASON(out_of_memory)                                            \
  /* A part of a record that is lost, while its slot is filled. */ \
  REASON(version_without_layout)                                   \
  REASON(fields_lost)                                              \
  REASON(gains_lost)                                               \
  REASON(set_superseded)                                           \
  REASON(parameters_defaulted)                                     \
  REASON(sub_table_lost)                                           \
  REASON(items_lost)                                               \
  REASON(block_lost)                                               \
  REASON(list_lost)                                                \
  REASON(list_count_negative)                                      \
  REASON(groups_defaulted)                                         \
  REASON(grid_lost)                                                \
  REASON(trailing_lost)                                            \
  REASON(tables_without_items)                                     \
  REASON(blocks_dropped)                                           \
  REASON(entries_dropped)                                          \
  REASON(part_out_of_memory)                                       \
  /* The module's NVM image. */                                    \
  REASON(nvm_empty)                                                \
  REASON(nvm_refused)                                              \
  /* The merge of the module's calibration. */                     \
  REASON(merge_without_lens_shading)                               \
  REASON(merge_without_extended_set)                               \
  REASON(merge_without_properties)                                 \
  REASON(merge_without_record_17)                                  \
  REASON(merge_without_lights)                                     \
  REASON(merge_without_tables)                                     \
  REASON(gains_not_computed)                                       \
  REASON(extended_set_too_small)                                   \
  REASON(gain_table_missing)                                       \
  REASON(plane_order_unknown)                                      \
  REASON(cfa_layout_unknown)                                       \
  /* The record 34 that is derived from others. */                 \
  REASON(derived_without_record_20)                                \
  REASON(derived_out_of_memory)

namespace qo {

#define QO_REASON_NAME(name) name,
enum class reason : uint8_t { none, QO_REASONS(QO_REASON_NAME) };
#undef QO_REASON_NAME

}  // namespace qo
