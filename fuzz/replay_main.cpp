// Runs a fuzz target without a fuzzer: over the files that are named, or else over its seeds and
// changes to them that are the same each time. `--write FOLDER` writes the seeds, for a fuzzer to
// start from.

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "fuzz/target.h"

namespace {

using fuzz::input;

constexpr int changes_to_each = 3;

size_t run(const input& content) {
  LLVMFuzzerTestOneInput(content.data(), content.size());
  return 1;
}

/// Changes leave the first byte alone, which chooses the target's way in some formats.
size_t run_with_changes(const input& content, std::mt19937& random) {
  size_t runs = run(content);
  if (content.size() < 2) return runs;
  for (int change = 0; change < changes_to_each; ++change) {
    input changed = content;
    for (uint32_t bytes = random() % 4; bytes != 0; --bytes)
      changed[1 + random() % (changed.size() - 1)] = static_cast<uint8_t>(random());
    if (random() % 4 == 0) changed.resize(1 + random() % changed.size());
    runs += run(changed);
  }
  return runs;
}

size_t run_seeds() {
  std::mt19937 random(20260101);
  size_t runs = run({});
  for (const input& seed : fuzz::seeds()) runs += run_with_changes(seed, random);
  return runs;
}

int write_seeds(const char* folder) {
  std::filesystem::create_directories(folder);
  size_t number = 0;
  for (const input& seed : fuzz::seeds()) {
    const std::string name = folder + ("/seed_" + std::to_string(number++));
    std::ofstream file(name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(seed.data()),
               static_cast<std::streamsize>(seed.size()));
    if (!file.flush()) {
      std::fprintf(stderr, "cannot write %s\n", name.c_str());
      return 1;
    }
  }
  std::printf("%zu seeds\n", number);
  return 0;
}

}  // namespace

int main(int count, char** names) {
  if (count == 3 && std::strcmp(names[1], "--write") == 0) return write_seeds(names[2]);
  size_t runs = 0;
  for (int i = 1; i < count; ++i) {
    std::ifstream file(names[i], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "cannot read %s\n", names[i]);
      return 1;
    }
    runs += run(input(std::istreambuf_iterator<char>(file), {}));
  }
  if (count == 1) runs = run_seeds();
  std::printf("%zu inputs\n", runs);
  return 0;
}
