#include "tools/inspect/record_listing.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace {

constexpr size_t container_header_size = 24;
constexpr uint16_t last_cmc_kind = 63;
constexpr uint16_t others_kind = 722;

uint32_t word_at(const std::vector<uint8_t>& image, size_t offset) {
  uint32_t value;
  std::memcpy(&value, image.data() + offset, sizeof value);
  return value;
}

uint32_t sum_of_words(const std::vector<uint8_t>& image, size_t offset) {
  uint32_t sum = 0;
  for (; offset + 4 <= image.size(); offset += 4) sum += word_at(image, offset);
  return sum;
}

/// The address in the slot that shows whether a record of this kind was taken; none for a kind that
/// is not listed here.
std::optional<const void*> slot_of(const parsed_cmc& cmc, uint16_t id) {
  switch (id) {
    case 1:
      return cmc.general.record;
    case 2:
      return cmc.module_properties;
    case 5:
      return cmc.record_5;
    case 6:
      return cmc.record_6.record;
    case 7:
      return cmc.record_7;
    case 8:
      return cmc.record_8;
    case 9:
      return cmc.record_9;
    case 10:
      return cmc.lsc_grid.record;
    case 13:
      return cmc.record_13.record;
    case 14:
      return cmc.record_14.record;
    case 15:
      return cmc.record_15.record;
    case 16:
      return cmc.record_16.record;
    case 17:
      return cmc.record_17.record;
    case 18:
      return cmc.record_18.record;
    case 19:
      return cmc.record_19.record;
    case 20:
      return cmc.record_20.record;
    case 21:
      return cmc.record_21;
    case 22:
      return cmc.record_22;
    case 23:
      return cmc.record_23;
    case 24:
      return cmc.record_24;
    case 25:
      return cmc.record_25.record;
    case 26:
      return cmc.record_26;
    case 27:
      return cmc.record_27;
    case 28:
      return cmc.lens_shading;
    case 29:
      return cmc.record_29;
    case 30:
      return cmc.record_30;
    case 3:
    case 31:
      return cmc.record_31;
    case 32:
      return cmc.record_32;
    case 11:
    case 33:
      return cmc.lens_shading_ext;
    case 34:
      return cmc.record_34;
    case 35:
      return cmc.record_35.first;
    case 36:
      return cmc.record_36;
    default:
      return std::nullopt;
  }
}

/// Kinds whose first record wins the slot.
bool gives_way(uint16_t id) { return id == 3 || id == 11; }

std::string fate_of(const uint8_t* record, const record_header& header, parsed_cmc& cmc) {
  if (header.id == others_kind) return "left to the others call";
  if (header.id > last_cmc_kind) return "another reader's";
  void* const copy = std::malloc(header.size);
  if (copy == nullptr) return "no memory for a copy";
  std::memcpy(copy, record, header.size);
  const bool was_filled = slot_of(cmc, header.id).value_or(nullptr) != nullptr;
  const bool had_lens_shading = cmc.lens_shading != nullptr;
  const uint32_t code = cmc_parse(copy, &cmc, nullptr);
  if (code != QO_CMC_OK) {
    std::free(copy);
    return "refused, code " + std::to_string(code);
  }
  if (was_filled && gives_way(header.id)) return "released: the slot is taken";
  const std::optional<const void*> slot = slot_of(cmc, header.id);
  if (!slot) return "taken by the parser; which slot it fills is not known here";
  if (*slot == nullptr) return "malformed or empty: the slot is empty";
  std::string fate = *slot == copy ? "kept" : "converted";
  if (header.id == 27) fate = "converted, its copy kept";
  if (header.id == 10)
    fate += had_lens_shading ? "; lens_shading is taken" : "; lens_shading built from it";
  if (was_filled) fate += ", in place of an earlier one";
  return fate;
}

}  // namespace

const char* refusal_of(const std::vector<uint8_t>& image) {
  if (image.size() < container_header_size) return "it is shorter than a container's header";
  if (word_at(image, 4) != image.size()) return "its stated total differs from the file's size";
  const uint32_t checksum = word_at(image, 20);
  if (checksum != sum_of_words(image, 0) - checksum &&
      checksum != sum_of_words(image, container_header_size))
    return "its checksum holds by neither rule";
  return nullptr;
}

void list_records(const std::vector<uint8_t>& image) {
  parsed_cmc* const cmc = static_cast<parsed_cmc*>(std::calloc(1, sizeof(parsed_cmc)));
  if (cmc == nullptr) return;
  std::printf("    offset    id  version      size  what became of it\n");
  size_t offset = container_header_size;
  while (image.size() - offset >= sizeof(record_header)) {
    record_header header;
    std::memcpy(&header, image.data() + offset, sizeof header);
    std::printf("%10zu %5u %8u %9u  ", offset, unsigned{header.id}, unsigned{header.version},
                header.size);
    if (header.size < sizeof header || header.size > image.size() - offset) {
      std::printf("the walk stops here: the size is impossible\n");
      break;
    }
    std::printf("%s\n", fate_of(image.data() + offset, header, *cmc).c_str());
    offset += header.size;
  }
  qo_cmc_parser_deinit(cmc);
}
