// Runs a fuzz target without a fuzzer: over the files that are named, or else over a fixed set of
// inputs, well-formed records and containers and seeded changes to them, with every choice.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "writer/container_writer.h"
#include "writer/records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using input = std::vector<uint8_t>;

constexpr int changes_to_each = 3;

size_t run(const input& content) {
  LLVMFuzzerTestOneInput(content.data(), content.size());
  return 1;
}

input with_choice(uint8_t choice, const std::vector<uint8_t>& rest) {
  return writer::bytes().u8(choice).raw(rest.data(), rest.size()).vector();
}

size_t run_with_changes(const input& content, std::mt19937& random) {
  size_t runs = run(content);
  for (int change = 0; change < changes_to_each; ++change) {
    input changed = content;
    for (uint32_t bytes = random() % 4; bytes != 0; --bytes)
      changed[1 + random() % (changed.size() - 1)] = static_cast<uint8_t>(random());
    if (random() % 4 == 0) changed.resize(1 + random() % changed.size());
    runs += run(changed);
  }
  return runs;
}

size_t run_fixed_set() {
  std::mt19937 random(20260101);
  size_t runs = run({});
  for (uint8_t choice = 0; choice < 8; ++choice) runs += run({choice});
  std::vector<writer::named_record> records = writer::every_good_record();
  for (const writer::named_record& slotless : writer::every_slotless_record())
    records.push_back(slotless);
  for (const writer::named_record& record : records) {
    const std::vector<uint8_t> image =
        writer::container().add(record.content).add(writer::record_722()).image();
    for (const uint8_t calibrated : {uint8_t{0}, uint8_t{4}}) {
      for (const uint8_t choice : {uint8_t{0}, uint8_t{1}, uint8_t{3}})
        runs +=
            run_with_changes(with_choice(static_cast<uint8_t>(choice | calibrated), image), random);
      runs += run_with_changes(
          with_choice(static_cast<uint8_t>(2 | calibrated), record.content.vector()), random);
    }
  }
  return runs;
}

}  // namespace

int main(int count, char** names) {
  size_t runs = 0;
  for (int i = 1; i < count; ++i) {
    std::ifstream file(names[i], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "cannot read %s\n", names[i]);
      return 1;
    }
    runs += run(input(std::istreambuf_iterator<char>(file), {}));
  }
  if (count == 1) runs = run_fixed_set();
  std::printf("%zu inputs\n", runs);
  return 0;
}
