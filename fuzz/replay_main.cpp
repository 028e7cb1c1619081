// Runs a fuzz target without a fuzzer: over the files that are named and those of folders that are
// named, or else over its seeds and changes to them that are the same each time, some of them the
// target's own. `--write FOLDER` writes the seeds, for a fuzzer to start from.
//
// Files are read and written by the C library alone, whose every write the memory sanitizer knows.

#include <dirent.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "fuzz/target.h"

extern "C" {
// The target's own changes, where it has some.
__attribute__((weak)) size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most,
                                                     unsigned seed);
__attribute__((weak)) size_t LLVMFuzzerCustomCrossOver(const uint8_t* a, size_t a_size,
                                                       const uint8_t* b, size_t b_size,
                                                       uint8_t* out, size_t most, unsigned seed);
// What they ask of a fuzzer.
size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most);
}

namespace {

using fuzz::input;

constexpr int changes_to_each = 3;
constexpr size_t most_growth = 1024;

uint32_t next_number() {
  static std::mt19937 numbers(20260101);
  return static_cast<uint32_t>(numbers());
}

size_t run(const input& content) {
  LLVMFuzzerTestOneInput(content.data(), content.size());
  return 1;
}

/// Changes leave the first byte alone, which chooses the target's way in some formats.
size_t run_with_changes(const input& content) {
  size_t runs = run(content);
  if (content.size() < 2) return runs;
  for (int change = 0; change < changes_to_each; ++change) {
    input changed = content;
    for (uint32_t bytes = next_number() % 4; bytes != 0; --bytes)
      changed[1 + next_number() % (changed.size() - 1)] = static_cast<uint8_t>(next_number());
    if (next_number() % 4 == 0) changed.resize(1 + next_number() % changed.size());
    runs += run(changed);
  }
  return runs;
}

/// The target's own, of which sizes and checksums are made right.
size_t run_with_own_changes(const input& content, const input& other) {
  if (LLVMFuzzerCustomMutator == nullptr) return 0;
  const size_t most = content.size() + most_growth;
  for (int change = 0; change < changes_to_each; ++change) {
    input changed = content;
    changed.resize(most);
    changed.resize(LLVMFuzzerCustomMutator(changed.data(), content.size(), most, next_number()));
    run(changed);
  }
  if (LLVMFuzzerCustomCrossOver == nullptr) return changes_to_each;
  input crossed(most);
  crossed.resize(LLVMFuzzerCustomCrossOver(content.data(), content.size(), other.data(),
                                           other.size(), crossed.data(), most, next_number()));
  return changes_to_each + run(crossed);
}

size_t run_seeds() {
  size_t runs = run({});
  const std::vector<input> all = fuzz::seeds();
  for (const input& seed : all) {
    runs += run_with_changes(seed);
    runs += run_with_own_changes(seed, all[next_number() % all.size()]);
  }
  return runs;
}

using open_file = std::unique_ptr<FILE, int (*)(FILE*)>;
open_file open(const std::string& name, const char* mode) {
  open_file file(std::fopen(name.c_str(), mode), std::fclose);
  if (file == nullptr) std::perror(name.c_str());
  return file;
}

bool write_seeds(const std::string& folder) {
  size_t number = 0;
  for (const input& seed : fuzz::seeds()) {
    const open_file file = open(folder + "/seed_" + std::to_string(number++), "wb");
    if (file == nullptr) return false;
    if (std::fwrite(seed.data(), 1, seed.size(), file.get()) != seed.size()) return false;
    if (std::fflush(file.get()) != 0) return false;
  }
  std::printf("%zu seeds\n", number);
  return true;
}

/// The file itself, or the files of a folder, in the same order each time.
std::vector<std::string> files_of(const std::string& name) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(name.c_str()), closedir);
  if (folder == nullptr) return {name};
  std::vector<std::string> files;
  while (const dirent* const entry = readdir(folder.get()))
    if (entry->d_name[0] != '.') files.push_back(name + '/' + entry->d_name);
  std::sort(files.begin(), files.end());
  return files;
}

/// Whether every file could be read.
bool run_files(const std::string& name, size_t& runs) {
  for (const std::string& one : files_of(name)) {
    const open_file file = open(one, "rb");
    if (file == nullptr) return false;
    input content;
    uint8_t piece[4096];
    while (const size_t size = std::fread(piece, 1, sizeof(piece), file.get()))
      content.insert(content.end(), piece, piece + size);
    if (std::ferror(file.get()) != 0) return false;
    runs += run(content);
  }
  return true;
}

}  // namespace

size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most) {
  if (next_number() % 4 == 0) {
    const size_t changed = next_number() % (most + 1);
    std::fill(data + std::min(size, changed), data + changed, static_cast<uint8_t>(next_number()));
    size = changed;
  }
  for (uint32_t bytes = next_number() % 4; size != 0 && bytes != 0; --bytes)
    data[next_number() % size] = static_cast<uint8_t>(next_number());
  return size;
}

int main(int count, char** names) {
  if (count == 3 && std::strcmp(names[1], "--write") == 0) return write_seeds(names[2]) ? 0 : 1;
  size_t runs = 0;
  for (int i = 1; i < count; ++i)
    if (!run_files(names[i], runs)) return 1;
  if (count == 1) runs = run_seeds();
  std::printf("%zu inputs\n", runs);
  return runs == 0 ? 1 : 0;
}
