// Hashes of what every numeric routine gives for fixed inputs, and of whole parses: the same with
// every compiler, at every level of optimisation, on every processor and table of row kernels.
//
//   bits         prints an item a line: name, hash, number of samples
//   bits FILE    compares with such lines, and prints the names of the items that differ
//
// QO_ROWS=base|avx2|avx512 names the table of row kernels; without it the library chooses.

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "tests/bits/items.h"
#include "tests/kit/named_rows.h"

namespace {

bits::results all_results() {
  bits::results all;
  bits::nearest_items(all);
  bits::bilinear_items(all);
  bits::bicubic_items(all);
  bits::area_items(all);
  bits::matrix_items(all);
  bits::surface_items(all);
  bits::gain_items(all);
  bits::parse_items(all);
  return all;
}

/// What stands after the name in an item's line.
std::string content_of(const bits::digest& hash) {
  char text[64];
  snprintf(text, sizeof text, "%016" PRIx64 " %zu", hash.value(), hash.sample_count());
  return text;
}

/// How many items differ, those that only one side has among them.
int compare(const bits::results& all, std::istream& file) {
  std::map<std::string, std::string> expected;
  for (std::string line; std::getline(file, line);) {
    const size_t space = line.find(' ');
    if (space == std::string::npos ||
        !expected.emplace(line.substr(0, space), line.substr(space + 1)).second) {
      printf("no line of one item: %s\n", line.c_str());
      return 1;
    }
  }
  int different = 0;
  for (const auto& [name, hash] : all.items()) {
    const auto found = expected.find(name);
    const std::string content = content_of(hash);
    if (found == expected.end()) {
      printf("%s is not expected\n", name.c_str());
      ++different;
      continue;
    }
    if (found->second != content) {
      printf("%s is %s, expected %s\n", name.c_str(), content.c_str(), found->second.c_str());
      ++different;
    }
    expected.erase(found);
  }
  for (const auto& [name, content] : expected) {
    printf("%s is missing\n", name.c_str());
    ++different;
  }
  return different;
}

}  // namespace

int main(int count, char** arguments) {
  if (count > 2) {
    fprintf(stderr, "usage: bits [FILE]\n");
    return EXIT_FAILURE;
  }
  if (const char* const name = getenv("QO_ROWS"); name != nullptr) {
    switch (kit::use_rows_named(name)) {
      case kit::rows_choice::taken:
        break;
      case kit::rows_choice::not_runnable:
        printf("no table %s on this machine\n", name);
        return kit::skipped_exit_code;
      case kit::rows_choice::unknown:
        fprintf(stderr, "QO_ROWS is base, avx2 or avx512, not '%s'\n", name);
        return EXIT_FAILURE;
    }
  }
  const bits::results all = all_results();
  if (count == 1) {
    for (const auto& [name, hash] : all.items())
      printf("%s %s\n", name.c_str(), content_of(hash).c_str());
    return EXIT_SUCCESS;
  }
  std::ifstream file(arguments[1]);
  if (!file) {
    fprintf(stderr, "cannot read %s\n", arguments[1]);
    return EXIT_FAILURE;
  }
  const int different = compare(all, file);
  size_t samples = 0;
  for (const auto& item : all.items()) samples += item.hash.sample_count();
  printf("%zu items, %zu samples: %d differ\n", all.items().size(), samples, different);
  return different == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
