// Record kind 35: two structures from one record.

#include "cmc_parser/records/decoders.h"

#include "base/c_heap.h"

// Record 35:
//     8  u8   value
//     9  u32  value
//    13  u8   n
//    14  u32  A[n + 1]
//     -  u16  B[n + 1]
//     -  u16  C[n]
//     -  u32  D[n]

namespace qo {
namespace {

constexpr extent arrays_offset = 14;

// Contract: what is owned is released in this order.
void free_first(record_35_first* first) {
  if (first == nullptr) return;
  free(first->array_a);
  free(first->array_b);
  free(first->array_c);
  free(first);
}

// Contract: in this order, which is not that of the first structure.
void free_second(record_35_second* second) {
  if (second == nullptr) return;
  free(second->array_b);
  free(second->array_a);
  free(second->array_d);
  free(second);
}

using first_ptr = std::unique_ptr<record_35_first, deleter<free_first>>;
using second_ptr = std::unique_ptr<record_35_second, deleter<free_second>>;

/// Header and scalars, which both structures hold at the same places.
template <typename Content>
void copy_scalars(const record_copy& record, Content& content) {
  memcpy(&content.header, record.bytes(), sizeof content.header);
  content.value_8 = record.read<uint8_t>(8);
  content.value_12 = record.read<uint32_t>(9);
  content.count = record.read<uint8_t>(13);
}

template <typename T>
[[nodiscard]] bool copy_array(const record_copy& record, extent offset, extent count, T*& array) {
  array = c_copy_array<T>(record.at(offset), count.value());
  return array != nullptr;
}

}  // namespace

void release_record_35(parsed_cmc& cmc) {
  free_first(cmc.record_35.first);
  free_second(cmc.record_35.second);
  cmc.record_35 = {};
}

decode_result decode_record_35(record_copy record, parsed_cmc& cmc, const calibration*) {
  record.replaces(cmc.record_35.first);
  release_record_35(cmc);
  const extent n = record.read<uint8_t>(13);
  const extent b_offset = arrays_offset + size_of<uint32_t> * (n + 1);
  const extent c_offset = b_offset + size_of<uint16_t> * (n + 1);
  const extent d_offset = c_offset + size_of<uint16_t> * n;
  if (!record.require(d_offset + size_of<uint32_t> * n)) return record.drop_as_too_short();

  second_ptr second(c_new<record_35_second>());
  if (second == nullptr) return record.drop(reason::out_of_memory);
  first_ptr first(c_new<record_35_first>());
  if (first == nullptr) return record.drop(reason::out_of_memory);
  copy_scalars(record, *first);
  copy_scalars(record, *second);
  if (!copy_array(record, arrays_offset, n + 1, second->array_a) ||
      !copy_array(record, arrays_offset, n + 1, first->array_a) ||
      !copy_array(record, b_offset, n + 1, second->array_b) ||
      !copy_array(record, b_offset, n + 1, first->array_b) ||
      !copy_array(record, c_offset, n, first->array_c) ||
      !copy_array(record, d_offset, n, second->array_d))
    return record.drop(reason::out_of_memory);
  cmc.record_35.first = first.release();
  cmc.record_35.second = second.release();
  return record.filled();
}

}  // namespace qo
