// Whole parses: what all slots hold and lead to, addresses left out. A sample here is a parse.

#include <cstdlib>
#include <string>
#include <utility>

#include "qo_cmc/parser.h"
#include "qo_nvm.h"
#include "tests/bits/items.h"
#include "tests/bits/noise.h"
#include "tests/kit/merging_module.h"
#include "tests/kit/slot_tour.h"
#include "tools/sample/sample_module.h"

namespace bits {
namespace {

using image = std::vector<uint8_t>;

void note(digest& seen, const parsed_cmc* cmc) {
  const uint64_t content[] = {cmc != nullptr ? kit::tour_of(*cmc).digest : 0};
  seen.samples(std::span<const uint64_t>(content));
}

void parse(digest& seen, const image& container, const image* nvm = nullptr) {
  const qo_blob blob = writer::blob_of(container);
  const qo_blob module = nvm != nullptr ? writer::blob_of(*nvm) : qo_blob{};
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&blob, nvm != nullptr ? &module : nullptr);
  note(seen, cmc);
  qo_cmc_parser_deinit(cmc);
}

/// Every kind at each of its versions, by itself.
void records(results& all) {
  digest& seen = all.add("cmc_parse.every_record");
  for (const writer::named_record& record : writer::every_good_record()) {
    auto* const cmc = static_cast<parsed_cmc*>(calloc(1, sizeof(parsed_cmc)));
    void* const copy = malloc(record.content.size());
    if (cmc == nullptr || copy == nullptr) abort();
    memcpy(copy, record.content.data(), record.content.size());
    const uint32_t code = cmc_parse(copy, cmc, nullptr);
    if (code != 0) free(copy);
    seen.status(code);
    note(seen, cmc);
    qo_cmc_parser_deinit(cmc);
  }
}

/// Every good record at once, without a module and with one.
void containers(results& all) {
  writer::container whole;
  for (const writer::named_record& record : writer::every_good_record()) whole.add(record.content);
  const image container = whole.image();
  const qo_blob blob = writer::blob_of(container);
  parsed_cmc* const cmc = qo_cmc_parser_init(&blob);
  note(all.add("qo_cmc_parser_init.every_record"), cmc);
  qo_cmc_parser_deinit(cmc);
  const image nvm = kit::module_image(2, writer::nvm_grid{});
  parse(all.add("qo_cmc_parser_init_v1.every_record"), container, &nvm);
}

/// Every form of record 30, into which a module's grid is blended: values near 1 at every shift up
/// to one past 32, and any values.
void blends(results& all) {
  const std::string name = "qo_cmc_parser_init_v1.blended";
  digest& seen = all.add(name);
  noise random(name);
  for (const writer::named_record& record : writer::every_good_record()) {
    if (record.content.u16_at(6) != 30) continue;
    const image container = writer::container().add(record.content).image();
    for (uint8_t shift = 0; shift < 34; ++shift) {
      std::vector<uint32_t> values = random.plane<uint32_t>(size_t{9} * 7, nature::any_bits);
      if (random.below(4) != 0)
        for (uint32_t& value : values) value = (1u << shift % 32) + value % 256;
      const image nvm =
          kit::module_image(2, writer::nvm_grid{.shift = shift, .values = std::move(values)});
      parse(seen, container, &nvm);
    }
  }
}

/// Tables rebuilt for the module: all cells, orders and orientations, one of each past the last;
/// grids of bytes and of words.
void merges(results& all, const std::string& suffix, uint8_t fraction_bits) {
  const std::string name = "qo_cmc_parser_init_v1.merged_" + suffix;
  digest& seen = all.add(name);
  noise random(name);
  constexpr uint16_t layouts[] = {0, 1, 2, 3, 4, 256, 257, 258, 259, 260, 261, 262, 263, 264};
  for (const uint16_t layout : layouts) {
    for (uint16_t order = 0; order <= 4; ++order) {
      for (uint16_t orientation = 0; orientation <= 4; ++orientation) {
        const auto element = [&](size_t channel, size_t index) {
          return static_cast<uint16_t>(90 + 2 * index + channel + random.below(4));
        };
        const image nvm =
            writer::nvm_image({.columns = 9,
                               .rows = 7,
                               .sets = {{.fraction_bits = fraction_bits, .element = element},
                                        {.fraction_bits = fraction_bits, .element = element}}})
                .vector();
        parse(seen,
              writer::container().add(kit::merged_records(layout, order, orientation)).image(),
              &nvm);
      }
    }
  }
}

/// The invented module, whole. Its own bytes come first, so that a difference of the input shows
/// as one.
void sample(results& all) {
  const image container = sample_container();
  const image nvm = sample_nvm();
  digest& input = all.add("input.sample");
  input.samples(container);
  input.samples(nvm);
  digest& seen = all.add("qo_cmc_parser_init_v1.sample");
  parse(seen, container);
  parse(seen, container, &nvm);
  parse(seen, sample_container(record_34_choice::synthesised), &nvm);
}

void others(results& all) {
  digest& seen = all.add("qo_vexb_others_parser_init");
  for (size_t count = 0; count <= 10; ++count) {
    writer::record_722_fields fields;
    fields.values.resize(count);
    for (size_t i = 0; i < count; ++i) fields.values[i] = 0x0123456789abcdef * (i + 1);
    const image container = writer::container().add(writer::record_722(fields)).image();
    const qo_blob blob = writer::blob_of(container);
    parsed_cmc cmc = {};
    qo_vexb_others_parser_init(&blob, &cmc);
    seen.status(cmc.others != nullptr);
    if (cmc.others == nullptr) continue;
    seen.status(cmc.others->others_value);
    seen.status(cmc.others->others_count);
    seen.samples(std::span<const uint64_t>(cmc.others->others_entries));
    free(cmc.others);
  }
}

}  // namespace

void parse_items(results& all) {
  records(all);
  containers(all);
  blends(all);
  merges(all, "bytes", 7);
  merges(all, "words", 10);
  sample(all);
  others(all);
}

}  // namespace bits
