// main() of the tests that run once for each table of row kernels: QO_ROWS names the table, and
// without it the library chooses. A table that this machine cannot run skips the whole test.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "tests/kit/named_rows.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
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
  return RUN_ALL_TESTS();
}
