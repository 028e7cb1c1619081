/// Layouts of kept records that more than their decoder reads: offsets from the record's start.
#pragma once

#include <cstdint>

namespace qo {

// Record 17:
//    10  u16  plane order of the module's gain planes
//    12  u16  orientation of the module's grids
//    14  -    payload, version >= 101
namespace record_17_layout {
inline constexpr uint16_t plane_order = 10;
inline constexpr uint16_t orientation = 12;
inline constexpr uint16_t payload = 14;
}  // namespace record_17_layout

// Record 19:
//     8  u16  parameter
//    12  u16  entry_count
//    14  u16  tail_count
//    16  entry_count entries of 28 bytes
//     -  tail_count entries of 8 bytes
namespace record_19_layout {
inline constexpr uint16_t parameter = 8;
inline constexpr uint16_t entry_count = 12;
inline constexpr uint16_t tail_count = 14;
inline constexpr uint16_t entries = 16;
inline constexpr uint16_t entry_size = 28;
inline constexpr uint16_t tail_entry_size = 8;
}  // namespace record_19_layout

// Record 20:
//     8  u16  value
//    10  u16  value
//    12  u8   value
//    13  u8   value, version >= 101
//    14  u16  form of the list, version >= 102; 1: entries
//    16  u16  list_count
//    20  list_count entries of 8 bytes
namespace record_20_layout {
inline constexpr uint16_t value_8 = 8;
inline constexpr uint16_t value_10 = 10;
inline constexpr uint16_t value_12 = 12;
inline constexpr uint16_t value_13 = 13;
inline constexpr uint16_t list = 14;
inline constexpr uint16_t list_count = 16;
inline constexpr uint16_t entries = 20;
inline constexpr uint16_t entry_size = 8;
}  // namespace record_20_layout

}  // namespace qo
