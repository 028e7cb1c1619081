// Parses of hostile bytes with each allocation refused, alone and with all later ones. What is left
// is foretold from the bytes as for sound containers, so that it is exact here too: a record is
// forgotten or not by its bytes and by what is refused, never by what came before it.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "fuzz/record_input.h"
#include "tests/cmc_parser/allocation_faults.h"
#include "tests/kit/container_cycle.h"
#include "tests/kit/fake_platform.h"
#include "tests/kit/merging_module.h"
#include "writer/records.h"

namespace {

using writer::bytes;
using writer::container;

/// The n-th of some containers of records of which fields were overwritten.
std::vector<uint8_t> altered_container(uint32_t n) {
  static const std::vector<writer::named_record> good = writer::every_good_record();
  std::mt19937 random(n);
  container altered;
  const size_t first = random() % good.size();
  for (size_t i = 0; i < 3; ++i) {
    bytes record = good[(first + i) % good.size()].content;
    // Mostly counts, of which small ones fit and large ones do not.
    for (uint32_t fields = random() % 4; fields != 0 && record.size() > 10; --fields) {
      const size_t offset = 8 + random() % std::min<size_t>(record.size() - 9, 32);
      const auto value = static_cast<uint16_t>(random() % 2 == 0 ? random() % 8 : random());
      record.patch_u16(offset, value);
    }
    if (random() % 4 == 0) record = writer::resized(record, 8 + random() % (record.size() - 7));
    altered.add(record);
  }
  return altered.image();
}

std::vector<uint8_t> module_with_grid() {
  return writer::nvm_image({.columns = 7, .rows = 6, .grid = writer::nvm_grid{}}).vector();
}

class HostileAllocationFaults : public testing::TestWithParam<uint32_t> {
 protected:
  const kit::fake_platform quiet_;
};

TEST_P(HostileAllocationFaults, OfAlteredRecords) {
  const std::vector<uint8_t> module = module_with_grid();
  const qo_blob nvm = writer::blob_of(module);
  for (uint32_t n = 0; n < 400; ++n) {
    SCOPED_TRACE(GetParam() + n);
    expect_exact_leaks(altered_container(GetParam() + n), n % 2 == 0 ? &nvm : nullptr);
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, HostileAllocationFaults, testing::Values(0u, 1000u, 2000u, 3000u));

/// Containers that the inputs of fuzz targets hold, some with a module's image: bytes that choose
/// what is done come first, then, where a target takes an image, its length and its bytes.
struct reading {
  std::vector<uint8_t> image;
  std::vector<uint8_t> nvm;
};

/// Single records, and pairs of them, that the target of these holds.
reading reading_of_records(const std::vector<uint8_t>& input) {
  const fuzz::record_input records = fuzz::record_input_of(input.data(), input.size());
  container image;
  image.add(records.first);
  if (records.second) image.add(*records.second);
  return {image.image(), records.calibrated ? module_with_grid() : std::vector<uint8_t>{}};
}

std::vector<reading> readings_of(const std::vector<uint8_t>& input) {
  std::vector<reading> readings;
  const auto add = [&](std::vector<uint8_t> image, std::vector<uint8_t> nvm) {
    if (image.size() <= container::header_size) return;
    writer::seal(image);
    readings.push_back({std::move(image), std::move(nvm)});
  };
  for (const size_t choices : {size_t{0}, size_t{1}, size_t{4}, size_t{26}}) {
    if (choices > input.size()) break;
    const std::vector<uint8_t> rest(input.begin() + static_cast<ptrdiff_t>(choices), input.end());
    add(rest, {});
    if (rest.size() < 4) continue;
    const size_t length = std::min<size_t>(bytes(rest).u32_at(0), rest.size() - 4);
    const auto end_of_nvm = rest.begin() + 4 + static_cast<ptrdiff_t>(length);
    add({end_of_nvm, rest.end()}, {rest.begin() + 4, end_of_nvm});
  }
  return readings;
}

TEST(CorpusAllocationFaults, OfEveryInputOfTheFuzzTargets) {
  const std::filesystem::path folder = QO_FUZZ_CORPUS;
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no inputs in " << folder;
  const kit::fake_platform quiet;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    SCOPED_TRACE(entry.path());
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<uint8_t> input(std::istreambuf_iterator<char>(file), {});
    std::vector<reading> readings = readings_of(input);
    if (entry.path().parent_path().filename() == "record_fuzz")
      readings = {reading_of_records(input)};
    for (const reading& each : readings) {
      const qo_blob nvm = writer::blob_of(each.nvm);
      expect_exact_leaks(each.image, &nvm);
      if (testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
