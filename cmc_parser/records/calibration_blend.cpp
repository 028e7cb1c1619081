// Record kind 30: its grid blended with the module's.

#include "cmc_parser/records/calibration_blend.h"

#include <cassert>
#include <utility>

#include "base/float_to_int.h"
#include "base/load.h"
#include "base/powers_of_two.h"

namespace qo {
namespace {

// 0.6 and 0.39999998 as the bits that readers of the result were tuned with.
constexpr float module_share = 0x1.333334p-1f;
constexpr float record_share = 0x1.999998p-2f;
constexpr int reach = 3;

[[nodiscard]] uint32_t value_at(const calibration_grid& grid, int y, int x) {
  return load<uint32_t>(grid.values + y * grid.width + x);
}

/// Values that the local mean counts: those strictly between two bounds.
struct accepted_range {
  int32_t low;
  int32_t high;
  [[nodiscard]] bool holds(int32_t value) const { return low < value && value < high; }
};

/// Half to one and a half times the mean; the bounds are swapped for a negative one.
[[nodiscard]] accepted_range range_around(float mean) {
  int32_t low = truncate_to_i32(0.5f * mean);
  int32_t high = truncate_to_i32(1.5f * mean);
  if (mean < 0.0f) std::swap(low, high);
  return {low, high};
}

/// Sum and number of the accepted values in one column, or in a window of columns.
struct tally {
  uint32_t sum = 0;
  uint32_t count = 0;
  void add(const tally& other) { sum += other.sum, count += other.count; }
  void remove(const tally& other) { sum -= other.sum, count -= other.count; }
};

/// Keeps, for each column, the tally of the rows within reach of the current row, so that the work
/// does not grow with the window.
class column_tallies {
 public:
  column_tallies(const calibration_grid& grid, accepted_range range) : grid_(grid), range_(range) {
    for (int y = 0; y < reach; ++y) enter_row(y);
  }

  /// Goes on to row 0 first, then to the next one each time.
  void next_row() {
    enter_row(row_ + reach);
    leave_row(row_ - reach - 1);
    ++row_;
  }

  const tally& operator[](int x) const { return columns_[x]; }

 private:
  void enter_row(int y) {
    if (y >= grid_.height) return;
    for (int x = 0; x < grid_.width; ++x) columns_[x].add(tally_of(y, x));
  }
  void leave_row(int y) {
    if (y < 0) return;
    for (int x = 0; x < grid_.width; ++x) columns_[x].remove(tally_of(y, x));
  }
  [[nodiscard]] tally tally_of(int y, int x) const {
    const uint32_t value = value_at(grid_, y, x);
    return range_.holds(static_cast<int32_t>(value)) ? tally{value, 1} : tally{};
  }

  const calibration_grid& grid_;
  accepted_range range_;
  int row_ = 0;
  tally columns_[UINT8_MAX];
};

}  // namespace

void blend_calibration_grid(const calibration_grid& grid, uint32_t centre, uint32_t* out) {
  assert(grid.values != nullptr && out != nullptr);
  const int width = grid.width;
  const int height = grid.height;
  // Deliberate: two sides below the margins give a positive number of no values, whose mean is 0.
  const int interior_count = (width - 6) * (height - 4);
  if (centre == 0 || interior_count == 0) return;
  uint32_t interior_sum = 0;
  for (int y = 2; y <= height - 3; ++y)
    for (int x = 3; x <= width - 4; ++x) interior_sum += value_at(grid, y, x);
  const float mean =
      static_cast<float>(static_cast<int32_t>(interior_sum)) / static_cast<float>(interior_count);

  const float unit = 1.0f / unsigned_power_of_two(grid.shift);
  const float record_term = static_cast<float>(centre) * record_share;
  column_tallies columns(grid, range_around(mean));
  for (int y = 0; y < height; ++y) {
    columns.next_row();
    tally window;
    for (int x = 0; x < reach && x < width; ++x) window.add(columns[x]);
    for (int x = 0; x < width; ++x) {
      if (x + reach < width) window.add(columns[x + reach]);
      if (x - reach - 1 >= 0) window.remove(columns[x - reach - 1]);
      const float sum = static_cast<float>(static_cast<int32_t>(window.sum));
      const float local = window.count != 0
                              ? sum * module_share * unit / static_cast<float>(window.count)
                              : mean * module_share * unit;
      out[y * width + x] = static_cast<uint32_t>(truncate_to_i32(local + record_term + 0.5f));
    }
  }
}

}  // namespace qo
