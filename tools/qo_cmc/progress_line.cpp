#include "tools/qo_cmc/progress_line.h"

#include <fmt/format.h>

#include "tools/qo_cmc/failure.h"

namespace qo_cmc {
namespace {

constexpr std::chrono::milliseconds between_drawings{100};
constexpr char back_and_erase[] = "\r\x1b[K";

}  // namespace

progress_line::progress_line(const streams& standard, size_t total)
    : standard_(standard), total_(total), wanted_(standard.errors_are_on_terminal && total > 1) {}

progress_line::~progress_line() {
  try {
    clear();
  } catch (const failure&) {
    // Standard error is gone: nobody sees the line.
  }
}

void progress_line::clear() {
  if (!shown_) return;
  shown_ = false;
  standard_.errors.write(back_and_erase);
  standard_.errors.flush();
}

void progress_line::advance() {
  ++done_;
  const clock::time_point now = clock::now();
  if (!wanted_ || (shown_ && now - drawn_ < between_drawings)) return;
  // What was printed before comes first, should both go to one terminal.
  standard_.output.flush();
  standard_.errors.write(fmt::format("{}{} of {} files", back_and_erase, done_, total_));
  standard_.errors.flush();
  shown_ = true;
  drawn_ = now;
}

}  // namespace qo_cmc
