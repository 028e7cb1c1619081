// inspect CONTAINER [--nvm IMAGE] [--ledger]
//
// Shows what the parser makes of a container: its records, then the slots of the parsed CMC.

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "qo_cmc/parser.h"
#include "tests/kit/allocation_ledger.h"
#include "tools/inspect/byte_file.h"
#include "tools/inspect/gain_table.h"
#include "tools/inspect/record_listing.h"
#include "tools/inspect/slot_listing.h"

namespace {

struct options {
  std::string container;
  std::string nvm;
  bool ledger = false;
};

constexpr char usage[] =
    "usage: inspect CONTAINER [--nvm IMAGE] [--ledger]\n"
    "  CONTAINER     a vexb container\n"
    "  --nvm IMAGE   the camera module's NVM image: its lens-shading tables are rebuilt,\n"
    "                and shown beside the ones without it\n"
    "  --ledger      count the heap blocks that the library holds, to the end\n";

std::optional<options> parse_arguments(int count, char** arguments) {
  options result;
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument == "--ledger")
      result.ledger = true;
    else if (argument == "--nvm" && i + 1 < count)
      result.nvm = arguments[++i];
    else if (argument.starts_with("-") || !result.container.empty())
      return std::nullopt;
    else
      result.container = argument;
  }
  if (result.container.empty()) return std::nullopt;
  return result;
}

qo_blob blob_of(const std::vector<uint8_t>& image) {
  return {image.data(), static_cast<uint32_t>(image.size())};
}

void print_ledger(const kit::allocation_ledger& ledger, const char* when) {
  std::printf("  %-28s %6zu blocks still allocated, %zu bytes\n", when, ledger.live_blocks(),
              ledger.live_bytes());
}

/// Parses, prints the slots and tears down; false when the parser refuses the container.
bool show_slots(const std::vector<uint8_t>& image, const std::vector<uint8_t>& nvm, bool counted) {
  std::optional<kit::allocation_ledger> ledger;
  if (counted) ledger.emplace();
  const qo_blob container_blob = blob_of(image);
  const qo_blob nvm_blob = blob_of(nvm);
  parsed_cmc* const cmc = qo_cmc_parser_init_v1(&container_blob, &nvm_blob);
  if (cmc == nullptr) return false;
  qo_vexb_others_parser_init(&container_blob, cmc);
  std::printf("\nslots%s\n", nvm.empty() ? "" : ", with the module's calibration");
  list_slots(*cmc);

  others_block* const others = cmc->others;
  if (counted) {
    std::printf("\nledger\n");
    std::printf("  %-28s %6zu, %zu bytes at the peak\n", "allocations", ledger->allocations(),
                ledger->peak_bytes());
    print_ledger(*ledger, "parsed");
  }
  qo_cmc_parser_deinit(cmc);
  if (!counted) {
    std::free(others);
    return true;
  }
  print_ledger(*ledger, "torn down (others remains)");
  ledger->release(others);
  print_ledger(*ledger, "others released by client");
  return true;
}

/// Parses once without the module's calibration and once with it, and sets the tables side by side.
void show_gains(const std::vector<uint8_t>& image, const std::vector<uint8_t>& nvm) {
  const qo_blob container_blob = blob_of(image);
  const qo_blob nvm_blob = blob_of(nvm);
  parsed_cmc* const before = qo_cmc_parser_init(&container_blob);
  parsed_cmc* const after = qo_cmc_parser_init_v1(&container_blob, &nvm_blob);
  if (before != nullptr && after != nullptr && before->lens_shading != nullptr &&
      (after->lens_shading != nullptr))
    list_gains(*before->lens_shading, *after->lens_shading);
  qo_cmc_parser_deinit(before);
  qo_cmc_parser_deinit(after);
}

}  // namespace

int main(int count, char** arguments) {
  const std::optional<options> chosen = parse_arguments(count, arguments);
  if (!chosen) {
    std::fputs(usage, stderr);
    return 2;
  }
  const auto image = read_file(chosen->container);
  const auto nvm =
      chosen->nvm.empty() ? std::make_optional<std::vector<uint8_t>>() : read_file(chosen->nvm);
  if (!image || !nvm) {
    std::fprintf(stderr, "inspect: cannot read %s\n",
                 (image ? chosen->nvm : chosen->container).c_str());
    return 2;
  }
  std::printf("%s: %zu bytes\n\n", chosen->container.c_str(), image->size());
  if (const char* const refusal = refusal_of(*image); refusal != nullptr) {
    std::fprintf(stderr, "inspect: %s is refused: %s\n", chosen->container.c_str(), refusal);
    return 1;
  }
  list_records(*image);
  if (!nvm->empty()) show_gains(*image, *nvm);
  return show_slots(*image, *nvm, chosen->ledger) ? 0 : 1;
}
