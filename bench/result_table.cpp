#include "bench/result_table.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace bench {
namespace {

struct {
  int with_goal = 0;
  int met = 0;
  int slower_than_scalar = 0;
  int different = 0;
} counts;

std::string formatted(const char* format, double value) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string time_text(double nanoseconds) {
  if (nanoseconds == 0) return "-";
  return formatted(nanoseconds < 0.1 ? "%.4f" : nanoseconds < 10 ? "%.3f" : "%.1f", nanoseconds);
}

std::string ratio_text(double ours, double other) {
  return other > 0 ? formatted(ours / other < 10 ? "%.2f" : "%.1f", ours / other) : "-";
}

std::string goal_text(const goal& wanted, const std::string& rival) {
  if (wanted.low == 0) return "-";
  std::string text = formatted("%g", wanted.low);
  if (wanted.high != wanted.low) text += formatted("..%g", wanted.high);
  return rival.empty() ? text : text + " of " + rival;
}

std::string verdict(double ratio, const goal& wanted) {
  if (ratio <= wanted.low) return "met";
  return ratio <= wanted.high ? "within" : "missed";
}

double time_of(const std::vector<timed>& times, const std::string& name) {
  for (const timed& each : times)
    if (each.name == name) return each.nanoseconds;
  return 0;
}

}  // namespace

void print_heading(row_table table) {
  std::printf("## Rows: %s\n\n", name_of(table));
  std::printf("| %-58s | %8s | %8s | %8s | %-14s | %6s | %-15s | %-7s | %6s | %s |\n", "routine",
              "ours", "scalar", "best", "of", "ratio", "goal", "", "/bound",
              "ns for each sample of output: bounds and peers");
  std::printf("|---|---|---|---|---|---|---|---|---|---|\n");
}

void print_line(row_table table, const row& timed_row, const std::vector<timed>& times) {
  const auto samples = static_cast<double>(timed_row.samples);
  const double ours = time_of(times, contest::ours_name);
  const double scalar = time_of(times, contest::scalar_name);
  timed best{"-", 0};
  double bound = 0;
  std::string all;
  for (const timed& each : times) {
    if (contest::is_bound(each.name)) bound = std::max(bound, each.nanoseconds);
    if (contest::is_peer(each.name) && !contest::is_onlooker(each.name) &&
        (best.nanoseconds == 0 || each.nanoseconds < best.nanoseconds))
      best = each;
    if (contest::is_bound(each.name) || contest::is_peer(each.name))
      all += (all.empty() ? "" : ", ") + each.name + " " + time_text(each.nanoseconds / samples);
  }

  // A goal that names its rival counts against that one, if it took part; the bound is one too.
  double rival = best.nanoseconds;
  std::string rival_name = best.name;
  if (!timed_row.rival.empty()) {
    rival_name = timed_row.rival;
    rival = rival_name == contest::work_name ? bound : time_of(times, rival_name);
  }
  const goal wanted = table == row_table::avx512 ? timed_row.avx512
                      : table == row_table::avx2 ? timed_row.avx2
                                                 : goal();
  std::string result;
  if (wanted.low != 0 && rival > 0) {
    result = verdict(ours / rival, wanted);
    ++counts.with_goal;
    if (result == "met") ++counts.met;
  }
  if (scalar > 0 && ours > scalar) {
    ++counts.slower_than_scalar;
    result += result.empty() ? "slower than scalar" : ", slower than scalar";
  }
  std::printf("| %-58s | %8s | %8s | %8s | %-14s | %6s | %-15s | %-7s | %6s | %s |\n",
              timed_row.name.c_str(), time_text(ours / samples).c_str(),
              time_text(scalar / samples).c_str(), time_text(rival / samples).c_str(),
              rival_name.c_str(), ratio_text(ours, rival).c_str(),
              goal_text(wanted, timed_row.rival).c_str(), result.c_str(),
              ratio_text(ours, bound).c_str(), all.c_str());
  std::fflush(stdout);
}

void print_disagreement(const row& bad_row) {
  ++counts.different;
  std::printf("| %-58s | differs from the scalar loop | | | | | | | | |\n", bad_row.name.c_str());
}

void print_summary() {
  std::printf("\n%d of %d goals met, %d rows slower than the scalar loop, %d different from it\n\n",
              counts.met, counts.with_goal, counts.slower_than_scalar, counts.different);
}

}  // namespace bench
