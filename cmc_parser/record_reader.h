/// Forward reading of the parts of a record whose lengths depend on each other.
#pragma once

#include <cstdint>

#include "base/load.h"
#include "cmc_parser/record_copy.h"

namespace qo {

/// A cursor that cannot leave its record. A step past the end yields 0 or null and latches
/// failed(), so a group of fields is read first and tested once.
class record_reader {
 public:
  record_reader(const record_copy& record, uint64_t offset) : record_(record), offset_(offset) {
    failed_ = !record.holds(offset);
  }

  /// Whether the next `count` bytes are the record's.
  [[nodiscard]] bool holds(uint64_t count) const {
    return !failed_ && count <= record_.size() - offset_;
  }

  /// The next `count` bytes, or null. `count` may be any product of 64-bit counts that cannot wrap.
  const uint8_t* take(uint64_t count) {
    if (!holds(count)) {
      failed_ = true;
      return nullptr;
    }
    const uint8_t* const taken = record_.bytes() + offset_;
    offset_ += count;
    return taken;
  }

  template <typename T>
  T read() {
    const uint8_t* const taken = take(sizeof(T));
    return taken ? load<T>(taken) : T{};
  }

  [[nodiscard]] uint64_t offset() const { return offset_; }
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  const record_copy& record_;
  uint64_t offset_;
  bool failed_;
};

}  // namespace qo
