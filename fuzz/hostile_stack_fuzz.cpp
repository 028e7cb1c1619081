// Fuzz target of the parser above a stack that misbehaves as the input says. The first bytes choose
// what its functions do, the rest is the container (fuzz/image_parts.h):
//
//      0  u8   the NVM library   bit 0: no handle   bit 1: a status other than 0
//                                bit 2: no sets     bit 3: no grid   bit 4: the grid has no values
//                                bit 5: a grid that does not count
//                                bit 6: a set lacks the table that byte 9 names
//      1  u8   columns, rows and shift of the grid
//      4  u8   number of sets, columns, rows and fraction bits of their tables
//      8  u8   start of the values
//      9  u8   a set's table
//     10  u8   the container library, one byte a record, again from the first after the last:
//              bits 0-2  0, 1: decodes it        2: refuses it with the code in bits 3 to 7
//                        3: and says a larger size        4: a smaller one   5: size 0
//                        6: makes it a record of nothing  7: takes nothing of it, and says 0
//
// What is trusted stays true: arrays have as many elements as their object says.

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <random>
#include <vector>

#include "fuzz/held.h"
#include "fuzz/image_parts.h"
#include "fuzz/target.h"
#include "qo_nvm.h"
#include "tests/kit/fake_platform.h"
#include "writer/container_writer.h"

namespace {

constexpr size_t decoder_choices = 10;
constexpr size_t all_choices = 26;

}  // namespace

const fuzz::input_form fuzz::form = {.choices = all_choices, .has_nvm = false};

