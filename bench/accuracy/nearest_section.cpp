// The nearest-neighbour scalers: which source sample an output takes, against whole numbers.

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "bench/accuracy/page.h"
#include "bench/accuracy/sections.h"
#include "qo_cmc/image_utils.h"

namespace accuracy {
namespace {

/// Two rows that are numbered through: what is taken from the next row is seen.
template <typename Sample>
[[nodiscard]] std::vector<Sample> numbered(size_t width) {
  std::vector<Sample> rows(2 * width);
  std::iota(rows.begin(), rows.end(), Sample{0});
  return rows;
}

/// How pairs of an input and an output width went.
struct tally {
  size_t pairs = 0;
  size_t pairs_off = 0;  ///< some column is not the one of the exact rule
  size_t last_off = 0;   ///< the last column is the next row's first
  size_t outputs = 0;
  size_t outputs_off = 0;
  size_t furthest = 0;  ///< columns between what an output takes and what it should

  void take(size_t column, size_t exact) {
    ++outputs;
    if (column == exact) return;
    ++outputs_off;
    furthest = std::max(furthest, column > exact ? column - exact : exact - column);
  }

  [[nodiscard]] std::vector<std::string> line(std::string name) const {
    return {std::move(name),
            count(pairs),
            percent(last_off, pairs),
            percent(pairs_off, pairs),
            percent(outputs_off, outputs),
            count(furthest)};
  }
};

[[nodiscard]] const std::vector<std::string>& tally_columns() {
  static const std::vector<std::string> columns = {
      "widths",          "pairs",       "last column from next row",
      "some column off", "outputs off", "by columns"};
  return columns;
}

// ---- The scalers in single precision ----

/// Output `k`, counted from 0, takes the sample in which its far edge lies.
[[nodiscard]] size_t far_edge_column(size_t k, size_t in, size_t out) {
  return ((k + 1) * in + out - 1) / out - 1;
}

void scale_words(size_t in, size_t out, tally& result) {
  const std::vector<uint16_t> src = numbered<uint16_t>(in);
  std::vector<uint16_t> dst(2 * out);
  (void)image_upscale_nearest_neighbor_uint16(src.data(), dst.data(), static_cast<uint16_t>(in), 2,
                                              static_cast<uint16_t>(out), 2);
  const size_t before = result.outputs_off;
  for (size_t x = 0; x < out; ++x) result.take(dst[x], far_edge_column(x, in, out));
  ++result.pairs;
  if (result.outputs_off != before) ++result.pairs_off;
  if (dst[out - 1] != in - 1) ++result.last_off;
}

void print_word_ranges() {
  table lines(tally_columns());
  struct range {
    const char* name;
    size_t most;
  };
  for (const range each : {range{"all from 2 to 32", 32}, range{"all from 2 to 128", 128},
                           range{"all from 2 to 400", 400}}) {
    tally larger;
    tally smaller;
    for (size_t in = 2; in <= each.most; ++in)
      for (size_t out = 2; out <= each.most; ++out)
        if (out != in) scale_words(in, out, out > in ? larger : smaller);
    std::string name = each.name;
    lines.line(larger.line(name + ", enlarged"));
    lines.line(smaller.line(name + ", reduced"));
  }
  for (const size_t factor :
       {size_t{2}, size_t{3}, size_t{4}, size_t{5}, size_t{6}, size_t{7}, size_t{8}, size_t{10}}) {
    tally times;
    for (size_t in = 2; in <= 640; ++in) scale_words(in, in * factor, times);
    lines.line(times.line("2 to 640, times " + std::to_string(factor)));
  }
}

/// The last column's index in single precision, as the routine forms it, for more pairs than can be
/// scaled.
[[nodiscard]] bool passes_the_end(size_t in, size_t out) {
  const float step = static_cast<float>(in) / static_cast<float>(out);
  return static_cast<float>(out) * step > static_cast<float>(in);
}

void print_more_pairs() {
  table lines({"widths", "pairs", "last column from next row"});
  for (const size_t most : {size_t{400}, size_t{1024}, size_t{4096}}) {
    size_t pairs = 0;
    size_t passing = 0;
    for (size_t in = 2; in <= most; ++in)
      for (size_t out = 2; out <= most; ++out) {
        ++pairs;
        if (passes_the_end(in, out)) ++passing;
      }
    lines.line({"all from 2 to " + std::to_string(most), count(pairs), percent(passing, pairs)});
  }
}

void print_examples() {
  std::string found =
      "The first output widths, of those up to 4096, that take their last column from the next "
      "row:";
  const char* between = " from ";
  for (const size_t in :
       {size_t{3}, size_t{17}, size_t{33}, size_t{65}, size_t{320}, size_t{640}, size_t{1280}}) {
    found += between;
    found += std::to_string(in);
    found += " to ";
    size_t listed = 0;
    for (size_t out = 2; out <= 4096 && listed < 5; ++out) {
      tally one;
      scale_words(in, out, one);
      if (one.last_off == 0) continue;
      if (listed != 0) found += ", ";
      found += std::to_string(out);
      ++listed;
    }
    if (listed == 0) found += "none";
    between = "; from ";
  }
  paragraph(found + ".");
}

// ---- The scaler in fixed point ----

void print_fixed_point() {
  table lines(tally_columns());
  for (const size_t out :
       {size_t{256}, size_t{257}, size_t{640}, size_t{1280}, size_t{1920}, size_t{4000}}) {
    tally result;
    for (size_t in = 1; in < out; ++in) {
      const std::vector<uint32_t> src = numbered<uint32_t>(in);
      std::vector<uint32_t> dst(2 * out);
      (void)image_nearest_neighbor_scale_uint32(src.data(), static_cast<int32_t>(in), 2, dst.data(),
                                                static_cast<int32_t>(out), 2);
      const size_t before = result.outputs_off;
      for (size_t x = 0; x < out; ++x) result.take(dst[x], x * in / out);
      ++result.pairs;
      if (result.outputs_off != before) ++result.pairs_off;
      if (dst[out - 1] >= in) ++result.last_off;
    }
    lines.line(result.line(arrow("all smaller", std::to_string(out))));
  }
}

}  // namespace

void print_nearest_section() {
  heading("Nearest neighbour");
  paragraph(
      "`image_upscale_nearest_neighbor_uint16()` and `image_downscale_nearest_neighbor_int32()` "
      "share "
      "the rule index(k) = ceil(k in / out) - 1, with in / out and the product in single "
      "precision. "
      "Where the product is rounded up past a whole number the sample after the right one is "
      "taken: "
      "at the last column the first of the next row, in the last row the last sample. Rows follow "
      "the same rule, but a row past the last is the last. Measured on the 16-bit scaler against "
      "whole numbers:");
  print_word_ranges();
  paragraph("By the same arithmetic, without scaling, for all pairs of larger widths too:");
  print_more_pairs();
  print_examples();
  paragraph(
      "`image_nearest_neighbor_scale_uint32()` steps in fixed point, with 1 / 65536 of a sample "
      "added "
      "to the step, against floor(x in / out):");
  print_fixed_point();
  paragraph(
      "What to do: where out (in / out) in single precision is above in, write the last column "
      "once more, from the source's last one; row y of the output takes row ceil((y + 1) in_h / "
      "out_h) - 1 "
      "of the source. The fixed-point scaler is exact up to 256 outputs a side. From 257 on, where "
      "it "
      "enlarges, its last column is the source's last one too, of row floor(y in_h / out_h). Other "
      "columns are off by one at most.");
}

}  // namespace accuracy
