// Runs a fuzz target without a fuzzer: over the files that are named and those of folders that are
// named, or else over its seeds and changes to them that are the same each time. `--write FOLDER`
// writes the seeds, for a fuzzer to start from.
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

int main(int count, char** names) {
  if (count == 3 && std::strcmp(names[1], "--write") == 0) return write_seeds(names[2]) ? 0 : 1;
  size_t runs = 0;
  for (int i = 1; i < count; ++i)
    if (!run_files(names[i], runs)) return 1;
  if (count == 1) runs = run_seeds();
  std::printf("%zu inputs\n", runs);
  return runs == 0 ? 1 : 0;
}
