// Parsing, from the container to the released slots, and its checksum alone. Both are bounded by
// the memory that they must touch; a sample is a byte of the container here.

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/families.h"
#include "bench/plane.h"
#include "bench/row_tables.h"
#include "bench/vector_operations.h"
#include "cmc_parser/container.h"
#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"
#include "writer/container_writer.h"
#include "writer/nvm_writer.h"
#include "writer/records.h"

namespace bench {
namespace {

/// Large containers are mostly lens-shading tables, of 25 KB for each light and set.
writer::container tables_of(uint16_t lights) {
  writer::container made;
  made.add(writer::record_28({.lights = lights, .width = 65, .height = 49}));
  made.add(writer::record_33({.lights = lights, .width = 65, .height = 49}));
  return made;
}

/// Of each kind one, with a small table: what the calls and the small blocks cost.
writer::container every_kind_once() {
  writer::container made;
  uint16_t last = 0;
  for (const writer::named_record& record : writer::every_good_record()) {
    const uint16_t kind = record.content.u16_at(6);
    if (kind != last && kind != 28 && kind != 33) made.add(record.content);
    last = kind;
  }
  made.add(writer::record_28({.lights = 3, .width = 17, .height = 13}));
  made.add(writer::record_33({.lights = 3, .width = 17, .height = 13}));
  return made;
}

/// A container as everybody reads it: at an address where vectors straddle no cache line.
class container_image {
 public:
  explicit container_image(const std::vector<uint8_t>& bytes)
      : memory_(dense_plane(sample::u8, bytes.size(), 1)) {
    std::memcpy(memory_.as<uint8_t>(), bytes.data(), bytes.size());
  }
  [[nodiscard]] const uint8_t* data() const { return memory_.as<uint8_t>(); }
  [[nodiscard]] size_t size() const { return memory_.bytes(); }
  [[nodiscard]] qo_blob blob() const { return {data(), uint32_t(size())}; }

 private:
  plane memory_;
};

/// What the library asks of the heap from the container to the released slots.
struct heap_use {
  std::vector<kit::heap_call> calls;
  size_t calls_of_init;  ///< the first ones; the others release
};

/// A ledger sees what a loaded library asks for, so that the library is loaded once more, as it
/// ships. It stays loaded.
heap_use heap_use_of(const container_image& image) {
  void* const library = dlopen(QO_BENCH_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) std::abort();
  const auto init =
      reinterpret_cast<decltype(&qo_cmc_parser_init)>(dlsym(library, "qo_cmc_parser_init"));
  const auto deinit =
      reinterpret_cast<decltype(&qo_cmc_parser_deinit)>(dlsym(library, "qo_cmc_parser_deinit"));
  const qo_blob blob = image.blob();
  const kit::allocation_ledger ledger;
  parsed_cmc* const cmc = init(&blob);
  if (cmc == nullptr) std::abort();
  const size_t calls_of_init = ledger.calls().size();
  deinit(cmc);
  return {ledger.calls(), calls_of_init};
}

/// What a parser cannot do without: it reads all bytes once for the checksum, makes the blocks that
/// are kept, in the library's order and of its sizes, copies into them, and releases them, in the
/// library's order too. A private copy that is made of a record, and not kept, is work of its own.
class least_work {
 public:
  enum class blocks { kept, all };

  least_work(const container_image& image, blocks which) : image_(image) {
    const heap_use use = heap_use_of(image);
    std::set<size_t> passing;
    if (which == blocks::kept)
      for (size_t i = 0; i < use.calls_of_init; ++i)
        if (use.calls[i].is_release) passing.insert(use.calls[i].block);
    for (const kit::heap_call& call : use.calls) {
      if (passing.count(call.block) == 0) calls_.push_back(call);
      blocks_.resize(std::max(blocks_.size(), call.block + 1));
    }
  }

  void run() {
    const unsigned sum = vector_sum_of(selected_rows())(image_.data(), image_.size());
    asm volatile("" : : "r"(sum));
    size_t at = 0;
    for (const kit::heap_call& call : calls_) {
      void*& block = blocks_[call.block];
      if (call.is_release) {
        std::free(block);
        continue;
      }
      block = std::malloc(call.size);
      const size_t there = std::min(call.size, image_.size());
      if (image_.size() - at < there) at = 0;
      std::memcpy(block, image_.data() + at, there);
      keep(block);
      at += there;
    }
  }

