// Parsing, from the container to the released slots, and its checksum alone. Both are bounded by
// the memory that they must touch; a sample is a byte of the container here.

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/families.h"
#include "bench/row_tables.h"
#include "bench/vector_operations.h"
#include "cmc_parser/container.h"
#include "qo_cmc/parser.h"
#include "tests/kit/slot_tour.h"
#include "writer/container_writer.h"
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

/// What a parser cannot do without: it reads all bytes once for the checksum, makes the blocks that
/// are kept, copies into them, and releases them. The private copy that is made of each record,
/// also where it is not kept, is work of its own.
class least_work {
 public:
  explicit least_work(const std::vector<uint8_t>& image) : image_(image) {
    const qo_blob blob = writer::blob_of(image);
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    if (cmc == nullptr) std::abort();
    for (const void* const block : kit::tour_of(*cmc).owned)
      kept_.push_back(malloc_usable_size(const_cast<void*>(block)));
    qo_cmc_parser_deinit(cmc);
    std::vector<size_t> unmatched = kept_;
    qo::record_walk walk(image.data(), uint32_t(image.size()));
    while (const std::optional<qo::record_view> record = walk.next()) {
      // Some kinds keep the private copy itself.
      const auto same = std::find(unmatched.begin(), unmatched.end(), usable_size_of(record->size));
      if (same != unmatched.end())
        unmatched.erase(same);
      else
        passing_.push_back(*record);
    }
    blocks_.reserve(kept_.size() + 1);
  }

  void run() {
    const unsigned sum = vector_sum_of(selected_rows())(image_.data(), image_.size());
    asm volatile("" : : "r"(sum));
    blocks_.push_back(std::calloc(1, sizeof(parsed_cmc)));
    const uint8_t* from = image_.data();
    const uint8_t* const end = from + image_.size();
    for (const size_t size : kept_) {
      const size_t there = std::min(size, image_.size());
      if (size_t(end - from) < there) from = image_.data();
      blocks_.push_back(copy_of(from, there));
      from += there;
    }
    for (void* const block : blocks_) std::free(block);
    blocks_.clear();
  }

  void run_with_private_copies() {
    for (const qo::record_view& record : passing_) std::free(copy_of(record.bytes, record.size));
    run();
  }

 private:
  static size_t usable_size_of(size_t size) {
    void* const block = std::malloc(size);
    const size_t usable = malloc_usable_size(block);
    std::free(block);
    return usable;
  }
  static void* copy_of(const uint8_t* bytes, size_t size) {
    void* const copy = std::malloc(size);
    std::memcpy(copy, bytes, size);
    keep(copy);
    return copy;
  }

  const std::vector<uint8_t>& image_;
  std::vector<size_t> kept_;
  std::vector<qo::record_view> passing_;  ///< records whose private copy is not kept
  std::vector<void*> blocks_;
};

using container_image = std::shared_ptr<const std::vector<uint8_t>>;

void fill_parse(contest& race, const container_image& image) {
  race.ours([image] {
    const qo_blob blob = writer::blob_of(*image);
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    keep(cmc);
    qo_cmc_parser_deinit(cmc);
  });
  const auto work = std::make_shared<least_work>(*image);
  race.bound_by_work([image, work] { work->run(); });
  race.onlooker("with private copies", [image, work] { work->run_with_private_copies(); });
}

uint32_t sum_of_words(const std::vector<uint8_t>& image, size_t first) {
  uint32_t sum = 0;
  for (size_t i = first; i + 4 <= image.size(); i += 4) {
    uint32_t word;
    std::memcpy(&word, image.data() + i, 4);
    sum += word;
  }
  return sum;
}

void fill_checksum(contest& race, const container_image& image, writer::checksum_rule rule) {
  const qo_blob blob = writer::blob_of(*image);
  const auto is_accepted = [blob] { return qo::check_container(&blob).why == qo::reason::none; };
  if (!is_accepted()) std::abort();
  race.ours([image, is_accepted] {
    const bool valid = is_accepted();
    asm volatile("" : : "r"(valid));
  });
  // One rule after the other, until one holds.
  race.scalar([image, both = rule == writer::checksum_rule::rule_b] {
    uint32_t sum = sum_of_words(*image, 0);
    asm volatile("" : "+r"(sum));
    if (both) sum = sum_of_words(*image, qo::container_header_size);
    asm volatile("" : : "r"(sum));
  });
  race.bound_by_work([image, sum = vector_sum_of(selected_rows())] {
    const unsigned value = sum(image->data(), image->size());
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
    const auto image = std::make_shared<const std::vector<uint8_t>>(each.content.image());
    all.push_back({.name = std::string("parse and release ") + each.name,
                   .samples = image->size(),
                   .avx512 = 1.3,
                   .avx2 = 1.3,
                   .rival = contest::work_name,
                   .fill = [image](contest& race) { fill_parse(race, image); }});
  }
  for (const workload& each : workloads)
    for (const auto rule : {writer::checksum_rule::rule_a, writer::checksum_rule::rule_b}) {
      writer::container content = each.content;
      const auto image = std::make_shared<const std::vector<uint8_t>>(content.rule(rule).image());
      const bool of_all = rule == writer::checksum_rule::rule_a;
      all.push_back(
          {.name = std::string(of_all ? "checksum of all words " : "checksum of the records ") +
                   each.name,
           .samples = image->size(),
           .avx512 = 1.15,
           .avx2 = 1.15,
           .rival = contest::work_name,
           .fill = [image, rule](contest& race) { fill_checksum(race, image, rule); }});
    }
}

}  // namespace bench
