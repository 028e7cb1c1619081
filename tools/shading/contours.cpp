// Marching squares: each cell between four neighbouring samples has at most two pieces of a line,
// from side to side; the pieces are then joined where they meet on a side.

#include "tools/shading/contours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <unordered_map>

namespace shading {
namespace {

constexpr size_t node_limit = 113;
constexpr size_t piece_limit = 6000;

/// The samples that lines are found on.
class node_grid {
 public:
  explicit node_grid(const plane_view& plane)
      : columns_(places(plane.width())), rows_(places(plane.height())) {
    values_.reserve(columns_.size() * rows_.size());
    for (const size_t row : rows_) {
      for (const size_t column : columns_) {
        const size_t index = row * plane.width() + column;
        values_.push_back(plane.is_sound(index) ? plane.at(index)
                                                : std::numeric_limits<double>::quiet_NaN());
      }
    }
  }

  [[nodiscard]] size_t width() const { return columns_.size(); }
  [[nodiscard]] size_t height() const { return rows_.size(); }
  [[nodiscard]] double at(size_t row, size_t column) const {
    return values_[row * width() + column];
  }
  [[nodiscard]] grid_point place_of(size_t row, size_t column) const {
    return {static_cast<double>(rows_[row]), static_cast<double>(columns_[column])};
  }

 private:
  [[nodiscard]] static std::vector<size_t> places(size_t samples) {
    const size_t count = std::min(samples, node_limit);
    std::vector<size_t> result;
    for (size_t i = 0; i < count; ++i)
      result.push_back(count == 1 ? 0 : i * (samples - 1) / (count - 1));
    return result;
  }

  std::vector<size_t> columns_;
  std::vector<size_t> rows_;
  std::vector<double> values_;
};

/// A side of a cell by number: twice its first node's, plus 1 for a side that runs down.
using side_number = size_t;

struct piece {
  side_number ends[2];
};

class level_lines {
 public:
  level_lines(const node_grid& nodes, double level) : nodes_(nodes), level_(level) {}

  void find_pieces() {
    for (size_t row = 0; row + 1 < nodes_.height(); ++row)
      for (size_t column = 0; column + 1 < nodes_.width(); ++column) add_cell(row, column);
  }

  [[nodiscard]] size_t piece_count() const { return pieces_.size(); }

  /// Open lines first: from an end on a side that has one piece only.
  void join(std::vector<contour_line>& lines) {
    for (size_t i = 0; i < pieces_.size(); ++i)
      for (const side_number end : pieces_[i].ends) pieces_at_[end].push_back(i);
    used_.assign(pieces_.size(), false);
    for (const bool open : {true, false}) {
      for (size_t i = 0; i < pieces_.size(); ++i) {
        for (const size_t start : {size_t{0}, size_t{1}}) {
          if (used_[i]) break;
          if (open && pieces_at_[pieces_[i].ends[start]].size() != 1) continue;
          lines.push_back(follow(i, start, !open));
        }
      }
    }
  }

 private:
  void add_cell(size_t row, size_t column) {
    const std::array<double, 4> corners = {nodes_.at(row, column), nodes_.at(row, column + 1),
                                           nodes_.at(row + 1, column + 1),
                                           nodes_.at(row + 1, column)};
    if (std::any_of(corners.begin(), corners.end(), [](double value) { return std::isnan(value); }))
      return;
    const size_t node = row * nodes_.width() + column;
    // Clockwise from the top, each between the corners i and i + 1.
    const std::array<side_number, 4> sides = {2 * node, 2 * (node + 1) + 1,
                                              2 * (node + nodes_.width()), 2 * node + 1};
    std::array<bool, 4> above = {};
    for (size_t i = 0; i < 4; ++i) above[i] = corners[i] > level_;
    std::vector<side_number> crossed;
    for (size_t i = 0; i < 4; ++i)
      if (above[i] != above[(i + 1) % 4]) crossed.push_back(sides[i]);
    if (crossed.size() == 2) {
      pieces_.push_back({{crossed[0], crossed[1]}});
    } else if (crossed.size() == 4) {
      // A saddle: its middle says which corners belong together.
      const bool middle_above = (corners[0] + corners[1] + corners[2] + corners[3]) / 4 > level_;
      const bool cut_off_first = middle_above != above[0];
      if (cut_off_first) {
        pieces_.push_back({{sides[3], sides[0]}});
        pieces_.push_back({{sides[1], sides[2]}});
      } else {
        pieces_.push_back({{sides[0], sides[1]}});
        pieces_.push_back({{sides[2], sides[3]}});
      }
    }
  }

  /// Where the level crosses a side.
  [[nodiscard]] grid_point crossing_of(side_number side) const {
    const size_t row = side / 2 / nodes_.width();
    const size_t column = side / 2 % nodes_.width();
    const size_t other_row = row + side % 2;
    const size_t other_column = column + 1 - side % 2;
    const double from = nodes_.at(row, column);
    const double part = (level_ - from) / (nodes_.at(other_row, other_column) - from);
    const grid_point a = nodes_.place_of(row, column);
    const grid_point b = nodes_.place_of(other_row, other_column);
    return {a.row + part * (b.row - a.row), a.column + part * (b.column - a.column)};
  }

  [[nodiscard]] contour_line follow(size_t index, size_t start, bool closed) {
    contour_line line = {level_, closed, {}};
    line.points.push_back(crossing_of(pieces_[index].ends[start]));
    side_number side = pieces_[index].ends[1 - start];
    while (true) {
      used_[index] = true;
      line.points.push_back(crossing_of(side));
      const std::vector<size_t>& meeting = pieces_at_[side];
      const auto next = std::find_if(meeting.begin(), meeting.end(),
                                     [this](size_t candidate) { return !used_[candidate]; });
      if (next == meeting.end()) return line;
      index = *next;
      side = pieces_[index].ends[pieces_[index].ends[0] == side ? 1 : 0];
    }
  }

  const node_grid& nodes_;
  double level_;
  std::vector<piece> pieces_;
  std::unordered_map<side_number, std::vector<size_t>> pieces_at_;
  std::vector<bool> used_;
};

}  // namespace

std::optional<std::vector<contour_line>> contours_of(const plane_view& plane,
                                                     const std::vector<double>& levels) {
  const node_grid nodes(plane);
  std::vector<contour_line> lines;
  size_t pieces = 0;
  for (const double level : levels) {
    level_lines of_level(nodes, level);
    of_level.find_pieces();
    pieces += of_level.piece_count();
    if (pieces > piece_limit) return std::nullopt;
    of_level.join(lines);
  }
  return lines;
}

}  // namespace shading