 private:
  container_image image_;
  std::vector<kit::heap_call> calls_;
  std::vector<void*> blocks_;
};

void fill_parse(contest& race, const container_image& image) {
  race.ours([image] {
    const qo_blob blob = image.blob();
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    keep(cmc);
    qo_cmc_parser_deinit(cmc);
  });
  const auto least = [&image](least_work::blocks which) {
    return [work = std::make_shared<least_work>(image, which)] { work->run(); };
  };
  race.bound_by_work(least(least_work::blocks::kept));
  race.onlooker("with private copies", least(least_work::blocks::all));
}

/// The shortest records whose one value is blended with a module's grid.
writer::container blended_records(size_t count) {
  const writer::bytes record = writer::record_30(
      {.items = 1, .width = 1, .height = 1, .trailing_rows = 0, .grid = {500}, .version = 101});
  writer::container made;
  for (size_t i = 0; i < count; ++i) made.add(record);
  return made;
}

/// The largest grid that a module can have, and no sets.
writer::bytes module_with_largest_grid() {
  return writer::nvm_image({.columns = 0,
                            .rows = 0,
                            .sets = {},
                            .grid = writer::nvm_grid{.width = UINT8_MAX, .height = UINT8_MAX}});
}
constexpr size_t largest_grid_values = size_t{UINT8_MAX} * UINT8_MAX;

/// From the container and the module's image to the released slots.
void fill_blend(contest& race, const container_image& image, const container_image& module,
                size_t count) {
  race.ours([image, module] {
    const qo_blob container = image.blob();
    const qo_blob nvm = module.blob();
    parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container, &nvm);
    keep(cmc);
    qo_cmc_parser_deinit(cmc);
  });
  // Each record reads the grid, and writes one.
  const plane from = with_noise(dense_plane(sample::u32, UINT8_MAX, UINT8_MAX));
  const plane to = dense_plane(sample::u32, UINT8_MAX, UINT8_MAX);
  race.bound_by_work([from, to, count] {
    for (size_t i = 0; i < count; ++i) {
      std::memcpy(to.as<char>(), from.as<char>(), sizeof(uint32_t) * largest_grid_values);
      keep(to.as<char>());
    }
  });
}

uint32_t sum_of_words(const container_image& image, size_t first) {
  uint32_t sum = 0;
  for (size_t i = first; i + 4 <= image.size(); i += 4) {
    uint32_t word;
    std::memcpy(&word, image.data() + i, 4);
    sum += word;
  }
  return sum;
}

void fill_checksum(contest& race, const container_image& image, writer::checksum_rule rule) {
  const auto is_accepted = [blob = image.blob()] {
    return qo::check_container(&blob).why == qo::reason::none;
  };
  if (!is_accepted()) std::abort();
  race.ours([image, is_accepted] {
    const bool valid = is_accepted();
    asm volatile("" : : "r"(valid));
  });
  // One rule after the other, until one holds.
  race.scalar([image, both = rule == writer::checksum_rule::rule_b] {
    uint32_t sum = sum_of_words(image, 0);
    asm volatile("" : "+r"(sum));
    if (both) sum = sum_of_words(image, qo::container_header_size);
    asm volatile("" : : "r"(sum));
  });
  race.bound_by_work([image, sum = vector_sum_of(selected_rows())] {
    const unsigned value = sum(image.data(), image.size());
    asm volatile("" : : "r"(value));
  });
}

}  // namespace

void add_parser_rows(rows& all) {
  struct workload {
    const char* name;
    writer::container content;
  };
  const workload workloads[] = {
      {"13 KB", every_kind_once()}, {"600 KB", tables_of(12)}, {"8 MB", tables_of(162)}};
  for (const workload& each : workloads) {
    const container_image image(each.content.image());
    all.push_back({.name = std::string("parse and release ") + each.name,
                   .samples = image.size(),
                   .avx512 = 1.3,
                   .avx2 = 1.3,
                   .rival = contest::work_name,
                   .fill = [image](contest& race) { fill_parse(race, image); }});
  }
  for (const workload& each : workloads)
    for (const auto rule : {writer::checksum_rule::rule_a, writer::checksum_rule::rule_b}) {
      writer::container content = each.content;
      const container_image image(content.rule(rule).image());
      const bool of_all = rule == writer::checksum_rule::rule_a;
      all.push_back(
          {.name = std::string(of_all ? "checksum of all words " : "checksum of the records ") +
                   each.name,
           .samples = image.size(),
           .avx512 = 1.15,
           .avx2 = 1.15,
           .rival = contest::work_name,
           .fill = [image, rule](contest& race) { fill_checksum(race, image, rule); }});
    }
  // What takes longest for its size: only the last record's grid stays. No goal is set.
  const std::pair<const char*, size_t> blends[] = {{"blend with 255 x 255 once", 1},
                                                   {"blend with 255 x 255 in 64 KiB", 1637}};
  for (const auto& [name, count] : blends) {
    const container_image image(blended_records(count).image());
    const container_image module(module_with_largest_grid().vector());
    all.push_back({.name = name,
                   .samples = largest_grid_values * count,
                   .avx512 = {},
                   .avx2 = {},
                   .rival = contest::work_name,
                   .fill = [image, module, times = count](contest& race) {
                     fill_blend(race, image, module, times);
                   }});
  }
}

}  // namespace bench
