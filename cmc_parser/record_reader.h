/// Forward reading of the parts of a record whose lengths depend on each other.
#pragma once

#include <cstdint>

#include "base/load.h"
#include "cmc_parser/record_copy.h"

namespace qo {

/// A cursor that cannot leave its record. A step past the end yields 0 or null and latches
/// failed(), so a group of fields is read first and tested once; the record remembers the end.
class record_reader {
 public:
  record_reader(record_copy& record, extent offset)
      : record_(record), offset_(offset), failed_(!record.require(offset)) {}

  /// Whether the next `count` bytes are the record's, which must have them.
  [[nodiscard]] bool require(extent count) const {
    return !failed_ && record_.require(offset_ + count);
  }

  /// Passes the next `count` bytes.
  void skip(extent count) { (void)take(count); }

  /// The next `count` bytes, or null. A count that the record cannot hold may be of any size.
  [[nodiscard]] const uint8_t* take(extent count) {
    if (!require(count)) {
      failed_ = true;
      return nullptr;
    }
    const uint8_t* const taken = record_.at(offset_);
    offset_ = offset_ + count;
    return taken;
  }

  template <typename T>
  [[nodiscard]] T read() {
    const uint8_t* const taken = take(size_of<T>);
    return taken != nullptr ? load<T>(taken) : T{};
  }

  [[nodiscard]] extent offset() const { return offset_; }
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  record_copy& record_;
  extent offset_;
  bool failed_;
};

}  // namespace qo
