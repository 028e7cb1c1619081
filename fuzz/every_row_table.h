/// One call with every table of row kernels that this machine runs: status and bits must be the
/// same in all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "fuzz/exact_array.h"
#include "fuzz/require.h"
#include "rows/row_table.h"
#include "tests/kit/same_bits.h"

namespace fuzz {

inline const std::vector<const qo::row_table*>& row_tables() {
  static const std::vector<const qo::row_table*> tables = [] {
    std::vector<const qo::row_table*> found;
    for (const auto set :
         {qo::instruction_set::base, qo::instruction_set::avx2, qo::instruction_set::avx512})
      if (const qo::row_table* const table = qo::find_rows(set); table != nullptr)
        found.push_back(table);
    return found;
  }();
  return tables;
}

template <typename Call>
void with_every_table(Call call) {
  for (const qo::row_table* const table : row_tables()) {
    qo::use_rows(*table);
    call();
  }
}

/// The result of `call`, which tells for itself what it equals.
template <typename Call>
auto same_in_every_table(Call call) {
  std::optional<decltype(call())> first;
  with_every_table([&] {
    auto result = call();
    if (first.has_value())
      require(*first == result);
    else
      first.emplace(std::move(result));
  });
  return std::move(*first);
}

template <typename Array, typename Sample>
[[nodiscard]] bool same_samples(const Array& a, const exact_array<Sample>& b) {
  if (a.size() != b.size()) return false;
  if (b.size() == 0) return true;  // without a block, perhaps
  return memcmp(a.data(), b.data(), b.size() * sizeof(Sample)) == 0 ||
         kit::first_difference(a.data(), b.data(), b.size()) == b.size();
}

/// What a call that fills planes left behind.
template <typename Sample>
struct outcome {
  uint32_t status;
  std::vector<exact_array<Sample>> planes;

  [[nodiscard]] bool is_untouched() const {
    for (const exact_array<Sample>& plane : planes)
      if (!plane.is_untouched()) return false;
    return true;
  }
  friend bool operator==(const outcome& a, const outcome& b) {
    if (a.status != b.status || a.planes.size() != b.planes.size()) return false;
    for (size_t i = 0; i < a.planes.size(); ++i)
      if (!same_samples(a.planes[i], b.planes[i])) return false;
    return true;
  }
};

/// `call` gets the planes that it fills, as many as `sizes`, and returns its status.
template <typename Sample, typename Call>
outcome<Sample> filled_in_every_table(const std::vector<size_t>& sizes, Call call) {
  return same_in_every_table([&] {
    outcome<Sample> result = {};
    std::vector<Sample*> pointers;
    for (const size_t size : sizes) pointers.push_back(result.planes.emplace_back(size).data());
    result.status = call(pointers.data());
    return result;
  });
}

/// The same of one plane.
template <typename Sample, typename Call>
outcome<Sample> filled_in_every_table(size_t size, Call call) {
  return filled_in_every_table<Sample>(std::vector<size_t>{size},
                                       [&](Sample* const* planes) { return call(planes[0]); });
}

}  // namespace fuzz