namespace {

using fuzz::require;
using choice_bytes = std::vector<uint8_t>;

bool has_bit(const choice_bytes& choices, unsigned bit) { return (choices[0] >> bit & 1) != 0; }

std::vector<uint8_t> values_from(uint32_t start, size_t size) {
  std::minstd_rand random(start + 1);
  std::vector<uint8_t> bytes(size);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

/// A calibration object of any sizes, in blocks of exactly these. All sets share their tables.
class any_calibration {
 public:
  explicit any_calibration(const choice_bytes& choices) {
    const size_t samples = size_t{choices[5]} * choices[6];
    // As many sets as are read in time.
    constexpr size_t most_samples = 130050;
    const size_t sets = std::min<size_t>(choices[4], 1 + most_samples / (samples + 1));
    for (size_t channel = 0; channel < 4; ++channel)
      tables_[channel] = fuzz::exact(values_from(choices[8] + static_cast<uint32_t>(channel),
                                                 samples * (choices[7] >= 9 ? 2 : 1)));
    sets_.resize(sets);
    for (lsc_calibration_set& set : sets_) {
      set.fraction_bits = choices[7];
      for (size_t channel = 0; channel < 4; ++channel)
        set.channel_tables[channel] = tables_[channel].get();
    }
    if (has_bit(choices, 6) && sets != 0)
      sets_[choices[9] / 4 % sets].channel_tables[choices[9] % 4] = nullptr;
    object_.lsc_set_count = static_cast<uint8_t>(sets);
    object_.lsc_grid_width = choices[5];
    object_.lsc_grid_height = choices[6];
    object_.lsc_sets = has_bit(choices, 2) ? nullptr : sets_.data();

    grid_.width = choices[1];
    grid_.height = choices[2];
    grid_.shift = choices[3];
    values_ = fuzz::exact(values_from(choices[8], size_t{4} * choices[1] * choices[2]));
    if (!has_bit(choices, 4)) grid_.values = reinterpret_cast<const uint32_t*>(values_.get());
    object_.grid_present = has_bit(choices, 5) ? 0 : 1;
    object_.grid = has_bit(choices, 3) ? nullptr : &grid_;
  }
  [[nodiscard]] calibration* handle() { return &object_; }

 private:
  std::array<fuzz::exact_block, 4> tables_;
  fuzz::exact_block values_;
  std::vector<lsc_calibration_set> sets_;
  calibration_grid grid_ = {};
  calibration object_ = {};
};

uint32_t size_at(const void* record) {
  uint32_t size;
  memcpy(&size, record, sizeof size);
  return size;
}

void set_size(void* record, uint32_t size) { memcpy(record, &size, sizeof size); }

/// Records that the stack took, and how long they are, whatever their headers say then.
struct taken_record {
  const void* address;
  uint32_t size;
  bool decoded;  ///< what stands where a decoded record has addresses are addresses
};

/// The container library as the input wants it.
class decoder {
 public:
  explicit decoder(const choice_bytes& choices) : choices_(choices) {}

  uint32_t decode(void* record) {
    const uint8_t way = choices_[decoder_choices + calls_++ % (all_choices - decoder_choices)];
    const uint32_t size = size_at(record);
    const uint32_t rest = way >> 3;
    taken_record& taken = taken_.emplace_back();
    taken = {.address = record, .size = size, .decoded = true};
    if ((way & 7) == 2) return 1 + rest;
    if ((way & 7) == 6)
      memset(static_cast<record_header*>(record) + 1, 0, size - sizeof(record_header));
    taken.decoded = (way & 7) < 6 || ((way & 7) == 6 && size >= sizeof(record_34_table));
    const uint32_t code = (way & 7) < 6 ? decode_by_library(record) : 0;
    if ((way & 7) == 3) set_size(record, size + 1 + rest * 0x04000001u);
    if ((way & 7) == 4) set_size(record, size / (2 + rest));
    if ((way & 7) == 5) set_size(record, 0);
    return code;
  }

  /// Puts the slots' sizes right for a tour, and takes out of it the records that nobody decoded.
  void prepare(parsed_cmc& cmc) const {
    for (record_header** const slot :
         {&cmc.record_9, &cmc.record_31, &cmc.record_32, &cmc.record_34}) {
      // The last one, because an address that was freed is used again.
      const auto taken =
          std::find_if(taken_.rbegin(), taken_.rend(),
                       [&](const taken_record& each) { return each.address == *slot; });
      if (taken == taken_.rend()) continue;
      set_size(*slot, taken->size);
      const bool has_addresses = slot == &cmc.record_31 || slot == &cmc.record_34;
      if (has_addresses && !taken->decoded) *slot = nullptr;
    }
  }

 private:
  static uint32_t decode_by_library(void* record) {
    static const auto found =
        reinterpret_cast<uint32_t (*)(void*)>(dlsym(RTLD_NEXT, "qo_vexb_parse_record"));
    require(found != nullptr);
    return found(record);
  }

  const choice_bytes& choices_;
  size_t calls_ = 0;
  std::vector<taken_record> taken_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const fuzz::image_parts parts = fuzz::split(data, size);
  any_calibration module(parts.choices);
  decoder stack(parts.choices);
  calibration* const handle = has_bit(parts.choices, 0) ? nullptr : module.handle();
  kit::fake_platform platform;
  platform.answer_images_with(handle, has_bit(parts.choices, 1) ? 5 : 0);
  platform.decode_records_with([&stack](void* record) { return stack.decode(record); });

  fuzz::exact_block block = fuzz::exact(parts.container);
  const uint8_t any_byte = 0;
  const qo_blob container = {block.get(), static_cast<uint32_t>(parts.container.size())};
  const qo_blob nvm = {&any_byte, 1};
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container, &nvm);
  block.reset();
  require(platform.parsed_images() == (cmc != nullptr ? 1 : 0));
  // A handle counts, whatever the status beside it, and is given back once.
  const size_t handles = cmc != nullptr && handle != nullptr ? 1 : 0;
  require(platform.released_handles() == std::vector<const calibration*>(handles, handle));
  for (const kit::log_message& message : platform.messages()) require(message.text.ends_with('\n'));
  if (cmc == nullptr) return 0;
  parsed_cmc toured = *cmc;
  stack.prepare(toured);
  fuzz::require_sound_slots(toured);
  qo_cmc_parser_deinit(cmc);
  return 0;
}
