/// How far the work on many files is.
#pragma once

#include <chrono>
#include <cstddef>

#include "tools/qo_cmc/streams.h"

namespace qo_cmc {

/// One line on standard error that is written over and over; nothing where that is no terminal, or
/// where there is one file. It disappears with the object.
class progress_line {
 public:
  progress_line(const streams& standard, size_t total);
  ~progress_line();
  progress_line(const progress_line&) = delete;
  progress_line& operator=(const progress_line&) = delete;

  /// Before anything else is written, which may go to the same terminal.
  void clear();
  /// One more is done.
  void advance();

 private:
  using clock = std::chrono::steady_clock;

  const streams& standard_;
  size_t total_;
  size_t done_ = 0;
  bool wanted_;
  bool shown_ = false;
  clock::time_point drawn_;
};

}  // namespace qo_cmc
