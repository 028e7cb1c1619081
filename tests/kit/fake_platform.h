/// The three libraries of the stack, in the test's hands.
///
/// A test that links qo_fake_platform defines their functions in its own executable, where they
/// come before the shared libraries' ones when the library under test is loaded. While no
/// fake_platform is open they pass every call on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qo_nvm.h"

namespace kit {

struct log_message {
  int level;
  std::string text;
  friend bool operator==(const log_message&, const log_message&) = default;
};

/// Takes the platform over for its lifetime; one can be open at a time in a process (aborts
/// otherwise). At first messages are captured, and records and NVM images go to the libraries.
class fake_platform {
 public:
  fake_platform();
  ~fake_platform();
  fake_platform(const fake_platform&) = delete;
  fake_platform& operator=(const fake_platform&) = delete;

  /// Messages since the start, formatted, in order. None reaches the log.
  std::vector<log_message> messages() const;

  /// qo_vexb_parse_record() calls `decode` from now on. An empty function: the library's own.
  void decode_records_with(std::function<uint32_t(void* record)> decode);
  /// qo_vexb_parse_record() returns `code` and leaves every record as it is.
  void answer_records_with(uint32_t code);
  size_t decoded_records() const;  ///< calls of qo_vexb_parse_record()

  /// qo_nvm_parse() stores `handle` (null: stores nothing) and returns `status` from now on. The
  /// handle stays the test's; qo_nvm_deinit() of it is noted and releases nothing.
  void answer_images_with(calibration* handle, uint32_t status = 0);
  /// qo_nvm_parse() calls `parse` from now on; handles that it makes go to the library's own
  /// qo_nvm_deinit(). An empty function: the library's own.
  void parse_images_with(std::function<uint32_t(const qo_blob*, calibration**)> parse);
  size_t parsed_images() const;                              ///< calls of qo_nvm_parse()
  std::vector<const calibration*> released_handles() const;  ///< arguments of qo_nvm_deinit()

  struct state;

 private:
  std::unique_ptr<state> state_;
};

}  // namespace kit
