// Independent calls share nothing: sixteen threads parse the same container and resample the same
// planes, and each must get what one thread by itself gets. The thread sanitizer finds here what
// two threads write without an order.
//
//   races ROUNDS   each thread's; with QO_ROWS=base|avx2|avx512 on that table of row kernels,
//                  otherwise the first calls choose it, all at once
//
// Nothing is called before the threads have started, or the choice would have been made.

#include <barrier>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

#include "qo_cmc/image_utils.h"
#include "qo_cmc/lsc.h"
#include "qo_cmc/parser.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/named_rows.h"
#include "tests/kit/slot_tour.h"

namespace {

constexpr int thread_count = 16;
constexpr uint16_t in_w = 17, in_h = 13, out_w = 65, out_h = 49;
constexpr uint16_t small_w = 9, small_h = 7;
constexpr int32_t side = 14;
static_assert(side * side < in_w * in_h, "the matrix begins at the second of the floats");

/// What all threads read, and none writes.
struct shared_input {
  std::vector<uint8_t> container;
  std::vector<uint8_t> nvm = kit::module_image(2, writer::nvm_grid{});
  std::vector<uint16_t> words = std::vector<uint16_t>(in_w * in_h);
  std::vector<uint32_t> longs = std::vector<uint32_t>(in_w * in_h);
  std::vector<float> floats = std::vector<float>(in_w * in_h);

  shared_input() {
    writer::container writer;
    for (const writer::named_record& record : writer::every_good_record())
      writer.add(record.content);
    for (const writer::bytes& record : kit::merged_records()) writer.add(record);
    container = writer.image();
    for (size_t i = 0; i < words.size(); ++i) {
      words[i] = static_cast<uint16_t>(i * 40503);
      longs[i] = static_cast<uint32_t>(i * 2654435761u);
      floats[i] = static_cast<float>(words[i]) / 64;
    }
  }
};

/// A hash (FNV-1a) of what the calls of a round gave.
class digest {
 public:
  template <class T>
  void add(const std::vector<T>& values) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(values.data());
    for (size_t i = 0; i < values.size() * sizeof(T); ++i) add_byte(bytes[i]);
  }
  void add(uint64_t value) {
    for (int i = 0; i < 8; ++i) add_byte(static_cast<uint8_t>(value >> (8 * i)));
  }
  uint64_t value() const { return value_; }

 private:
  void add_byte(uint8_t byte) { value_ = (value_ ^ byte) * 1099511628211u; }

  uint64_t value_ = 14695981039346656037u;
};

void parse(const shared_input& input, digest& seen) {
  const qo_blob container = {input.container.data(), static_cast<uint32_t>(input.container.size())};
  const qo_blob nvm = {input.nvm.data(), static_cast<uint32_t>(input.nvm.size())};
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container, &nvm);
  if (cmc == nullptr) abort();
  seen.add(kit::tour_of(*cmc).digest);
  qo_cmc_parser_deinit(cmc);
}

void resample(const shared_input& input, digest& seen) {
  std::vector<uint16_t> words(size_t{out_w} * out_h);
  std::vector<uint32_t> longs(words.size());
  std::vector<float> floats(words.size());
  seen.add(resize_2d_array_uint16(input.words.data(), in_w, in_h, words.data(), out_w, out_h));
  seen.add(words);
  seen.add(resize_2d_array_uint32(input.longs.data(), in_w, in_h, longs.data(), out_w, out_h));
  seen.add(longs);
  seen.add(resize_2d_array_float(input.floats.data(), in_w, in_h, floats.data(), out_w, out_h));
  seen.add(floats);
  seen.add(crop_resize_2d_array_uint16(input.words.data(), in_w, in_h, {2, 1}, {14, 11},
                                       words.data(), out_w, out_h));
  seen.add(words);
  seen.add(image_nearest_neighbor_scale_uint32(input.longs.data(), in_w, in_h, longs.data(), out_w,
                                               out_h));
  seen.add(longs);
  seen.add(
      bicubic_resize_u16_to_u16(input.words.data(), in_h, in_w, 8, words.data(), out_h, out_w));
  seen.add(words);
  std::vector<uint32_t> maxima(size_t{small_w} * small_h);
  seen.add(
      image_downscale_nearest_neighbor_int32(reinterpret_cast<const int32_t*>(input.longs.data()),
                                             maxima.data(), in_w, in_h, small_w, small_h, 1));
  seen.add(maxima);
  // Every second element stays as it is.
  std::vector<uint16_t> spread(2 * words.size());
  seen.add(
      resize_2d_array_uint16_v1(input.words.data(), in_w, in_h, spread.data(), out_w, out_h, 2));
  seen.add(spread);
  const uint16_t* const source[] = {input.words.data()};
  float* const enlarged[] = {floats.data()};
  seen.add(image_bicubic_upscale_uint16_to_float(source, enlarged, in_w, in_h, out_w, out_h, 1));
  seen.add(floats);
  uint16_t* const reduced[] = {words.data()};
  words.resize(size_t{small_w} * small_h);
  seen.add(image_downscale_u16_to_u16(source, reduced, in_w, in_h, 10, small_w, small_h, 10, 1,
                                      nullptr));
  seen.add(words);
}

void multiply(const shared_input& input, digest& seen) {
  constexpr int32_t element = sizeof(float);
  constexpr int32_t row = side * element;
  const float* const a = input.floats.data() + 1;
  std::vector<float> product(size_t{side} * side);
  seen.add(transpose_m(a, row, element, side, side, product.data(), row, element));
  seen.add(product);
  seen.add(mul_mm(a, row, element, side, side, a, row, element, side, side, product.data(), row,
                  element));
  seen.add(product);
  std::vector<int32_t> index(side);
  std::vector<float> factors(product.size());
  seen.add(lu_decomposition_m(product.data(), row, element, index.data(), factors.data(), row,
                              element, side));
  seen.add(factors);
}

uint64_t round(const shared_input& input) {
  digest seen;
  parse(input, seen);
  resample(input, seen);
  multiply(input, seen);
  return seen.value();
}

/// How many rounds of all threads differ from one that runs by itself.
int run(const shared_input& input, int rounds) {
  std::vector<int> different(thread_count);
  std::vector<uint64_t> first(thread_count);
  {
    std::barrier start(thread_count);
    std::vector<std::jthread> threads;
    for (size_t thread = 0; thread < thread_count; ++thread) {
      threads.emplace_back([&, thread] {
        start.arrive_and_wait();
        first[thread] = round(input);
        for (int i = 1; i < rounds; ++i) different[thread] += round(input) != first[thread];
      });
    }
  }
  const uint64_t expected = round(input);
  int sum = 0;
  for (size_t thread = 0; thread < thread_count; ++thread)
    sum += different[thread] + (first[thread] != expected);
  return sum;
}

}  // namespace

int main(int count, char** names) {
  const int rounds = count == 2 ? atoi(names[1]) : 0;
  if (rounds < 1) {
    fprintf(stderr, "usage: races ROUNDS\n");
    return EXIT_FAILURE;
  }
  if (const char* const name = getenv("QO_ROWS"); name != nullptr) {
    if (kit::use_rows_named(name) != kit::rows_choice::taken) {
      printf("no table %s on this machine\n", name);
      return kit::skipped_exit_code;
    }
  }
  const int different = run(shared_input(), rounds);
  printf("%d threads, %d rounds each: %d differ\n", thread_count, rounds, different);
  return different == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
