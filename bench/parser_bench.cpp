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

/// What no parser can do without: it reads all bytes once for the checksum, makes the private copy
/// of each record and the blocks that are kept, copies into them, and releases all.
class least_work {
 public:
  explicit least_work(const std::vector<uint8_t>& image) : image_(image) {
    const qo_blob blob = writer::blob_of(image);
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    if (cmc == nullptr) std::abort();
    for (const void* const block : kit::tour_of(*cmc).owned)
      kept_.push_back(malloc_usable_size(const_cast<void*>(block)));
    qo_cmc_parser_deinit(cmc);
    qo::record_walk walk(image.data(), uint32_t(image.size()));
    while (const std::optional<qo::record_view> record = walk.next()) {
      // Some kinds keep the private copy itself: it is made once.
      const size_t usable = usable_size_of(record->size);
      const auto same = std::find(kept_.begin(), kept_.end(), usable);
      const bool is_kept = same != kept_.end();
      if (is_kept) kept_.erase(same);
      records_.push_back({record->bytes, record->size, is_kept});
    }
    blocks_.reserve(kept_.size() + records_.size() + 1);
  }

  void run() {
    keep_value(vector_sum_of(selected_rows())(image_.data(), image_.size()));
    blocks_.push_back(std::calloc(1, sizeof(parsed_cmc)));
    for (const private_copy& record : records_) {
      void* const copy = copy_of(record.bytes, record.size);
      if (record.is_kept)
        blocks_.push_back(copy);
      else
        std::free(copy);
    }
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

 private:
  struct private_copy {
    const uint8_t* bytes;
    size_t size;
    bool is_kept;
  };

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
  static void keep_value(unsigned value) { asm volatile("" : : "r"(value)); }

  const std::vector<uint8_t>& image_;
  std::vector<size_t> kept_;
  std::vector<private_copy> records_;
  std::vector<void*> blocks_;
};

using container_image = std::shared_ptr<const std::vector<uint8_t>>;

void fill_parse(contest& held, const container_image& image) {
  held.ours([image] {
    const qo_blob blob = writer::blob_of(*image);
    parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
    keep(cmc);
    qo_cmc_parser_deinit(cmc);
  });
  const auto work = std::make_shared<least_work>(*image);
  held.bound_by_work([image, work] { work->run(); });
}

void fill_checksum(contest& held, const container_image& image) {
  const qo_blob blob = writer::blob_of(*image);
  if (!qo::is_valid_container(blob)) std::abort();
  held.ours([image, blob] {
    const bool valid = qo::is_valid_container(blob);
    asm volatile("" : : "r"(valid));
  });
  held.scalar([image, blob] {
    uint32_t sum = 0;
    for (size_t i = 0; i + 4 <= image->size(); i += 4) {
      uint32_t word;
      std::memcpy(&word, image->data() + i, 4);
      sum += word;
    }
    asm volatile("" : : "r"(sum));
  });
  held.bound_by_work([image, sum = vector_sum_of(selected_rows())] {
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
                   .fill = [image](contest& held) { fill_parse(held, image); }});
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
           .fill = [image](contest& held) { fill_checksum(held, image); }});
    }
}

}  // namespace bench
