#include "bench/contest.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "bench/row_tables.h"
#include "bench/vector_operations.h"

namespace bench {

bool contest::is_bound(const std::string& name) {
  return name == copy_name || name == operations_name || name == work_name;
}

bool contest::is_peer(const std::string& name) {
  return name != ours_name && name != scalar_name && !is_bound(name);
}

void contest::add(const std::string& name, job run) {
  if (run != nullptr) contenders_.push_back({name, std::move(run)});
}

void contest::bound_by_bytes(size_t moved) {
  const size_t bytes = moved / 2;  // each is read once and written once
  const plane from = with_noise(dense_plane(sample::u8, bytes, 1));
  const plane to = dense_plane(sample::u8, bytes, 1);
  add(copy_name, [from, to, bytes] {
    std::memcpy(to.as<char>(), from.as<char>(), bytes);
    keep(to.as<char>());
  });
}

void contest::bound_by_operations(double operations) {
  const auto count = static_cast<size_t>(std::ceil(operations));
  const auto run = vector_operations_of(selected_rows());
  add(operations_name, [count, run] { run(count); });
}

bool contest::agrees() const {
  for (const contender& each : contenders_)
    if (each.name == ours_name || each.name == scalar_name) each.run();
  for (const pair_of_results& each : results_)
    if (std::memcmp(each.ours.memory.get(), each.scalar.memory.get(), each.ours.bytes()) != 0)
      return false;
  return true;
}

}  // namespace bench
