#include "bench/timing.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench/vector_operations.h"

namespace bench {
namespace {

/// Collects the repetitions in place of printing them.
class collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration)
        times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
  }
  [[nodiscard]] double median(const std::string& name) {
    std::vector<double>& times = times_[name];
    if (times.empty()) return 0;
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

 private:
  std::map<std::string, std::vector<double>> times_;
};

}  // namespace

std::vector<timed> time_all(const contest& race) {
  for (const contest::contender& each : race.contenders()) {
    each.run();  // what is made on the first call is made before the clock runs
    benchmark::RegisterBenchmark(each.name.c_str(), [&each](benchmark::State& state) {
      for (auto _ : state) each.run();
      clear_upper_halves();  // a peer may forget it, and the next one pay for it
    });
  }
  collector reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter, nullptr, "all");
  benchmark::ClearRegisteredBenchmarks();
  std::vector<timed> times;
  for (const contest::contender& each : race.contenders())
    times.push_back({each.name, reporter.median(each.name)});
  return times;
}

void take_timing_flags(int& argc, char** argv) {
  // The later of two flags counts: the defaults come first.
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char repetitions[] = "--benchmark_repetitions=9";
  static char least_time[] = "--benchmark_min_time=0.002";
  std::vector<char*> arguments{argv[0], interleaving, repetitions, least_time};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  std::copy_n(arguments.begin(), count, argv);
  argc = count;
}

}  // namespace bench
