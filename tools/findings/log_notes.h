/// The stack's log, collected: this room defines qo_log(), and keeps its messages for the
/// inspection that runs on the calling thread.
#pragma once

#include <string>
#include <vector>

namespace findings {

struct log_note {
  int level;
  std::string text;  ///< formatted, without its line end
};

/// Collects the messages of its thread from here to the end of its life. Where several are open on
/// a thread the last one collects; where none is, messages are dropped.
class log_notes {
 public:
  log_notes();
  ~log_notes();
  log_notes(const log_notes&) = delete;
  log_notes& operator=(const log_notes&) = delete;

  /// The messages since the last call, in order.
  [[nodiscard]] std::vector<log_note> take();

  void add(log_note note);

 private:
  log_notes* outer_;
  std::vector<log_note> notes_;
};

}  // namespace findings
