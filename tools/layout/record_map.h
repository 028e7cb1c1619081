/// The fields of one record, named while its layout is read front to back.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/layout/annotation.h"

namespace layout {

/// How the elements of an array are shown.
enum class element { u8, u16, u32, u64, i8, i16, i32, f32 };

template <typename T>
inline constexpr element element_of = element::u8;
template <>
inline constexpr element element_of<uint16_t> = element::u16;
template <>
inline constexpr element element_of<uint32_t> = element::u32;
template <>
inline constexpr element element_of<uint64_t> = element::u64;
template <>
inline constexpr element element_of<int8_t> = element::i8;
template <>
inline constexpr element element_of<int16_t> = element::i16;
template <>
inline constexpr element element_of<int32_t> = element::i32;
template <>
inline constexpr element element_of<float> = element::f32;

/// A cursor over a record. What would pass the end is named as far as the record goes, after which
/// nothing is left: counts may be as large as they like.
class record_map {
 public:
  /// `name` stands before the name of every field; `base` is the record's place in the container.
  record_map(std::span<const uint8_t> record, uint64_t base, std::string name)
      : record_(record), base_(base), name_(std::move(name)) {}

  /// The value of a field, or 0 when the record ends before it does.
  template <typename T>
  T field(std::string_view name) {
    const uint64_t at = cursor_;
    if (!add(name, sizeof(T), element_of<T>)) return T{};
    T value;
    std::memcpy(&value, record_.data() + at, sizeof value);
    return value;
  }
  template <typename T>
  void array(std::string_view name, uint64_t count) {
    // No count may make the product wrap: a record has less than 2^32 bytes.
    if (count > UINT32_MAX) count = UINT32_MAX;
    (void)add(name, sizeof(T) * count, element_of<T>);
  }
  /// Bytes without a shape of their own.
  void bytes(std::string_view name, uint64_t size) { array<uint8_t>(name, size); }
  /// Up to its terminator, which belongs to it.
  void text(std::string_view name);
  /// Leaves bytes that nothing reads.
  void gap(uint64_t size) { cursor_ += std::min(size, left()); }
  /// Goes to a place in the record, forward or back.
  void go_to(uint64_t offset) { cursor_ = std::min<uint64_t>(offset, record_.size()); }

  [[nodiscard]] uint64_t left() const { return record_.size() - cursor_; }
  [[nodiscard]] bool ended() const { return left() == 0; }
  [[nodiscard]] uint8_t version() const { return record_.size() > 4 ? record_[4] : uint8_t{0}; }

  /// Everything that was named, ascending, with gaps between. Where two fields claim a byte, the
  /// one that was named first has it.
  [[nodiscard]] std::vector<span> finish();

 private:
  struct named {
    uint64_t offset;
    uint64_t size;
    std::string name;
    std::string value;
  };

  /// False when the record is too short for it.
  bool add(std::string_view name, uint64_t size, element type);
  [[nodiscard]] std::string shown(uint64_t offset, uint64_t size, element type) const;

  std::span<const uint8_t> record_;
  uint64_t base_;
  std::string name_;
  uint64_t cursor_ = 0;
  std::vector<named> fields_;
};

/// "lights[2]", for fields of entries.
[[nodiscard]] std::string indexed(std::string_view array, uint64_t index);

}  // namespace layout
