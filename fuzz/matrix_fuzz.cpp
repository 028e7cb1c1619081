// Fuzz target of the matrix algebra: transpose, products and factorisation, with every table of row
// kernels, on matrices of any two strides in exactly the bytes that they reach, against the plain
// rules.
//
//      0  u8    member: 0 transpose_m, 1 mul_mm, 2 mul_mv, 3 lu_decomposition_m; others modulo 4
//      1  u8    bits 0, 1, 2: a matrix is null, the result last; 3: floats are tame; 4: inner sizes
//               differ; 5: the factors lie on their source; 6: the order of the matrix is huge
//      2  u8    rows, inner size, columns (side_of below)
//      5  i32   what is added to the second inner size, or is a huge order
//      9  -     layouts of two sources and of the result (fuzz/byte_matrix.h)
//     24  -     elements (fuzz/sample_stream.h)

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <utility>
#include <vector>

#include "fuzz/byte_matrix.h"
#include "fuzz/every_row_table.h"
#include "fuzz/input_reader.h"
#include "fuzz/sample_stream.h"
#include "fuzz/target.h"
#include "qo_cmc/lsc.h"
#include "tests/lsc/plain_lens_shading.h"
#include "writer/container_writer.h"

namespace {

using fuzz::byte_block;
using fuzz::matrix_layout;
using fuzz::require;

/// Small ones mostly; the last sixteenth is negative.
[[nodiscard]] int32_t side_of(uint8_t field) {
  if (field < 0x80) return field & 0xf;
  if (field < 0xc0) return field & 0x1f;
  if (field < 0xf0) return field & 0x3f;
  return 0xef - field;
}

[[nodiscard]] uint8_t side_field(int32_t side) {
  if (side < 0) return static_cast<uint8_t>(0xef - side);
  if (side < 0x10) return static_cast<uint8_t>(side);
  return static_cast<uint8_t>((side < 0x20 ? 0x80 : 0xc0) | side);
}

struct matrix_call {
  int32_t rows, inner, columns, extra;
  uint8_t flags;
  [[nodiscard]] bool has(int bit) const { return (flags >> bit & 1) != 0; }
};

[[nodiscard]] size_t count_of(int32_t side) { return static_cast<size_t>(std::max(side, 0)); }

/// A block with the matrix's elements from the stream, and its gaps as they are.
[[nodiscard]] byte_block filled(const matrix_layout& layout, fuzz::sample_stream& samples,
                                bool tame) {
  byte_block block(layout.bytes());
  layout.for_each([&](size_t place) {
    fuzz::store_at(block, place, tame ? samples.next_tame_float() : samples.next<float>());
  });
  return block;
}

struct matrix_outcome {
  uint32_t status;
  byte_block memory;
  friend bool operator==(const matrix_outcome& a, const matrix_outcome& b) {
    return a.status == b.status && fuzz::same_samples(a.memory, b.memory);
  }
};

/// What `call` leaves in a block that begins as `before`, NaNs levelled.
template <typename Call>
matrix_outcome left_in_every_table(const byte_block& before, const matrix_layout& layout,
                                   Call call) {
  return fuzz::same_in_every_table([&] {
    matrix_outcome result = {0, byte_block(before.size())};
    std::copy(before.begin(), before.end(), result.memory.begin());
    result.status = call(fuzz::float_at(result.memory, layout.origin()), result.memory);
    if (result.status == QO_CMC_OK) fuzz::level_nans(result.memory, layout);
    return result;
  });
}

/// The call leaves the elements, and nothing else is written.
void require_elements(const matrix_outcome& result, byte_block before, const matrix_layout& layout,
                      const std::vector<float>& elements) {
  require(result.status == QO_CMC_OK);
  fuzz::store_packed(before, layout, elements);
  fuzz::level_nans(before, layout);
  require(fuzz::same_samples(before, result.memory));
}

void run_transpose(const matrix_call& call, fuzz::input_reader& fields) {
  const matrix_layout from = fuzz::read_layout(fields, call.rows, call.columns);
  const matrix_layout to = fuzz::read_result_layout(fields, call.columns, call.rows);
  fuzz::sample_stream samples(fields.rest());
  const byte_block source = filled(from, samples, call.has(3));
  byte_block before(to.bytes());
  const auto result = left_in_every_table(before, to, [&](float* dst, byte_block&) {
    return transpose_m(call.has(0) ? nullptr : fuzz::float_at(source, from.origin()), from.stride1,
                       from.stride2, from.columns, from.rows, call.has(2) ? nullptr : dst,
                       to.stride1, to.stride2);
  });
  const bool refused = !from.is_empty() && (call.has(0) || call.has(2));
  require(result.status == (refused ? QO_CMC_INVALID_SIZE : QO_CMC_OK));
  if (refused || from.is_empty()) return require(result.memory.is_untouched());
  // Written row by row of the source: where elements of the result coincide, the last one stays.
  const matrix_layout by_source = {to.columns, to.rows, to.stride2, to.stride1, to.shift};
  require_elements(result, std::move(before), by_source, fuzz::packed(source, from));
}

/// mul_mv() is the product with a matrix of one column.
void run_product(const matrix_call& call, fuzz::input_reader& fields, bool by_vector) {
  const int32_t columns = by_vector ? 1 : call.columns;
  const matrix_layout left = fuzz::read_layout(fields, call.rows, call.inner);
  const matrix_layout right = fuzz::read_layout(fields, call.inner, columns);
  const matrix_layout to = fuzz::read_result_layout(fields, call.rows, columns);
  fuzz::sample_stream samples(fields.rest());
  const byte_block a = filled(left, samples, call.has(3));
  const byte_block b = filled(right, samples, call.has(3));
  byte_block before(to.bytes());
  const auto height = call.has(4) ? static_cast<int32_t>(static_cast<uint32_t>(call.inner) +
                                                         static_cast<uint32_t>(call.extra))
                                  : call.inner;
  const auto result = left_in_every_table(before, to, [&](float* memory, byte_block&) {
    const float* const src1 = call.has(0) ? nullptr : fuzz::float_at(a, left.origin());
    const float* const src2 = call.has(1) ? nullptr : fuzz::float_at(b, right.origin());
    float* const dst = call.has(2) ? nullptr : memory;
    if (by_vector)
      return mul_mv(src1, left.stride1, left.stride2, call.inner, call.rows, src2, right.stride1,
                    height, dst, to.stride1);
    return mul_mm(src1, left.stride1, left.stride2, call.inner, call.rows, src2, right.stride1,
                  right.stride2, columns, height, dst, to.stride1, to.stride2);
  });
  const bool refused = height != call.inner || (!to.is_empty() && (call.flags & 7) != 0);
  require(result.status == (refused ? QO_CMC_INVALID_SIZE : QO_CMC_OK));
  if (refused || to.is_empty()) return require(result.memory.is_untouched());
  require_elements(result, std::move(before), to,
                   plain::product(fuzz::packed(a, left), fuzz::packed(b, right),
                                  count_of(call.rows), count_of(call.inner), count_of(columns)));
}

[[nodiscard]] bool stays_inside(const matrix_layout& matrix) {
  return matrix.lowest() == 0 &&
         matrix.span() <= size_t{4} * count_of(matrix.rows) * count_of(matrix.rows);
}

void run_factorisation(const matrix_call& call, fuzz::input_reader& fields) {
  // Sizes below 1 have a working copy too, which has to be small here.
  const bool huge = call.has(6) && std::abs(int64_t{call.extra}) > 23170;
  const int32_t order = huge ? call.extra : call.rows;
  const int32_t side = huge ? 0 : std::max(order, 0);
  const matrix_layout from = fuzz::read_layout(fields, side, side);
  matrix_layout to = fuzz::read_result_layout(fields, side, side);
  fuzz::sample_stream samples(fields.rest());
  const size_t source_bytes = size_t{4} * count_of(side) * count_of(side);

  // Four bytes are written also when there is no element.
  const size_t result_bytes = std::max<size_t>(to.bytes(), to.shift + 4);
  byte_block source(from.shift + source_bytes);
  for (size_t place = from.shift; place + 4 <= source.size(); place += 4)
    fuzz::store_at(source, place, call.has(3) ? samples.next_tame_float() : samples.next<float>());
  const float* const base = call.has(0) ? nullptr : fuzz::float_at(source, from.shift);

  const auto factorise = [&](const float* src, float* dst) -> uint32_t {
    fuzz::exact_array<int32_t> index(count_of(side));
    const uint32_t status =
        lu_decomposition_m(src, from.stride1, from.stride2, call.has(1) ? nullptr : index.data(),
                           call.has(2) ? nullptr : dst, to.stride1, to.stride2, order);
    if (status != QO_CMC_OK) require(index.is_untouched());
    for (int32_t k = 0; status == QO_CMC_OK && k < side; ++k)
      require(index[static_cast<size_t>(k)] == k);
    return status;
  };
  byte_block before(result_bytes);
  const auto result = left_in_every_table(
      before, to, [&](float* dst, byte_block&) { return factorise(base, dst); });

  if (huge) require(result.status == QO_CMC_NO_MEMORY);
  if (huge) return require(result.memory.is_untouched());
  const bool refused = call.has(1) || call.has(2) || (side >= 1 && !stays_inside(from));
  require(result.status == (refused ? QO_CMC_INVALID_SIZE : QO_CMC_OK));
  if (refused) return require(result.memory.is_untouched());
  if (side == 0) {
    memset(before.data() + to.origin(), (order * order) & 0xff, 4);
    return require(fuzz::same_samples(before, result.memory));
  }
  // Elements that coincide are read again after others were stored there: no plain rule says what
  // becomes of them.
  if (!to.has_distinct_elements()) return;
  const bool plain = from.has_distinct_elements();
  if (plain) {
    std::vector<float> elements(count_of(side) * count_of(side));
    if (base != nullptr) elements = fuzz::packed(source, from);
    byte_block expected(result_bytes);
    require_elements(result, std::move(expected), to, plain::factors(elements, count_of(side)));
  }
  if (!call.has(5) || base == nullptr) return;

  // The same with the result on its source.
  const size_t place = static_cast<uint32_t>(call.extra) % (to.bytes() + 1);
  byte_block shared(std::max(result_bytes, place + source_bytes));
  std::copy(source.begin() + from.shift, source.end(), shared.begin() + place);
  const auto on_source = left_in_every_table(shared, to, [&](float* dst, byte_block& memory) {
    return factorise(fuzz::float_at(memory, place), dst);
  });
  require_elements(on_source, std::move(shared), to, fuzz::packed(result.memory, to));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::input_reader fields(data, size);
  const uint8_t member = fields.u8() % 4;
  matrix_call call = {};
  call.flags = fields.u8();
  call.rows = side_of(fields.u8());
  call.inner = side_of(fields.u8());
  call.columns = side_of(fields.u8());
  call.extra = fields.i32();
  if (member == 0)
    run_transpose(call, fields);
  else if (member == 3)
    run_factorisation(call, fields);
  else
    run_product(call, fields, member == 2);
  return 0;
}

namespace {

struct shape {
  int32_t rows, inner, columns;
};

struct strides {
  uint8_t kind;
  int16_t first, second;
};

writer::bytes seed(uint8_t member, uint8_t flags, const shape& s, int32_t extra,
                   const strides& layout) {
  writer::bytes content;
  content.u8(member).u8(flags);
  for (const int32_t side : {s.rows, s.inner, s.columns}) content.u8(side_field(side));
  content.i32(extra);
  // A factorisation and a transpose have one source; what is left over is elements.
  for (int i = 0; i < 3; ++i) content.u8(layout.kind).i16(layout.first).i16(layout.second);
  return content;
}

}  // namespace

std::vector<fuzz::input> fuzz::seeds() {
  constexpr shape shapes[] = {{1, 1, 1},   {3, 4, 5},    {7, 2, 17},   {8, 8, 8},
                              {9, 9, 9},   {15, 3, 16},  {16, 16, 16}, {17, 11, 33},
                              {31, 5, 32}, {33, 33, 33}, {63, 2, 63},  {5, 0, 6},
                              {5, -3, 6},  {-1, 4, 4},   {4, 4, -2},   {0, 0, 0}};
  constexpr strides layouts[] = {{0, 0, 0},        {2, 0, 0},    {3, 12, 0},        {4, 0, 20},
                                 {0x40, 0, 0},     {0x80, 0, 0}, {0xc2, 0, 0},      {0x1f, 40, 4},
                                 {5, 3000, -1000}, {6, 0, 0},    {0x0d, 119, 7},    {5, 0, 4},
                                 {5, 4, 0},        {5, -9, 300}, {5, 32767, -32768}};
  std::vector<input> all;
  for (uint8_t member = 0; member < 4; ++member) {
    for (const shape& s : shapes)
      for (const strides& layout : layouts) {
        all.push_back(seed(member, 8, s, 0, layout).vector());
        all.push_back(seed(member, 0, s, 0, layout)
                          .u32(0x7fc00000)
                          .u32(0x7f800000)
                          .u32(0xff800000)
                          .u32(0x80000000)
                          .f32(3e38f)
                          .u32(1)
                          .f32(1.5f)
                          .vector());
      }
    for (const uint8_t flags : std::initializer_list<uint8_t>{1, 2, 4, 16, 64})
      for (const int32_t extra : {1, INT32_MAX, INT32_MIN, 23171, -23171})
        all.push_back(seed(member, flags, {6, 6, 6}, extra, {0, 0, 0}).vector());
  }
  for (const int32_t place : {0, 1, 4, 36, 100})
    for (const strides& layout : layouts)
      all.push_back(seed(3, 0x28, {9, 0, 0}, place, layout).vector());
  return all;
}
