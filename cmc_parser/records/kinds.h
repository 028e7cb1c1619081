/// The kinds of CMC records in one list, from which all that goes through every kind is made:
/// declarations of the decoders, the dispatch, the sweeps of the tests.
#pragma once

#include <cstdint>

/// KIND(id, name) for each kind; its decoder is called decode_<name>.
#define QO_RECORD_KINDS(KIND) \
  KIND(1, general)            \
  KIND(2, module_properties)  \
  KIND(3, record_3)           \
  KIND(5, record_5)           \
  KIND(6, record_6)           \
  KIND(7, record_7)           \
  KIND(8, record_8)           \
  KIND(9, record_9)           \
  KIND(10, lsc_grid)          \
  KIND(11, extended_grid)     \
  KIND(13, record_13)         \
  KIND(14, record_14)         \
  KIND(15, record_15)         \
  KIND(16, record_16)         \
  KIND(17, record_17)         \
  KIND(18, record_18)         \
  KIND(19, record_19)         \
  KIND(20, record_20)         \
  KIND(21, record_21)         \
  KIND(22, record_22)         \
  KIND(23, record_23)         \
  KIND(24, record_24)         \
  KIND(25, record_25)         \
  KIND(26, record_26)         \
  KIND(27, record_27)         \
  KIND(28, mapped_grid)       \
  KIND(29, record_29)         \
  KIND(30, record_30)         \
  KIND(31, record_31)         \
  KIND(32, record_32)         \
  KIND(33, mapped_grid_ext)   \
  KIND(34, record_34)         \
  KIND(35, record_35)         \
  KIND(36, record_36)

namespace qo {

#define QO_KIND_ID(id, name) id,
inline constexpr uint16_t record_kinds[] = {QO_RECORD_KINDS(QO_KIND_ID)};
#undef QO_KIND_ID

/// Whether records of this kind are decoded.
[[nodiscard]] constexpr bool is_record_kind(uint32_t id) {
  for (const uint16_t kind : record_kinds)
    if (kind == id) return true;
  return false;
}

}  // namespace qo
