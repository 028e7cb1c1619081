// Whatever a file holds, an inspection ends, and what it says holds together. The seed is fixed, so
// that a failure repeats.

#include <random>

#include "tests/tools/findings/consistency.h"
#include "tests/tools/findings/inspected.h"

namespace {

using writer::bytes;
using namespace findings_test;

class MutatedInspection : public testing::TestWithParam<uint32_t> {
 protected:
  size_t below(size_t bound) { return static_cast<size_t>(random_() % bound); }

  /// Overwrites a few bytes, mostly with extremes.
  void mutate(std::vector<uint8_t>& image, size_t from) {
    if (image.size() <= from) return;
    constexpr uint8_t extremes[] = {0, 1, 2, 8, 0x7f, 0x80, 0xff, 100, 101, 102};
    for (size_t n = 1 + below(6); n > 0; --n) {
      const size_t offset = from + below(image.size() - from);
      image[offset] =
          below(2) == 0 ? extremes[below(std::size(extremes))] : static_cast<uint8_t>(random_());
    }
  }

  /// A few of the good records, some of them cut.
  std::vector<bytes> some_records(const std::vector<writer::named_record>& good) {
    std::vector<bytes> records;
    for (size_t n = 1 + below(8); n > 0; --n) {
      const bytes& record = good[below(good.size())].content;
      records.push_back(below(4) == 0 ? writer::resized(record, 8 + below(record.size() - 7))
                                      : record);
    }
    return records;
  }

  std::mt19937_64 random_{GetParam()};
};

TEST_P(MutatedInspection, HoldsTogether) {
  const std::vector<writer::named_record> good = writer::every_good_record();
  const std::vector<uint8_t> module = module_image();
  size_t valid = 0;
  for (int run = 0; run < 400; ++run) {
    std::vector<bytes> records = some_records(good);
    for (const bytes& each : merged_records())
      if (below(3) != 0) records.push_back(each);
    std::vector<uint8_t> image = writer::container().add(records).image();
    mutate(image, below(8) == 0 ? 0 : 24);
    if (below(8) != 0) writer::seal(image);
    if (below(16) == 0) image.resize(below(image.size()));
    std::vector<uint8_t> nvm = module;
    if (below(2) == 0) mutate(nvm, 0);
    // The sum of an image that was altered is made right, or its content would not be looked at.
    if (bytes whole(nvm); below(2) == 0) {
      writer::seal_nvm_image(whole);
      nvm = whole.vector();
    }
    const inspection seen = below(2) == 0 ? findings::inspect(image, nvm) : inspect(image);
    EXPECT_EQ("", contradiction_in(seen, image.size()));
    valid += seen.valid ? 1 : 0;
  }
  EXPECT_LT(200u, valid) << "most of them are to be parsed";
}

INSTANTIATE_TEST_SUITE_P(Seeds, MutatedInspection, testing::Range(1u, 9u));

TEST(InspectionOfNoise, AnyBytesAreLookedAt) {
  std::mt19937_64 random(9);
  for (size_t size = 0; size < 200; ++size) {
    std::vector<uint8_t> noise(size);
    for (uint8_t& byte : noise) byte = static_cast<uint8_t>(random());
    EXPECT_EQ("", contradiction_in(inspect(noise), size));
    EXPECT_EQ("", contradiction_in(findings::inspect(noise, noise), size));
    if (size < 24) continue;
    writer::seal(noise);
    EXPECT_EQ("", contradiction_in(findings::inspect(noise, noise), size));
  }
}

}  // namespace
