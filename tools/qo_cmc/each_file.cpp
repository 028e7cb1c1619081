#include "tools/qo_cmc/each_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include "tools/qo_cmc/failure.h"
#include "tools/qo_cmc/progress_line.h"

namespace qo_cmc {
namespace {

report report_of(const std::string& file, const file_work& work) {
  report result;
  try {
    work(file, result);
  } catch (const std::exception& thrown) {
    result.output.clear();
    result.say(line_of(file, thrown));
    result.at_least(exit_code::not_done);
  }
  return result;
}

/// Prints reports and remembers the worst code.
class printer {
 public:
  printer(const streams& standard, size_t files)
      : standard_(standard), progress_(standard, files) {}

  void print(const report& each) {
    if (!each.output.empty() || !each.errors.empty()) progress_.clear();
    standard_.output.write(each.output);
    // Both may go to the same place: lines stay in the order of the files.
    if (!each.errors.empty()) {
      standard_.output.flush();
      standard_.errors.write(each.errors);
      standard_.errors.flush();
    }
    worst_ = worse(worst_, each.code);
    progress_.advance();
  }

  [[nodiscard]] exit_code worst() const { return worst_; }

 private:
  const streams& standard_;
  progress_line progress_;
  exit_code worst_ = exit_code::fine;
};

/// Threads that work ahead of the printing, but not far: reports wait in memory.
class work_ahead {
 public:
  work_ahead(const std::vector<std::string>& files, unsigned jobs, const file_work& work)
      : files_(files), work_(work), farthest_(4 * size_t{jobs}), reports_(files.size()) {
    for (unsigned i = 0; i < jobs; ++i) {
      try {
        threads_.emplace_back([this] { run(); });
      } catch (const std::system_error&) {
        break;  // fewer threads do it too
      }
    }
  }

  ~work_ahead() {
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread& each : threads_) each.join();
  }

  work_ahead(const work_ahead&) = delete;
  work_ahead& operator=(const work_ahead&) = delete;

  /// The report of file number `index`; asked for once each, in order.
  report take(size_t index) {
    if (threads_.empty()) return report_of(files_[index], work_);
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return reports_[index].has_value(); });
    report result = std::move(*reports_[index]);
    reports_[index].reset();
    taken_ = index + 1;
    lock.unlock();
    changed_.notify_all();
    return result;
  }

 private:
  void run() {
    while (true) {
      size_t mine;
      {
        std::unique_lock lock(mutex_);
        changed_.wait(
            lock, [&] { return stopped_ || next_ == files_.size() || next_ < taken_ + farthest_; });
        if (stopped_ || next_ == files_.size()) return;
        mine = next_++;
      }
      report result = report_of(files_[mine], work_);
      {
        const std::lock_guard lock(mutex_);
        reports_[mine] = std::move(result);
      }
      changed_.notify_all();
    }
  }

  const std::vector<std::string>& files_;
  const file_work& work_;
  const size_t farthest_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::optional<report>> reports_;
  size_t next_ = 0;
  size_t taken_ = 0;
  bool stopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace

void report::say(const std::string& line) { errors += fmt::format("qo-cmc: {}\n", line); }

exit_code each_file(const std::vector<std::string>& files, unsigned jobs, const streams& standard,
                    const file_work& work) {
  printer out(standard, files.size());
  const unsigned threads = static_cast<unsigned>(std::min<size_t>(jobs, files.size()));
  if (threads < 2) {
    for (const std::string& file : files) out.print(report_of(file, work));
    return out.worst();
  }
  work_ahead ahead(files, threads, work);
  for (size_t i = 0; i < files.size(); ++i) out.print(ahead.take(i));
  return out.worst();
}

}  // namespace qo_cmc
